// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobtime.h"

#include <QString>

/// "MM-dd-yyyy hh:mm:ss", as tables and listings show times; empty for a time that is not set.
[[nodiscard]] QString Taskmill_TimeText(const Taskmill_JobTime &time);

/// A number that sorts as the text does, and is quicker to make: by month, day, year and time of the day.
[[nodiscard]] qint64 Taskmill_TimeTextOrder(const Taskmill_JobTime &time);
