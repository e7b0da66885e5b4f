// SPDX-License-Identifier: MIT
#include "keeper/clock.h"

#include <ctime>

namespace {
long long NowMs(clockid_t clock)
{
    timespec now{};
    clock_gettime(clock, &now);
    return now.tv_sec * 1000LL + now.tv_nsec / 1'000'000;
}
} // namespace

long long Taskmill_SteadyClockMs()
{
    return NowMs(CLOCK_MONOTONIC);
}

long long Taskmill_WallClockMs()
{
    return NowMs(CLOCK_REALTIME);
}
