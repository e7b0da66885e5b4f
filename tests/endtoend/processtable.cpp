// SPDX-License-Identifier: MIT
#include "endtoend/processtable.h"

#include "processes/processinspector.h"

#include <QCoreApplication>

#include <algorithm>

static QList<int> spared;

static Taskmill_ProcessRecord Find(int processID)
{
    const auto processes = Taskmill_MakeSystemProcessInspector()->ListProcesses();
    const auto found = std::ranges::find(processes, processID, &Taskmill_ProcessRecord::ProcessIdNumber);
    return found == processes.end() ? Taskmill_ProcessRecord{} : *found;
}

QList<int> ProcessTable::LivingChildren()
{
    QList<int> children;
    for (const Taskmill_ProcessRecord &process : Taskmill_MakeSystemProcessInspector()->ListProcesses()) {
        if (process.ParentProcessIdNumber() == QCoreApplication::applicationPid() &&
            !spared.contains(process.ProcessIdNumber()))
            children.append(process.ProcessIdNumber());
    }
    return children;
}

void ProcessTable::Spare(const QList<int> &processIDs)
{
    spared = processIDs;
}

void ProcessTable::EndChildren()
{
    // The children of those that end become children of this process.
    for (QList<int> children = LivingChildren(); !children.isEmpty(); children = LivingChildren()) {
        for (const int processID : children)
            Taskmill_MakeSystemProcessInspector()->Terminate({}, processID);
        Bury();
    }
}

int ProcessTable::ParentOf(int processID)
{
    return Find(processID).ParentProcessIdNumber();
}

bool ProcessTable::IsAlive(int processID)
{
    return !Find(processID).ProcessId.isEmpty();
}

qint64 ProcessTable::ProcessorTicks(int processID)
{
    const Taskmill_ProcessRecord process = Find(processID);
    return (process.UserModeTime.toLongLong() + process.KernelModeTime.toLongLong()) / 100'000;
}
