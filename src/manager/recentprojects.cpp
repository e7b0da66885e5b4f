// SPDX-License-Identifier: MIT
#include "manager/recentprojects.h"

#include "kilnutil/filecheck.h"
#include "kilnutil/registry.h"

#include <QCoreApplication>

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
    const QStringList looked = Taskmill_RecentProjects();
    const auto drop = [looked](const QStringList &found) {
        const QStringList stored = Taskmill_RecentProjects();
        QStringList projects = stored;
        projects.removeIf(
            [&](const QString &path) { return looked.contains(path) && !found.contains(path); });
        if (projects != stored)
            KilnUtil_Registry::SetValue(SettingsKey(), projects);
    };
    KilnUtil_FileCheck::Of(*QCoreApplication::instance()).Find(looked, KilnUtil_FileCheck::Exists, drop);
}
