#pragma once

#include "jobs/jobtime.h"

#include <QString>

/// "MM-dd-yyyy hh:mm:ss", as tables and listings show times; empty for a time that is not set.
[[nodiscard]] inline QString Taskmill_TimeText(const Taskmill_JobTime &time)
{
    return time.Text(u"MM-dd-yyyy hh:mm:ss");
}
