// SPDX-License-Identifier: MIT
#include "keeper/clock.h"

#include <windows.h>

long long Taskmill_SteadyClockMs()
{
    return static_cast<long long>(GetTickCount64());
}

long long Taskmill_WallClockMs()
{
    constexpr long long ticksPerMs = 10'000;               // of 100 ns, as the system counts
    constexpr long long msFrom1601To1970 = 11644473600000; // the system's epoch and the other
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    const auto ticks = static_cast<long long>((static_cast<unsigned long long>(now.dwHighDateTime) << 32U) |
                                              now.dwLowDateTime);
    return ticks / ticksPerMs - msFrom1601To1970;
}
