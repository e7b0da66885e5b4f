// SPDX-License-Identifier: MIT
#include "ui/contextmenu.h"

#include "help/helpdialog.h"

#include <QAbstractItemView>

using namespace Qt::Literals::StringLiterals;

Taskmill_ContextMenu::Taskmill_ContextMenu(QAbstractItemView &table)
    : QMenu{&table}
    , Taskmill_TabMenu{static_cast<QMenu &>(*this), static_cast<QMenu &>(*this)}
    , m_table{table}
{
}

void Taskmill_ContextMenu::AddHelp(const QString &helpId)
{
    KilnUtil_HelpDialog::Global().ConnectAction(LastMenu().addAction(u"Help"_s), helpId, false);
}

void Taskmill_ContextMenu::Run(const QPoint &position)
{
    if (!isEmpty())
        Choose(exec(m_table.viewport()->mapToGlobal(position)));
}
