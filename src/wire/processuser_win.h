// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

#include <windows.h>

/// The bytes of the SID of the user whose process that is; empty when the process does not show it.
[[nodiscard]] std::vector<std::byte> Taskmill_UserOfProcess(HANDLE process);
