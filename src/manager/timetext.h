// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobtime.h"

#include <QString>

/// "MM-dd-yyyy hh:mm:ss", as tables and listings show times; empty for a time that is not set.
[[nodiscard]] inline QString Taskmill_TimeText(const Taskmill_JobTime &time)
{
    return time.Text(u"MM-dd-yyyy hh:mm:ss");
}

/// A number that sorts as the text does, and is quicker to make: by month, day, year and time of the day.
[[nodiscard]] inline qint64 Taskmill_TimeTextOrder(const Taskmill_JobTime &time)
{
    if (time.isNull())
        return 0;
    const QDateTime parts = time.ClockTime();
    const QDate date = parts.date();
    const qint64 day = (date.month() * 100LL + date.day()) * 10000 + date.year();
    constexpr qint64 secondsADay = 86400;
    return day * secondsADay + parts.time().msecsSinceStartOfDay() / 1000;
}
