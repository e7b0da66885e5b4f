// SPDX-License-Identifier: MIT
#pragma once

#include "slurm/arguments.h"
#include "slurm/command.h"

#include <string>
#include <string_view>
#include <vector>

/// sbatch with all its options, for a script in that folder of the cluster.
[[nodiscard]] std::vector<std::string> Taskmill_SbatchWords(const Taskmill_SlurmArguments &arguments,
                                                            const std::string &comment,
                                                            const std::string &runFolder);
/// The number that sbatch --parsable has printed last; empty when it is none.
[[nodiscard]] std::string Taskmill_SubmittedNumber(std::string_view output);
/// The number of the line that the batch script has written last; empty when there is none.
[[nodiscard]] std::string Taskmill_BegunNumber(std::string_view begun);

/// What a failure of sbatch says.
enum class Taskmill_SbatchFailure
{
    Refused,     ///< the cluster, or sbatch itself, does not take the job
    Unreachable, ///< nobody was reached: nothing is submitted
    Unknown,     ///< the job may have been taken
};
[[nodiscard]] Taskmill_SbatchFailure Taskmill_KindOfFailure(const Taskmill_CommandEnd &end);
