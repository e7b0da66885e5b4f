// SPDX-License-Identifier: MIT
#pragma once

#include "viewer/textselection.h"

#include <QAbstractScrollArea>

#include <memory>
#include <vector>

class KilnUtil_TextMouse;

/// Shows a source of any size: only the rows in sight are read and laid out. The vertical scroll bar counts
/// bytes; places are offsets in the source throughout. Lines are not wrapped.
class KilnUtil_TextView final : public QAbstractScrollArea
{
    Q_OBJECT

public:
    using Row = std::shared_ptr<const KilnUtil_TextRowLayout>;

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
    [[nodiscard]] QStringList VisibleText() const;
    [[nodiscard]] const std::vector<Row> &VisibleRows() const { return m_layouts; }
    /// Where the character at that offset is drawn in the viewport; empty when it is out of sight.
    [[nodiscard]] QRect RectOf(qint64 offset) const;
    /// Scrolls as little as needed; a place that is far away comes to the middle.
    void ShowPlace(qint64 offset);

    [[nodiscard]] const KilnUtil_TextSelection &Selection() const { return m_selection; }
    void SetSelection(qint64 anchor, qint64 cursor);
    /// Selects the bytes and brings them into sight.
    void Select(qint64 begin, qint64 end);
    void SelectAll();

    /// Marks the lines of the bytes by the colour of their ground, which stays whatever is selected, until
    /// the source is replaced; the same place twice marks nothing.
    void SetMark(qint64 begin, qint64 end);
    [[nodiscard]] bool HasMark() const { return m_markBegin < m_markEnd; }
    /// The marked text, for a look at what the user sees.
    [[nodiscard]] QString MarkedText() const;

    /// The row that holds the byte at offset.
    [[nodiscard]] Row RowOf(qint64 offset) const;
    /// The place in the source that is shown there in the viewport.
    [[nodiscard]] qint64 OffsetAtPoint(QPoint point) const;
    [[nodiscard]] int RowHeight() const;
    /// Down, or up when negative.
    void ScrollRows(qint64 rows);

    static constexpr int LeastZoom = -4;
    static constexpr int MostZoom = 20;
    /// Steps away from the usual text size, in points.
    [[nodiscard]] int Zoom() const { return m_zoom; }
    void SetZoom(int steps);

    /// Room for the usual lines of a program's output.
    [[nodiscard]] QSize sizeHint() const override;

public Q_SLOTS:
    void ScrollToBeginSlot();
    void ScrollToEndSlot();
    /// Nowhere without a mark.
    void ScrollToMarkSlot();

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
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private Q_SLOTS:
    void ScrolledSlot(int value);
    void ScrollActionSlot(int action);

private:
    [[nodiscard]] int TextX() const;
    [[nodiscard]] int FullRows() const;
    void UpdateExtent();
    void UpdateBars();
    void LayOutRows();
    void ScrollTo(qint64 top);
    [[nodiscard]] bool ScrollByKey(const QKeyEvent &event);

    void PlaceCursorInSight();
    void ReportText();
    void DrawMark(QPainter &painter, const KilnUtil_TextRowLayout &row, int y);
    void DrawCursor(QPainter &painter, const KilnUtil_TextRowLayout &row, int y);

    KilnUtil_TextSource &m_source;
    KilnUtil_TextRows m_rows;
    KilnUtil_TextSelection m_selection;
    KilnUtil_TextMouse *m_mouse;
    std::vector<Row> m_layouts; ///< of the rows in sight
    QString m_reported;         ///< what screen readers were told is in sight
    qint64 m_top = 0;
    qint64 m_lastTop = 0;      ///< where the last row stands at the lower edge
    qint64 m_bytesPerStep = 1; ///< of the scroll bar, which only counts to 2^31
    qreal m_widest = 0;
    qint64 m_markBegin = 0;
    qint64 m_markEnd = 0;
    int m_zoom = 0;
    bool m_followsEnd = false;
    bool m_stuckToEnd = true;
};
