// SPDX-License-Identifier: MIT
#pragma once

#include <QTreeWidgetItem>

/// A row that sorts by its own rule: two values under SortRole as the numbers or times that they are, with
/// what is no such value first; everything else as text without regard to case.
class KilnUtil_TreeWidgetItem : public QTreeWidgetItem
{
public:
    static constexpr int SortRole = Qt::UserRole + 3;

    using QTreeWidgetItem::QTreeWidgetItem;

    bool operator<(const QTreeWidgetItem &other) const override;
};
