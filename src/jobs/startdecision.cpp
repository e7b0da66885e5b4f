// SPDX-License-Identifier: MIT
#include "jobs/startdecision.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace {
using Job = Taskmill_WaitingJob;
using Reason = Taskmill_WaitReason;

struct Room
{
    qint64 Cores = 0;
    qint64 MemoryMB = 0;

    /// Of a budget without a limit there is always enough.
    [[nodiscard]] static Room FreeIn(const Taskmill_StartQuestion &question)
    {
        const auto left = [](qint64 limit, qint64 inUse) {
            return limit == 0 ? std::numeric_limits<qint64>::max() : std::max<qint64>(limit - inUse, 0);
        };
        return {.Cores = left(question.Budget.Cores, question.CoresInUse),
                .MemoryMB = left(question.Budget.MemoryMB, question.MemoryInUseMB)};
    }
    [[nodiscard]] bool Holds(const Job &job) const { return job.Cores <= Cores && job.MemoryMB <= MemoryMB; }
    /// As much of what the job needs as there is.
    void Take(const Job &job)
    {
        Cores -= std::min<qint64>(job.Cores, Cores);
        MemoryMB -= std::min(job.MemoryMB, MemoryMB);
    }
};

/// Why a job waits that was passed over, as `free` is at the end.
Reason ReasonOf(const Job &job, const Room &free, qint32 keptForJob)
{
    const bool lacksCores = job.Cores > free.Cores;
    const bool lacksMemory = job.MemoryMB > free.MemoryMB;
    if (!lacksCores && !lacksMemory)
        return {.Why = Reason::Kind::KeptForOther, .OtherJobID = keptForJob};
    return {.Why = lacksCores && lacksMemory ? Reason::Kind::CoresAndMemory
                   : lacksCores              ? Reason::Kind::Cores
                                             : Reason::Kind::Memory,
            .Cores = job.Cores,
            .MemoryMB = job.MemoryMB,
            .FreeCores = free.Cores,
            .FreeMemoryMB = free.MemoryMB};
}

/// One queue, whose jobs are looked at one after the other.
class Walk
{
public:
    Walk(const Taskmill_WaitingQueue &queue, const Taskmill_BudgetLimits &budget)
        : m_queue{queue}
        , m_budget{budget}
        , m_places{queue.IsPaused ? 0 : queue.MaxRunningJobs - queue.Running}
    {
        m_decision.Reasons.resize(queue.Waiting.size());
        SkipThoseThatCannotStart();
    }

    [[nodiscard]] bool HasCandidate() const { return m_places > 0 && m_at < m_queue.Waiting.size(); }
    [[nodiscard]] bool IsAtHead() const { return m_passedOver.empty(); }
    [[nodiscard]] const Job &Candidate() const { return m_queue.Waiting[m_at]; }
    /// In its queue, and in its turn.
    [[nodiscard]] std::pair<qint64, int> FirstSince(qint64 now) const
    {
        const qint64 since = Candidate().AtHeadSince;
        return {since < 0 ? now : since, m_turn};
    }

    void Start(int turn)
    {
        m_turn = turn;
        --m_places;
        m_decision.Starts.push_back(m_at);
        Next();
    }

    void PassOver()
    {
        m_passedOver.push_back(m_at);
        Next();
    }

    /// Passes over the head, for which what becomes free is kept.
    void KeepPlace()
    {
        m_isKept = true;
        --m_places;
        PassOver();
    }

    [[nodiscard]] Taskmill_QueueDecision Decision(const Room &free, qint32 keptForJob)
    {
        for (const std::size_t position : m_passedOver)
            m_decision.Reasons[position] = ReasonOf(m_queue.Waiting[position], free, keptForJob);
        const std::size_t first = IsAtHead() ? m_at : m_passedOver.front();
        if (first < m_queue.Waiting.size())
            m_decision.Head = first;
        if (m_isKept)
            m_decision.Reasons[first].IsKept = true;
        SkipRest();
        return std::move(m_decision);
    }

private:
    void Next()
    {
        ++m_at;
        SkipThoseThatCannotStart();
    }

    [[nodiscard]] bool CanStart(std::size_t position)
    {
        const Job &job = m_queue.Waiting[position];
        if (!job.IsHeld && !m_budget.CanHold(job.Cores, job.MemoryMB))
            m_decision.Reasons[position] = {.Why = Reason::Kind::LargerThanBudget,
                                            .Cores = job.Cores,
                                            .MemoryMB = job.MemoryMB,
                                            .FreeCores = m_budget.Cores,
                                            .FreeMemoryMB = m_budget.MemoryMB};
        return !job.IsHeld && m_budget.CanHold(job.Cores, job.MemoryMB);
    }

    void SkipThoseThatCannotStart()
    {
        while (m_at < m_queue.Waiting.size() && !CanStart(m_at))
            ++m_at;
    }

    /// Also of those that nobody came to it is said that they never fit.
    void SkipRest()
    {
        for (; m_at < m_queue.Waiting.size(); ++m_at)
            (void)CanStart(m_at);
    }

    const Taskmill_WaitingQueue &m_queue;
    const Taskmill_BudgetLimits &m_budget;
    Taskmill_QueueDecision m_decision;
    std::vector<std::size_t> m_passedOver;
    std::size_t m_at = 0;
    int m_places; ///< that are left; negative when the limit was lowered
    int m_turn = 0;
    bool m_isKept = false;
};

class Decider
{
public:
    explicit Decider(const Taskmill_StartQuestion &question)
        : m_now{question.Now}
        , m_free{Room::FreeIn(question)}
        , m_spare{m_free}
    {
        m_walks.reserve(question.Queues.size());
        for (const Taskmill_WaitingQueue &queue : question.Queues)
            m_walks.emplace_back(queue, question.Budget);
    }

    void LookAtHeads()
    {
        while (Walk *walk = OldestHead()) {
            if (StartIfItFits(*walk))
                continue;
            const Job &job = walk->Candidate();
            if (m_now - walk->FirstSince(m_now).first < Taskmill_LongestOvertaken.count()) {
                walk->PassOver();
                continue;
            }
            m_spare.Take(job);
            if (m_keptForJob == 0)
                m_keptForJob = job.JobID;
            walk->KeepPlace();
        }
    }

    void LookAtTheOthers()
    {
        for (bool isAnyLeft = true; isAnyLeft;) {
            isAnyLeft = false;
            for (Walk &walk : m_walks) {
                if (!walk.HasCandidate())
                    continue;
                isAnyLeft = true;
                if (!StartIfItFits(walk))
                    walk.PassOver();
            }
        }
    }

    [[nodiscard]] Taskmill_StartDecision Decision()
    {
        Taskmill_StartDecision decision;
        for (Walk &walk : m_walks)
            decision.Queues.push_back(walk.Decision(m_free, m_keptForJob));
        return decision;
    }

private:
    /// Of the queues at whose head no job was passed over so far; nullptr when there is none.
    [[nodiscard]] Walk *OldestHead()
    {
        Walk *oldest = nullptr;
        for (Walk &walk : m_walks) {
            if (walk.HasCandidate() && walk.IsAtHead() &&
                (!oldest || walk.FirstSince(m_now) < oldest->FirstSince(m_now)))
                oldest = &walk;
        }
        return oldest;
    }

    bool StartIfItFits(Walk &walk)
    {
        const Job &job = walk.Candidate();
        if (!m_spare.Holds(job))
            return false;
        m_spare.Take(job);
        m_free.Take(job);
        walk.Start(++m_turns);
        return true;
    }

    const qint64 m_now;
    Room m_free;
    Room m_spare; ///< without what is kept for jobs that have waited long
    std::vector<Walk> m_walks;
    qint32 m_keptForJob = 0;
    int m_turns = 0;
};
} // namespace

Taskmill_StartDecision Taskmill_DecideStarts(const Taskmill_StartQuestion &question)
{
    Decider decider{question};
    decider.LookAtHeads();
    decider.LookAtTheOthers();
    return decider.Decision();
}
