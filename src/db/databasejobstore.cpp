// SPDX-License-Identifier: MIT
#include "db/databasejobstore.h"

#include "db/database.h"
#include "db/databasemanager.h"

static Taskmill_Database *Current()
{
    return Taskmill_Database_Manager::Global().CurrentDatabase();
}

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
