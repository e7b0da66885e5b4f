// SPDX-License-Identifier: MIT
#pragma once

/// The whole life of the program, from the command line to the exit status: 0 normal, 1 a failed start, 2 a
/// file of the command line that does not exist, 3 the usage text was shown, 4 the project could not be saved
/// to its own file when the program had to end on a signal.
[[nodiscard]] int Taskmill_Run(int argc, char **argv);
