// SPDX-License-Identifier: MIT
#include "widgets/treewidgetitem.h"

#include <QDateTime>
#include <QTreeWidget>

bool KilnUtil_TreeWidgetItem::operator<(const QTreeWidgetItem &other) const
{
    const int column = treeWidget() ? treeWidget()->sortColumn() : 0;
    const QVariant mine = data(column, SortRole);
    const QVariant others = other.data(column, SortRole);
    if (!mine.isValid() && !others.isValid())
        return text(column).compare(other.text(column), Qt::CaseInsensitive) < 0;
    if (mine.isValid() != others.isValid())
        return others.isValid();
    if (mine.typeId() == QMetaType::QDateTime)
        return mine.toDateTime() < others.toDateTime();
    return mine.toLongLong() < others.toLongLong();
}
