// SPDX-License-Identifier: MIT
#pragma once

/// Exit statuses of the client. When several apply, the largest number counts.
enum class Taskmill_CtlStatus
{
    Success = 0,
    JobNotCompleted = 1, ///< a job that was waited for has another final status
    WrongUsage = 2,      ///< also a file that does not exist
    NoManager = 3,       ///< or the manager went away
    Refused = 4,
    BadProject = 5, ///< a project file cannot be read or written
    TimedOut = 6,   ///< before the answer, or the end of a job that was waited for
    OutputLost = 7, ///< standard output cannot be written
};
