// SPDX-License-Identifier: MIT
#include "manager/measuretext.h"

#include "jobs/jobresult.h"

#include <array>

using namespace Qt::Literals::StringLiterals;

QString Taskmill_DurationText(qint64 seconds)
{
    constexpr qint64 minute = 60;
    constexpr qint64 hour = 60 * minute;
    constexpr qint64 day = 24 * hour;
    const auto digits = [](qint64 number) {
        return u"%1"_s.arg(number, 2, 10, QChar{u'0'});
    };
    const QString behindHours = u':' + digits(seconds / minute % 60) + u':' + digits(seconds % minute);
    if (seconds < day)
        return QString::number(seconds / hour) + behindHours;
    return u"%1 d "_s.arg(seconds / day) + digits(seconds % day / hour) + behindHours;
}

QString Taskmill_ProcessorTimeText(qint64 msecs)
{
    constexpr qint64 tenth = 100;
    const qint64 tenths = (msecs + tenth / 2) / tenth;
    return Taskmill_DurationText(tenths / 10) + u'.' + QString::number(tenths % 10);
}

QString Taskmill_MemoryText(qint64 kilobytes)
{
    constexpr double step = 1024;
    constexpr std::array units{"KB"_L1, "MB"_L1, "GB"_L1, "TB"_L1};
    auto size = static_cast<double>(kilobytes);
    size_t unit = 0;
    for (; size >= step && unit + 1 < units.size(); ++unit)
        size /= step;
    const bool hasTenths = unit > 0 && size < 100;
    return QString::number(size, 'f', hasTenths ? 1 : 0) + u' ' + units.at(unit);
}

QString Taskmill_ResultText(const Taskmill_JobResult &result)
{
    switch (result.Verdict) {
    case Taskmill_Verdict::Normal:
        return u"Normal"_s;
    case Taskmill_Verdict::NotConverged:
        return u"Not converged"_s;
    case Taskmill_Verdict::Error:
        return u"Error"_s;
    case Taskmill_Verdict::None:
        break;
    }
    return result.IsOfKnownProgram() ? u"Not said"_s : QString{};
}
