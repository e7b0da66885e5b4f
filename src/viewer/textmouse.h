// SPDX-License-Identifier: MIT
#pragma once

#include <QBasicTimer>
#include <QObject>
#include <QPoint>
#include <QPointF>

class KilnUtil_TextView;
class QMouseEvent;
class QWheelEvent;

/// The mouse in a text view: it selects characters, words and rows, drags beyond the edges and scrolls.
class KilnUtil_TextMouse final : public QObject
{
    Q_OBJECT

public:
    /// The view owns it.
    explicit KilnUtil_TextMouse(KilnUtil_TextView &view);

    void Press(QMouseEvent &event);
    void Move(const QMouseEvent &event);
    void Release(const QMouseEvent &event);
    void DoubleClick(const QMouseEvent &event);
    void TurnWheel(QWheelEvent &event);

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    void DragTo(QPoint point);

    KilnUtil_TextView &m_view;
    bool m_dragging = false;
    QPoint m_dragPoint;
    QPoint m_doubleClickPoint;
    QBasicTimer m_dragTimer;
    QBasicTimer m_tripleClickTimer;
    QPointF m_wheelRest; ///< what did not make up a whole row yet
};
