#pragma once

#include "jobs/destination.h"

class Taskmill_FinishedJobs;
class Taskmill_JobQueue;
class Taskmill_LongJobsOwner;
class Taskmill_QueueOwner;
class Taskmill_QueuelessJobsOwner;
class Taskmill_ShortJobsOwner;

/// The owners of all jobs, as the server, the projects and the console reach them. They outlive this.
struct Taskmill_JobTabs
{
    Taskmill_FinishedJobs &FinishedJobs;
    Taskmill_LongJobsOwner &LongJobs;
    Taskmill_ShortJobsOwner &ShortJobs;
    Taskmill_QueuelessJobsOwner &QueuelessJobs;

    /// nullptr for JobTypeDefault, which is no place for a job.
    [[nodiscard]] Taskmill_QueueOwner *OwnerOf(Taskmill_Destination destination) const;
    /// The long or the short queue; nullptr for the destinations that cannot be paused.
    [[nodiscard]] Taskmill_JobQueue *LimitedQueue(Taskmill_Destination destination) const;
};
