// SPDX-License-Identifier: MIT
#include "widgets/plotaxis.h"

#include <algorithm>
#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int mostDecimals = 10;

/// 1, 2 or 5 times a power of ten, or the next power; not less than the distance.
double RoundStep(double distance)
{
    const double power = std::pow(10.0, std::floor(std::log10(distance)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (distance <= factor * power * (1 + 1e-9))
            return factor * power;
    }
    return 10 * power;
}

QString PowerOfTen(int exponent)
{
    static constexpr QStringView superscripts = u"⁰¹²³⁴⁵⁶⁷⁸⁹";
    QString text = u"10"_s;
    const QString digits = QString::number(exponent);
    for (const QChar digit : digits)
        text += digit == u'-' ? QChar{u'⁻'} : superscripts[digit.digitValue()];
    return text;
}
} // namespace

KilnUtil_PlotAxis::KilnUtil_PlotAxis(Scale scale, double least, double most, int marks)
    : m_scale{scale}
{
    m_marks.clear();
    if (scale == Scale::Logarithmic)
        SetLogarithmic(least, most, std::max(marks, 1));
    else
        SetLinear(least, most, std::max(marks, 1));
}

void KilnUtil_PlotAxis::SetLinear(double least, double most, int marks)
{
    // A single value stands in the middle.
    if (most - least <= std::abs(most) * 1e-13) {
        const double room = m_scale == Scale::Counting ? 1 : std::max(std::abs(most) * 1e-6, 1e-6);
        least -= room;
        most += room;
    }
    m_begin = least;
    m_end = most;
    double step = RoundStep((most - least) / marks);
    if (m_scale == Scale::Counting)
        step = std::max(step, 1.0);
    m_decimals = std::clamp(static_cast<int>(std::ceil(-std::log10(step) - 1e-9)), 0, mostDecimals);
    const auto last = static_cast<qint64>(std::floor(most / step + 1e-9));
    for (auto number = static_cast<qint64>(std::ceil(least / step - 1e-9)); number <= last; ++number)
        m_marks.append(static_cast<double>(number) * step);
    if (m_marks.isEmpty())
        m_marks.append(least);
}

void KilnUtil_PlotAxis::SetLogarithmic(double least, double most, int marks)
{
    const int begin = static_cast<int>(std::floor(std::log10(least) + 1e-9));
    const int end = std::max(static_cast<int>(std::ceil(std::log10(most) - 1e-9)), begin + 1);
    const int step = (end - begin + marks - 1) / marks;
    m_begin = begin;
    m_end = end;
    for (int exponent = begin; exponent <= end; exponent += step)
        m_marks.append(std::pow(10.0, exponent));
}

QString KilnUtil_PlotAxis::Text(double mark) const
{
    if (m_scale == Scale::Logarithmic)
        return PowerOfTen(static_cast<int>(std::lround(std::log10(mark))));
    // Without a sign before what is 0 but for the rounding.
    const bool isZero = std::abs(mark) < 0.5 * std::pow(10.0, -m_decimals);
    return QString::number(isZero ? 0 : mark, 'f', m_decimals);
}

double KilnUtil_PlotAxis::Place(double value) const
{
    const double place = m_scale == Scale::Logarithmic ? std::log10(value) : value;
    return (place - m_begin) / (m_end - m_begin);
}
