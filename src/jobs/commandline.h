// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobrecord.h"

#include <QByteArray>
#include <QString>

/// A job type's template with the job's values in place of the placeholders.
struct Taskmill_CommandLine
{
    QString Full;      ///< with the executable and the lines for standard input
    QString Arguments; ///< the same without the executable
};

/// How to run a job: what its process is given.
struct Taskmill_LaunchPlan
{
    QString Program;          ///< never split or quoted
    QString CommandLine;      ///< first line of the expanded template, for showing
    QString Arguments;        ///< argument text, quoted as KilnUtil_FileSys::ConvertFilename quotes
    QByteArray StandardInput; ///< content of the generated standard-input file; empty when none is needed
};

/// Placeholders without a value stay as they are. File names are quoted in the first line, which is a command
/// line, and bare in the lines after it, which the program reads as typed answers.
[[nodiscard]] Taskmill_CommandLine Taskmill_ExpandCommandLine(const Taskmill_JobRecord &job);

/// Of these, the full one alone.
[[nodiscard]] QString Taskmill_FullCommandLine(const Taskmill_JobRecord &job);

/// Splits the expanded template into program, arguments and standard input; has no side effect.
[[nodiscard]] Taskmill_LaunchPlan Taskmill_PlanLaunch(const Taskmill_JobRecord &job);

/// Replaces every placeholder, whatever its case, by its value, pair by pair in list order. Stops before a
/// pair that would make the text unreasonably long.
void Taskmill_ApplyPlaceholders(QString &text, const Taskmill_PlaceholderValues &values);
