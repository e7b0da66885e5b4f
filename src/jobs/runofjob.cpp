// SPDX-License-Identifier: MIT
#include "jobs/runofjob.h"

#include "kilnutil/computerdata.h"

Taskmill_RunOfJob::Taskmill_RunOfJob(const QString &text)
{
    const qsizetype end = text.indexOf(u'@');
    if (end < 0)
        return;
    RunID = text.first(end);
    Machine = text.sliced(end + 1);
}

bool Taskmill_RunOfJob::IsOfThisMachine() const
{
    return Machine == KilnUtil_ComputerData::MachineID();
}
