// SPDX-License-Identifier: MIT
#include "viewer/textview.h"

#include <QApplication>
#include <QClipboard>
#include <QMouseEvent>
#include <QScrollBar>
#include <QStyleHints>
#include <QWheelEvent>

#include <cmath>

// The half of the view that takes the keyboard and the mouse: scrolling by rows, and the selection.

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int dragIntervalMs = 50;
constexpr qreal wheelUnitsPerNotch = 120;
/// The other clipboard of X11 is filled by every selection; a copy that was not asked for stays small.
constexpr qint64 longestOffer = 1024LL * 1024;
} // namespace

KilnUtil_TextView::Layout KilnUtil_TextView::LayoutOf(qint64 offset) const
{
    return std::make_shared<KilnUtil_TextRowLayout>(m_rows.RowAt(m_rows.RowBegin(offset)), font());
}

qint64 KilnUtil_TextView::OffsetAtPoint(QPoint point)
{
    if (m_layouts.empty())
        return m_source.Begin();
    if (point.y() < 0)
        return m_layouts.front()->Begin();
    const size_t row = point.y() / RowHeight();
    if (row >= m_layouts.size())
        return m_layouts.back()->End();
    return m_layouts[row]->OffsetAt(point.x() - TextX());
}

std::optional<QString> KilnUtil_TextView::SelectedText() const
{
    if (SelectionEnd() - SelectionBegin() > LongestCopy)
        return std::nullopt;
    const QByteArray bytes = m_source.Read(SelectionBegin(), SelectionEnd() - SelectionBegin());
    return KilnUtil_TextRows::Text(bytes).replace("\r\n"_L1, "\n"_L1);
}

void KilnUtil_TextView::SetSelection(qint64 anchor, qint64 cursor)
{
    if (anchor == m_anchor && cursor == m_cursor)
        return;
    m_anchor = anchor;
    m_cursor = cursor;
    viewport()->update();
    Q_EMIT SelectionChangedSignal();
}

void KilnUtil_TextView::Select(qint64 begin, qint64 end)
{
    SetSelection(begin, end);
    ShowPlace(end);
    ShowPlace(begin);
}

void KilnUtil_TextView::SelectAll()
{
    SetSelection(m_source.Begin(), m_source.End());
}

/// Scrolls as little as needed; a place that is far away comes to the middle.
void KilnUtil_TextView::ShowPlace(qint64 offset)
{
    const Layout row = LayoutOf(offset);
    const qint64 lowest = m_rows.Down(m_top, FullRows() - 1);
    if (row->Begin() < m_top || row->Begin() > lowest) {
        const bool isNear = row->Begin() == m_rows.Up(m_top, 1) || row->Begin() == m_rows.Down(lowest, 1);
        const qint64 above = row->Begin() < m_top ? 0 : FullRows() - 1;
        ScrollTo(m_rows.Up(row->Begin(), isNear ? above : FullRows() / 2));
    }
    const int x = qRound(row->X(offset));
    const int around = fontMetrics().averageCharWidth() * 4;
    QScrollBar *bar = horizontalScrollBar();
    if (x - around < bar->value())
        bar->setValue(x - around);
    else if (x + around > bar->value() + viewport()->width())
        bar->setValue(x + around - viewport()->width());
}

/// A selection made with the keyboard begins where the user looks.
void KilnUtil_TextView::PlaceCursorInSight()
{
    const bool inSight =
        !m_layouts.empty() && m_cursor >= m_layouts.front()->Begin() && m_cursor <= m_layouts.back()->End();
    if (!HasSelection() && !inSight)
        SetSelection(m_top, m_top);
}

qint64 KilnUtil_TextView::RowsAway(const Layout &row, qint64 rows) const
{
    const qint64 begin = rows < 0 ? m_rows.Up(row->Begin(), -rows) : m_rows.Down(row->Begin(), rows);
    return LayoutOf(begin)->OffsetAt(row->X(m_cursor));
}

std::optional<qint64> KilnUtil_TextView::MovedCursor(int key, bool control) const
{
    const Layout row = LayoutOf(m_cursor);
    switch (key) {
    case Qt::Key_Left:
        if (m_cursor > row->Begin())
            return row->Before(m_cursor);
        return m_cursor > m_source.Begin() ? LayoutOf(row->Begin() - 1)->TextEnd() : m_cursor;
    case Qt::Key_Right:
        return m_cursor < row->TextEnd() ? row->After(m_cursor) : row->End();
    case Qt::Key_Up:
        return RowsAway(row, -1);
    case Qt::Key_Down:
        return RowsAway(row, 1);
    case Qt::Key_PageUp:
        return RowsAway(row, 1 - FullRows());
    case Qt::Key_PageDown:
        return RowsAway(row, FullRows() - 1);
    case Qt::Key_Home:
        return control ? m_source.Begin() : row->Begin();
    case Qt::Key_End:
        return control ? m_source.End() : row->TextEnd();
    default:
        return std::nullopt;
    }
}

bool KilnUtil_TextView::ScrollByKey(const QKeyEvent &event)
{
    switch (event.key()) {
    case Qt::Key_Up:
        ScrollRows(-1);
        return true;
    case Qt::Key_Down:
        ScrollRows(1);
        return true;
    case Qt::Key_PageUp:
        ScrollRows(1 - FullRows());
        return true;
    case Qt::Key_PageDown:
        ScrollRows(FullRows() - 1);
        return true;
    case Qt::Key_Home:
        horizontalScrollBar()->setValue(0);
        ScrollToBeginSlot();
        return true;
    case Qt::Key_End:
        ScrollToEndSlot();
        return true;
    case Qt::Key_Left:
        horizontalScrollBar()->triggerAction(QAbstractSlider::SliderSingleStepSub);
        return true;
    case Qt::Key_Right:
        horizontalScrollBar()->triggerAction(QAbstractSlider::SliderSingleStepAdd);
        return true;
    default:
        return false;
    }
}

void KilnUtil_TextView::keyPressEvent(QKeyEvent *event)
{
    if (!event->modifiers().testFlag(Qt::ShiftModifier)) {
        if (!ScrollByKey(*event))
            event->ignore();
        return;
    }
    PlaceCursorInSight();
    const auto cursor = MovedCursor(event->key(), event->modifiers().testFlag(Qt::ControlModifier));
    if (!cursor) {
        event->ignore();
        return;
    }
    SetSelection(m_anchor, *cursor);
    ShowPlace(*cursor);
    OfferSelection();
}

void KilnUtil_TextView::wheelEvent(QWheelEvent *event)
{
    const QPointF pixels = event->pixelDelta();
    const qreal rowsPerUnit = QApplication::wheelScrollLines() / wheelUnitsPerNotch;
    const QPointF rows =
        pixels.isNull() ? QPointF{event->angleDelta()} * rowsPerUnit : pixels / qreal(RowHeight());
    const bool sideways = event->modifiers().testFlag(Qt::ShiftModifier);
    m_wheelRest += sideways ? rows.transposed() : rows;
    const QPointF whole{std::trunc(m_wheelRest.x()), std::trunc(m_wheelRest.y())};
    m_wheelRest -= whole;
    if (whole.y() != 0)
        ScrollRows(-qRound64(whole.y()));
    QScrollBar *bar = horizontalScrollBar();
    bar->setValue(bar->value() - qRound(whole.x()) * bar->singleStep());
    event->accept();
}

void KilnUtil_TextView::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    const QPoint point = event->position().toPoint();
    const qint64 offset = OffsetAtPoint(point);
    m_dragging = true;
    const bool isThird = m_tripleClickTimer.isActive() &&
                         (point - m_doubleClickPoint).manhattanLength() < QApplication::startDragDistance();
    if (isThird) {
        const Layout row = LayoutOf(offset);
        SetSelection(row->Begin(), row->End());
        m_tripleClickTimer.stop();
        m_dragging = false;
    } else {
        SetSelection(event->modifiers().testFlag(Qt::ShiftModifier) ? m_anchor : offset, offset);
    }
}

void KilnUtil_TextView::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    m_doubleClickPoint = event->position().toPoint();
    m_tripleClickTimer.start(QGuiApplication::styleHints()->mouseDoubleClickInterval(), this);
    const qint64 offset = OffsetAtPoint(m_doubleClickPoint);
    const auto [begin, end] = LayoutOf(offset)->WordAt(offset);
    SetSelection(begin, end);
}

void KilnUtil_TextView::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_dragging)
        return;
    DragTo(event->position().toPoint());
    // Beyond the edge the selection goes on although the mouse does not move.
    if (viewport()->rect().contains(m_dragPoint))
        m_dragTimer.stop();
    else if (!m_dragTimer.isActive())
        m_dragTimer.start(dragIntervalMs, this);
}

void KilnUtil_TextView::DragTo(QPoint point)
{
    m_dragPoint = point;
    const QRect inside = viewport()->rect();
    if (point.y() < inside.top())
        ScrollRows(-1 + point.y() / RowHeight());
    else if (point.y() > inside.bottom())
        ScrollRows(1 + (point.y() - inside.bottom()) / RowHeight());
    QScrollBar *bar = horizontalScrollBar();
    if (point.x() < inside.left())
        bar->setValue(bar->value() - bar->singleStep());
    else if (point.x() > inside.right())
        bar->setValue(bar->value() + bar->singleStep());
    SetSelection(m_anchor, OffsetAtPoint(point));
}

void KilnUtil_TextView::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    m_dragging = false;
    m_dragTimer.stop();
    OfferSelection();
}

void KilnUtil_TextView::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == m_dragTimer.timerId())
        DragTo(m_dragPoint);
    else if (event->timerId() == m_tripleClickTimer.timerId())
        m_tripleClickTimer.stop();
    else
        QAbstractScrollArea::timerEvent(event);
}

/// To the clipboard that the middle mouse button pastes from, where there is one.
void KilnUtil_TextView::OfferSelection() const
{
    QClipboard *clipboard = QGuiApplication::clipboard();
    if (!clipboard->supportsSelection() || !HasSelection() ||
        SelectionEnd() - SelectionBegin() > longestOffer)
        return;
    if (const auto text = SelectedText())
        clipboard->setText(*text, QClipboard::Selection);
}
