// SPDX-License-Identifier: MIT
#include "ui/queuepausedbar.h"

#include "ui/statusicon.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QHash>
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
    , m_text{new QLabel{this}}
    , m_unpause{new QPushButton{this}}
{
    m_unpause->setAutoDefault(false);
    connect(m_unpause, &QPushButton::clicked, this, &Taskmill_QueuePausedBar::UnpauseSignal);
    setFocusProxy(m_unpause);

    auto *layout = new QHBoxLayout{this};
    layout->setContentsMargins({});
    layout->setSpacing(gap);
    layout->addWidget(m_mark);
    layout->addWidget(m_text);
    layout->addStretch();
    layout->addWidget(m_unpause);
    DrawMark();
}

void Taskmill_QueuePausedBar::Say(Taskmill_QueueRest rest)
{
    static const QHash<Taskmill_QueueRest, std::pair<QString, QString>> texts{
        {Taskmill_QueueRest::None, {}},
        {Taskmill_QueueRest::Paused, {u"This queue is paused: no waiting job starts."_s, u"Unpause Queue"_s}},
        {Taskmill_QueueRest::ToPause,
         {u"This queue pauses when the jobs that were in it have ended: later ones wait."_s,
          u"Do Not Pause"_s}},
        {Taskmill_QueueRest::Quiet, {u"Quiet hours: no waiting job starts."_s, {}}},
    };
    const auto &[text, button] = texts[rest];
    m_text->setText(text);
    m_unpause->setText(button);
    m_unpause->setVisible(!button.isEmpty());
    setVisible(rest != Taskmill_QueueRest::None);
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
