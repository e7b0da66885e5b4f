// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/joborder.h"
#include "jobs/startconditions.h"

#include <QList>
#include <QString>

class Taskmill_Destinations;
class Taskmill_Job;

/// What the user does to jobs that wait, wherever they wait, from the console or through a client: each
/// operation takes the numbers of jobs and returns what has become of them.
class Taskmill_WaitingJobs
{
public:
    struct Outcome
    {
        QString Problem{}; ///< why nothing was done, a sentence for the user; empty when it was
        QString Text{};    ///< what was done, a sentence
    };

    /// The destinations outlive this.
    explicit Taskmill_WaitingJobs(Taskmill_Destinations &destinations)
        : m_destinations{destinations}
    {
    }

    /// Jobs of one queue.
    [[nodiscard]] Outcome Move(const QList<int> &jobIDs, Taskmill_Move move);
    [[nodiscard]] Outcome Hold(const QList<int> &jobIDs);
    /// Nothing but its turn keeps such a job from being started then.
    [[nodiscard]] Outcome Release(const QList<int> &jobIDs);
    [[nodiscard]] Outcome NotBefore(const QList<int> &jobIDs, const QString &timeText);
    /// The other job waits or runs, and waits for none of these itself.
    [[nodiscard]] Outcome After(const QList<int> &jobIDs, int otherJobID);

    /// Both at once, each only where it is set.
    [[nodiscard]] Outcome StartLater(const QList<int> &jobIDs, const Taskmill_StartConditions &conditions);

    /// Numbers separated by commas or blanks, each once; empty when something else is among them.
    [[nodiscard]] static QList<int> NumbersFromText(const QString &text);

private:
    using Change = void (*)(Taskmill_StartConditions &conditions, const Taskmill_StartConditions &wanted);

    /// Perhaps it runs by now; nullptr when it does not wait any more at all.
    [[nodiscard]] const Taskmill_Job *WaitingJob(int jobID) const;
    /// Nobody lets a job write what another one is writing.
    [[nodiscard]] static bool CanBeReleased(const Taskmill_Job &job);
    [[nodiscard]] QString WhyNotReleased(const QList<int> &jobIDs);
    [[nodiscard]] QString ProblemOf(const QList<int> &jobIDs);
    [[nodiscard]] bool WaitsFor(int jobID, const QList<int> &jobIDs);
    [[nodiscard]] Outcome SetConditions(const QList<int> &jobIDs, const Taskmill_StartConditions &wanted,
                                        Change change, const QString &done);

    Taskmill_Destinations &m_destinations;
};
