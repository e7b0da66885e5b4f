// SPDX-License-Identifier: MIT
#include "ui/contextmenu.h"

#include "help/helpdialog.h"

#include <QAbstractItemView>

using namespace Qt::Literals::StringLiterals;

Taskmill_ContextMenu::Taskmill_ContextMenu(QAbstractItemView &table)
    : m_table{table}
    , m_menu{&table}
{
}

QAction *Taskmill_ContextMenu::AddEntry(const QString &text, bool enabled)
{
    QAction *entry = m_menu.addAction(text);
    entry->setEnabled(enabled);
    return entry;
}

void Taskmill_ContextMenu::AddHelp(const QString &helpId)
{
    KilnUtil_HelpDialog::Global().ConnectAction(AddEntry(u"Help"_s), helpId, false);
}

const QAction *Taskmill_ContextMenu::Run(const QPoint &position)
{
    return m_menu.exec(m_table.viewport()->mapToGlobal(position));
}
