// SPDX-License-Identifier: MIT
#include "manager/timetext.h"

namespace {
void AppendDigits(QString &text, int number, int digits)
{
    const qsizetype begin = text.size();
    text.resize(begin + digits);
    for (qsizetype place = begin + digits - 1; place >= begin; --place, number /= 10)
        text[place] = QChar{u'0' + number % 10};
}
} // namespace

QString Taskmill_TimeText(const Taskmill_JobTime &time)
{
    constexpr int lastYear = 9999;
    if (time.isNull())
        return {};
    const QDateTime clock = time.ClockTime();
    const QDate date = clock.date();
    if (date.year() < 1 || date.year() > lastYear)
        return time.Text(u"MM-dd-yyyy hh:mm:ss");
    // A listing of a hundred thousand jobs has three times as many; a format is read anew each time.
    const int seconds = clock.time().msecsSinceStartOfDay() / 1000;
    QString text;
    text.reserve(19);
    AppendDigits(text, date.month(), 2);
    text += u'-';
    AppendDigits(text, date.day(), 2);
    text += u'-';
    AppendDigits(text, date.year(), 4);
    text += u' ';
    AppendDigits(text, seconds / 3600, 2);
    text += u':';
    AppendDigits(text, seconds / 60 % 60, 2);
    text += u':';
    AppendDigits(text, seconds % 60, 2);
    return text;
}

qint64 Taskmill_TimeTextOrder(const Taskmill_JobTime &time)
{
    if (time.isNull())
        return 0;
    const QDateTime parts = time.ClockTime();
    const QDate date = parts.date();
    const qint64 day = (date.month() * 100LL + date.day()) * 10000 + date.year();
    constexpr qint64 secondsADay = 86400;
    return day * secondsADay + parts.time().msecsSinceStartOfDay() / 1000;
}
