// SPDX-License-Identifier: MIT
#pragma once

class Taskmill_Job;

/// Whoever is to know which jobs run from now on; implemented where their outputs are read.
class Taskmill_JobStarts
{
public:
    virtual ~Taskmill_JobStarts() = default;
    /// The job is about to be started: none of its files has been written by it so far.
    virtual void JobStarts(const Taskmill_Job &job) = 0;
    /// The job runs since its record says, or has ended since.
    virtual void JobIsTakenOver(const Taskmill_Job &job) = 0;
};
