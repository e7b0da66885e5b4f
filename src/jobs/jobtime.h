// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringView>

#include <compare>
#include <limits>

/// A date and time as the clock on the wall shows it: what is kept, stored and shown of a job. It knows no
/// time zone, since asking for the local one costs a system call each time, and a project holds many times.
class Taskmill_JobTime
{
public:
    /// Not set.
    Taskmill_JobTime() = default;
    /// What that time's own zone shows.
    Taskmill_JobTime(const QDateTime &time);

    [[nodiscard]] static Taskmill_JobTime Now() { return QDateTime::currentDateTime(); }
    /// Reads Qt's ISO form; not set when the text is none.
    [[nodiscard]] static Taskmill_JobTime FromIsoText(const QString &text);

    /// Whether it is set, under the names of QDateTime.
    [[nodiscard]] bool isValid() const { return m_clock != NotSet; }
    [[nodiscard]] bool isNull() const { return m_clock == NotSet; }

    /// Year-month-day, "T", hours:minutes:seconds; empty when not set, as Text().
    [[nodiscard]] QString IsoText() const { return Text(u"yyyy-MM-ddThh:mm:ss"); }
    /// In a format of QDateTime without a zone.
    [[nodiscard]] QString Text(QStringView format) const;

    /// What the clock showed, as a time of UTC; invalid when not set.
    [[nodiscard]] QDateTime ClockTime() const;

    /// Whole seconds as they are stored, so that a time that was read gives the same. Both are set.
    [[nodiscard]] qint64 SecondsSince(const Taskmill_JobTime &earlier) const;

    /// A time that is not set is the earliest.
    auto operator<=>(const Taskmill_JobTime &) const = default; // NOLINT(modernize-use-nullptr): is none

private:
    static constexpr qint64 NotSet = std::numeric_limits<qint64>::min();

    qint64 m_clock = NotSet; ///< in ms, as if the clock showed UTC
};
