// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

/// What is read from /proc/N/stat.
struct Taskmill_ProcStat
{
    std::string comm; ///< the kernel's name of the process, at most 15 bytes
    char state = 0;
    int parent = -1; ///< -1 when there is no such process
    int group = 0;
    int session = 0;
    unsigned flags = 0;
    unsigned long long userTicks = 0;
    unsigned long long kernelTicks = 0;
    long long priority = 0;
    long long threads = 0;
    long long startTicks = 0;           ///< since the system started
    unsigned long long virtualSize = 0; ///< bytes
    long long residentPages = 0;

    [[nodiscard]] bool IsAlive() const { return state != 0 && state != 'Z' && state != 'X'; }
    /// Kernel threads have no program, no command line and no memory of their own.
    [[nodiscard]] bool IsKernelThread() const { return (flags & 0x00200000) != 0; }
};

/// The numbers that a folder of /proc has as names: of /proc itself that of every process there is.
[[nodiscard]] std::vector<int> Taskmill_NumbersIn(const char *folder);
[[nodiscard]] inline std::vector<int> Taskmill_ListProcesses()
{
    return Taskmill_NumbersIn("/proc");
}

/// Reads /proc/N/stat; hundreds of times for one list of processes, so without an allocation as a rule.
[[nodiscard]] Taskmill_ProcStat Taskmill_ReadProcStat(int processID);
