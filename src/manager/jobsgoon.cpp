// SPDX-License-Identifier: MIT
#include "manager/jobsgoon.h"

#include "kilnutil/registry.h"

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString key = u"/General/Let_Running_Jobs_Go_On"_s;

std::optional<bool> WantedByEnvironment()
{
    const QString value = qEnvironmentVariable("TASKMILL_END_JOBS");
    if (value == "0"_L1)
        return true;
    return value == "1"_L1 ? std::optional{false} : std::nullopt;
}
} // namespace

bool Taskmill_UserDecidesJobsGoOn()
{
    return !WantedByEnvironment();
}

bool Taskmill_JobsGoOn(Taskmill_Ending ending)
{
    if (const std::optional<bool> wanted = WantedByEnvironment())
        return *wanted;
    return ending == Taskmill_Ending::Unasked || ending == Taskmill_Ending::AskedToKeep ||
           (ending == Taskmill_Ending::Interrupted && Taskmill_RememberedJobsGoOn());
}

bool Taskmill_RememberedJobsGoOn()
{
    return KilnUtil_Registry::Value(key).toBool();
}

void Taskmill_RememberJobsGoOn(bool goOn)
{
    KilnUtil_Registry::SetValue(key, goOn);
}
