// SPDX-License-Identifier: MIT
#pragma once

#include "engines/programresult.h"
#include "jobs/jobstatus.h"

#include <QIcon>

/// A coloured mark for the status and the result, as an aid to the eye: the tables say both in words too.
/// Green is what ended normally by its own output, amber what did not converge, red what failed or ended with
/// an error; what has only ended has no colour.
[[nodiscard]] QIcon Taskmill_StatusIcon(Taskmill_JobStatus status,
                                        Taskmill_Verdict verdict = Taskmill_Verdict::None);

/// Two bars, for a queue that is paused; in the colour of the text.
[[nodiscard]] QIcon Taskmill_PausedIcon();
