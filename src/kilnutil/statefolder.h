// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// The folder, open to nobody else, in which the manager keeps what it needs beyond one run: "state" in the
/// preferences directory when TASKMILLPREFS_DIR is set, else "taskmill" in $XDG_STATE_HOME or ~/.local/state,
/// on Windows "Taskmill" in the local application data. Made when it is missing. Empty when there is none, or
/// when it is a link or somebody else's: nothing may be kept there then.
[[nodiscard]] QString KilnUtil_StateFolder();

/// Where that folder is, or would be; it is neither made nor checked.
[[nodiscard]] QString KilnUtil_StateFolderPath();
