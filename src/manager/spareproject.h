// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

#include <functional>

/// The time of now for the name of a file, such as "20260131-235959".
[[nodiscard]] QString Taskmill_FileTimeStamp();

/// Has `write` write a project to a new file, which only this user may read, in the first place that takes
/// it: the state folder, the home directory, the directory for temporary files. For a project that cannot be
/// written to its own file while nobody can be asked for another one. Returns the path; empty when no place
/// takes it.
[[nodiscard]] QString Taskmill_WriteSpareProject(const QString &projectPath,
                                                 const std::function<bool(const QString &path)> &write);

/// The paths of such files that are still there, and are this user's own.
[[nodiscard]] QStringList Taskmill_SpareProjects();

/// Tells the user, in one line, of such a file.
[[nodiscard]] QString Taskmill_SpareProjectNotice(const QString &path);
