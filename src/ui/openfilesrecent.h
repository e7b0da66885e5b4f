// SPDX-License-Identifier: MIT
#pragma once

#include "kilnutil/filethread.h"

#include <QList>
#include <QStringList>

/// What the user submitted lately, the newest first: files, their directories, and lists of several files.
class Taskmill_OpenFilesRecent
{
public:
    /// Longer lists are not remembered: they would make every other setting slow to write.
    static constexpr qsizetype LongestList = 1000;

    /// Reads them from the settings, and calls the function when they are there, and again when something has
    /// been left out that is not on its drive any more.
    void Load(const std::function<void()> &changed);
    /// Puts these files before the others and writes all to the settings.
    static void Remember(const QStringList &files);

    [[nodiscard]] const QStringList &Files() const { return m_recent.files; }
    [[nodiscard]] const QStringList &Directories() const { return m_recent.directories; }
    [[nodiscard]] const QList<QStringList> &FileLists() const { return m_recent.fileLists; }

private:
    struct Recent
    {
        QStringList files;
        QStringList directories;
        QList<QStringList> fileLists;
    };

    Recent m_recent;
    KilnUtil_FileThread m_thread{nullptr};
};
