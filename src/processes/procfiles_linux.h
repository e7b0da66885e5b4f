// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

#include <vector>

/// What this program wants of /proc/N/stat.
struct Taskmill_ProcStat
{
    QByteArray comm; ///< the kernel's name of the process, at most 15 bytes
    char state = 0;
    int parent = -1; ///< -1 when there is no such process
    int group = 0;
    int session = 0;
    quint32 flags = 0;
    qulonglong userTicks = 0;
    qulonglong kernelTicks = 0;
    qlonglong priority = 0;
    qlonglong threads = 0;
    qlonglong startTicks = 0;   ///< since the system started
    qulonglong virtualSize = 0; ///< bytes
    qlonglong residentPages = 0;

    [[nodiscard]] bool IsAlive() const { return state != 0 && state != 'Z' && state != 'X'; }
    /// Kernel threads have no program, no command line and no memory of their own.
    [[nodiscard]] bool IsKernelThread() const { return (flags & 0x00200000) != 0; }
};

/// The number of every process there is.
[[nodiscard]] std::vector<int> Taskmill_ListProcesses();

/// Reads /proc/N/stat.
[[nodiscard]] Taskmill_ProcStat Taskmill_ReadProcStat(int processID);

/// The content of a file of the process, such as "status", or the target of a link, such as "exe". Empty when
/// it cannot be read, as when the process has just ended.
[[nodiscard]] QByteArray Taskmill_ReadProcFile(int processID, const char *name);
[[nodiscard]] QByteArray Taskmill_ReadProcLink(int processID, const char *name);
