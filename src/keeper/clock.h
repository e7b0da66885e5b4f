// SPDX-License-Identifier: MIT
#pragma once

/// Never goes back.
[[nodiscard]] long long Taskmill_SteadyClockMs();
/// Since 1970.
[[nodiscard]] long long Taskmill_WallClockMs();
