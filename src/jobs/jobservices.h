// SPDX-License-Identifier: MIT
#pragma once

class KilnUtil_RunKeepers;
class Taskmill_FilesCheck;
class Taskmill_FinishedJobsTaker;
class Taskmill_JobStarts;
class Taskmill_JobStore;
class Taskmill_ProcessInspector;
class Taskmill_StartBudget;
class Taskmill_StartJudge;

/// What queues and their jobs need of the rooms above and beside them; all of it outlives them.
struct Taskmill_JobServices
{
    Taskmill_JobStore &Store;
    Taskmill_FinishedJobsTaker &FinishedJobs;
    Taskmill_ProcessInspector &Inspector;
    /// nullptr where jobs end with the manager.
    KilnUtil_RunKeepers *Keepers = nullptr;
    /// nullptr where nobody reads the outputs of running jobs.
    Taskmill_JobStarts *Starts = nullptr;
    /// Without one, jobs wait for nothing but their turn.
    Taskmill_StartJudge *Judge = nullptr;
    /// Without one, jobs start without a look at their files.
    Taskmill_FilesCheck *Checker = nullptr;
    /// Without one, nothing but the limits of the queues counts.
    Taskmill_StartBudget *Budget = nullptr;
};
