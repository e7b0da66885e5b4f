#include "jobs/jobqueue.h"

#include "jobs/jobstore.h"

using namespace Qt::Literals::StringLiterals;

Taskmill_Job *Taskmill_NextJobToStart(const QList<Taskmill_Job *> &jobs, int maxRunningJobs)
{
    int running = 0;
    for (Taskmill_Job *job : jobs) {
        // Behind the first Pending job all others are Pending too.
        if (job->Status() == Taskmill_JobStatus::Pending)
            return running < maxRunningJobs ? job : nullptr;
        if (job->Status() == Taskmill_JobStatus::Running)
            ++running;
    }
    return nullptr;
}

Taskmill_JobQueue::Taskmill_JobQueue(const QString &name, Taskmill_JobStore &store,
                                     Taskmill_FinishedJobsTaker &finishedJobs,
                                     Taskmill_ProcessInspector &inspector)
    : Taskmill_JobContainer{name, finishedJobs, inspector}
    , m_store{store}
{
}

void Taskmill_JobQueue::SetPaused(bool paused)
{
    m_paused = paused;
    Update();
}

void Taskmill_JobQueue::SetMaxRunningJobs(int maxRunningJobs)
{
    m_maxRunningJobs = maxRunningJobs;
    if (m_store.IsOpen() && m_store.GetMaxRunningJobs(Name()) != maxRunningJobs)
        m_store.SetMaxRunningJobs(Name(), maxRunningJobs);
    Update();
}

void Taskmill_JobQueue::KillRunning()
{
    const bool wasPaused = m_paused;
    m_paused = true;
    Taskmill_JobContainer::KillRunning();
    if (!wasPaused)
        SetPaused(false);
}

void Taskmill_JobQueue::Update()
{
    if (!m_paused) {
        if (Taskmill_Job *job = Taskmill_NextJobToStart(Jobs(), m_maxRunningJobs))
            StartJob(*job);
    }
    Q_EMIT QueueUpdatedSignal();
}

Taskmill_LongJobsQueue::Taskmill_LongJobsQueue(Taskmill_JobStore &store,
                                               Taskmill_FinishedJobsTaker &finishedJobs,
                                               Taskmill_ProcessInspector &inspector)
    : Taskmill_JobQueue{u"Long"_s, store, finishedJobs, inspector}
{
}

Taskmill_ShortJobsQueue::Taskmill_ShortJobsQueue(Taskmill_JobStore &store,
                                                 Taskmill_FinishedJobsTaker &finishedJobs,
                                                 Taskmill_ProcessInspector &inspector)
    : Taskmill_JobQueue{u"Short"_s, store, finishedJobs, inspector}
{
}
