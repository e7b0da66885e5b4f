// SPDX-License-Identifier: MIT
#include "jobs/startconditions.h"

#include <QStringList>

using namespace Qt::Literals::StringLiterals;

namespace {
/// As short as it can be understood: the date only on another day.
QString TimeOf(const Taskmill_JobTime &time, const Taskmill_JobTime &now)
{
    const bool isToday = time.ClockTime().date() == now.ClockTime().date();
    return time.Text(isToday ? u"hh:mm" : u"yyyy-MM-dd hh:mm");
}

QString ReasonOfOtherJob(qint32 jobID, Taskmill_OtherJob state)
{
    switch (state) {
    case Taskmill_OtherJob::Waits:
    case Taskmill_OtherJob::Runs:
        return u"waits for the end of job %1"_s.arg(jobID);
    case Taskmill_OtherJob::IsJudged:
        return u"waits for the result of job %1"_s.arg(jobID);
    case Taskmill_OtherJob::Failed:
        return u"held: job %1 has failed"_s.arg(jobID);
    case Taskmill_OtherJob::Killed:
        return u"held: job %1 was killed"_s.arg(jobID);
    case Taskmill_OtherJob::Gone:
        return u"held: job %1 was removed"_s.arg(jobID);
    case Taskmill_OtherJob::EndedWell:
        break;
    }
    return {};
}

/// "hh:mm", as minutes from midnight; -1 for anything else.
int MinuteOfDay(const QString &text)
{
    const QTime time = QTime::fromString(text.trimmed(), u"h:mm"_s);
    return time.isValid() ? time.hour() * 60 + time.minute() : -1;
}

QString TimeText(int minute)
{
    return QTime{minute / 60, minute % 60}.toString(u"hh:mm"_s);
}

/// "+90", "+90m", "+2h" or "+1d", in seconds; nothing for anything else.
std::optional<qint64> SecondsFromNow(QStringView text)
{
    constexpr qint64 longest = 10LL * 366 * 24 * 3600;
    if (!text.startsWith(u'+') || text.size() < 2)
        return std::nullopt;
    qint64 unit = 60;
    if (const QChar last = text.back(); last.isLetter()) {
        if (last == u'd')
            unit = 24LL * 3600;
        else if (last == u'h')
            unit = 3600;
        else if (last != u'm')
            return std::nullopt;
        text.chop(1);
    }
    bool isNumber = false;
    const qint64 number = text.sliced(1).toLongLong(&isNumber);
    return isNumber && number >= 0 && number <= longest / unit ? std::optional{number * unit} : std::nullopt;
}
} // namespace

QString Taskmill_ReasonToWait(const Taskmill_StartConditions &conditions, const Taskmill_StartFacts &facts)
{
    if (conditions.IsHeld)
        return u"held"_s;
    if (conditions.AfterJobID != 0 && facts.AfterJob != Taskmill_OtherJob::EndedWell)
        return ReasonOfOtherJob(conditions.AfterJobID, facts.AfterJob);
    if (conditions.NotBefore.isValid() && facts.Now < conditions.NotBefore)
        return u"not before "_s + TimeOf(conditions.NotBefore, facts.Now);
    return {};
}

bool Taskmill_QuietHours::Contain(int minute) const
{
    return From <= To ? minute >= From && minute < To : minute >= From || minute < To;
}

QString Taskmill_QuietHours::Text() const
{
    return AreAny() ? TimeText(From) + u'-' + TimeText(To) : u"off"_s;
}

std::optional<Taskmill_QuietHours> Taskmill_QuietHours::FromText(const QString &text)
{
    if (text.trimmed().compare("off"_L1, Qt::CaseInsensitive) == 0)
        return Taskmill_QuietHours{};
    const QStringList ends = text.split(u'-');
    const Taskmill_QuietHours hours{MinuteOfDay(ends.first()), MinuteOfDay(ends.last())};
    const bool isValid = ends.size() == 2 && hours.From >= 0 && hours.To >= 0 && hours.AreAny();
    return isValid ? std::optional{hours} : std::nullopt;
}

Taskmill_JobTime Taskmill_StartTimeFromText(const QString &given, const Taskmill_JobTime &now)
{
    const QString text = given.trimmed();
    const QDateTime clock = now.ClockTime();
    if (const auto seconds = SecondsFromNow(text))
        return clock.addSecs(*seconds);
    for (const auto *const format : {u"h:mm", u"h:mm:ss"}) {
        if (const QTime time = QTime::fromString(text, QStringView{format}.toString()); time.isValid()) {
            const QDateTime today{clock.date(), time, Qt::UTC};
            return today > clock ? today : today.addDays(1);
        }
    }
    for (const auto *const format : {u"yyyy-MM-dd h:mm", u"yyyy-MM-dd h:mm:ss"}) {
        const QString plain = QString{text}.replace(u'T', u' ');
        const QDateTime time = QDateTime::fromString(plain, QStringView{format}.toString());
        if (time.isValid())
            return time;
    }
    return {};
}
