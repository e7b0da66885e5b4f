// SPDX-License-Identifier: MIT
#pragma once

#include <span>

/// The system's errors that say that it has too little of something now, such as processes, memory, open
/// files or room on a disk: what failed may work later.
[[nodiscard]] std::span<const int> Taskmill_LackErrors();
[[nodiscard]] bool Taskmill_IsLack(int error);
