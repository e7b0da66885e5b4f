// SPDX-License-Identifier: MIT
#include "ui/jobsummary.h"

#include "manager/destinations.h"
#include "manager/finishedjobs.h"
#include "manager/measuretext.h"

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int leastPauseBetweenCountsMs = 100;

Taskmill_JobCounts::Ended LastOf(const Taskmill_FinishedJobs &jobs)
{
    if (jobs.Count() == 0)
        return {};
    const Taskmill_JobRecord &job = jobs.JobAt(jobs.Count() - 1);
    return {.name = job.Name,
            .status = job.Status,
            .verdict = job.Result.Verdict,
            .result = Taskmill_ResultText(job.Result),
            .time = job.Finished};
}
} // namespace

int Taskmill_JobCounts::Running() const
{
    int count = 0;
    for (const Queue &queue : queues)
        count += queue.running;
    return count;
}

int Taskmill_JobCounts::Waiting() const
{
    int count = 0;
    for (const Queue &queue : queues)
        count += queue.waiting;
    return count;
}

QString Taskmill_CountsText(int running, int waiting)
{
    return u"%1 running, %2 waiting"_s.arg(running).arg(waiting);
}

Taskmill_JobSummary::Taskmill_JobSummary(Taskmill_Destinations &destinations,
                                         Taskmill_FinishedJobs &finishedJobs)
    : m_destinations{destinations}
    , m_finishedJobs{finishedJobs}
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(leastPauseBetweenCountsMs);
    connect(&m_timer, &QTimer::timeout, this, &Taskmill_JobSummary::Count);
    const auto countSoon = [this] {
        if (!m_timer.isActive())
            m_timer.start();
    };
    for (Taskmill_QueueOwner *owner : m_destinations.All())
        connect(owner, &Taskmill_QueueOwner::JobsChangedSignal, this, countSoon);
    connect(&m_finishedJobs, &Taskmill_FinishedJobs::JobsChangedSignal, this, countSoon);
    connect(&m_finishedJobs, &Taskmill_FinishedJobs::ResultKnownSignal, this, countSoon);
}

void Taskmill_JobSummary::Count()
{
    Taskmill_JobCounts counts{
        .queues = {}, .finished = m_finishedJobs.Count(), .lastEnded = LastOf(m_finishedJobs)};
    size_t number = 0;
    for (const Taskmill_QueueOwner *owner : m_destinations.All())
        counts.queues.at(number++) = {.running = owner->Jobs().RunningCount(),
                                      .waiting = owner->Jobs().WaitingCount()};
    if (counts == m_counts)
        return;
    m_counts = std::move(counts);
    Q_EMIT ChangedSignal();
}
