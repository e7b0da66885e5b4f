// SPDX-License-Identifier: MIT
#include "kilnutil/filesys.h"

#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

QString KilnUtil_FileSys::ExistingExecutable(const QString &pathWithExe)
{
    if (QFileInfo{pathWithExe}.isFile() || !pathWithExe.endsWith(".exe"_L1, Qt::CaseInsensitive))
        return pathWithExe;
    const QString bare = pathWithExe.chopped(4);
    return QFileInfo{bare}.isFile() ? bare : pathWithExe;
}

QStringList KilnUtil_FileSys::UsualGaussDirs()
{
    return {u"/opt/g16"_s, u"/opt/g09"_s, u"/usr/local/g16"_s};
}

QStringList KilnUtil_FileSys::GaussExeNames()
{
    return {u"g16.exe"_s, u"g09.exe"_s, u"gdv.exe"_s, u"g16"_s, u"g09"_s, u"gdv"_s};
}

QString KilnUtil_FileSys::ComparablePath(const QString &path)
{
    return path;
}

std::optional<KilnUtil_FileSys::Place> KilnUtil_FileSys::PlaceOf(const QString &path)
{
    const QFileInfo file{path};
    if (!file.exists())
        return std::nullopt;
    return Place{file.canonicalFilePath(), file.isFile()};
}
