// SPDX-License-Identifier: MIT
#pragma once

class QIcon;

/// The program's icon in all its sizes; the small ones are drawn with fewer details.
[[nodiscard]] QIcon Taskmill_ProgramIcon();
