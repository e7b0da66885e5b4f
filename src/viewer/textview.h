// SPDX-License-Identifier: MIT
#pragma once

#include "viewer/textrowlayout.h"

#include <QAbstractScrollArea>
#include <QBasicTimer>

#include <memory>
#include <optional>
#include <vector>

/// Shows a source of any size: only the rows in sight are read and laid out. The vertical scroll bar counts
/// bytes; places are offsets in the source throughout. Lines are not wrapped.
class KilnUtil_TextView final : public QAbstractScrollArea
{
    Q_OBJECT

public:
    /// What may go to the clipboard, in bytes.
    static constexpr qint64 LongestCopy = 64LL * 1024 * 1024;

    /// The source belongs to the caller and must stay.
    KilnUtil_TextView(KilnUtil_TextSource &source, QWidget *parent);

    /// When on, a view that shows the end goes on showing the end while the source grows.
    void SetFollowsEnd(bool follows);
    /// To be called with what KilnUtil_TextSource::Refresh() has returned.
    void SourceChanged(KilnUtil_TextSource::Change change);

    /// Offset of the first row in sight.
    [[nodiscard]] qint64 TopOffset() const { return m_top; }
    /// Whether the last row is in sight.
    [[nodiscard]] bool IsAtEnd() const { return m_top >= m_lastTop; }
    [[nodiscard]] bool IsFollowing() const { return m_followsEnd && m_stuckToEnd; }
    /// The rows in sight, for a look at what the user sees.
    [[nodiscard]] QStringList VisibleText();

    [[nodiscard]] qint64 SelectionBegin() const { return qMin(m_anchor, m_cursor); }
    [[nodiscard]] qint64 SelectionEnd() const { return qMax(m_anchor, m_cursor); }
    [[nodiscard]] bool HasSelection() const { return m_anchor != m_cursor; }
    /// Nothing when it is longer than LongestCopy.
    [[nodiscard]] std::optional<QString> SelectedText() const;
    /// Selects the bytes and brings them into sight.
    void Select(qint64 begin, qint64 end);
    void SelectAll();

    /// Room for the usual lines of a program's output.
    [[nodiscard]] QSize sizeHint() const override;

public Q_SLOTS:
    void ScrollToBeginSlot();
    void ScrollToEndSlot();

Q_SIGNALS:
    void PlaceChangedSignal();
    void SelectionChangedSignal();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void timerEvent(QTimerEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private Q_SLOTS:
    void ScrolledSlot(int value);
    void ScrollActionSlot(int action);

private:
    using Layout = std::shared_ptr<const KilnUtil_TextRowLayout>;

    [[nodiscard]] int RowHeight() const;
    [[nodiscard]] int TextX() const;
    [[nodiscard]] int FullRows() const;
    void UpdateExtent();
    void UpdateBars();
    void LayOutRows();
    void ScrollTo(qint64 top);
    void ScrollRows(qint64 rows);
    [[nodiscard]] bool ScrollByKey(const QKeyEvent &event);

    [[nodiscard]] Layout LayoutOf(qint64 offset) const;
    [[nodiscard]] qint64 OffsetAtPoint(QPoint point);
    [[nodiscard]] std::optional<qint64> MovedCursor(int key, bool control) const;
    [[nodiscard]] qint64 RowsAway(const Layout &row, qint64 rows) const;
    void SetSelection(qint64 anchor, qint64 cursor);
    void PlaceCursorInSight();
    void ShowPlace(qint64 offset);
    void DragTo(QPoint point);
    void DrawCursor(QPainter &painter, const KilnUtil_TextRowLayout &row, int y);
    void OfferSelection() const;

    KilnUtil_TextSource &m_source;
    KilnUtil_TextRows m_rows;
    std::vector<Layout> m_layouts; ///< of the rows in sight
    qint64 m_top = 0;
    qint64 m_lastTop = 0;      ///< where the last row stands at the lower edge
    qint64 m_bytesPerStep = 1; ///< of the scroll bar, which only counts to 2^31
    qreal m_widest = 0;
    bool m_followsEnd = false;
    bool m_stuckToEnd = true;
    qint64 m_anchor = 0;
    qint64 m_cursor = 0;
    bool m_dragging = false;
    QPoint m_dragPoint;
    QPoint m_doubleClickPoint;
    QBasicTimer m_dragTimer;
    QBasicTimer m_tripleClickTimer;
    QPointF m_wheelRest; ///< what did not make up a whole row yet
};
