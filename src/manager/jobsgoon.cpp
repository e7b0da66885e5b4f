// SPDX-License-Identifier: MIT
#include "manager/jobsgoon.h"

#include "kilnutil/registry.h"

using namespace Qt::Literals::StringLiterals;

namespace {
const QString key = u"/General/Let_Running_Jobs_Go_On"_s;
}

bool Taskmill_JobsGoOn(Taskmill_Ending ending)
{
    const QString wanted = qEnvironmentVariable("TASKMILL_END_JOBS");
    if (wanted == "1"_L1 || wanted == "0"_L1)
        return wanted == "0"_L1;
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
