// SPDX-License-Identifier: MIT
#include "jobs/jobbudget.h"

#include "jobs/jobqueue.h"

#include <QScopedValueRollback>

#include <chrono>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Then the event loop goes on first.
constexpr int mostTries = 16;

/// The waiting jobs stand together at the end.
QList<Taskmill_Job *> WaitingJobs(const Taskmill_JobContainer &jobs)
{
    return jobs.Jobs().last(jobs.WaitingCount());
}
} // namespace

qint64 Taskmill_JobBudget::MonotonicTime()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

Taskmill_JobBudget::Taskmill_JobBudget(Clock clock)
    : m_clock{std::move(clock)}
{
}

void Taskmill_JobBudget::Join(Taskmill_JobQueue &queue)
{
    m_members.append(Member{.Queue = &queue});
    m_all.append(&queue);
}

void Taskmill_JobBudget::SetLimits(const Taskmill_BudgetLimits &limits)
{
    if (m_limits == limits)
        return;
    m_limits = limits;
    if (!IsOn())
        ForgetReasons();
    for (const Member &member : std::as_const(m_members))
        member.Queue->JobFinishedSlot();
}

void Taskmill_JobBudget::ForgetReasons()
{
    for (Member &member : m_members) {
        member.FirstSince.clear();
        for (Taskmill_Job *job : WaitingJobs(*member.Queue)) {
            if (job->Record().WaitReason.Why != Taskmill_WaitReason::Kind::InWords)
                job->SetWaitReason({});
        }
    }
}

Taskmill_JobBudget::Use Taskmill_JobBudget::InUse() const
{
    Use use;
    for (const Taskmill_JobContainer *jobs : m_all) {
        for (const Taskmill_Job *job : jobs->Jobs()) {
            if (job->Status() == Taskmill_JobStatus::Pending)
                break;
            if (job->Status() != Taskmill_JobStatus::Running)
                continue;
            // What a cluster runs takes nothing of this computer.
            if (job->Record().JobType.RunsOnCluster())
                continue;
            ++use.Jobs;
            use.Cores += job->Record().Cores();
            use.MemoryMB += job->Record().MemoryMB();
        }
    }
    return use;
}

std::optional<QString> Taskmill_JobBudget::RefusalOf(const Taskmill_JobRecord &job) const
{
    if (job.JobType.RunsOnCluster() || m_limits.CanHold(job.Cores(), job.MemoryMB()))
        return std::nullopt;
    const Taskmill_WaitReason reason{.Why = Taskmill_WaitReason::Kind::LargerThanBudget,
                                     .Cores = job.Cores(),
                                     .MemoryMB = job.MemoryMB(),
                                     .FreeCores = m_limits.Cores,
                                     .FreeMemoryMB = m_limits.MemoryMB};
    return u"the job is "_s + reason.Text();
}

Taskmill_WaitingQueue Taskmill_JobBudget::WaitingIn(const Member &member)
{
    Taskmill_WaitingQueue queue;
    queue.Running = member.Queue->RunningCount();
    queue.MaxRunningJobs = member.Queue->MaxRunningJobs();
    queue.IsPaused = !member.Queue->MayStartAny();
    const QList<Taskmill_Job *> jobs = WaitingJobs(*member.Queue);
    queue.Waiting.reserve(static_cast<std::size_t>(jobs.size()));
    for (const Taskmill_Job *job : jobs) {
        const Taskmill_JobRecord &record = job->Record();
        const bool isElsewhere = record.JobType.RunsOnCluster();
        queue.Waiting.push_back({.JobID = record.JobID,
                                 .Cores = isElsewhere ? 0 : record.Cores(),
                                 .MemoryMB = isElsewhere ? 0 : record.MemoryMB(),
                                 .AtHeadSince = member.FirstSince.value(record.JobID, -1),
                                 .IsHeld = !member.Queue->MayStart(*job)});
    }
    return queue;
}

Taskmill_StartQuestion Taskmill_JobBudget::Question() const
{
    const Use use = InUse();
    Taskmill_StartQuestion question{.Budget = m_limits,
                                    .CoresInUse = use.Cores,
                                    .MemoryInUseMB = use.MemoryMB,
                                    .Queues = {},
                                    .Now = m_clock()};
    for (const Member &member : m_members)
        question.Queues.push_back(WaitingIn(member));
    return question;
}

bool Taskmill_JobBudget::CarryOut(Member &member, const Taskmill_QueueDecision &decision, qint64 now)
{
    const QList<Taskmill_Job *> jobs = WaitingJobs(*member.Queue);
    const auto jobAt = [&jobs](std::size_t position) {
        return jobs[static_cast<qsizetype>(position)];
    };
    // One that is held for its files does not lose its turn, nor take that of the one behind it.
    member.FirstSince.removeIf([&member](const auto &first) {
        const Taskmill_Job *job = member.Queue->FindByJobID(first.key());
        return !job || job->Status() != Taskmill_JobStatus::Pending || !job->WaitsForTurn();
    });
    if (decision.Head != Taskmill_QueueDecision::NoHead) {
        const qint32 jobID = jobAt(decision.Head)->JobID();
        member.FirstSince.insert(jobID, member.FirstSince.value(jobID, now));
    }
    for (std::size_t position = 0; position < decision.Reasons.size(); ++position) {
        Taskmill_Job &job = *jobAt(position);
        if (!member.Queue->MayStart(job) || job.Record().WaitReason == decision.Reasons[position])
            continue;
        job.SetWaitReason(decision.Reasons[position]);
        member.HasChanged = true;
    }
    bool areAllStarted = true;
    for (const std::size_t position : decision.Starts) {
        member.HasChanged = true;
        member.Queue->StartOutOfTurn(*jobAt(position));
        areAllStarted = areAllStarted && jobAt(position)->MayStart();
    }
    return areAllStarted;
}

bool Taskmill_JobBudget::CarryOut(const Taskmill_StartDecision &decision, qint64 now)
{
    bool areAllStarted = true;
    for (qsizetype index = 0; index < m_members.size(); ++index) {
        if (!CarryOut(m_members[index], decision.Queues[static_cast<std::size_t>(index)], now))
            areAllStarted = false;
    }
    return areAllStarted;
}

void Taskmill_JobBudget::Pass(const Taskmill_JobContainer *reporting)
{
    if (!IsOn() || m_rests > 0)
        return;
    // What happens while jobs are started is looked at afterwards.
    m_isToPassAgain = true;
    if (m_isPassing)
        return;
    {
        const QScopedValueRollback passing{m_isPassing, true};
        int tries = 0;
        while (std::exchange(m_isToPassAgain, false)) {
            const Taskmill_StartQuestion question = Question();
            if (CarryOut(Taskmill_DecideStarts(question), question.Now))
                continue;
            // What was kept for one that is held now is free for others.
            if (++tries < mostTries)
                m_isToPassAgain = true;
            else
                m_members.first().Queue->LookAgainSoon();
        }
    }
    for (Member &member : m_members) {
        if (std::exchange(member.HasChanged, false) && member.Queue != reporting)
            member.Queue->ReportChange();
    }
}

Taskmill_JobBudget::Rest::Rest(Taskmill_JobBudget &budget)
    : m_budget{budget}
{
    ++m_budget.m_rests;
}

Taskmill_JobBudget::Rest::~Rest()
{
    --m_budget.m_rests;
}
