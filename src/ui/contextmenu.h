// SPDX-License-Identifier: MIT
#pragma once

#include <QMenu>
#include <QString>

class QAbstractItemView;
class QPoint;

/// The context menu of a tab's table. It lives for one showing.
class Taskmill_ContextMenu
{
public:
    /// The table outlives the menu.
    explicit Taskmill_ContextMenu(QAbstractItemView &table);

    /// The menu owns the action.
    QAction *AddEntry(const QString &text, bool enabled = true);
    void AddSeparator() { m_menu.addSeparator(); }
    /// The entry "Help", which opens that page of the manual by itself.
    void AddHelp(const QString &helpId);

    /// Shows the menu at a position of the table's viewport. The entry chosen, which may be "Help"; nullptr
    /// when the menu was dismissed. Runs an event loop: whatever was looked up before may be gone.
    [[nodiscard]] const QAction *Run(const QPoint &position);

private:
    QAbstractItemView &m_table;
    QMenu m_menu;
};
