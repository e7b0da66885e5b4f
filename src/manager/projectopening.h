// SPDX-License-Identifier: MIT
#pragma once

#include "manager/projectfile.h"
#include "manager/projectrecovery.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

class Taskmill_ProjectLock;

/// What is found out and read of a project file while another project is still open, which a bad file must
/// not cost: whether it can be opened, and what it holds or what a manager before has left of it.
class Taskmill_ProjectOpening
{
public:
    /// The path is absolute.
    explicit Taskmill_ProjectOpening(const QString &path);
    ~Taskmill_ProjectOpening();
    Q_DISABLE_COPY_MOVE(Taskmill_ProjectOpening)

    /// Reads it. What stands against opening it, with %1 for its path; empty when nothing does. `ownLock` is
    /// that of the open project's file, which may be this very file; nullptr for none.
    [[nodiscard]] QString Read(Taskmill_ReadOnlyProjects readOnlyProjects,
                               const Taskmill_ProjectLock *ownLock);
    /// The same after the open project was written, perhaps to this very file.
    [[nodiscard]] QString ReadAgain();

    /// Of the file; nullptr when the own lock is of it.
    [[nodiscard]] std::unique_ptr<Taskmill_ProjectLock> TakeLock();
    /// What a manager before has left of the project counts, where it is there, else the file.
    [[nodiscard]] std::optional<Taskmill_LeftProject> TakeLeft();
    [[nodiscard]] Taskmill_OpenedFile TakeFile();

    [[nodiscard]] Taskmill_ProjectRecovery &Recovery() { return m_recovery; }
    /// What the user must know of it, a line each.
    [[nodiscard]] const QStringList &Notices() const { return m_notices; }

private:
    [[nodiscard]] QString ReadFile();

    const QString m_path;
    std::unique_ptr<Taskmill_ProjectLock> m_lock;
    QStringList m_notices;
    Taskmill_ProjectRecovery m_recovery{m_notices};
    std::optional<Taskmill_LeftProject> m_left;
    Taskmill_OpenedFile m_file;
};
