// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

struct Taskmill_JobRecord;

/// All fields of a job, a line each, and the output that was captured of it.
[[nodiscard]] QString Taskmill_JobText(const Taskmill_JobRecord &job, const QString &output);
