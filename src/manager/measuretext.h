// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

struct Taskmill_JobResult;

/// Such as "0:01:07"; from a day on "2 d 03:04:05".
[[nodiscard]] QString Taskmill_DurationText(qint64 seconds);
/// The same of ms, with tenths of a second.
[[nodiscard]] QString Taskmill_ProcessorTimeText(qint64 msecs);
/// Of so many units of 1024 bytes, such as "512 KB" or "1.5 GB".
[[nodiscard]] QString Taskmill_MemoryText(qint64 kilobytes);
/// "Normal", "Not converged", "Error", or "Not said" of a known program; empty when the program is not known.
[[nodiscard]] QString Taskmill_ResultText(const Taskmill_JobResult &result);
