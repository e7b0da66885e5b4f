// SPDX-License-Identifier: MIT
#pragma once

#include "ctl/commandtable.h"
#include "ctl/options.h"

#include <string>
#include <vector>

/// The options of a command, also of those that the other program carries out.
[[nodiscard]] std::vector<Taskmill_CtlOption> Taskmill_OptionsOf(const Taskmill_CtlCommand &command);

[[nodiscard]] std::string Taskmill_GeneralHelp();
[[nodiscard]] std::string Taskmill_CommandHelp(const Taskmill_CtlCommand &command,
                                               const Taskmill_CtlOptions &options);
