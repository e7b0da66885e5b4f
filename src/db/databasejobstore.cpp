// SPDX-License-Identifier: MIT
#include "db/databasejobstore.h"

#include "db/database.h"
#include "db/databasemanager.h"
#include "kilnutil/error.h"
#include "kilnutil/logging.h"

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
Taskmill_Database *Current()
{
    return Taskmill_Database_Manager::Global().CurrentDatabase();
}
} // namespace

bool Taskmill_DatabaseJobStore::IsOpen() const
{
    const Taskmill_Database *database = Current();
    return database && database->IsOpen();
}

bool Taskmill_DatabaseJobStore::InsertJobType(Taskmill_JobType &jobType)
{
    Taskmill_Database *database = Current();
    qint32 jobTypeID = 0;
    if (!database || !database->InsertJobType(jobType, true, &jobTypeID))
        return false;
    jobType.JobTypeID = jobTypeID;
    return true;
}

bool Taskmill_DatabaseJobStore::UpdateJobType(const Taskmill_JobType &jobType, QString &reason)
{
    if (Taskmill_JobTypeStore::HasQuotes(jobType)) {
        reason = u"Its texts must not contain single quotes (')."_s;
        return false;
    }
    Taskmill_Database *database = Current();
    return database && database->UpdateJobType(jobType.JobTypeID, jobType);
}

bool Taskmill_DatabaseJobStore::DeleteJobType(qint32 jobTypeID)
{
    Taskmill_Database *database = Current();
    return database && database->DeleteJobType(jobTypeID);
}

QList<Taskmill_JobType> Taskmill_DatabaseJobStore::GetJobTypes()
{
    Taskmill_Database *database = Current();
    return database ? database->GetJobTypes() : QList<Taskmill_JobType>{};
}

bool Taskmill_DatabaseJobStore::RecordStart(const Taskmill_JobRecord &job)
{
    Taskmill_Database *database = Current();
    const bool recorded = !database || database->RecordStart(job);
    if (!std::exchange(m_refusesStarts, !recorded) && !recorded)
        KilnUtil_Error::UserPrompt().ShowNotice(
            u"Jobs Cannot Be Started"_s,
            u"Jobs are not started while this cannot be stored, and wait until it can be:\n\n"_s +
                database->StoragePath() + u"\n\n("_s + database->LastErrorMessage() + u')');
    return recorded;
}

bool Taskmill_DatabaseJobStore::NoteRun(int jobID, const QString &run)
{
    Taskmill_Database *database = Current();
    return database && database->NoteRun(jobID, run);
}

void Taskmill_DatabaseJobStore::ForgetNotedRun(int jobID)
{
    if (Taskmill_Database *database = Current())
        database->ForgetNotedRun(jobID);
}

void Taskmill_DatabaseJobStore::ForgetRun(const Taskmill_JobRecord &job)
{
    if (Taskmill_Database *database = Current(); database && !database->ForgetRun(job))
        qCWarning(Taskmill_DBLog, "It cannot be stored that job %d waits again: %ls", job.JobID,
                  qUtf16Printable(database->LastErrorMessage()));
}

int Taskmill_DatabaseJobStore::GetMaxRunningJobs(const QString &queueName)
{
    Taskmill_Database *database = Current();
    return database ? database->GetMaxRunningJobs(queueName) : -1;
}

bool Taskmill_DatabaseJobStore::SetMaxRunningJobs(const QString &queueName, int maxRunningJobs)
{
    Taskmill_Database *database = Current();
    return database && database->SetMaxRunningJobs(queueName, maxRunningJobs);
}
