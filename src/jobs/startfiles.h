// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

struct Taskmill_JobRecord;

/// What is to be found out about the files of a job before it starts; all paths are absolute.
struct Taskmill_FileQuestion
{
    QString Input;       ///< empty for a job without one
    QString InputHash;   ///< what it had when the job was submitted; empty when that is not known
    QString Folder;      ///< where its output goes, else where it runs
    bool Writes = false; ///< whether it is known to write into that folder
    bool AsksSpace = false;
    QStringList Written; ///< files that only one job may write at a time
};

/// What was found out.
struct Taskmill_FileFacts
{
    bool IsInputReadable = true; ///< also when there is none: the program says that by itself
    bool IsInputChanged = false;
    bool IsFolderWritable = true; ///< also when there is none, as its program may make it
    std::optional<qint64> FreeMB; ///< in units of 2^20 bytes; nothing when it was not asked, or is not known
    QStringList Written{};        ///< each file in one spelling; without folders and devices
};

[[nodiscard]] Taskmill_FileQuestion Taskmill_FileQuestionOf(const Taskmill_JobRecord &job);
/// Looks at files: on any thread, for as long as their drive takes.
[[nodiscard]] Taskmill_FileFacts Taskmill_LookAtFiles(const Taskmill_FileQuestion &question);

/// One text for each file, which need not be there yet, whichever links and spellings lead to it; empty for
/// what many may write to: folders and devices. Asks the drive.
[[nodiscard]] QString Taskmill_ComparableFile(const QString &path);

/// Why the job is not to be started as things are, in words for the user; empty when it may be.
[[nodiscard]] QString Taskmill_ReasonOfFiles(const Taskmill_JobRecord &job, const Taskmill_FileFacts &facts);

/// SHA-256 of a plain file, in hexadecimal digits; of one beyond 64 MB, of its first 64 MB and its size.
/// Empty when it cannot be read. For any thread.
[[nodiscard]] QString Taskmill_HashOfInput(const QString &path);
