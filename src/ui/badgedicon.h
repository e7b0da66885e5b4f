// SPDX-License-Identifier: MIT
#pragma once

class QIcon;

/// The icon with a badge: how many jobs have failed, in red, else how many run, in blue. When jobs of both
/// kinds are there, a blue dot stands for those that run. Beyond 9 the badge says "9+".
[[nodiscard]] QIcon Taskmill_BadgedIcon(const QIcon &icon, int running, int failed);
