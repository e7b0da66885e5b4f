// SPDX-License-Identifier: MIT
#include "jobs/jobqueue.h"

#include "jobs/jobbudget.h"
#include "jobs/jobstore.h"

using namespace Qt::Literals::StringLiterals;

Taskmill_Job *Taskmill_NextJobToStart(const QList<Taskmill_Job *> &jobs, int maxRunningJobs)
{
    int running = 0;
    for (Taskmill_Job *job : jobs) {
        // Behind the first Pending job all others are Pending too, and the held ones stand last.
        if (job->Status() == Taskmill_JobStatus::Pending)
            return running < maxRunningJobs && !job->IsHeld() ? job : nullptr;
        if (job->Status() == Taskmill_JobStatus::Running)
            ++running;
    }
    return nullptr;
}

void Taskmill_JobQueue::SetPaused(bool paused)
{
    m_paused = paused;
    Update();
}

bool Taskmill_JobQueue::SetMaxRunningJobs(int maxRunningJobs)
{
    Taskmill_JobStore &store = Services().Store;
    if (store.IsOpen() && store.GetMaxRunningJobs(Name()) != maxRunningJobs &&
        !store.SetMaxRunningJobs(Name(), maxRunningJobs))
        return false;
    m_maxRunningJobs = maxRunningJobs;
    Update();
    return true;
}

void Taskmill_JobQueue::KillRunning()
{
    const bool wasPaused = m_paused;
    m_paused = true;
    Taskmill_JobContainer::KillRunning();
    if (!wasPaused)
        SetPaused(false);
}

void Taskmill_JobQueue::StartOutOfTurn(Taskmill_Job &job)
{
    StartJob(job);
}

void Taskmill_JobQueue::ReportChange()
{
    Q_EMIT QueueUpdatedSignal();
}

void Taskmill_JobQueue::Update()
{
    if (IsBudgetOn()) {
        Services().Budget->Pass(this);
    } else if (!m_paused) {
        if (Taskmill_Job *job = Taskmill_NextJobToStart(Jobs(), m_maxRunningJobs))
            StartJob(*job);
    }
    Q_EMIT QueueUpdatedSignal();
}

Taskmill_LongJobsQueue::Taskmill_LongJobsQueue(const Taskmill_JobServices &services)
    : Taskmill_JobQueue{Taskmill_NamesOf(Taskmill_Destination::Long).Stored, services}
{
}

Taskmill_ShortJobsQueue::Taskmill_ShortJobsQueue(const Taskmill_JobServices &services)
    : Taskmill_JobQueue{Taskmill_NamesOf(Taskmill_Destination::Short).Stored, services}
{
}
