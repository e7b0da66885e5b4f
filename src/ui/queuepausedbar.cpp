// SPDX-License-Identifier: MIT
#include "ui/queuepausedbar.h"

#include "ui/statusicon.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int markSize = 16;
constexpr int gap = 8;
} // namespace

Taskmill_QueuePausedBar::Taskmill_QueuePausedBar(QWidget *parent)
    : QFrame{parent}
    , m_mark{new QLabel{this}}
{
    auto *text = new QLabel{u"This queue is paused: no waiting job starts."_s, this};
    auto *unpause = new QPushButton{u"Unpause Queue"_s, this};
    unpause->setAutoDefault(false);
    connect(unpause, &QPushButton::clicked, this, &Taskmill_QueuePausedBar::UnpauseSignal);
    setFocusProxy(unpause);

    auto *layout = new QHBoxLayout{this};
    layout->setContentsMargins({});
    layout->setSpacing(gap);
    layout->addWidget(m_mark);
    layout->addWidget(text);
    layout->addStretch();
    layout->addWidget(unpause);
    DrawMark();
}

void Taskmill_QueuePausedBar::changeEvent(QEvent *event)
{
    QFrame::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        DrawMark();
}

void Taskmill_QueuePausedBar::DrawMark()
{
    m_mark->setPixmap(Taskmill_PausedIcon().pixmap(QSize{markSize, markSize}, devicePixelRatioF()));
}
