// SPDX-License-Identifier: MIT
#pragma once

#include "ui/tabmenu.h"

/// The context menu of a tab's table.
class Taskmill_ContextMenu final : private QMenu, public Taskmill_TabMenu
{
public:
    /// The table outlives the menu.
    explicit Taskmill_ContextMenu(QAbstractItemView &table);

    void AddHelp(const QString &helpId) override;

    /// Shows the menu at a position of the table's viewport and does what is chosen; not without entries.
    /// Runs an event loop: whatever was looked up before may be gone.
    void Run(const QPoint &position);

private:
    QAbstractItemView &m_table;
};
