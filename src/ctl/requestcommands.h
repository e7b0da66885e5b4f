#pragma once

#include "ctl/ctlstatus.h"

class QCommandLineParser;

/// The commands that speak to a running manager. Each prints its results and its errors.
[[nodiscard]] Taskmill_CtlStatus Taskmill_SubmitCommand(const QCommandLineParser &parser);
[[nodiscard]] Taskmill_CtlStatus Taskmill_TestCommand(const QCommandLineParser &parser);
[[nodiscard]] Taskmill_CtlStatus Taskmill_ShowCommand(const QCommandLineParser &parser);
[[nodiscard]] Taskmill_CtlStatus Taskmill_HideCommand(const QCommandLineParser &parser);

void Taskmill_AddSubmitOptions(QCommandLineParser &parser);
