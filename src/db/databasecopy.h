#pragma once

struct sqlite3;

/// Copies a whole database between an open connection and a file; the file name is UTF-8. With isSave 0 the
/// file's content replaces the connection's, with isSave 1 the connection's replaces the file's. Either is
/// done wholly or not at all. Returns an SQLite result code, 0 for success. A file that is no regular file,
/// no database, damaged or locked by another program is not loaded. When the connection holds tables, the
/// file must have its page size.
[[nodiscard]] int LoadOrSaveDb(sqlite3 *database, const char *fileName, int isSave);
