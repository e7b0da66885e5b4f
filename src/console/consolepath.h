// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// A path as a user types it: "~" and what begins with "~/" lie in the home directory, unless there is
/// something of that name here.
[[nodiscard]] QString Taskmill_PathOfUser(const QString &typed);

/// The same as an absolute path; empty stays empty.
[[nodiscard]] QString Taskmill_AbsolutePathOfUser(const QString &typed);
