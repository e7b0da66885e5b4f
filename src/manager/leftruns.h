// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobrecord.h"

#include <QList>

#include <optional>

class Taskmill_Database;
class Taskmill_RunSource;

/// The jobs that ran when a manager was ended by force, as the working copy that it has left says.
class Taskmill_LeftRuns
{
public:
    /// Both outlive this. The database is open on the working copy.
    Taskmill_LeftRuns(Taskmill_Database &database, Taskmill_RunSource &source);

    /// Ends those that cannot go on, as the source says: they leave the tables of waiting jobs for that of
    /// the finished ones, and their notifications are stored. How many they are; nothing when that cannot be
    /// stored.
    [[nodiscard]] std::optional<int> End();

private:
    struct Table;

    [[nodiscard]] bool IsAnyEnded() const;
    [[nodiscard]] bool Record();
    [[nodiscard]] bool RecordEnd(const Taskmill_JobRecord &job, const Table &table);
    [[nodiscard]] bool StoreNotification(const Taskmill_JobRecord &end);

    Taskmill_Database &m_database;
    Taskmill_RunSource &m_source;
    const QHash<qint32, QString> m_runs;
    QList<std::pair<qint32, QString>> m_kept; ///< may go on: the jobs themselves find that out
    qint64 m_lastNotification = 0;
    int m_ended = 0;
};
