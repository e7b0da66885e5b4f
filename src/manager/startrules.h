// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/startconditions.h"
#include "jobs/startjudge.h"
#include "manager/waitingjobs.h"

#include <QHash>
#include <QObject>
#include <QTimer>

#include <functional>

class Taskmill_Destinations;
class Taskmill_FinishedJobs;
struct Taskmill_JobRequest;

/// Knows which waiting jobs may start as far as their conditions go, and which hours are quiet; looks again
/// when a job ends or goes, and when a time has come.
class Taskmill_StartRules final : public QObject, public Taskmill_StartJudge
{
    Q_OBJECT

public:
    /// The clock on the wall; tests have their own.
    using Clock = std::function<Taskmill_JobTime()>;

    explicit Taskmill_StartRules(Clock clock = Taskmill_JobTime::Now);

    /// Both outlive this. Before, no job is judged.
    void Follow(Taskmill_Destinations &destinations, Taskmill_FinishedJobs &finishedJobs);
    void SetClock(const Clock &clock) { m_clock = clock; }

    void Judge(Taskmill_Job &job) override;
    [[nodiscard]] bool AreHoursQuiet() const override;

    [[nodiscard]] bool HaveJobsLowPriority() const override { return m_haveLowPriority; }

    /// For the jobs that start from now on; in the user's settings, as what follows.
    void SetJobsLowPriority(bool isLow);
    [[nodiscard]] Taskmill_QuietHours QuietHours() const { return m_quietHours; }
    void SetQuietHours(const Taskmill_QuietHours &hours);
    /// The same of what was typed; says what has become of it.
    [[nodiscard]] Taskmill_WaitingJobs::Outcome SetQuietHoursFrom(const QString &text);
    [[nodiscard]] Taskmill_WaitingJobs::Outcome SetPriorityFrom(const QString &text);
    /// What the request says of when its job may start; returns why it is refused, or nothing.
    [[nodiscard]] QString ReadConditions(const Taskmill_JobRequest &request,
                                         Taskmill_StartConditions &conditions);

    /// The time is another: judges all jobs again, and has the queues start what may start now.
    void LookAgain();

private:
    void JobsChangedSlot();
    void LookForEnds();
    [[nodiscard]] Taskmill_OtherJob StateOf(int jobID);
    [[nodiscard]] Taskmill_OtherJob StateOfFinished(int jobID);
    void Satisfy();
    [[nodiscard]] bool AreAnyConditional() const;
    /// Sets the timer to the next time at which anything may change.
    void SetTimer();

    Clock m_clock;
    Taskmill_Destinations *m_destinations = nullptr;
    Taskmill_FinishedJobs *m_finishedJobs = nullptr;
    Taskmill_QuietHours m_quietHours;
    bool m_haveLowPriority;
    QHash<int, Taskmill_OtherJob> m_awaited; ///< the jobs that others wait for, as they were last
    QHash<int, Taskmill_OtherJob> m_ended;   ///< what became of those that have ended
    int m_generation = -1;                   ///< of the finished jobs, when that was found out
    QTimer m_timer;
    QTimer m_soon; ///< many jobs may end at once
};
