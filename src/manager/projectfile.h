// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <memory>

class Taskmill_Database;
class Taskmill_WorkingCopy;

/// What becomes of a project file that can be read but not written.
enum class Taskmill_ReadOnlyProjects
{
    Open,  ///< nobody is at hand to choose another file, and a project can be worked on without saving
    Refuse ///< the user chooses another file
};

/// What shows that a file is still the one that was read or written.
struct Taskmill_FileStamp
{
    QDateTime Modified;
    qint64 Size = 0; ///< bytes

    [[nodiscard]] static Taskmill_FileStamp Of(const QString &path);
    bool operator==(const Taskmill_FileStamp &) const = default;
};

/// A project file's content, read into a working copy of its own.
struct Taskmill_OpenedFile
{
    std::unique_ptr<Taskmill_WorkingCopy> Copy; ///< nullptr for a database in memory
    std::unique_ptr<Taskmill_Database> Database;
    QString Problem; ///< with %1 for the file's path; empty when it can be opened
    Taskmill_FileStamp FileStamp;
    QString ContentStamp;

    Taskmill_OpenedFile() = default;
    Taskmill_OpenedFile(Taskmill_OpenedFile &&) = default;
    ~Taskmill_OpenedFile();
    Taskmill_OpenedFile &operator=(Taskmill_OpenedFile &&) = default;
    Q_DISABLE_COPY(Taskmill_OpenedFile)
};

/// Reads the file; where the working copy cannot be written the content is in memory, which `notices` says.
[[nodiscard]] Taskmill_OpenedFile Taskmill_OpenProjectFile(const QString &path, QStringList &notices);
/// A database, not open yet, on the working copy; in memory without one.
[[nodiscard]] std::unique_ptr<Taskmill_Database>
Taskmill_MakeProjectDatabase(const Taskmill_WorkingCopy *copy);
/// What the user must know of a project that has no working copy.
[[nodiscard]] QString Taskmill_NoWorkingCopyNotice();

/// What stands against opening the file, with %1 for its path; empty when nothing does.
[[nodiscard]] QString Taskmill_ProblemOfProjectFile(const QString &path,
                                                    Taskmill_ReadOnlyProjects readOnlyProjects);
/// The path of a new file beside a project's own.
[[nodiscard]] QString Taskmill_FileBeside(const QString &path);
