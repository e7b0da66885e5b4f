// SPDX-License-Identifier: MIT
#include "manager/namelist.h"

using namespace Qt::Literals::StringLiterals;

QString Taskmill_NameList(const QStringList &names)
{
    return Taskmill_NameList(names, names.size());
}

QString Taskmill_NameList(const QStringList &names, qsizetype count)
{
    constexpr qsizetype longestName = 100;
    QStringList listed = names.first(qMin(names.size(), Taskmill_MostNamesListed));
    for (QString &name : listed) {
        if (name.size() > longestName)
            name = name.first(longestName) + QChar{0x2026};
    }
    QString list = listed.join(u'\n');
    if (count > Taskmill_MostNamesListed)
        list += u"\n... %1 more ..."_s.arg(count - Taskmill_MostNamesListed);
    return list;
}
