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

QStringList Taskmill_FilesBeginningWith(const QString &typed)
{
    const qsizetype nameBegin = typed.lastIndexOf(u'/') + 1;
    const QString directory = typed.first(nameBegin);
    const QString place = directory.isEmpty() ? u"."_s : Taskmill_PathOfUser(directory);
    const QString name = typed.sliced(nameBegin);
    QStringList files;
    const auto entries = QDir{place}.entryInfoList(
        QDir::AllEntries | QDir::NoDotAndDotDot | (name.startsWith(u'.') ? QDir::Hidden : QDir::Filters{}),
        QDir::Name);
    for (const QFileInfo &entry : entries) {
        if (entry.fileName().startsWith(name))
            files += directory + entry.fileName() + (entry.isDir() ? u"/"_s : QString{});
    }
    return files;
}

bool Taskmill_IsDirectoryOfUser(const QString &typed)
{
    return typed.endsWith(u'/') || QFileInfo{Taskmill_PathOfUser(typed)}.isDir();
}

QString Taskmill_DirectoryComplaint(const QString &typed)
{
    return u"\n<Taskmill> %1 is a directory: the name of a file is needed.\n"_s.arg(
        QDir::toNativeSeparators(Taskmill_AbsolutePathOfUser(typed)));
}
