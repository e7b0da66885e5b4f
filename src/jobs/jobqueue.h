// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobcontainer.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>

#include <limits>
#include <optional>

/// The job to start next: the first Pending one that may start, of those with numbers up to the last one,
/// when fewer than maxRunningJobs run; nullptr otherwise.
[[nodiscard]] Taskmill_Job *Taskmill_NextJobToStart(const QList<Taskmill_Job *> &jobs, int maxRunningJobs,
                                                    int lastJobID = std::numeric_limits<int>::max());

/// A queue that runs at most MaxRunningJobs of its jobs at once, in the order of submission, and can be
/// paused. Each change starts at most one job, so a raised limit fills up as further changes come. With a
/// budget (Taskmill_JobBudget) each change starts all that fit, up to the limit.
class Taskmill_JobQueue : public Taskmill_JobContainer
{
    Q_OBJECT

public:
    [[nodiscard]] bool IsPaused() const { return m_paused; }
    void SetPaused(bool paused);
    /// Pauses the queue when all jobs have ended that are in it now: what is added from now on is not started
    /// before. Jobs that wait for something else than their turn, or are larger than the budget, are not
    /// waited for. SetPaused() takes it back.
    void PauseWhenJobsHaveEnded();
    [[nodiscard]] bool IsToPause() const { return m_lastBeforePause.has_value(); }
    /// Whether it may start that job when its turn comes.
    [[nodiscard]] bool MayStart(const Taskmill_Job &job) const;
    /// Whether it would start a job now that there is a place for.
    [[nodiscard]] bool MayStartAny() const;

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
    Taskmill_JobQueue(QString name, const Taskmill_JobServices &services);

    void Update() override;

private:
    [[nodiscard]] bool IsBeforePause(const Taskmill_Job &job) const;
    void StartNext();
    /// Jobs follow each other so fast that the next one is made ready while others run.
    void PrepareNext();
    void DropPrepared();
    void PauseIfDone();

    bool m_paused = false;
    std::optional<int> m_lastBeforePause; ///< the largest number of the jobs that are still to be started
    int m_maxRunningJobs = 1;
    QElapsedTimer m_sinceStart;
    QPointer<Taskmill_Job> m_prepared;
    int m_preparedJobID = 0; ///< 0 while nothing is prepared
    QTimer m_drop;
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
