// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

/// One axis of a plot: the range that it shows, and the round numbers that are written beside it.
class KilnUtil_PlotAxis
{
public:
    enum class Scale
    {
        Linear,
        Counting,   ///< as linear, with marks at whole numbers only
        Logarithmic ///< of positive values; its ends are powers of ten
    };

    KilnUtil_PlotAxis() = default;
    /// Has room for both values, and about so many marks.
    KilnUtil_PlotAxis(Scale scale, double least, double most, int marks);

    /// From the least to the greatest; at least one.
    [[nodiscard]] const QList<double> &Marks() const { return m_marks; }
    /// As it stands beside the axis: with as many decimals as the marks need to differ, or a power of ten.
    [[nodiscard]] QString Text(double mark) const;
    /// Where the value is on the axis, from 0 at its least end to 1.
    [[nodiscard]] double Place(double value) const;

private:
    void SetLinear(double least, double most, int marks);
    void SetLogarithmic(double least, double most, int marks);

    Scale m_scale = Scale::Linear;
    double m_begin = 0; ///< on a logarithmic axis an exponent, as the end
    double m_end = 1;
    int m_decimals = 0;
    QList<double> m_marks{0, 1};
};
