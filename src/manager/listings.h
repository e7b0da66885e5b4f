// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobrecord.h"
#include "processes/processinspector.h"

#include <QList>
#include <QStringList>

/// The columns of the window's tables and of the console's listings: the headers, and the texts of one row.
namespace Taskmill_Listings {
[[nodiscard]] QStringList QueueHeaders();
[[nodiscard]] QStringList QueueRow(const Taskmill_JobRecord &job);

[[nodiscard]] QStringList FinishedHeaders();
/// One text of the row, for tables so long that most of them are never shown.
[[nodiscard]] QString FinishedCell(const Taskmill_JobRecord &job, int column);
[[nodiscard]] QStringList FinishedRow(const Taskmill_JobRecord &job);

[[nodiscard]] QStringList JobTypeHeaders();
[[nodiscard]] QStringList JobTypeRow(const Taskmill_JobType &jobType);

[[nodiscard]] QStringList ProcessHeaders();
[[nodiscard]] QStringList ProcessRow(const Taskmill_ProcessRecord &process);

/// A listing as the console prints it: heading, table and an empty line, or one line that says that the list
/// is empty. With a width, the table is made to fit a terminal of so many columns.
[[nodiscard]] QString Text(const QString &heading, const QString &emptyText, const QStringList &headers,
                           const QList<QStringList> &rows, int width);
} // namespace Taskmill_Listings
