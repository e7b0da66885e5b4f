// SPDX-License-Identifier: MIT
#include "kilnutil/drives.h"

#include <QDir>
#include <QFileInfo>
#include <QStringList>

using namespace Qt::Literals::StringLiterals;

bool KilnUtil_Drives::IsLocal(const QString &path)
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
