// SPDX-License-Identifier: MIT
#include "ui/tablefiller.h"

#include <QEvent>
#include <QWidget>

namespace {
constexpr int leastPauseBetweenFillsMs = 100;
}

Taskmill_TableFiller::Taskmill_TableFiller(QWidget *page, std::function<void()> fill)
    : QObject{page}
    , m_page{page}
    , m_fill{std::move(fill)}
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(leastPauseBetweenFillsMs);
    connect(&m_timer, &QTimer::timeout, this, &Taskmill_TableFiller::FillNow);
    page->installEventFilter(this);
}

void Taskmill_TableFiller::FillSoon()
{
    if (!m_page->isVisible())
        m_fillWhenShown = true;
    else if (!m_timer.isActive())
        m_timer.start();
}

void Taskmill_TableFiller::FillNow()
{
    m_fillWhenShown = false;
    m_timer.stop();
    m_fill();
}

bool Taskmill_TableFiller::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_page && event->type() == QEvent::Show && m_fillWhenShown)
        FillNow();
    return QObject::eventFilter(watched, event);
}
