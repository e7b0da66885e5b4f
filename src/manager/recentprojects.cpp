// SPDX-License-Identifier: MIT
#include "manager/recentprojects.h"

#include "kilnutil/registry.h"

#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr qsizetype mostRecentProjects = 10;

const QString &SettingsKey()
{
    static const QString key = u"/Files/Recent_Projects"_s;
    return key;
}
} // namespace

QStringList Taskmill_RecentProjects()
{
    return KilnUtil_Registry::Value(SettingsKey()).toStringList();
}

void Taskmill_AddToRecentProjects(const QString &path)
{
    QStringList projects = Taskmill_RecentProjects();
    projects.removeAll(path);
    projects.prepend(path);
    KilnUtil_Registry::SetValue(SettingsKey(),
                                QStringList{projects.first(qMin(projects.size(), mostRecentProjects))});
}

void Taskmill_DropMissingRecentProjects()
{
    const QStringList stored = Taskmill_RecentProjects();
    QStringList projects = stored;
    projects.removeIf([](const QString &path) { return !QFileInfo::exists(path); });
    if (projects != stored)
        KilnUtil_Registry::SetValue(SettingsKey(), projects);
}
