// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobbudget.h"
#include "jobs/startchecker.h"
#include "manager/queueowner.h"

#include <array>

/// The three places where jobs wait and run, each with its owner.
class Taskmill_Destinations
{
public:
    /// The finished jobs outlive this.
    Taskmill_Destinations(Taskmill_FinishedJobs &finishedJobs, const Taskmill_JobServices &services);

    [[nodiscard]] Taskmill_QueueOwner &Long() { return m_long; }
    [[nodiscard]] Taskmill_QueueOwner &Short() { return m_short; }
    [[nodiscard]] Taskmill_QueueOwner &Queueless() { return m_queueless; }

    /// What the jobs of all three may take together; off at first.
    [[nodiscard]] Taskmill_JobBudget &Budget() { return m_budget; }

    /// What holds jobs of all three for their files.
    [[nodiscard]] Taskmill_StartChecker &Checker() { return m_checker; }

    /// In the order in which they are shown.
    [[nodiscard]] std::array<Taskmill_QueueOwner *, 3> All() { return {&m_long, &m_short, &m_queueless}; }
    /// Those that have a limit and can be paused.
    [[nodiscard]] std::array<Taskmill_JobQueue *, 2> Queues() { return {m_long.Queue(), m_short.Queue()}; }

    /// Of all three.
    [[nodiscard]] int RunningCount();
    [[nodiscard]] int WaitingCount();
    /// The numbers of the running jobs that end with this program because no keeper runs them.
    [[nodiscard]] QList<int> RunningWithoutKeeper();
    /// Whether a job runs that can go on without this program.
    [[nodiscard]] bool IsAnyJobKept();
    /// The runs of the jobs that keepers run, see Taskmill_JobRecord::Run.
    [[nodiscard]] QStringList KeptRuns();

    /// The numbers of the jobs that are held back, and how many of them run again.
    [[nodiscard]] QList<int> HeldJobIDs();
    int Release(const QList<int> &jobIDs);

    /// nullptr for JobTypeDefault, which is no place for a job.
    [[nodiscard]] Taskmill_QueueOwner *OwnerOf(Taskmill_Destination destination);
    /// The owner of the queue that the job is in; nullptr when it is in none.
    [[nodiscard]] Taskmill_QueueOwner *OwnerOfJob(int jobID);

private:
    Taskmill_JobBudget m_budget;     ///< the queues need it until they are gone
    Taskmill_StartChecker m_checker; ///< they need it, too
    Taskmill_QueueOwner m_long;
    Taskmill_QueueOwner m_short;
    Taskmill_QueueOwner m_queueless;
};
