// SPDX-License-Identifier: MIT
#include "ui/openfilesrecent.h"

#include "kilnutil/filecheck.h"
#include "kilnutil/registry.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace {
/// Of the event loop, for what as a rule is there at once.
constexpr std::chrono::milliseconds longestWait{8};
} // namespace

void Taskmill_OpenFilesRecent::Load(const std::function<void()> &changed)
{
    m_recent = {.files = KilnUtil_Registry::GetRecentJobInputFiles(),
                .directories = KilnUtil_Registry::GetRecentDirs(),
                .fileLists = KilnUtil_Registry::GetRecentOpenStructureFileLists()};
    m_thread.Run([this, changed, recent = m_recent]() mutable -> KilnUtil_FileThread::Deliver {
        using Check = KilnUtil_FileCheck;
        recent.files.removeIf([](const QString &path) { return !Check::IsFile(path); });
        recent.directories.removeIf([](const QString &path) { return !Check::IsFolder(path); });
        recent.fileLists.removeIf(
            [](const QStringList &list) { return std::ranges::none_of(list, Check::IsFile); });
        return [this, changed, recent] {
            m_recent = recent;
            changed();
        };
    });
    m_thread.Wait(longestWait);
    if (m_thread.IsBusy())
        changed();
}

void Taskmill_OpenFilesRecent::Remember(const QStringList &files)
{
    if (files.isEmpty())
        return;
    // More than are kept need not be looked at.
    const QStringList newest = files.first(qMin(files.size(), KilnUtil_Registry::MostRecent));
    QStringList directories;
    for (const QString &path : newest)
        directories.append(QDir::toNativeSeparators(QFileInfo{path}.absolutePath()));
    KilnUtil_Registry::PutRecentJobInputFiles(newest + KilnUtil_Registry::GetRecentJobInputFiles());
    KilnUtil_Registry::PutRecentDirs(directories + KilnUtil_Registry::GetRecentDirs());
    if (files.size() > 1 && files.size() <= LongestList)
        KilnUtil_Registry::PutRecentOpenStructureFileLists(
            QList<QStringList>{files} + KilnUtil_Registry::GetRecentOpenStructureFileLists());
}
