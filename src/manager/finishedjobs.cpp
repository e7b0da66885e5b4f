// SPDX-License-Identifier: MIT
#include "manager/finishedjobs.h"

#include "db/database.h"
#include "db/databasemanager.h"
#include "kilnutil/logging.h"
#include "manager/listings.h"
#include "manager/outbox.h"
#include "manager/removalreport.h"

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

bool Taskmill_FinishedJobs::AddJob(const Taskmill_JobRecord &job, const std::function<void()> &alsoWrite)
{
    RecordMissing();
    m_jobs.append(job);
    const Missing written{.job = job, .alsoWrite = alsoWrite, .notification = m_outbox.Add(job)};
    const bool recorded = Record(written);
    if (!recorded) {
        qCWarning(Taskmill_ManagerLog, "Finished job %d could not be written to the database", job.JobID);
        m_missing.append(written);
    } else if (Taskmill_Database_Manager::Global().CurrentDatabase()) {
        LeaveOutputToDatabase(m_jobs.last());
    }
    m_jobs.last().Run.clear();
    Q_EMIT JobsChangedSignal();
    return recorded;
}

bool Taskmill_FinishedJobs::Record(const Missing &missing)
{
    Taskmill_Database *database = Taskmill_Database_Manager::Global().CurrentDatabase();
    const bool recorded = !database || database->AsOneChange([&] {
        if (!database->InsertFinishedJob(missing.job, true, nullptr))
            return false;
        missing.alsoWrite();
        return m_outbox.Store(missing.notification);
    });
    if (recorded && !missing.job.Run.isEmpty())
        Q_EMIT RunStoredSignal(missing.job.Run);
    return recorded;
}

void Taskmill_FinishedJobs::RecordMissing()
{
    while (!m_missing.isEmpty() && Record(m_missing.first()))
        m_missing.removeFirst();
}

void Taskmill_FinishedJobs::SetJobs(const QList<Taskmill_JobRecord> &jobs)
{
    m_jobs = jobs;
    m_missing.clear();
    ++m_generation;
    m_outputsInDatabase.clear();
    if (Taskmill_Database_Manager::Global().CurrentDatabase()) {
        for (Taskmill_JobRecord &job : m_jobs)
            LeaveOutputToDatabase(job);
    }
    Q_EMIT JobsChangedSignal();
}

void Taskmill_FinishedJobs::LeaveOutputToDatabase(Taskmill_JobRecord &job)
{
    if (job.StdOutAndStdErr.size() <= LongestOutputKept)
        return;
    job.StdOutAndStdErr.clear();
    m_outputsInDatabase.insert(job.JobID);
}

bool Taskmill_FinishedJobs::HasOutput(const Taskmill_JobRecord &job) const
{
    return !job.StdOutAndStdErr.isEmpty() || m_outputsInDatabase.contains(job.JobID);
}

QString Taskmill_FinishedJobs::OutputOf(const Taskmill_JobRecord &job) const
{
    Taskmill_Database *database = Taskmill_Database_Manager::Global().CurrentDatabase();
    if (database && job.StdOutAndStdErr.isEmpty() && m_outputsInDatabase.contains(job.JobID))
        return database->GetFinishedJobOutput(job.JobID);
    return job.StdOutAndStdErr;
}

void Taskmill_FinishedJobs::Clear()
{
    SetJobs({});
}

void Taskmill_FinishedJobs::RemoveAt(int position)
{
    if (position < 0 || position >= m_jobs.size())
        return;
    m_outputsInDatabase.remove(m_jobs[position].JobID);
    m_jobs.removeAt(position);
    ++m_generation;
    Q_EMIT JobsChangedSignal();
}

void Taskmill_FinishedJobs::Remove(QList<int> positions)
{
    QList<int> jobIDs;
    for (const int position : std::as_const(positions)) {
        jobIDs.append(m_jobs[position].JobID);
        m_outputsInDatabase.remove(m_jobs[position].JobID);
    }
    Taskmill_Database *database = Taskmill_Database_Manager::Global().CurrentDatabase();
    const bool deleted = !database || database->DeleteFinishedJobs(jobIDs);
    QStringList names;
    if (!deleted)
        std::ranges::transform(positions, std::back_inserter(names),
                               [this](int position) { return m_jobs[position].Name; });
    std::ranges::sort(positions);
    // One walk through the list: it may be long, and so may be what is removed.
    auto next = positions.cbegin();
    int position = 0;
    m_jobs.removeIf([&](const Taskmill_JobRecord &) {
        const bool removed = next != positions.cend() && *next == position;
        ++position;
        if (removed)
            ++next;
        return removed;
    });
    ++m_generation;
    Q_EMIT JobsChangedSignal();
    if (!deleted)
        Taskmill_ReportRowsKept(*database, names);
}

QString Taskmill_FinishedJobs::ListingText(int width) const
{
    QList<QStringList> rows;
    rows.reserve(m_jobs.size());
    for (const Taskmill_JobRecord &job : m_jobs)
        rows.append(Taskmill_Listings::FinishedJobs().Row(job));
    return Taskmill_Listings::FinishedJobs().Listing(u"Finished Jobs"_s, u"Finished Jobs List"_s, rows,
                                                     width);
}
