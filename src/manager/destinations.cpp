// SPDX-License-Identifier: MIT
#include "manager/destinations.h"

namespace {
Taskmill_JobServices WithBudget(Taskmill_JobServices services, Taskmill_JobBudget &budget)
{
    services.Budget = &budget;
    return services;
}
} // namespace

Taskmill_Destinations::Taskmill_Destinations(Taskmill_FinishedJobs &finishedJobs,
                                             const Taskmill_JobServices &services)
    : m_long{Taskmill_Destination::Long, finishedJobs, WithBudget(services, m_budget)}
    , m_short{Taskmill_Destination::Short, finishedJobs, WithBudget(services, m_budget)}
    , m_queueless{Taskmill_Destination::Queueless, finishedJobs, WithBudget(services, m_budget)}
{
    for (Taskmill_JobQueue *queue : Queues())
        m_budget.Join(*queue);
    m_budget.JoinUnasked(m_queueless.Jobs());
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
