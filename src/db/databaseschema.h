// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

/// How one table of the job database is made. CREATE TABLE takes the name and the column part as they stand.
struct Taskmill_TableDefinition
{
    QString Name;
    QString Columns;       ///< from the blank before "(" to ");"
    QString IndexedColumn; ///< empty for a table without an index
};

/// The names of the table's columns, in their order.
[[nodiscard]] QStringList Taskmill_ColumnNames(const Taskmill_TableDefinition &table);

/// The nine tables in the order of their creation; see Taskmill_Table for the positions.
[[nodiscard]] const QList<Taskmill_TableDefinition> &Taskmill_DatabaseSchema();

enum class Taskmill_Table
{
    GeneralData,
    JobTypes,
    Queues,
    LongJobsQueue,
    ShortJobsQueue,
    QueuelessJobs,
    RunningJobs,
    FinishedJobs,
    Jobs,
};

/// A table and the columns that earlier versions did not have, in the order in which they are added.
struct Taskmill_TableUpgrade
{
    QString Table;
    QStringList Columns; ///< name and type
};

[[nodiscard]] const QList<Taskmill_TableUpgrade> &Taskmill_DatabaseUpgrades();
