// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobrecord.h"

/// Says what became of the jobs that ran when a manager ended by force.
class Taskmill_RunSource
{
public:
    virtual ~Taskmill_RunSource() = default;
    /// The job, given as a working copy has it, with its final status, its exit code, its output and its
    /// times. It is never started again by itself.
    [[nodiscard]] virtual Taskmill_JobRecord EndOf(const Taskmill_JobRecord &job) = 0;
};

/// Knows nothing of their processes: each of these jobs has crashed.
class Taskmill_LostRuns final : public Taskmill_RunSource
{
public:
    [[nodiscard]] Taskmill_JobRecord EndOf(const Taskmill_JobRecord &job) override;
};
