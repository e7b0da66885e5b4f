#pragma once

#include "jobs/runmode.h"

/// Version numbers of the program.
constexpr QLatin1StringView Taskmill_MajorVersion{"1"};
constexpr QLatin1StringView Taskmill_ShortVersion{"1.1"};
constexpr QLatin1StringView Taskmill_FullVersion{"1.1.18"};
constexpr QLatin1StringView Taskmill_BuildVersion{"1.1.18.1"};

/// Such as "TaskmillGUI 1.1.18".
[[nodiscard]] inline QString Taskmill_VersionText()
{
    return Taskmill_ServerName() + u' ' + Taskmill_FullVersion;
}
