// SPDX-License-Identifier: MIT
#include "ui/elapsedticker.h"

#include "ui/jobsmodel.h"
#include "widgets/tablewidget.h"

#include <QEvent>

namespace {
constexpr int intervalMs = 1000;
}

Taskmill_ElapsedTicker::Taskmill_ElapsedTicker(QWidget *page, const KilnUtil_TableWidget &table,
                                               Taskmill_JobsModel &model)
    : QObject{page}
    , m_page{page}
    , m_table{table}
    , m_model{model}
{
    m_timer.setInterval(intervalMs);
    connect(&m_timer, &QTimer::timeout, this, &Taskmill_ElapsedTicker::TickSlot);
    page->installEventFilter(this);
}

bool Taskmill_ElapsedTicker::IsWanted() const
{
    return m_page->isVisible() && m_model.ShowsRunningJobs();
}

void Taskmill_ElapsedTicker::Check()
{
    if (!IsWanted())
        m_timer.stop();
    else if (!m_timer.isActive())
        m_timer.start();
}

void Taskmill_ElapsedTicker::TickSlot()
{
    if (!IsWanted())
        m_timer.stop();
    else if (!m_table.isColumnHidden(m_model.ElapsedColumn()) && !m_page->window()->isMinimized())
        m_model.UpdateElapsed();
}

bool Taskmill_ElapsedTicker::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_page && event->type() == QEvent::Show)
        Check();
    return QObject::eventFilter(watched, event);
}
