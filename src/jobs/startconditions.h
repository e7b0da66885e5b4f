// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobtime.h"

#include <QString>

#include <optional>

/// What keeps a waiting job from being started although its turn has come.
struct Taskmill_StartConditions
{
    bool IsHeld = false;          ///< until the user releases it
    Taskmill_JobTime NotBefore{}; ///< not set where any time will do
    qint32 AfterJobID = 0;        ///< the number of the job that has to end well before; 0 for none

    bool operator==(const Taskmill_StartConditions &) const = default;

    [[nodiscard]] bool AreAny() const { return IsHeld || NotBefore.isValid() || AfterJobID != 0; }
};

/// What is known of the job that another one waits for.
enum class Taskmill_OtherJob
{
    Waits,
    Runs,
    IsJudged, ///< it has ended, and what it came to is still being read
    EndedWell,
    Failed,
    Killed,
    Gone ///< from the project, or it was never there
};

struct Taskmill_StartFacts
{
    Taskmill_JobTime Now;
    Taskmill_OtherJob AfterJob = Taskmill_OtherJob::Gone;
};

/// Why a job with these conditions waits, in words for the user: the first reason that applies, as the other
/// ones count only then. Empty when it may start.
[[nodiscard]] QString Taskmill_ReasonToWait(const Taskmill_StartConditions &conditions,
                                            const Taskmill_StartFacts &facts);

/// A time of the day from which on, and one up to which, no job is started; in minutes from midnight.
struct Taskmill_QuietHours
{
    int From = 0;
    int To = 0; ///< the same for none; less than From where midnight lies between them

    bool operator==(const Taskmill_QuietHours &) const = default;

    [[nodiscard]] bool AreAny() const { return From != To; }
    [[nodiscard]] bool Contain(int minute) const;
    /// As they are typed, such as "22:00-06:30"; "off" for none.
    [[nodiscard]] QString Text() const;
    /// Nothing when the text is none.
    [[nodiscard]] static std::optional<Taskmill_QuietHours> FromText(const QString &text);
};

/// What the user is told who gave something else.
inline constexpr QLatin1StringView Taskmill_StartTimeForms{
    "a time is \"2031-12-24 18:30\", \"18:30\", \"+90m\", \"+2h\" or \"+1d\""};
/// Reads a time that the user gives: "yyyy-MM-dd hh:mm", with "T" too, with seconds too; "hh:mm", which is
/// the next such time; or "+90", "+2h", "+30m", "+1d" from now on, minutes where nothing else is said.
/// Not set when it is none of these.
[[nodiscard]] Taskmill_JobTime Taskmill_StartTimeFromText(const QString &text, const Taskmill_JobTime &now);
