// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// The same text for all names that the system takes for the same one.
[[nodiscard]] QString Taskmill_FoldedName(const QString &path);

/// Makes sure that the file's content is on the disk.
[[nodiscard]] bool Taskmill_SyncFile(const QString &path);

/// Gives the file the permissions, and where possible the owner, of another one.
[[nodiscard]] bool Taskmill_TakeOverPermissions(const QString &path, const QString &other);

/// Renames a file over another one in one step and makes sure that this is on the disk. On failure both files
/// are as they were.
[[nodiscard]] bool Taskmill_ReplaceFile(const QString &path, const QString &target);
