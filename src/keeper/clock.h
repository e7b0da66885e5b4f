// SPDX-License-Identifier: MIT
#pragma once

/// The time of a clock that never goes back, for measuring spans.
[[nodiscard]] long long Taskmill_SteadyClockMs();
/// The time of day, since 1970.
[[nodiscard]] long long Taskmill_WallClockMs();
