// SPDX-License-Identifier: MIT
#include "widgets/movablerowstable.h"

#include "widgets/filedrop.h"

#include <QApplication>
#include <QDrag>
#include <QDropEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QTextDocument>
#include <QToolTip>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

void KilnUtil_MovableRowsTable::SetMovesRows(const std::function<QString()> &whyNot)
{
    m_whyRowsStay = whyNot;
    setAcceptDrops(true);
}

bool KilnUtil_MovableRowsTable::IsInSourceOrder() const
{
    const QList<int> rows = PositionsOf(AllRows());
    return std::ranges::is_sorted(rows);
}

void KilnUtil_MovableRowsTable::ShowSourceOrder()
{
    sortByColumn(-1, Qt::AscendingOrder);
}

void KilnUtil_MovableRowsTable::keyPressEvent(QKeyEvent *event)
{
    static const QList<int> moveKeys{Qt::Key_Up, Qt::Key_Down, Qt::Key_Home, Qt::Key_End};
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
    if (m_whyRowsStay && modifiers == Qt::AltModifier && moveKeys.contains(event->key()))
        Q_EMIT MoveKeyPressedSignal(event->key());
    else
        KilnUtil_TableWidget::keyPressEvent(event);
}

/// From any other row on a drag selects what it passes.
void KilnUtil_MovableRowsTable::mousePressEvent(QMouseEvent *event)
{
    const QPoint position = event->position().toPoint();
    const QModelIndex pressed = indexAt(position);
    const bool isPlainPress = event->button() == Qt::LeftButton && event->modifiers() == Qt::NoModifier;
    m_dragBegin.reset();
    if (m_whyRowsStay && isPlainPress && pressed.isValid() && selectionModel()->isSelected(pressed))
        m_dragBegin = position;
    KilnUtil_TableWidget::mousePressEvent(event);
}

void KilnUtil_MovableRowsTable::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_dragBegin || !event->buttons().testFlag(Qt::LeftButton)) {
        KilnUtil_TableWidget::mouseMoveEvent(event);
        return;
    }
    const QPoint way = event->position().toPoint() - *m_dragBegin;
    if (way.manhattanLength() >= QApplication::startDragDistance()) {
        m_dragBegin.reset();
        DragRows();
    }
}

void KilnUtil_MovableRowsTable::mouseReleaseEvent(QMouseEvent *event)
{
    m_dragBegin.reset();
    KilnUtil_TableWidget::mouseReleaseEvent(event);
}

void KilnUtil_MovableRowsTable::paintEvent(QPaintEvent *event)
{
    KilnUtil_TableWidget::paintEvent(event);
    if (m_dropPlace < 0)
        return;
    QPainter painter{viewport()};
    const int above = m_dropPlace - 1;
    KilnUtil_FileDrop::PaintLine(
        painter, *this, above < 0 ? rowViewportPosition(0) : rowViewportPosition(above) + rowHeight(above));
}

void KilnUtil_MovableRowsTable::DragRows()
{
    auto *drag = new QDrag{this};
    auto *data = new QMimeData;
    data->setData(u"application/x-taskmill-rows"_s, {});
    drag->setMimeData(data);
    drag->exec(Qt::MoveAction);
}

/// Above the middle of a row it is this one.
int KilnUtil_MovableRowsTable::PlaceOfDrop(const QPoint &position) const
{
    const QModelIndex index = indexAt(position);
    if (!index.isValid())
        return position.y() < 0 ? 0 : model()->rowCount();
    const bool isUpperHalf = position.y() < visualRect(index).center().y();
    return isUpperHalf ? index.row() : index.row() + 1;
}

void KilnUtil_MovableRowsTable::SetDropPlace(int before)
{
    if (std::exchange(m_dropPlace, before) != before)
        viewport()->update();
}

bool KilnUtil_MovableRowsTable::AreOwnRows(const QDropEvent &event) const
{
    return m_whyRowsStay && event.source() == this;
}

void KilnUtil_MovableRowsTable::AcceptOwnRows(QDropEvent *event)
{
    const QString whyNot = m_whyRowsStay();
    event->setDropAction(Qt::MoveAction);
    event->setAccepted(whyNot.isEmpty());
    const QPoint position = event->position().toPoint();
    if (!whyNot.isEmpty())
        QToolTip::showText(viewport()->mapToGlobal(position), Qt::convertFromPlainText(whyNot), viewport());
    const int place = PlaceOfDrop(position);
    SetDropPlace(event->isAccepted() && event->type() != QEvent::Drop ? place : -1);
    if (event->isAccepted() && event->type() == QEvent::Drop)
        Q_EMIT RowsMovedSignal(place);
}

void KilnUtil_MovableRowsTable::dragEnterEvent(QDragEnterEvent *event)
{
    if (AreOwnRows(*event))
        AcceptOwnRows(event);
    else
        KilnUtil_TableWidget::dragEnterEvent(event);
}

void KilnUtil_MovableRowsTable::dragMoveEvent(QDragMoveEvent *event)
{
    if (!AreOwnRows(*event)) {
        KilnUtil_TableWidget::dragMoveEvent(event);
        return;
    }
    // Scrolls at the edges, which that of a table for files does not.
    // NOLINTNEXTLINE(bugprone-parent-virtual-call)
    QTableView::dragMoveEvent(event);
    AcceptOwnRows(event);
}

void KilnUtil_MovableRowsTable::dragLeaveEvent(QDragLeaveEvent *event)
{
    SetDropPlace(-1);
    stopAutoScroll();
    KilnUtil_TableWidget::dragLeaveEvent(event);
}

void KilnUtil_MovableRowsTable::dropEvent(QDropEvent *event)
{
    if (!AreOwnRows(*event)) {
        KilnUtil_TableWidget::dropEvent(event);
        return;
    }
    stopAutoScroll();
    AcceptOwnRows(event);
}
