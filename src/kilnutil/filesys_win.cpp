// SPDX-License-Identifier: MIT
#include "kilnutil/filesys.h"

using namespace Qt::Literals::StringLiterals;

QString KilnUtil_FileSys::ExistingExecutable(const QString &pathWithExe)
{
    return pathWithExe;
}

QStringList KilnUtil_FileSys::UsualGaussDirs()
{
    return {u"C:/G16W"_s, u"C:/G09W"_s};
}

QStringList KilnUtil_FileSys::GaussExeNames()
{
    return {u"g16.exe"_s, u"g09.exe"_s, u"gdv.exe"_s};
}

QString KilnUtil_FileSys::ComparablePath(const QString &path)
{
    return path.toCaseFolded();
}
