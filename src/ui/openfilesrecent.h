// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QStringList>

/// What the user submitted lately, the newest first: files, their directories, and lists of several files.
class Taskmill_OpenFilesRecent
{
public:
    /// Longer lists are not remembered: they would make every other setting slow to write.
    static constexpr qsizetype LongestList = 1000;

    /// Reads them from the settings, without what is no longer there.
    void Load();
    /// Puts these files before the others and writes all to the settings.
    static void Remember(const QStringList &files);

    [[nodiscard]] const QStringList &Files() const { return m_files; }
    [[nodiscard]] const QStringList &Directories() const { return m_directories; }
    [[nodiscard]] const QList<QStringList> &FileLists() const { return m_fileLists; }

private:
    QStringList m_files;
    QStringList m_directories;
    QList<QStringList> m_fileLists;
};
