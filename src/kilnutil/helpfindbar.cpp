#include "kilnutil/helpfindbar.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QStyle>
#include <QTextEdit>
#include <QToolButton>

using namespace Qt::Literals::StringLiterals;

KilnUtil_HelpFindBar::KilnUtil_HelpFindBar(QTextEdit &view, QWidget *parent)
    : QWidget{parent}
    , m_view{view}
    , m_field{new QLineEdit{this}}
    , m_message{new QLabel{this}}
{
    m_field->setPlaceholderText(u"Find in this page"_s);
    m_field->setAccessibleName(u"Find in this page"_s);
    m_field->setClearButtonEnabled(true);
    connect(m_field, &QLineEdit::textEdited, this, &KilnUtil_HelpFindBar::TextChangedSlot);

    auto *layout = new QHBoxLayout{this};
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_field, 1);
    const auto addButton = [&](const QString &text, const QString &toolTip, auto slot) {
        auto *button = new QToolButton{this};
        button->setText(text);
        button->setToolTip(toolTip);
        button->setAutoRaise(true);
        connect(button, &QToolButton::clicked, this, slot);
        layout->addWidget(button);
    };
    addButton(u"Previous"_s, u"Find the place before (Shift+F3)"_s, &KilnUtil_HelpFindBar::FindPreviousSlot);
    addButton(u"Next"_s, u"Find the next place (F3)"_s, &KilnUtil_HelpFindBar::FindNextSlot);
    layout->addWidget(m_message);
    layout->addStretch();
    addButton(u"Close"_s, u"Close this row (Escape)"_s, &KilnUtil_HelpFindBar::CloseSlot);
    hide();
}

void KilnUtil_HelpFindBar::OpenSlot()
{
    if (const QString selected = m_view.textCursor().selectedText();
        !selected.isEmpty() && !selected.contains(QChar::ParagraphSeparator))
        m_field->setText(selected);
    show();
    m_field->selectAll();
    m_field->setFocus(Qt::ShortcutFocusReason);
}

void KilnUtil_HelpFindBar::FindNextSlot()
{
    if (m_field->text().isEmpty())
        OpenSlot();
    else
        Find({});
}

void KilnUtil_HelpFindBar::FindPreviousSlot()
{
    if (m_field->text().isEmpty())
        OpenSlot();
    else
        Find(QTextDocument::FindBackward);
}

void KilnUtil_HelpFindBar::CloseSlot()
{
    hide();
    m_message->clear();
    m_view.setFocus();
}

void KilnUtil_HelpFindBar::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        CloseSlot();
    else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        Find(event->modifiers().testFlag(Qt::ShiftModifier) ? QTextDocument::FindBackward
                                                            : QTextDocument::FindFlags{});
    else
        QWidget::keyPressEvent(event);
}

void KilnUtil_HelpFindBar::TextChangedSlot()
{
    // A longer text may still stand where the shorter one was found.
    QTextCursor cursor = m_view.textCursor();
    cursor.setPosition(cursor.selectionStart());
    m_view.setTextCursor(cursor);
    m_message->clear();
    if (!m_field->text().isEmpty())
        Find({});
}

void KilnUtil_HelpFindBar::Find(QTextDocument::FindFlags flags)
{
    const QString text = m_field->text();
    m_message->clear();
    if (m_view.find(text, flags))
        return;
    const QTextCursor before = m_view.textCursor();
    m_view.moveCursor(flags.testFlag(QTextDocument::FindBackward) ? QTextCursor::End : QTextCursor::Start);
    if (m_view.find(text, flags)) {
        m_message->setText(u"Continued at the other end"_s);
        return;
    }
    m_view.setTextCursor(before);
    m_message->setText(u"Not found"_s);
}
