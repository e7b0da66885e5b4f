// SPDX-License-Identifier: MIT
#include "viewer/accessibletextview.h"

#include "viewer/textview.h"

using namespace Qt::Literals::StringLiterals;

namespace {
QAccessibleInterface *Make(const QString &, QObject *object)
{
    auto *view = qobject_cast<KilnUtil_TextView *>(object);
    return view ? new KilnUtil_AccessibleTextView{*view} : nullptr;
}
} // namespace

void KilnUtil_AccessibleTextView::Install()
{
    // Installing it again changes nothing.
    QAccessible::installFactory(Make);
}

KilnUtil_AccessibleTextView::KilnUtil_AccessibleTextView(KilnUtil_TextView &view)
    : QAccessibleWidget{&view, QAccessible::EditableText}
    , m_view{view}
{
}

void *KilnUtil_AccessibleTextView::interface_cast(QAccessible::InterfaceType type)
{
    return type == QAccessible::TextInterface ? static_cast<QAccessibleTextInterface *>(this)
                                              : QAccessibleWidget::interface_cast(type);
}

QAccessible::State KilnUtil_AccessibleTextView::state() const
{
    QAccessible::State state = QAccessibleWidget::state();
    state.readOnly = true;
    state.multiLine = true;
    state.selectableText = true;
    return state;
}

QString KilnUtil_AccessibleTextView::text(QAccessible::Text type) const
{
    if (type == QAccessible::Value)
        return Text();
    if (type == QAccessible::Description && m_view.HasMark())
        return u"The marked line is: %1"_s.arg(m_view.MarkedText().trimmed());
    return QAccessibleWidget::text(type);
}

QString KilnUtil_AccessibleTextView::Text() const
{
    return m_view.VisibleText().join(u'\n');
}

int KilnUtil_AccessibleTextView::PositionOf(qint64 offset) const
{
    int position = 0;
    for (const KilnUtil_TextView::Row &row : m_view.VisibleRows()) {
        if (offset < row->End())
            return position + row->IndexOf(offset);
        position += static_cast<int>(row->Text().size()) + 1;
    }
    return qMin(position, characterCount());
}

qint64 KilnUtil_AccessibleTextView::OffsetOf(int position) const
{
    qint64 offset = m_view.TopOffset();
    for (const KilnUtil_TextView::Row &row : m_view.VisibleRows()) {
        const auto length = static_cast<int>(row->Text().size());
        offset = row->OffsetOf(qBound(0, position, length));
        if (position <= length)
            break;
        position -= length + 1;
    }
    return offset;
}

void KilnUtil_AccessibleTextView::selection(int selectionIndex, int *startOffset, int *endOffset) const
{
    const bool isThere = selectionIndex == 0 && selectionCount() > 0;
    *startOffset = isThere ? PositionOf(m_view.Selection().Begin()) : 0;
    *endOffset = isThere ? PositionOf(m_view.Selection().End()) : 0;
}

int KilnUtil_AccessibleTextView::selectionCount() const
{
    return m_view.Selection().IsEmpty() ? 0 : 1;
}

void KilnUtil_AccessibleTextView::addSelection(int startOffset, int endOffset)
{
    setSelection(0, startOffset, endOffset);
}

void KilnUtil_AccessibleTextView::removeSelection(int selectionIndex)
{
    if (selectionIndex == 0)
        m_view.SetSelection(m_view.Selection().Cursor(), m_view.Selection().Cursor());
}

void KilnUtil_AccessibleTextView::setSelection(int selectionIndex, int startOffset, int endOffset)
{
    if (selectionIndex == 0)
        m_view.SetSelection(OffsetOf(startOffset), OffsetOf(endOffset));
}

int KilnUtil_AccessibleTextView::cursorPosition() const
{
    return PositionOf(m_view.Selection().Cursor());
}

void KilnUtil_AccessibleTextView::setCursorPosition(int position)
{
    const qint64 offset = OffsetOf(position);
    m_view.SetSelection(offset, offset);
}

QString KilnUtil_AccessibleTextView::text(int startOffset, int endOffset) const
{
    const QString whole = Text();
    const auto count = static_cast<int>(whole.size());
    const int begin = qBound(0, startOffset, count);
    const int end = endOffset < 0 ? count : qBound(begin, endOffset, count);
    return whole.mid(begin, end - begin);
}

int KilnUtil_AccessibleTextView::characterCount() const
{
    return static_cast<int>(Text().size());
}

QRect KilnUtil_AccessibleTextView::characterRect(int offset) const
{
    QRect rect = m_view.RectOf(OffsetOf(offset));
    rect.moveTopLeft(m_view.viewport()->mapToGlobal(rect.topLeft()));
    return rect;
}

int KilnUtil_AccessibleTextView::offsetAtPoint(const QPoint &point) const
{
    const QPoint place = m_view.viewport()->mapFromGlobal(point);
    return m_view.viewport()->rect().contains(place) ? PositionOf(m_view.OffsetAtPoint(place)) : -1;
}

/// All of it is in sight, apart from the ends of long lines.
void KilnUtil_AccessibleTextView::scrollToSubstring(int startIndex, int endIndex)
{
    m_view.ShowPlace(OffsetOf(endIndex));
    m_view.ShowPlace(OffsetOf(startIndex));
}

QString KilnUtil_AccessibleTextView::attributes(int, int *startOffset, int *endOffset) const
{
    *startOffset = 0;
    *endOffset = characterCount();
    return {};
}
