// SPDX-License-Identifier: MIT
#pragma once

#include "ctl/ctlstatus.h"
#include "ctl/options.h"

#include <optional>
#include <string>
#include <string_view>

/// The commands by which a running manager is looked at and controlled. Each is one request, which the
/// manager answers with text for people or with JSON.

/// Whether the command is one of them.
[[nodiscard]] bool Taskmill_IsManagerCommand(std::string_view name);
/// Its own options, without those that name the manager.
[[nodiscard]] std::vector<Taskmill_CtlOption> Taskmill_ManagerCommandOptions(std::string_view name);
/// The line of a request that names a job; nothing, with a message, when the text is no number of a job.
[[nodiscard]] std::optional<std::string> Taskmill_JobNumberLine(const std::string &number);
/// The options that say what a job waits for, and the lines of a request that say it; nothing, with a
/// message, when a value is none.
[[nodiscard]] Taskmill_CtlOption Taskmill_NotBeforeOption();
[[nodiscard]] Taskmill_CtlOption Taskmill_AfterOption();
[[nodiscard]] std::optional<std::string> Taskmill_ConditionLines(const Taskmill_CtlOptions &options);
/// Sends the request and prints the answer.
[[nodiscard]] Taskmill_CtlStatus Taskmill_ManagerCommand(std::string_view name,
                                                         const Taskmill_CtlOptions &options);
