// SPDX-License-Identifier: MIT
#include "manager/savableproject.h"

using namespace Qt::Literals::StringLiterals;

const char *const Taskmill_ProjectFileFilter = "Taskmill Project Files (*.mill)";
const char *const Taskmill_SavingTitle = "Saving a Taskmill Project File";

QString Taskmill_SavableProject::ProjectFileName(const QString &name)
{
    QString file = name.trimmed();
    if (!file.isEmpty() && !file.endsWith(".mill"_L1, Qt::CaseInsensitive))
        file += u".mill"_s;
    return file;
}
