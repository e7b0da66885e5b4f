// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobtype.h"

struct Taskmill_JobRecord;

/// What job types and queues need of the job database. Every operation is safe without one.
class Taskmill_JobStore
{
public:
    virtual ~Taskmill_JobStore() = default;

    [[nodiscard]] virtual bool IsOpen() const = 0;

    /// Writes the new key into jobType.JobTypeID.
    virtual bool InsertJobType(Taskmill_JobType &jobType) = 0;
    /// Changes the record of that key. On failure `reason` receives why in a sentence for the user, or
    /// nothing when no more is known.
    virtual bool UpdateJobType(const Taskmill_JobType &jobType, QString &reason) = 0;
    virtual bool DeleteJobType(qint32 jobTypeID) = 0;
    [[nodiscard]] virtual QList<Taskmill_JobType> GetJobTypes() = 0;

    /// To be called before the job's process is started, so that a manager that comes after this one, which
    /// may be ended by force, knows that the job ran, and where its run is found. False when that cannot be
    /// stored: the job must not start then.
    virtual bool RecordStart(const Taskmill_JobRecord &job) = 0;
    /// The same some time before, which makes RecordStart() of the same run quick; it is taken back when the
    /// job is not started after all.
    virtual bool NoteRun(int jobID, const QString &run) = 0;
    virtual void ForgetNotedRun(int jobID) = 0;
    /// The job, which waits, has no run any more. Where that cannot be stored it is found out again.
    virtual void ForgetRun(const Taskmill_JobRecord &job) = 0;

    /// The limit stored for the queue of that name; -1 when unknown.
    [[nodiscard]] virtual int GetMaxRunningJobs(const QString &queueName) = 0;
    virtual bool SetMaxRunningJobs(const QString &queueName, int maxRunningJobs) = 0;
};
