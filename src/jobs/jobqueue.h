// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobcontainer.h"

#include <optional>

/// The job to start next: the first Pending one, when fewer than maxRunningJobs run; nullptr otherwise.
[[nodiscard]] Taskmill_Job *Taskmill_NextJobToStart(const QList<Taskmill_Job *> &jobs, int maxRunningJobs);

/// A queue that runs at most MaxRunningJobs of its jobs at once, in the order of submission, and can be
/// paused. Each change starts at most one job, so a raised limit fills up as further changes come. With a
/// budget (Taskmill_JobBudget) each change starts all that fit, up to the limit.
class Taskmill_JobQueue : public Taskmill_JobContainer
{
    Q_OBJECT

public:
    [[nodiscard]] bool IsPaused() const { return m_paused; }
    void SetPaused(bool paused);

    [[nodiscard]] int MaxRunningJobs() const { return m_maxRunningJobs; }
    /// Also writes the limit to the open database when it differs there. 0 or less starts nothing.
    /// False when it cannot be stored: the limit is as it was then.
    bool SetMaxRunningJobs(int maxRunningJobs);

    /// Starts a waiting job, whichever stand before it, as Taskmill_JobBudget has decided.
    void StartOutOfTurn(Taskmill_Job &job);
    /// Something that is shown of its jobs has changed.
    void ReportChange();

    void KillRunning() override;

Q_SIGNALS:
    void QueueUpdatedSignal();

protected:
    using Taskmill_JobContainer::Taskmill_JobContainer;

    void Update() override;

private:
    bool m_paused = false;
    int m_maxRunningJobs = 1;
};

/// The queue "Long", for long calculations.
class Taskmill_LongJobsQueue final : public Taskmill_JobQueue
{
    Q_OBJECT

public:
    explicit Taskmill_LongJobsQueue(const Taskmill_JobServices &services);
};

/// The queue "Short", for quick utilities.
class Taskmill_ShortJobsQueue final : public Taskmill_JobQueue
{
    Q_OBJECT

public:
    explicit Taskmill_ShortJobsQueue(const Taskmill_JobServices &services);
};
