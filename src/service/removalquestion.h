#pragma once

#include <QString>
#include <QStringList>

/// The names that a removal question lists: at most 10, one a line, and the number of the others.
[[nodiscard]] inline QString Taskmill_NameList(const QStringList &names)
{
    constexpr qsizetype mostNamesListed = 10;
    QString list = names.first(qMin(names.size(), mostNamesListed)).join(u'\n');
    if (names.size() > mostNamesListed)
        list += QStringLiteral("\n... %1 more ...").arg(names.size() - mostNamesListed);
    return list;
}
