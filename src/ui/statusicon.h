// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobstatus.h"

#include <QIcon>

/// A coloured mark for the status, as an aid to the eye: the table says the status in words too.
[[nodiscard]] QIcon Taskmill_StatusIcon(Taskmill_JobStatus status);

/// Two bars, for a queue that is paused; in the colour of the text.
[[nodiscard]] QIcon Taskmill_PausedIcon();
