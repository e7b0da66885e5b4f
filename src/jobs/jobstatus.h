// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// The values are fixed; the database stores the text.
enum class Taskmill_JobStatus
{
    Unknown = 0,
    Pending = 1,
    Running = 2,
    Finished = 3, ///< ended, but no process was there to ask how
    Completed = 4,
    Crashed = 5,
    Failed = 6,
    Killed = 7,
};

/// The status word, such as "Completed"; empty for a value outside the enumeration.
[[nodiscard]] QString Taskmill_JobStatusText(Taskmill_JobStatus status);

/// Reads a status word in any case; Unknown for any other text.
[[nodiscard]] Taskmill_JobStatus Taskmill_JobStatusFromText(const QString &text);

/// True for Finished, Completed, Crashed, Failed and Killed.
[[nodiscard]] bool Taskmill_IsFinalStatus(Taskmill_JobStatus status);
