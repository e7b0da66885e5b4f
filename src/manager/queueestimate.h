// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobtime.h"

#include <QHash>
#include <QList>
#include <QString>

#include <optional>

class Taskmill_JobQueue;

/// How long jobs of each type usually take, in s, by their numbers in the project; only of types that are
/// known well enough.
using Taskmill_UsualSeconds = QHash<qint32, qint64>;

/// A job for an estimate: one that waits, or one that runs for so long already.
struct Taskmill_EstimatedJob
{
    qint32 JobTypeID = 0;
    std::optional<qint64> ElapsedSeconds{}; ///< nothing for one that waits
};

/// After how many seconds the last one of the jobs will probably have ended, which are given in the order in
/// which they start, when so many run at a time. Nothing where nobody can know: a type's usual time is not
/// known, or none may run.
[[nodiscard]] std::optional<qint64> Taskmill_SecondsToEnd(const QList<Taskmill_EstimatedJob> &jobs,
                                                          int runningAtATime,
                                                          const Taskmill_UsualSeconds &usual);

/// The middle one of these times; nothing when there are fewer than five.
[[nodiscard]] std::optional<qint64> Taskmill_UsualTime(QList<qint64> seconds);

/// "probably done about 17:40", with the date on another day.
[[nodiscard]] QString Taskmill_EstimateText(const Taskmill_JobTime &now, qint64 secondsToEnd);

/// The estimate of a queue from the finished jobs of the open project; empty where there is none, as when
/// the queue is paused or holds no waiting job. Held jobs do not count. Reads at most a hundred finished jobs
/// of each type.
[[nodiscard]] QString Taskmill_EstimateOf(const Taskmill_JobQueue &queue, const Taskmill_JobTime &now);
