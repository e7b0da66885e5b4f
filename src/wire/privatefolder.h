// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/// The folder in which the program keeps what belongs to this user alone from one run to the next, as UTF-8:
/// "state" in the directory that TASKMILLPREFS_DIR names, else "taskmill" in $XDG_STATE_HOME or
/// ~/.local/state, on Windows "Taskmill" in the local application data. It may not exist; empty when there is
/// no place for it.
[[nodiscard]] std::string Taskmill_StateFolderPath();

/// Makes the folder, and those above it, where they are missing, and takes the rights of everybody else away
/// from it (0700). False when it is not there then, is a link or no folder, or belongs to somebody else:
/// nothing may be kept there.
[[nodiscard]] bool Taskmill_MakePrivateFolder(const std::string &path);

/// Whether that is a folder, no link, of this user, which nobody else may enter: what is read from there was
/// written by this user's own programs.
[[nodiscard]] bool Taskmill_IsPrivateFolder(const std::string &path);

/// Whether that is a file, no link, of this user.
[[nodiscard]] bool Taskmill_IsOwnFile(const std::string &path);
