// SPDX-License-Identifier: MIT
#pragma once

#include "widgets/tablewidget.h"

#include <optional>

/// A table whose rows the user can bring into another order, by dragging the selected ones or with keys,
/// where its owner allows it. A drag that begins on a row that is not selected selects rows, as elsewhere.
class KilnUtil_MovableRowsTable final : public KilnUtil_TableWidget
{
    Q_OBJECT

public:
    using KilnUtil_TableWidget::KilnUtil_TableWidget;

    /// Lets the selected rows be moved, unless the function says why they cannot be dragged. Off at first.
    void SetMovesRows(const std::function<QString()> &whyNot);
    /// Whether the rows stand in the order of the source model.
    [[nodiscard]] bool IsInSourceOrder() const;
    /// Has them stand so.
    void ShowSourceOrder();

Q_SIGNALS:
    /// The selected rows are to stand before that row of the view; at the end for the number of rows.
    void RowsMovedSignal(int before);
    /// Alt with an arrow key, Home or End: the selected rows are to go there.
    void MoveKeyPressedSignal(int key);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void DragRows();
    [[nodiscard]] bool AreOwnRows(const QDropEvent &event) const;
    void AcceptOwnRows(QDropEvent *event);
    [[nodiscard]] int PlaceOfDrop(const QPoint &position) const;
    void SetDropPlace(int before);

    std::function<QString()> m_whyRowsStay; ///< none where rows cannot be moved at all
    int m_dropPlace = -1;                   ///< the row before which dragged rows would fall
    std::optional<QPoint> m_dragBegin;      ///< where a selected row is pressed
};
