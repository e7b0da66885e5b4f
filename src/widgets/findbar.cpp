// SPDX-License-Identifier: MIT
#include "widgets/findbar.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

KilnUtil_FindBar::KilnUtil_FindBar(QWidget *parent)
    : QWidget{parent}
    , m_text{new QLineEdit{this}}
    , m_matchCase{new QCheckBox{u"&Match Case"_s, this}}
    , m_previous{new QPushButton{u"&Previous"_s, this}}
    , m_next{new QPushButton{u"&Next"_s, this}}
{
    auto *label = new QLabel{u"Fin&d:"_s, this};
    label->setBuddy(m_text);
    m_text->setAccessibleName(u"Text to find"_s);
    m_text->setClearButtonEnabled(true);
    auto *close = new QPushButton{u"Cl&ose"_s, this};
    close->setAccessibleName(u"Close the search"_s);

    auto *layout = new QHBoxLayout{this};
    layout->addWidget(label);
    layout->addWidget(m_text, 1);
    for (QWidget *control : {static_cast<QWidget *>(m_matchCase), static_cast<QWidget *>(m_previous),
                             static_cast<QWidget *>(m_next), static_cast<QWidget *>(close)})
        layout->addWidget(control);

    connect(m_text, &QLineEdit::textChanged, this, &KilnUtil_FindBar::TextChangedSlot);
    connect(m_previous, &QPushButton::clicked, this, [this] { Find(false); });
    connect(m_next, &QPushButton::clicked, this, [this] { Find(true); });
    connect(close, &QPushButton::clicked, this, &KilnUtil_FindBar::ClosedSignal);
    TextChangedSlot();
}

void KilnUtil_FindBar::Activate(const QString &text)
{
    if (!text.isEmpty())
        m_text->setText(text);
    show();
    m_text->setFocus(Qt::ShortcutFocusReason);
    m_text->selectAll();
}

QString KilnUtil_FindBar::Text() const
{
    return m_text->text();
}

Qt::CaseSensitivity KilnUtil_FindBar::Sensitivity() const
{
    return m_matchCase->isChecked() ? Qt::CaseSensitive : Qt::CaseInsensitive;
}

void KilnUtil_FindBar::TextChangedSlot()
{
    m_previous->setEnabled(!m_text->text().isEmpty());
    m_next->setEnabled(!m_text->text().isEmpty());
}

void KilnUtil_FindBar::Find(bool forward)
{
    if (!m_text->text().isEmpty())
        Q_EMIT FindSignal(forward);
}

void KilnUtil_FindBar::keyPressEvent(QKeyEvent *event)
{
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isEnter && m_text->hasFocus())
        Find(!event->modifiers().testFlag(Qt::ShiftModifier));
    else
        QWidget::keyPressEvent(event);
}
