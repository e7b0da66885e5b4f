// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobrecord.h"

/// How a job ended that ran when its manager did.
struct Taskmill_EndedRun
{
    Taskmill_JobRecord Job; ///< with its final status, its output and its times
    int ExitCode = 0;       ///< for its client
};

/// Says what became of the jobs that ran when a manager ended by force.
class Taskmill_RunSource
{
public:
    virtual ~Taskmill_RunSource() = default;
    /// The job as a working copy has it. It is never started again by itself.
    [[nodiscard]] virtual Taskmill_EndedRun EndOf(const Taskmill_JobRecord &job) = 0;
};

/// Knows nothing of their processes: each of these jobs has crashed.
class Taskmill_LostRuns final : public Taskmill_RunSource
{
public:
    [[nodiscard]] Taskmill_EndedRun EndOf(const Taskmill_JobRecord &job) override;
};
