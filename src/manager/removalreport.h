// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

class Taskmill_Database;

/// Reports to the user and in the debug log that the rows of these jobs, which are off the list, are still in
/// the project; nothing when there are no names. Of so many jobs only the first names need be there.
void Taskmill_ReportRowsKept(const Taskmill_Database &database, const QStringList &jobNames, qsizetype count);
