// SPDX-License-Identifier: MIT
#include "manager/version.h"

constinit const QLatin1StringView Taskmill_MajorVersion{TASKMILL_VERSION_MAJOR};
constinit const QLatin1StringView Taskmill_ShortVersion{TASKMILL_VERSION_MAJOR "." TASKMILL_VERSION_MINOR};
constinit const QLatin1StringView Taskmill_FullVersion{TASKMILL_VERSION};
