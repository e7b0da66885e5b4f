#include "service/finishedjobs.h"

#include "db/database.h"
#include "db/databasemanager.h"

void Taskmill_FinishedJobs::AddJob(const Taskmill_JobRecord &job)
{
    m_jobs.append(job);
    if (Taskmill_Database *database = Taskmill_Database_Manager::Global().CurrentDatabase()) {
        if (!database->InsertFinishedJob(job, true, nullptr))
            qWarning("Finished job %d could not be written to the database", job.JobID);
    }
    Q_EMIT JobsChangedSignal();
}

void Taskmill_FinishedJobs::SetJobs(const QList<Taskmill_JobRecord> &jobs)
{
    m_jobs = jobs;
    Q_EMIT JobsChangedSignal();
}

void Taskmill_FinishedJobs::Clear()
{
    SetJobs({});
}

void Taskmill_FinishedJobs::RemoveAt(int position)
{
    if (position < 0 || position >= m_jobs.size())
        return;
    m_jobs.removeAt(position);
    Q_EMIT JobsChangedSignal();
}
