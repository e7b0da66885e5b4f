// SPDX-License-Identifier: MIT
#include "kilnutil/openfileslimit.h"

#include <algorithm>
#include <atomic>

#include <sys/resource.h>

namespace {
constexpr rlim_t wantedOpenFiles = 8192;

rlimit openFilesAtStart{};
std::atomic<bool> openFilesRaised{false};
} // namespace

void KilnUtil_RaiseOpenFilesLimit()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= wantedOpenFiles)
        return;
    openFilesAtStart = limit;
    limit.rlim_cur =
        limit.rlim_max == RLIM_INFINITY ? wantedOpenFiles : std::min(wantedOpenFiles, limit.rlim_max);
    openFilesRaised = setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

long long KilnUtil_OpenFilesLimitAtStart()
{
    return openFilesRaised ? static_cast<long long>(openFilesAtStart.rlim_cur) : 0;
}

// After a fork only what is safe in a signal handler may be called.
void KilnUtil_RestoreOpenFilesLimit()
{
    if (openFilesRaised)
        setrlimit(RLIMIT_NOFILE, &openFilesAtStart);
}
