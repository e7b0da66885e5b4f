// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// The folder, open to nobody else, in which the manager keeps what it needs beyond one run: "state" in the
/// preferences directory when TASKMILLPREFS_DIR is set, else "taskmill" in $XDG_STATE_HOME or ~/.local/state,
/// on Windows "Taskmill" in the local application data. Made when it is missing. Empty when there is none, or
/// when it is a link or somebody else's: nothing may be kept there then.
[[nodiscard]] QString KilnUtil_StateFolder();

/// A name of this computer that no other has, of letters, digits and dashes.
[[nodiscard]] QString KilnUtil_MachineID();

/// The part of that folder which belongs to this computer: a home may be shared by several. Where files
/// cannot be locked in it, as on a network drive, a folder of the user in /var/tmp stands in for it. Made
/// when it is missing; empty when nothing may be kept there.
[[nodiscard]] QString KilnUtil_MachineFolder();

/// Where that folder is, or would be; it is neither made nor checked.
[[nodiscard]] QString KilnUtil_StateFolderPath();
