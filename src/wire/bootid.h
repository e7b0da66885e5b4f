// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

/// What stands for the number of a system that has none.
constexpr std::string_view Taskmill_NoBootID = "-";

/// Another text after each start of the system, or the one that the environment variable TASKMILL_BOOT_ID
/// names, for tests.
[[nodiscard]] std::string Taskmill_BootID();

/// What the system says; empty where it says nothing.
[[nodiscard]] std::string Taskmill_SystemBootID();
