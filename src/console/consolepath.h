// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

/// A path as a user types it: "~" and what begins with "~/" lie in the home directory, unless there is
/// something of that name here.
[[nodiscard]] QString Taskmill_PathOfUser(const QString &typed);

/// The same as an absolute path; empty stays empty.
[[nodiscard]] QString Taskmill_AbsolutePathOfUser(const QString &typed);

/// Whether it is a directory, or is to be one.
[[nodiscard]] bool Taskmill_IsDirectoryOfUser(const QString &typed);
/// The line that says so where a file is needed.
[[nodiscard]] QString Taskmill_DirectoryComplaint(const QString &typed);

/// The files whose paths begin with the text, directories with a '/' at their end.
[[nodiscard]] QStringList Taskmill_FilesBeginningWith(const QString &typed);
