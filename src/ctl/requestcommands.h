// SPDX-License-Identifier: MIT
#pragma once

#include "ctl/ctlstatus.h"

class Taskmill_CtlOptions;

/// The commands that speak to a running manager. Each prints its results and its errors.
[[nodiscard]] Taskmill_CtlStatus Taskmill_SubmitCommand(const Taskmill_CtlOptions &options);
[[nodiscard]] Taskmill_CtlStatus Taskmill_TestCommand(const Taskmill_CtlOptions &options);
[[nodiscard]] Taskmill_CtlStatus Taskmill_ShowCommand(const Taskmill_CtlOptions &options);
[[nodiscard]] Taskmill_CtlStatus Taskmill_HideCommand(const Taskmill_CtlOptions &options);
