// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobstore.h"

/// The job store of the connection manager's current database, whichever that is at each call.
class Taskmill_DatabaseJobStore final : public Taskmill_JobStore
{
public:
    [[nodiscard]] bool IsOpen() const override;
    bool InsertJobType(Taskmill_JobType &jobType) override;
    bool UpdateJobType(const Taskmill_JobType &jobType, QString &reason) override;
    bool DeleteJobType(qint32 jobTypeID) override;
    [[nodiscard]] QList<Taskmill_JobType> GetJobTypes() override;
    /// A failure is reported to the user once, until starts can be stored again.
    bool RecordStart(const Taskmill_JobRecord &job) override;
    bool NoteRun(int jobID, const QString &run) override;
    void ForgetNotedRun(int jobID) override;
    void ForgetRun(const Taskmill_JobRecord &job) override;
    [[nodiscard]] int GetMaxRunningJobs(const QString &queueName) override;
    bool SetMaxRunningJobs(const QString &queueName, int maxRunningJobs) override;

private:
    bool m_refusesStarts = false;
};
