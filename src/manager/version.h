// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/runmode.h"

/// Version numbers of the program, from project(VERSION) in CMakeLists.txt.
extern const QLatin1StringView Taskmill_MajorVersion; ///< such as "1"
extern const QLatin1StringView Taskmill_ShortVersion; ///< such as "1.1"
extern const QLatin1StringView Taskmill_FullVersion;  ///< such as "1.1.18"

/// Such as "TaskmillGUI 1.1.18".
[[nodiscard]] inline QString Taskmill_VersionText()
{
    return Taskmill_ServerName() + u' ' + Taskmill_FullVersion;
}
