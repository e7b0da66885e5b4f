// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobstore.h"

#include <QHash>

/// Keeps the limits of queues in memory, and no job types.
class FakeJobStore : public Taskmill_JobStore
{
public:
    QHash<QString, int> Limits; ///< by queue name
    int LimitWrites = 0;
    bool TakesStarts = true;

    bool IsOpen() const override { return true; }
    bool InsertJobType(Taskmill_JobType &) override { return false; }
    bool UpdateJobType(const Taskmill_JobType &, QString &) override { return false; }
    bool DeleteJobType(qint32) override { return false; }
    QList<Taskmill_JobType> GetJobTypes() override { return {}; }
    bool RecordStart(const Taskmill_JobRecord &) override { return TakesStarts; }
    bool NoteRun(int, const QString &) override { return TakesStarts; }
    void ForgetNotedRun(int) override {}
    void ForgetRun(const Taskmill_JobRecord &) override {}
    int GetMaxRunningJobs(const QString &queueName) override { return Limits.value(queueName, -1); }
    bool SetMaxRunningJobs(const QString &queueName, int maxRunningJobs) override
    {
        Limits.insert(queueName, maxRunningJobs);
        ++LimitWrites;
        return true;
    }
};
