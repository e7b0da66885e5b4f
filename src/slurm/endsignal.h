// SPDX-License-Identifier: MIT
#pragma once

/// Why this program is asked to end.
enum class Taskmill_EndAsked
{
    No,
    Cancel, ///< somebody wants the job to end
    Leave,  ///< the system is shut down, or the user logs out: the job goes on
};

/// SIGTERM and SIGINT ask from now on, and end nothing by themselves.
void Taskmill_CatchEndSignals();
[[nodiscard]] Taskmill_EndAsked Taskmill_WhatEndSignalAsks();
/// Sleeps, at most until such a signal comes.
void Taskmill_SleepMs(int ms);
/// Ends this program by that signal, without a core file.
[[noreturn]] void Taskmill_EndBySignal(int signal);
