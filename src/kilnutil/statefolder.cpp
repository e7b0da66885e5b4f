// SPDX-License-Identifier: MIT
#include "kilnutil/statefolder.h"

#include "kilnutil/registry.h"
#include "wire/privatefolder.h"

#include <QtGlobal>

using namespace Qt::Literals::StringLiterals;

QString KilnUtil_StateFolderPath()
{
    // A relative one counts from the directory in which the program was started, which the registry knows.
    const QString preferences = KilnUtil_Registry::PreferencesDirPath();
    return preferences.isEmpty() || qEnvironmentVariableIsEmpty("TASKMILLPREFS_DIR")
               ? QString::fromStdString(Taskmill_StateFolderPath())
               : preferences + u"/state"_s;
}

QString KilnUtil_StateFolder()
{
    const QString path = KilnUtil_StateFolderPath();
    return Taskmill_MakePrivateFolder(path.toStdString()) ? path : QString{};
}
