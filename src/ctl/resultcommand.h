// SPDX-License-Identifier: MIT
#pragma once

#include "ctl/ctlstatus.h"
#include "ctl/options.h"

/// Prints what the output files named say of their calculations.
[[nodiscard]] Taskmill_CtlStatus Taskmill_ResultCommand(const Taskmill_CtlOptions &options);
/// Prints what the input files named ask for.
[[nodiscard]] Taskmill_CtlStatus Taskmill_ResourcesCommand(const Taskmill_CtlOptions &options);
