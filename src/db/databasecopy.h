// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

struct sqlite3;

/// Copies a whole database between an open connection and a file; the file name is UTF-8. With isSave 0 the
/// file's content replaces the connection's, with isSave 1 the connection's replaces the file's. Either is
/// done wholly or not at all. Returns an SQLite result code, 0 for success. A file that is no regular file,
/// no database, damaged or locked by another program is not loaded. When the connection holds tables, the
/// file must have its page size. `reason` receives, where more is known than the code, what is wrong with the
/// file, in sentences for the user.
[[nodiscard]] int LoadOrSaveDb(sqlite3 *database, const char *fileName, int isSave,
                               QString *reason = nullptr);
