// SPDX-License-Identifier: MIT
#include "manager/processkill.h"

bool Taskmill_KillProcess(Taskmill_ProcessInspector &inspector, const Taskmill_ProcessRecord &process,
                          Taskmill_Kill kill)
{
    if (!inspector.IsStillThere(process))
        return false;
    const auto endTree = [&] {
        return inspector.TerminateTree(process.Name, process.ProcessIdNumber());
    };
    switch (kill) {
    case Taskmill_Kill::Process:
        return inspector.Terminate(process);
    case Taskmill_Kill::ProcessGroup:
        return false;
    case Taskmill_Kill::Children:
        return endTree();
    case Taskmill_Kill::ProcessAndChildren:
        return endTree() && inspector.Terminate(process);
    case Taskmill_Kill::ProcessAndParent:
        return inspector.TerminateParent(process) && inspector.Terminate(process);
    case Taskmill_Kill::ProcessChildrenAndParent:
        if (!endTree())
            return false;
        return process.ParentProcessIdNumber() < 0 ||
               (inspector.TerminateParent(process) && inspector.Terminate(process));
    }
    return false;
}
