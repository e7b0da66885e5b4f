// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

#include <functional>

struct sqlite3;

/// Copies a whole database between an open connection and a file; the file name is UTF-8. With isSave 0 the
/// file's content replaces the connection's, with isSave 1 the connection's replaces the file's. Either is
/// done wholly or not at all. Returns an SQLite result code, 0 for success. A file that is no regular file,
/// no database, damaged or locked by another program is not loaded. When the connection holds tables, the
/// file must have its page size. `reason` receives, where more is known than the code, what is wrong with the
/// file, in sentences for the user. What is written lacks the tables whose names begin with "WorkingCopy" and
/// gets a number of its own (PRAGMA user_version); `beforeReplacing` is called when it is about to take the
/// file's place, with its Taskmill_ContentStamp(), and false gives the saving up.
[[nodiscard]] int LoadOrSaveDb(sqlite3 *database, const char *fileName, int isSave, QString *reason = nullptr,
                               const std::function<bool(const QString &stamp)> &beforeReplacing = {});

/// Makes another file of the content of a database file, which is judged as above. A file of that name, and
/// what SQLite has put beside it, is lost in any case. The content is not yet on the disk.
[[nodiscard]] int Taskmill_CopyIntoFile(const QString &fileName, const QString &newFile, QString *reason);

/// The jobs of a project file, which nobody has open, that had these runs wait without one. False when that
/// cannot be written: the file is as it was then.
bool Taskmill_ForgetRunsInFile(const QString &fileName, const QStringList &runs);

/// Whether a working copy that nobody has open is sound. What a program that was ended by force has left in
/// the log beside it is applied. Returns an SQLite result code.
[[nodiscard]] int Taskmill_CheckWorkingCopy(const QString &path);
