// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/startbudget.h"
#include "jobs/startdecision.h"

#include <QHash>
#include <QList>
#include <QString>

#include <functional>
#include <optional>

class Taskmill_Job;
class Taskmill_JobContainer;
class Taskmill_JobQueue;
struct Taskmill_JobRecord;

/// Which waiting jobs of all queues start, where the machine has a budget of cores and memory. Off at first:
/// then each queue starts jobs as its own limit says.
class Taskmill_JobBudget final : public Taskmill_StartBudget
{
public:
    /// In ms; never goes back.
    using Clock = std::function<qint64()>;
    explicit Taskmill_JobBudget(Clock clock = MonotonicTime);
    Q_DISABLE_COPY_MOVE(Taskmill_JobBudget)

    /// Its jobs wait for the budget. The queue outlives the last pass.
    void Join(Taskmill_JobQueue &queue);
    /// Its jobs take of the budget without asking. The list outlives the last pass.
    void JoinUnasked(const Taskmill_JobContainer &jobs) { m_all.append(&jobs); }

    [[nodiscard]] bool IsOn() const override { return m_limits.IsOn(); }
    [[nodiscard]] const Taskmill_BudgetLimits &Limits() const { return m_limits; }
    /// Starts what fits now; with none, each queue starts a job as it did before.
    void SetLimits(const Taskmill_BudgetLimits &limits);

    /// What the jobs that run take together.
    struct Use
    {
        int Jobs = 0;
        qint64 Cores = 0;
        qint64 MemoryMB = 0;
    };
    [[nodiscard]] Use InUse() const;

    [[nodiscard]] std::optional<QString> RefusalOf(const Taskmill_JobRecord &job) const override;
    void Pass(const Taskmill_JobContainer *reporting) override;

    /// Nothing is started as long as this lives: while one queue is emptied, another is not to go on.
    class Rest
    {
    public:
        explicit Rest(Taskmill_JobBudget &budget);
        ~Rest();
        Q_DISABLE_COPY_MOVE(Rest)

    private:
        Taskmill_JobBudget &m_budget;
    };

private:
    struct Member
    {
        Taskmill_JobQueue *Queue;
        QHash<qint32, qint64> FirstSince{}; ///< of waiting jobs that were the first of those that could start
        bool HasChanged = false;            ///< in the pass that is made
    };

    [[nodiscard]] static qint64 MonotonicTime();
    [[nodiscard]] Taskmill_StartQuestion Question() const;
    [[nodiscard]] static Taskmill_WaitingQueue WaitingIn(const Member &member);
    /// Whether all that was decided can stay so: none was held for its files.
    [[nodiscard]] bool CarryOut(const Taskmill_StartDecision &decision, qint64 now);
    [[nodiscard]] static bool CarryOut(Member &member, const Taskmill_QueueDecision &decision, qint64 now);
    void ForgetReasons();

    const Clock m_clock;
    Taskmill_BudgetLimits m_limits;
    QList<Member> m_members;
    QList<const Taskmill_JobContainer *> m_all;
    int m_rests = 0;
    bool m_isPassing = false;
    bool m_isToPassAgain = false;
};
