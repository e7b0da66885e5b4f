// SPDX-License-Identifier: MIT
#pragma once

/// Why the program ends, which decides what becomes of the jobs that run.
enum class Taskmill_Ending
{
    Unasked,     ///< by a signal, a log-out, a lost display: nobody can be asked, and the jobs go on
    Interrupted, ///< by Ctrl+C: as the user chose the last time
    AskedToEnd,  ///< the user wants the jobs to end
    AskedToKeep, ///< the user wants them to go on
};

/// Whether the jobs that keepers run are to go on when the program ends for that reason. TASKMILL_END_JOBS
/// in the environment overrides it: 1 for no, 0 for yes.
[[nodiscard]] bool Taskmill_JobsGoOn(Taskmill_Ending ending);

/// Whether the user decides, and not the environment.
[[nodiscard]] bool Taskmill_UserDecidesJobsGoOn();

/// What the user chose the last time that he was asked; false at first.
[[nodiscard]] bool Taskmill_RememberedJobsGoOn();
void Taskmill_RememberJobsGoOn(bool goOn);
