// SPDX-License-Identifier: MIT
#include "ui/tabmenu.h"

Taskmill_TabMenu::Taskmill_TabMenu(QMenu &jobs, QMenu &queue)
    : m_jobs{jobs}
    , m_queue{queue}
    , m_last{&jobs}
{
}

void Taskmill_TabMenu::SetSubmenu(const QString &text)
{
    m_submenu = text.isEmpty() ? nullptr : m_jobs.addMenu(text);
}

QAction *Taskmill_TabMenu::AddEntry(const QString &text, bool enabled)
{
    m_last = m_submenu ? m_submenu : &m_jobs;
    QAction *entry = m_last->addAction(text);
    entry->setEnabled(enabled);
    m_entries.append(entry);
    return entry;
}

QAction *Taskmill_TabMenu::AddQueueEntry(const QString &text)
{
    m_last = &m_queue;
    QAction *entry = m_queue.addAction(text);
    m_entries.append(entry);
    return entry;
}

void Taskmill_TabMenu::Choose(const QAction *entry) const
{
    if (m_act && m_entries.contains(entry))
        m_act(*entry);
}
