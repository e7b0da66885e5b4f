#pragma once

#include "jobs/jobstore.h"

#include <QHash>

/// A job store in memory that gives the keys 0, 1, 2 and so on.
class FakeJobStore : public Taskmill_JobStore
{
public:
    bool Open = true;
    QList<Taskmill_JobType> Rows;
    QHash<QString, int> Limits; ///< by queue name
    int LimitWrites = 0;

    bool IsOpen() const override { return Open; }

    bool InsertJobType(Taskmill_JobType &jobType) override
    {
        jobType.JobTypeID = Rows.isEmpty() ? 0 : Rows.last().JobTypeID + 1;
        Rows.append(jobType);
        return true;
    }
    bool DeleteJobType(qint32 jobTypeID) override
    {
        return Rows.removeIf([=](const Taskmill_JobType &row) { return row.JobTypeID == jobTypeID; }) > 0;
    }
    QList<Taskmill_JobType> GetJobTypes() override { return Rows; }

    int GetMaxRunningJobs(const QString &queueName) override { return Limits.value(queueName, -1); }
    bool SetMaxRunningJobs(const QString &queueName, int maxRunningJobs) override
    {
        Limits.insert(queueName, maxRunningJobs);
        ++LimitWrites;
        return true;
    }
};
