// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <span>
#include <string>

/// What differs between systems in the test program. All texts are UTF-8.
namespace TestProgramSystem {
[[nodiscard]] int ProcessId();
/// Starts the test program with these arguments, in the background.
void StartCopy(std::span<const std::string> arguments);
void LeaveSession();
[[noreturn]] void Crash();
/// A variable of the environment; nothing when it is not set.
[[nodiscard]] std::optional<std::string> Variable(const std::string &name);
} // namespace TestProgramSystem

/// The program behind main(); returns its exit status.
int RunTestProgram(std::span<const std::string> arguments);
