// SPDX-License-Identifier: MIT
#pragma once

#include "ctl/ctlstatus.h"

class QCommandLineParser;

/// The commands that work on a project file, the first positional argument. Each prints its results and its
/// errors.
[[nodiscard]] Taskmill_CtlStatus Taskmill_ProjectCreateCommand(const QCommandLineParser &parser);
[[nodiscard]] Taskmill_CtlStatus Taskmill_TypesListCommand(const QCommandLineParser &parser);
/// The same for "types", which is this program's where a project file is named.
[[nodiscard]] Taskmill_CtlStatus Taskmill_TypesCommand(const QCommandLineParser &parser);
[[nodiscard]] Taskmill_CtlStatus Taskmill_TypesAddCommand(const QCommandLineParser &parser);
[[nodiscard]] Taskmill_CtlStatus Taskmill_TypesRemoveCommand(const QCommandLineParser &parser);
[[nodiscard]] Taskmill_CtlStatus Taskmill_JobsCommand(const QCommandLineParser &parser);
