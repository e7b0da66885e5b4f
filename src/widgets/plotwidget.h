// SPDX-License-Identifier: MIT
#pragma once

#include "widgets/plotaxis.h"

#include <QWidget>

#include <optional>

/// What a plot shows: a value for each step.
struct KilnUtil_PlotSeries
{
    QString Title;
    QString StepName;  ///< "step"
    QString Unit;      ///< of the values
    QString EmptyText; ///< shown where there is nothing to draw
    KilnUtil_PlotAxis::Scale Scale = KilnUtil_PlotAxis::Scale::Linear;
    qint64 FirstStep = 1; ///< number of the step of the first value
    qint64 LastStep = 0;  ///< values behind it come from what followed the steps; 0: there are none
    QList<double> Values; ///< on a logarithmic scale those that are not positive are left out

    bool operator==(const KilnUtil_PlotSeries &) const = default;
};

/// Draws a series as a line with axes. The step under the pointer, or the one that the arrow keys have come
/// to, is marked and its value written; else it is that of the last step. It can be copied as a picture and
/// as comma-separated values.
class KilnUtil_PlotWidget final : public QWidget
{
    Q_OBJECT

public:
    explicit KilnUtil_PlotWidget(QWidget *parent);

    void SetSeries(const KilnUtil_PlotSeries &series);
    [[nodiscard]] const KilnUtil_PlotSeries &Series() const { return m_series; }

    /// Index of the value that is marked; -1 for none.
    [[nodiscard]] qsizetype MarkedIndex() const { return m_marked; }
    /// Such as "step 12", or "after step 12".
    [[nodiscard]] QString NameOf(qsizetype index) const;
    /// Where that value is drawn.
    [[nodiscard]] QPointF PointOf(qsizetype index) const;
    /// Such as "step 12: -40.123456 hartree"; empty when there is no such value.
    [[nodiscard]] QString TextOf(qsizetype index) const;

    /// The plot as it is seen, without the sign that it has the keyboard.
    [[nodiscard]] QPixmap Picture() const;
    /// With a line of headings.
    [[nodiscard]] QString Csv() const;

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

public Q_SLOTS:
    void CopyPictureSlot() const;
    void CopyCsvSlot() const;

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    void LayOut();
    void SetUpValueAxis();
    void Mark(qsizetype index);
    void Describe();
    [[nodiscard]] bool IsDrawn(qsizetype index) const;
    [[nodiscard]] qsizetype LastDrawn() const;
    [[nodiscard]] qsizetype IndexAt(double x) const;
    [[nodiscard]] double XOf(qsizetype index) const;
    void Draw(QPainter &painter) const;
    void DrawAxes(QPainter &painter) const;
    void DrawHeading(QPainter &painter) const;
    void DrawLine(QPainter &painter) const;
    void DrawMark(QPainter &painter) const;
    [[nodiscard]] QList<QPolygonF> Lines() const;

    KilnUtil_PlotSeries m_series;
    qsizetype m_drawn = 0; ///< number of values that can be drawn
    KilnUtil_PlotAxis m_steps;
    KilnUtil_PlotAxis m_values;
    QRectF m_area; ///< between the axes
    qsizetype m_marked = -1;
};
