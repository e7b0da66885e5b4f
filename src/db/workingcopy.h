// SPDX-License-Identifier: MIT
#pragma once

#include "kilnutil/filelock.h"

#include <QDateTime>
#include <QString>

#include <memory>
#include <vector>

/// The file in which an open project lives until its manager ends in order: a place in a folder of this
/// computer (see KilnUtil_MachineFolderPaths()), which a lock reserves for one process. A file whose lock
/// nobody holds was left by a manager that was ended by force.
class Taskmill_WorkingCopy
{
public:
    /// A place for a new one, an empty file. nullptr when no folder is fit for it.
    [[nodiscard]] static std::unique_ptr<Taskmill_WorkingCopy> Make();
    /// To be held while one looks for those that were left behind: another manager that looks at the same
    /// time holds each of them for a moment, and this one would miss its own. Waits for that some seconds at
    /// most.
    [[nodiscard]] static std::vector<std::unique_ptr<KilnUtil_FileLock>> LockSearch();
    /// All that were left behind, reserved for this process now, the last used first.
    [[nodiscard]] static std::vector<std::unique_ptr<Taskmill_WorkingCopy>> TakeAbandoned();

    /// Gives the place up; the file stays, unless it was never noted.
    ~Taskmill_WorkingCopy();
    Q_DISABLE_COPY_MOVE(Taskmill_WorkingCopy)

    /// Of the database file.
    [[nodiscard]] QString Path() const { return m_base + QStringLiteral(".db"); }
    [[nodiscard]] QDateTime LastUsed() const;

    /// Notes beside the file that it is complete, and the file of the project, which may be none.
    void Note(const QString &projectPath);
    /// Whether that was done, here or by the manager that has left it. Without it there is only something to
    /// keep when the file itself says that it is a working copy: there was no room for the note.
    [[nodiscard]] bool IsNoted() const { return m_isNoted; }
    /// Of one that is not noted and cannot be read: whether there is more in it than the beginning of a
    /// project file that was being read.
    [[nodiscard]] bool MayHoldChanges() const;
    /// The file stays in any case.
    void LeaveInPlace() { m_isNoted = true; }
    /// What was noted; what the file itself says is newer.
    [[nodiscard]] QString NotedProject() const { return m_notedProject; }

    /// Removes the file, which must be closed, and everything beside it.
    void Remove();
    /// Gives the file, which must be closed, a name under which no manager looks for it; returns its new
    /// path. Nothing is overwritten.
    QString SetAside();

private:
    explicit Taskmill_WorkingCopy(const QString &base);
    void ReadNote();

    const QString m_base; ///< path without suffix
    KilnUtil_FileLock m_lock;
    bool m_isNoted = false;
    QString m_notedProject;
};

/// Makes one manager of this computer the only one that has a project file open.
class Taskmill_ProjectLock
{
public:
    explicit Taskmill_ProjectLock(const QString &projectPath);
    ~Taskmill_ProjectLock();
    Q_DISABLE_COPY_MOVE(Taskmill_ProjectLock)

    /// Where nothing can be locked the project is not refused.
    [[nodiscard]] bool IsHeldElsewhere() const;
    /// Who has it then, such as "process 1234".
    [[nodiscard]] QString Holder() const;
    /// Whether it is the lock of that file, by whatever name.
    [[nodiscard]] bool IsOf(const QString &projectPath) const;

private:
    QString m_projectPath; ///< the one that names the file's lock
    QString m_path;
    std::unique_ptr<KilnUtil_FileLock> m_lock;
};
