// SPDX-License-Identifier: MIT
#pragma once

#include "engines/programresult.h"

#include <QJsonObject>
#include <QList>
#include <QString>

#include <optional>

/// What the calculation of a job came to, as its output says it. The status says how its process ended.
struct Taskmill_JobResult
{
    Taskmill_Verdict Verdict = Taskmill_Verdict::None;
    QString Message; ///< the line that says it
    QString Program; ///< empty when the output is of no program that is known
    QString Version;
    std::optional<bool> Converged; ///< nothing when the output does not say
    qint64 Steps = 0;              ///< of the optimisations
    QList<double> Energies;        ///< hartree, one of each step; of long runs only the newest

    bool operator==(const Taskmill_JobResult &) const = default;

    /// Whether the output is of a program that is known.
    [[nodiscard]] bool IsOfKnownProgram() const { return !Program.isEmpty(); }
    /// "normal", "not-converged", "error" or "none"; empty when the program is not known.
    [[nodiscard]] QString VerdictText() const;

    /// With the keys program, version, result, message, converged, steps and energies.
    [[nodiscard]] QJsonObject Json() const;
    /// All of it in one line, as it is stored with a job.
    [[nodiscard]] QString ToJson() const;
    /// What is no such text, or a part of another kind, counts as not there.
    [[nodiscard]] static Taskmill_JobResult FromJson(const QString &text);
    /// With VerdictText() alone, for those who do not need the rest: of a program that is known, whatever it
    /// is.
    [[nodiscard]] static Taskmill_JobResult OfVerdict(const QString &text);
};

/// As much of it as is stored with a job.
[[nodiscard]] Taskmill_JobResult Taskmill_ResultOf(const Taskmill_ProgramResult &result);
