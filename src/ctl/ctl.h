#pragma once

#include "ctl/ctlstatus.h"

#include <QStringList>

/// Carries out one command line, whose first entry is the program's name. Needs an application object.
[[nodiscard]] Taskmill_CtlStatus Taskmill_RunCtl(const QStringList &arguments);
