// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

/// Asks whether a manager listens on the port of this computer, and blocks for 1,000 ms at most while it
/// connects. No answer is read: that somebody listens is the whole answer.
[[nodiscard]] bool Taskmill_IsManagerRunning(bool gui, std::uint16_t port);
