// SPDX-License-Identifier: MIT
#include "jobs/jobtime.h"

#include <optional>

namespace {
/// The number of digits from the position on; nothing when another character is among them.
std::optional<int> Digits(QStringView text, qsizetype position, int count)
{
    int number = 0;
    for (const QChar digit : text.sliced(position, count)) {
        if (digit < u'0' || digit > u'9')
            return std::nullopt;
        number = number * 10 + (digit.unicode() - u'0');
    }
    return number;
}

constexpr qint64 epochDay = 2'440'588; // as a Julian day
constexpr qint64 msecsADay = 86'400'000;

qint64 Clock(QDate date, QTime time)
{
    return (date.toJulianDay() - epochDay) * msecsADay + time.msecsSinceStartOfDay();
}

/// "yyyy-MM-ddThh:mm:ss", the form that is written; nothing for any other.
std::optional<qint64> FromWrittenForm(QStringView text)
{
    constexpr qsizetype length = 19;
    if (text.size() != length || text[4] != u'-' || text[7] != u'-' || text[10] != u'T' || text[13] != u':' ||
        text[16] != u':')
        return std::nullopt;
    const auto year = Digits(text, 0, 4);
    const auto month = Digits(text, 5, 2);
    const auto day = Digits(text, 8, 2);
    const auto hour = Digits(text, 11, 2);
    const auto minute = Digits(text, 14, 2);
    const auto second = Digits(text, 17, 2);
    if (!year || !month || !day || !hour || !minute || !second)
        return std::nullopt;
    const QDate date{*year, *month, *day};
    const QTime time{*hour, *minute, *second};
    return date.isValid() && time.isValid() ? std::optional{Clock(date, time)} : std::nullopt;
}
} // namespace

Taskmill_JobTime::Taskmill_JobTime(const QDateTime &time)
{
    if (time.isValid())
        m_clock = Clock(time.date(), time.time());
}

Taskmill_JobTime Taskmill_JobTime::FromIsoText(const QString &text)
{
    const auto clock = FromWrittenForm(text);
    if (!clock)
        return text.isEmpty() ? Taskmill_JobTime{}
                              : Taskmill_JobTime{QDateTime::fromString(text, Qt::ISODate)};
    Taskmill_JobTime time;
    time.m_clock = *clock;
    return time;
}

QDateTime Taskmill_JobTime::ClockTime() const
{
    return isNull() ? QDateTime{} : QDateTime::fromMSecsSinceEpoch(m_clock, Qt::UTC);
}

qint64 Taskmill_JobTime::SecondsSince(const Taskmill_JobTime &earlier) const
{
    constexpr qint64 msecs = 1000;
    const auto seconds = [](qint64 clock) {
        return clock / msecs - (clock % msecs < 0 ? 1 : 0);
    };
    return seconds(m_clock) - seconds(earlier.m_clock);
}

QString Taskmill_JobTime::Text(QStringView format) const
{
    return ClockTime().toString(format);
}
