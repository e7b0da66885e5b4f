// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// What shows that a database file still has the content that was read or written, wherever it lies and
/// whenever it was touched: SQLite's own counter of changes, the sizes, and the number that a project gets
/// anew each time it is saved (PRAGMA user_version). Empty when there is no such file.
[[nodiscard]] QString Taskmill_ContentStamp(const QString &path);
