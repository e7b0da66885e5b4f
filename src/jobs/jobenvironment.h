// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobrecord.h"

#include <QProcessEnvironment>

/// The inherited environment with the variables of the job type set. A line that is not NAME=VALUE with
/// exactly one "=" is ignored; a GAUSS_MEMDEF that is not a number of 1 or more is taken out, so that the
/// program uses its own default.
[[nodiscard]] QProcessEnvironment Taskmill_JobEnvironment(const Taskmill_JobRecord &job,
                                                          const QProcessEnvironment &inherited);
