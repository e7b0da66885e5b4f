// SPDX-License-Identifier: MIT
#pragma once

class Taskmill_Job;

/// Whoever knows what jobs wait for besides a free place in their queue; implemented where times, other jobs
/// and settings are known.
class Taskmill_StartJudge
{
public:
    virtual ~Taskmill_StartJudge() = default;
    /// Has the job know why it may not be started, or that it may. To be called before it may be started, and
    /// whenever its conditions have changed; whoever implements it does so when something else has.
    virtual void Judge(Taskmill_Job &job) = 0;
    /// Whether no job of a queue is to be started now. When that ends, the queues look again.
    [[nodiscard]] virtual bool AreHoursQuiet() const = 0;
    /// Whether jobs that start now are to give way to what else the computer does.
    [[nodiscard]] virtual bool HaveJobsLowPriority() const = 0;
};
