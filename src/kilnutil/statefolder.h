// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

/// The folder, open to nobody else, in which the manager keeps what it needs beyond one run: "state" in the
/// preferences directory when TASKMILLPREFS_DIR is set, else "taskmill" in $XDG_STATE_HOME or ~/.local/state,
/// on Windows "Taskmill" in the local application data. Made when it is missing. Empty when there is none, or
/// when it is a link or somebody else's: nothing may be kept there then.
[[nodiscard]] QString KilnUtil_StateFolder();

/// Where that folder is, or would be; it is neither made nor checked.
[[nodiscard]] QString KilnUtil_StateFolderPath();

/// Where what belongs to this computer alone is kept, as computers may share a home: a folder named after the
/// computer in the state folder and, for a state folder that files cannot be locked in, one in a folder of
/// this user beside it on a disk of the computer. The better place stands first. Neither is made nor checked.
[[nodiscard]] QStringList KilnUtil_MachineFolderPaths();

/// Makes one of these, open to nobody else. False when that cannot be, or when it lies on another computer.
[[nodiscard]] bool KilnUtil_MakeMachineFolder(const QString &path);

/// Whether one of these is there and is this user's own.
[[nodiscard]] bool KilnUtil_IsMachineFolder(const QString &path);

/// The folder of this user on a disk of the computer that outlives a restart; empty where the system has no
/// place for one but the state folder. Neither made nor checked.
[[nodiscard]] QString KilnUtil_LocalStateFolderPath();
