// SPDX-License-Identifier: MIT
#include "manager/namelist.h"

using namespace Qt::Literals::StringLiterals;

QString Taskmill_NameList(const QStringList &names)
{
    constexpr qsizetype mostNamesListed = 10;
    constexpr qsizetype longestName = 100;
    QStringList listed = names.first(qMin(names.size(), mostNamesListed));
    for (QString &name : listed) {
        if (name.size() > longestName)
            name = name.first(longestName) + QChar{0x2026};
    }
    QString list = listed.join(u'\n');
    if (names.size() > mostNamesListed)
        list += u"\n... %1 more ..."_s.arg(names.size() - mostNamesListed);
    return list;
}
