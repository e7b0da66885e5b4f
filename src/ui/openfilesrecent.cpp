// SPDX-License-Identifier: MIT
#include "ui/openfilesrecent.h"

#include "kilnutil/registry.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace {
bool IsFile(const QString &path)
{
    return QFileInfo{path}.isFile();
}
} // namespace

void Taskmill_OpenFilesRecent::Load()
{
    m_files = KilnUtil_Registry::GetRecentJobInputFiles();
    m_files.removeIf([](const QString &path) { return !IsFile(path); });
    m_directories = KilnUtil_Registry::GetRecentDirs();
    m_directories.removeIf([](const QString &path) { return !QFileInfo{path}.isDir(); });
    m_fileLists = KilnUtil_Registry::GetRecentOpenStructureFileLists();
    m_fileLists.removeIf([](const QStringList &list) { return std::ranges::none_of(list, IsFile); });
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
