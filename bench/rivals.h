// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

namespace Bench {
/// Times of other job spoolers for one job each, in ms; 0 when the program is not installed.
struct RivalTimes
{
    double Submission = 0;
    double TurnRound = 0;
};

/// task-spooler, one slot. It holds every waiting job as a process, so that some hundred are its most.
[[nodiscard]] RivalTimes MeasureTsp(int jobs);
/// nq. Each waiting job waits for all jobs before it.
[[nodiscard]] RivalTimes MeasureNq(int jobs);
} // namespace Bench
