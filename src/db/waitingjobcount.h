// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <optional>

/// How many jobs would wait when the project file was opened. The file is only looked into, for a moment:
/// nothing is returned when that takes longer, or when it cannot be read.
[[nodiscard]] std::optional<int> Taskmill_CountWaitingJobs(const QString &path);
