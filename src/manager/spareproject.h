// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

#include <functional>

/// The time of now for the name of a file, such as "20260131-235959".
[[nodiscard]] QString Taskmill_FileTimeStamp();

/// A new file, which only this user may read, for a project that cannot be written to its own one while
/// nobody can be asked for another.
class Taskmill_SpareFile
{
public:
    /// Empty for none.
    [[nodiscard]] const QString &Path() const { return m_path; }
    [[nodiscard]] bool IsEmpty() const { return m_path.isEmpty(); }

    /// Has `write` write the project to the file, which is made in the first place that takes it: the state
    /// folder, the home directory, the directory for temporary files. False when no place does.
    bool Write(const QString &projectPath, const std::function<bool(const QString &path)> &write);
    /// Not needed any longer: its changes are in the project's own file. That one is never removed.
    void Remove(const QString &projectPath);

private:
    QString m_path;
};

/// The paths of spare files that are still there, and are this user's own.
[[nodiscard]] QStringList Taskmill_SpareProjects();

/// What the user must know of such a file, in one line.
[[nodiscard]] QString Taskmill_SpareProjectNotice(const QString &path);
