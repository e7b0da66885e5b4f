// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobtype.h"

/// A job type for a program that is installed here, ready to be added to a project.
struct Taskmill_FoundPreset
{
    Taskmill_JobType JobType;
    /// Whether its template was tried with the real program; else it is what the program's manual says.
    bool IsTried = false;
};

/// The job types of the programs in the search path, in the order of their table, without those whose name
/// another one among `present` has.
[[nodiscard]] QList<Taskmill_FoundPreset> Taskmill_FindPresets(const QList<Taskmill_JobType> &present);
