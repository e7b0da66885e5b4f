// SPDX-License-Identifier: MIT
#include "jobs/jobqueue.h"

#include "jobs/jobstore.h"
#include "jobs/startbudget.h"
#include "jobs/startjudge.h"

#include <algorithm>
#include <chrono>
#include <utility>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {
/// Jobs that start within that time of each other are so short that the time between them counts; and so long
/// what is prepared of a start does.
constexpr std::chrono::milliseconds longestPrepared = 1s;
} // namespace

Taskmill_Job *Taskmill_NextJobToStart(const QList<Taskmill_Job *> &jobs, int maxRunningJobs, int lastJobID)
{
    int running = 0;
    for (Taskmill_Job *job : jobs) {
        if (job->Status() == Taskmill_JobStatus::Running)
            ++running;
        if (job->Status() != Taskmill_JobStatus::Pending)
            continue;
        // Behind the first Pending job all others are Pending too.
        if (running >= maxRunningJobs)
            return nullptr;
        if (job->MayStart() && job->JobID() <= lastJobID)
            return job;
    }
    return nullptr;
}

Taskmill_JobQueue::Taskmill_JobQueue(QString name, const Taskmill_JobServices &services)
    : Taskmill_JobContainer{std::move(name), services}
{
    m_drop.setSingleShot(true);
    m_drop.setInterval(longestPrepared);
    connect(&m_drop, &QTimer::timeout, this, &Taskmill_JobQueue::DropPrepared);
}

void Taskmill_JobQueue::SetPaused(bool paused)
{
    m_paused = paused;
    m_lastBeforePause.reset();
    Update();
}

void Taskmill_JobQueue::PauseWhenJobsHaveEnded()
{
    if (m_paused)
        return;
    int last = std::numeric_limits<int>::min();
    for (const Taskmill_Job *job : Jobs())
        last = std::max(last, job->JobID());
    m_lastBeforePause = last;
    Update();
}

bool Taskmill_JobQueue::IsBeforePause(const Taskmill_Job &job) const
{
    return job.JobID() <= m_lastBeforePause.value_or(std::numeric_limits<int>::max());
}

bool Taskmill_JobQueue::MayStart(const Taskmill_Job &job) const
{
    return job.MayStart() && IsBeforePause(job);
}

bool Taskmill_JobQueue::MayStartAny() const
{
    return !m_paused && !(Services().Judge && Services().Judge->AreHoursQuiet());
}

void Taskmill_JobQueue::PauseIfDone()
{
    if (RunningCount() > 0)
        return;
    const auto isToRun = [this](const Taskmill_Job *job) {
        // The job that writes its files may run in another queue, and will end.
        const bool isInTurn = job->MayStart() || (job->WaitsForTurn() && job->IsHeldForWriter());
        return job->Status() == Taskmill_JobStatus::Pending && isInTurn && IsBeforePause(*job) &&
               !(IsBudgetOn() && Services().Budget->RefusalOf(job->Record()));
    };
    if (std::ranges::none_of(Jobs(), isToRun)) {
        m_lastBeforePause.reset();
        m_paused = true;
    }
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

/// One that is held for its files lets the next one pass.
void Taskmill_JobQueue::StartNext()
{
    const int last = m_lastBeforePause.value_or(std::numeric_limits<int>::max());
    for (int tries = 0; tries < MostTries; ++tries) {
        Taskmill_Job *job = Taskmill_NextJobToStart(Jobs(), m_maxRunningJobs, last);
        if (!job)
            return;
        StartJob(*job);
        if (job->MayStart()) {
            const bool isFast = m_sinceStart.isValid() && !m_sinceStart.hasExpired(longestPrepared.count());
            m_sinceStart.start();
            if (isFast)
                QMetaObject::invokeMethod(this, &Taskmill_JobQueue::PrepareNext, Qt::QueuedConnection);
            return;
        }
    }
    LookAgainSoon();
}

void Taskmill_JobQueue::PrepareNext()
{
    const int running = RunningCount();
    const int last = m_lastBeforePause.value_or(std::numeric_limits<int>::max());
    Taskmill_Job *next = running > 0 && !IsBudgetOn() && MayStartAny()
                             ? Taskmill_NextJobToStart(Jobs(), running + 1, last)
                             : nullptr;
    if (next && next == m_prepared)
        return;
    DropPrepared();
    if (!next || !PrepareStart(*next))
        return;
    m_prepared = next;
    m_preparedJobID = next->JobID();
    m_drop.start();
}

void Taskmill_JobQueue::DropPrepared()
{
    m_drop.stop();
    if (const int jobID = std::exchange(m_preparedJobID, 0))
        DropPreparation(m_prepared, jobID);
    m_prepared.clear();
}

void Taskmill_JobQueue::Update()
{
    if (IsBudgetOn()) {
        Services().Budget->Pass(this);
    } else if (MayStartAny()) {
        StartNext();
    }
    if (IsToPause())
        PauseIfDone();
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
