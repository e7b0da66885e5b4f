// SPDX-License-Identifier: MIT
#pragma once

#include "engines/programresult.h"
#include "jobs/jobstatus.h"
#include "jobs/jobtime.h"

#include <QObject>
#include <QTimer>

#include <array>

class Taskmill_Destinations;
class Taskmill_FinishedJobs;

/// How many jobs run, wait and have ended, and which of them ended last.
struct Taskmill_JobCounts
{
    struct Queue
    {
        int running = 0;
        int waiting = 0;
        bool operator==(const Queue &) const = default;
    };
    struct Ended
    {
        QString name;
        Taskmill_JobStatus status = Taskmill_JobStatus::Unknown;
        Taskmill_Verdict verdict = Taskmill_Verdict::None;
        QString result; ///< in words; empty when the program is not known
        Taskmill_JobTime time;
        bool operator==(const Ended &) const = default;
    };

    std::array<Queue, 3> queues; ///< in the order in which they are shown
    qsizetype finished = 0;
    Ended lastEnded; ///< without a name when there is none

    [[nodiscard]] int Running() const;
    [[nodiscard]] int Waiting() const;
    bool operator==(const Taskmill_JobCounts &) const = default;
};

/// Such as "3 running, 12 waiting".
[[nodiscard]] QString Taskmill_CountsText(int running, int waiting);

/// Follows these counts, and reports changes some ten times a second at most, however many jobs there are.
class Taskmill_JobSummary final : public QObject
{
    Q_OBJECT

public:
    /// Both outlive this.
    Taskmill_JobSummary(Taskmill_Destinations &destinations, Taskmill_FinishedJobs &finishedJobs);

    [[nodiscard]] const Taskmill_JobCounts &Counts() const { return m_counts; }

Q_SIGNALS:
    void ChangedSignal();

private:
    void Count();

    Taskmill_Destinations &m_destinations;
    Taskmill_FinishedJobs &m_finishedJobs;
    Taskmill_JobCounts m_counts;
    QTimer m_timer;
};
