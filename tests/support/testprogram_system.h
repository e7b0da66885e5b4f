// SPDX-License-Identifier: MIT
#pragma once

#include <span>
#include <string>

/// What differs between systems in the test program. All texts are UTF-8.
namespace TestProgramSystem {
[[nodiscard]] int ProcessId();
/// Starts the test program with these arguments, in the background.
void StartCopy(std::span<const std::string> arguments);
void LeaveSession();
[[noreturn]] void Crash();
} // namespace TestProgramSystem

/// The program behind main(); returns its exit status.
int RunTestProgram(std::span<const std::string> arguments);
