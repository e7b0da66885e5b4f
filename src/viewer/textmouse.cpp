// SPDX-License-Identifier: MIT
#include "viewer/textmouse.h"

#include "viewer/textview.h"

#include <QApplication>
#include <QMouseEvent>
#include <QScrollBar>
#include <QStyleHints>
#include <QWheelEvent>

#include <cmath>

namespace {
constexpr int dragIntervalMs = 50;
constexpr qreal wheelUnitsPerNotch = 120;
} // namespace

KilnUtil_TextMouse::KilnUtil_TextMouse(KilnUtil_TextView &view)
    : QObject{&view}
    , m_view{view}
{
}

void KilnUtil_TextMouse::TurnWheel(QWheelEvent &event)
{
    const QPointF pixels = event.pixelDelta();
    const qreal rowsPerUnit = QApplication::wheelScrollLines() / wheelUnitsPerNotch;
    const QPointF rows =
        pixels.isNull() ? QPointF{event.angleDelta()} * rowsPerUnit : pixels / qreal(m_view.RowHeight());
    const bool sideways = event.modifiers().testFlag(Qt::ShiftModifier);
    m_wheelRest += sideways ? rows.transposed() : rows;
    const QPointF whole{std::trunc(m_wheelRest.x()), std::trunc(m_wheelRest.y())};
    m_wheelRest -= whole;
    if (whole.y() != 0)
        m_view.ScrollRows(-qRound64(whole.y()));
    QScrollBar *bar = m_view.horizontalScrollBar();
    bar->setValue(bar->value() - qRound(whole.x()) * bar->singleStep());
    event.accept();
}

void KilnUtil_TextMouse::Press(QMouseEvent &event)
{
    if (event.button() != Qt::LeftButton) {
        event.ignore();
        return;
    }
    const QPoint point = event.position().toPoint();
    const qint64 offset = m_view.OffsetAtPoint(point);
    m_dragging = true;
    const bool isThird = m_tripleClickTimer.isActive() &&
                         (point - m_doubleClickPoint).manhattanLength() < QApplication::startDragDistance();
    if (isThird) {
        const KilnUtil_TextView::Row row = m_view.RowOf(offset);
        m_view.SetSelection(row->Begin(), row->End());
        m_tripleClickTimer.stop();
        m_dragging = false;
    } else {
        m_view.SetSelection(
            event.modifiers().testFlag(Qt::ShiftModifier) ? m_view.Selection().Anchor() : offset, offset);
    }
}

void KilnUtil_TextMouse::DoubleClick(const QMouseEvent &event)
{
    if (event.button() != Qt::LeftButton)
        return;
    m_doubleClickPoint = event.position().toPoint();
    m_tripleClickTimer.start(QGuiApplication::styleHints()->mouseDoubleClickInterval(), this);
    const qint64 offset = m_view.OffsetAtPoint(m_doubleClickPoint);
    const auto [begin, end] = m_view.RowOf(offset)->WordAt(offset);
    m_view.SetSelection(begin, end);
}

void KilnUtil_TextMouse::Move(const QMouseEvent &event)
{
    if (!m_dragging)
        return;
    DragTo(event.position().toPoint());
    // Beyond the edge the selection goes on although the mouse does not move.
    if (m_view.viewport()->rect().contains(m_dragPoint))
        m_dragTimer.stop();
    else if (!m_dragTimer.isActive())
        m_dragTimer.start(dragIntervalMs, this);
}

void KilnUtil_TextMouse::DragTo(QPoint point)
{
    m_dragPoint = point;
    const QRect inside = m_view.viewport()->rect();
    if (point.y() < inside.top())
        m_view.ScrollRows(-1 + point.y() / m_view.RowHeight());
    else if (point.y() > inside.bottom())
        m_view.ScrollRows(1 + (point.y() - inside.bottom()) / m_view.RowHeight());
    QScrollBar *bar = m_view.horizontalScrollBar();
    if (point.x() < inside.left())
        bar->setValue(bar->value() - bar->singleStep());
    else if (point.x() > inside.right())
        bar->setValue(bar->value() + bar->singleStep());
    m_view.SetSelection(m_view.Selection().Anchor(), m_view.OffsetAtPoint(point));
}

void KilnUtil_TextMouse::Release(const QMouseEvent &event)
{
    if (event.button() != Qt::LeftButton)
        return;
    m_dragging = false;
    m_dragTimer.stop();
    m_view.Selection().Offer();
}

void KilnUtil_TextMouse::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == m_dragTimer.timerId())
        DragTo(m_dragPoint);
    else if (event->timerId() == m_tripleClickTimer.timerId())
        m_tripleClickTimer.stop();
    else
        QObject::timerEvent(event);
}
