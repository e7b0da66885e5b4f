// SPDX-License-Identifier: MIT
#include "console/consolepath.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

QString Taskmill_PathOfUser(const QString &typed)
{
    if ((typed != "~"_L1 && !typed.startsWith("~/"_L1)) || QFileInfo::exists(u"./~"_s))
        return typed;
    return QDir::homePath() + typed.sliced(1);
}

QString Taskmill_AbsolutePathOfUser(const QString &typed)
{
    if (typed.isEmpty())
        return typed;
    return QDir::cleanPath(QFileInfo{Taskmill_PathOfUser(typed)}.absoluteFilePath());
}
