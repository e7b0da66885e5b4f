// SPDX-License-Identifier: MIT
#include "kilnutil/drives.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QSet>
#include <QStringList>

#include <algorithm>
#include <chrono>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {
/// The folders that were found to be local a moment ago: most jobs have their files in the same ones.
QSet<QString> &LocalFolders()
{
    constexpr std::chrono::milliseconds longestKnown = 1s;
    thread_local QSet<QString> folders;
    thread_local QElapsedTimer known;
    if (!known.isValid() || known.hasExpired(longestKnown.count())) {
        folders.clear();
        known.start();
    }
    return folders;
}
} // namespace

bool KilnUtil_Drives::IsLocal(const QString &path)
{
    const QString clean = QDir::cleanPath(path);
    const QString folder = clean.first(std::max<qsizetype>(clean.lastIndexOf(u'/'), 0));
    QSet<QString> &folders = LocalFolders();
    if (folders.contains(folder) && !QFileInfo{clean}.isSymbolicLink())
        return IsOnLocalDrive(clean);
    const bool isLocal = LeadsOverLocalDrives(clean);
    if (isLocal)
        folders.insert(folder);
    return isLocal;
}

bool KilnUtil_Drives::LeadsOverLocalDrives(const QString &path)
{
    constexpr int mostLinks = 40;
    QString left = path;
    for (int links = 0; links < mostLinks; ++links) {
        // From the root on: what lies on another drive is not asked for.
        qsizetype end = left.indexOf(u'/');
        bool isLink = false;
        while (end >= 0 && !isLink) {
            end = left.indexOf(u'/', end + 1);
            const QString part = end < 0 ? left : left.first(end);
            if (!IsOnLocalDrive(part))
                return false;
            // No link is left before it, so it leads where it seems to.
            const bool isUpwards = part.endsWith("/.."_L1);
            const QFileInfo file{part};
            if (!isUpwards && !file.isSymbolicLink())
                continue;
            isLink = true;
            const QString rest = end < 0 ? QString{} : left.sliced(end);
            left = (isUpwards ? QDir::cleanPath(part) : file.symLinkTarget()) + rest;
        }
        if (!isLink)
            return IsOnLocalDrive(left);
    }
    return false;
}
