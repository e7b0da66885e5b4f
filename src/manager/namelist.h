// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

/// The names that a removal question lists: at most 10, one a line, and the number of the others. A name is
/// cut to what fits a line.
[[nodiscard]] QString Taskmill_NameList(const QStringList &names);
