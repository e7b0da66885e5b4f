// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <functional>

struct sqlite3;

/// Whether a database file may be loaded: whole, not at work elsewhere, and nothing in it that no project
/// has. The connection has just been opened on the file of that path; it is left in a read transaction, so
/// that what is copied from it is what was checked. Returns an SQLite result code, 0 when it may be loaded;
/// `reason` then stays as it is, and so it does when nothing more is known than the code. Otherwise it
/// receives sentences for the user, without a path. `beforePages` is called when all but the longest part of
/// it is done and nobody can change the file any more.
[[nodiscard]] int Taskmill_CheckDatabaseFile(sqlite3 *database, const QString &path, QString &reason,
                                             const std::function<void()> &beforePages = {});
