// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

/// The project files opened or saved last, newest first, at most ten; kept in the user's settings.
[[nodiscard]] QStringList Taskmill_RecentProjects();

/// Puts the absolute path first.
void Taskmill_AddToRecentProjects(const QString &path);

/// Keeps only the entries whose files still exist.
void Taskmill_DropMissingRecentProjects();
