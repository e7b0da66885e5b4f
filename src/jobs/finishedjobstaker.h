// SPDX-License-Identifier: MIT
#pragma once

struct Taskmill_JobRecord;

/// Where containers hand a job whose run is over; implemented by the finished-jobs list.
class Taskmill_FinishedJobsTaker
{
public:
    virtual ~Taskmill_FinishedJobsTaker() = default;
    /// Its client is notified. False when the job could not be recorded for good.
    virtual bool AddJob(const Taskmill_JobRecord &job) = 0;
};
