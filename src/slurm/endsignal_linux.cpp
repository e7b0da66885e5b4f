// SPDX-License-Identifier: MIT
#include "slurm/endsignal.h"

#include "slurm/durablefile.h"
#include "wire/runrecord.h"

#include <csignal>
#include <cstdlib>
#include <string>

#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

namespace {
volatile std::sig_atomic_t isAsked = 0;
volatile std::sig_atomic_t sender = 0;
volatile std::sig_atomic_t isForSystem = 0;

void TakeSignal(int, siginfo_t *info, void *)
{
    if (isAsked != 0)
        return;
    sender = info->si_pid;
    isForSystem = info->si_code == SI_QUEUE && info->si_value.sival_int == Taskmill_SystemEndsValue ? 1 : 0;
    isAsked = 1;
}

/// The process that starts and ends all others, of the system or of the user.
bool IsService(int process)
{
    constexpr std::size_t longestName = 32;
    return process == 1 ||
           Taskmill_ReadFile("/proc/" + std::to_string(process) + "/comm", longestName) == "systemd\n";
}
} // namespace

void Taskmill_CatchEndSignals()
{
    struct sigaction action
    {
    };
    action.sa_sigaction = TakeSignal;
    action.sa_flags = SA_SIGINFO;
    for (const int signal : {SIGTERM, SIGINT})
        sigaction(signal, &action, nullptr);
    action.sa_flags = 0;
    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, nullptr);
}

Taskmill_EndAsked Taskmill_WhatEndSignalAsks()
{
    if (isAsked == 0)
        return Taskmill_EndAsked::No;
    static const bool isLeave = isForSystem != 0 || IsService(static_cast<int>(sender));
    return isLeave ? Taskmill_EndAsked::Leave : Taskmill_EndAsked::Cancel;
}

void Taskmill_SleepMs(int ms)
{
    constexpr int msInSecond = 1000;
    constexpr long nsInMs = 1'000'000;
    const timespec time{.tv_sec = ms / msInSecond, .tv_nsec = ms % msInSecond * nsInMs};
    nanosleep(&time, nullptr);
}

void Taskmill_EndBySignal(int signal)
{
    const rlimit none{.rlim_cur = 0, .rlim_max = 0};
    setrlimit(RLIMIT_CORE, &none);
    struct sigaction usual
    {
    };
    usual.sa_handler = SIG_DFL;
    sigaction(signal, &usual, nullptr);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, signal);
    sigprocmask(SIG_UNBLOCK, &signals, nullptr);
    raise(signal);
    _exit(128 + signal);
}
