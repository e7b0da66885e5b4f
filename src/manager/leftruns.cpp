// SPDX-License-Identifier: MIT
#include "manager/leftruns.h"

#include "db/database.h"
#include "jobs/jobnotification.h"
#include "manager/runsource.h"

#include <algorithm>
#include <array>

/// A table of waiting jobs.
struct Taskmill_LeftRuns::Table
{
    QList<Taskmill_JobRecord> (Taskmill_Database::*Read)();
    bool (Taskmill_Database::*Delete)(qint32 jobID);

    [[nodiscard]] static const std::array<Table, 3> &All()
    {
        static constexpr std::array tables{
            Table{&Taskmill_Database::GetLongJobs, &Taskmill_Database::DeleteLongJob},
            Table{&Taskmill_Database::GetShortJobs, &Taskmill_Database::DeleteShortJob},
            Table{&Taskmill_Database::GetQueuelessJobs, &Taskmill_Database::DeleteQueuelessJob}};
        return tables;
    }
};

Taskmill_LeftRuns::Taskmill_LeftRuns(Taskmill_Database &database, Taskmill_RunSource &source)
    : m_database{database}
    , m_source{source}
    , m_runs{database.WorkingCopy().Runs()}
{
}

std::optional<int> Taskmill_LeftRuns::End()
{
    if (m_runs.isEmpty())
        return 0;
    const auto earlier = m_database.WorkingCopy().Notifications();
    m_lastNotification = earlier.isEmpty() ? 0 : earlier.last().Key;
    const auto record = [this] {
        return Record();
    };
    // That jobs go on is no change.
    const bool recorded = IsAnyEnded() ? m_database.AsOneChange(record) : m_database.Untracked(record);
    return recorded ? std::optional{m_ended} : std::nullopt;
}

bool Taskmill_LeftRuns::IsAnyEnded() const
{
    const auto isEnded = [this](const Taskmill_JobRecord &job) {
        return job.Run.isEmpty() && m_runs.contains(job.JobID);
    };
    return std::ranges::any_of(Table::All(), [&](const Table &table) {
        return std::ranges::any_of((m_database.*table.Read)(), isEnded);
    });
}

bool Taskmill_LeftRuns::Record()
{
    for (const Table &table : Table::All()) {
        const QList<Taskmill_JobRecord> jobs = (m_database.*table.Read)();
        for (const Taskmill_JobRecord &job : jobs) {
            if (!m_runs.contains(job.JobID))
                continue;
            if (!job.Run.isEmpty())
                m_kept.append({job.JobID, job.Run});
            else if (!RecordEnd(job, table))
                return false;
        }
    }
    Taskmill_WorkingCopyStore &store = m_database.WorkingCopy();
    return store.RemoveAllRuns() && std::ranges::all_of(m_kept, [&store](const auto &kept) {
               return store.AddRun(kept.first, kept.second);
           });
}

bool Taskmill_LeftRuns::RecordEnd(const Taskmill_JobRecord &job, const Table &table)
{
    ++m_ended;
    const Taskmill_JobRecord end = m_source.EndOf(job);
    return m_database.InsertFinishedJob(end, true) && (m_database.*table.Delete)(job.JobID) &&
           StoreNotification(end);
}

bool Taskmill_LeftRuns::StoreNotification(const Taskmill_JobRecord &end)
{
    auto notification = Taskmill_NotificationOf(end);
    if (!notification)
        return true;
    notification->Key = ++m_lastNotification;
    return m_database.WorkingCopy().AddNotification(*notification);
}
