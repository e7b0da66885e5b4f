// SPDX-License-Identifier: MIT
#include "endtoend/processtable.h"

#include "processes/processinspector.h"

#include <QFileInfo>

#include <algorithm>

// Orphans keep the number of their parent here; the tests look at each process by its number.
void ProcessTable::AdoptOrphans() {}

void ProcessTable::Bury() {}

void ProcessTable::Kill(int processID)
{
    (void)Taskmill_MakeSystemProcessInspector()->Terminate({}, processID);
}

int ProcessTable::JobsIn(const QString &folder)
{
    const QString name = QFileInfo{folder}.fileName();
    const auto processes = Taskmill_MakeSystemProcessInspector()->ListProcesses();
    return static_cast<int>(std::ranges::count_if(processes, [&name](const Taskmill_ProcessRecord &process) {
        return process.Name.startsWith(QLatin1StringView{"testprogram"}) &&
               process.CommandLine.contains(name);
    }));
}
