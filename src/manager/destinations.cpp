// SPDX-License-Identifier: MIT
#include "manager/destinations.h"

#include <algorithm>

namespace {
Taskmill_JobServices With(Taskmill_JobBudget &budget, Taskmill_StartChecker &checker,
                          Taskmill_JobServices services)
{
    services.Budget = &budget;
    services.Checker = &checker;
    return services;
}
} // namespace

Taskmill_Destinations::Taskmill_Destinations(Taskmill_FinishedJobs &finishedJobs,
                                             const Taskmill_JobServices &services)
    : m_long{Taskmill_Destination::Long, finishedJobs, With(m_budget, m_checker, services)}
    , m_short{Taskmill_Destination::Short, finishedJobs, With(m_budget, m_checker, services)}
    , m_queueless{Taskmill_Destination::Queueless, finishedJobs, With(m_budget, m_checker, services)}
{
    for (Taskmill_JobQueue *queue : Queues())
        m_budget.Join(*queue);
    m_budget.JoinUnasked(m_queueless.Jobs());
    for (Taskmill_QueueOwner *owner : All())
        m_checker.Join(owner->Jobs());
}

Taskmill_QueueOwner *Taskmill_Destinations::OwnerOf(Taskmill_Destination destination)
{
    for (Taskmill_QueueOwner *owner : All()) {
        if (owner->Destination() == destination)
            return owner;
    }
    return nullptr;
}

int Taskmill_Destinations::RunningCount()
{
    int count = 0;
    for (const Taskmill_QueueOwner *owner : All())
        count += owner->Jobs().RunningCount();
    return count;
}

int Taskmill_Destinations::WaitingCount()
{
    int count = 0;
    for (const Taskmill_QueueOwner *owner : All())
        count += owner->Jobs().WaitingCount();
    return count;
}

QList<int> Taskmill_Destinations::RunningWithoutKeeper()
{
    QList<int> jobIDs;
    for (const Taskmill_QueueOwner *owner : All()) {
        for (const Taskmill_Job *job : owner->Jobs().Jobs()) {
            if (job->Status() == Taskmill_JobStatus::Running && job->Process() && !job->IsKept())
                jobIDs.append(job->JobID());
        }
    }
    return jobIDs;
}

bool Taskmill_Destinations::IsAnyJobKept()
{
    return std::ranges::any_of(All(),
                               [](const Taskmill_QueueOwner *owner) { return owner->Jobs().IsAnyKept(); });
}

QStringList Taskmill_Destinations::KeptRuns()
{
    QStringList runs;
    for (const Taskmill_QueueOwner *owner : All()) {
        for (const Taskmill_Job *job : owner->Jobs().Jobs()) {
            if (job->IsKept())
                runs += job->Record().Run;
        }
    }
    return runs;
}

QList<int> Taskmill_Destinations::HeldJobIDs()
{
    QList<int> jobIDs;
    for (const Taskmill_QueueOwner *owner : All())
        jobIDs += owner->Jobs().HeldJobIDs();
    return jobIDs;
}

int Taskmill_Destinations::Release(const QList<int> &jobIDs)
{
    int count = 0;
    for (const Taskmill_QueueOwner *owner : All())
        count += owner->Jobs().Release(jobIDs);
    return count;
}

Taskmill_QueueOwner *Taskmill_Destinations::OwnerOfJob(int jobID)
{
    for (Taskmill_QueueOwner *owner : All()) {
        if (owner->Jobs().FindByJobID(jobID))
            return owner;
    }
    return nullptr;
}
