// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <sys/types.h>

/// A process of this computer. The number alone is never trusted: it may belong to another one by the time it
/// is used, so it goes with the time of its start.
struct Taskmill_TreeProcess
{
    pid_t id = 0;
    pid_t parent = 0;
    char state = 0;
    long long startTicks = 0;

    [[nodiscard]] bool HasEnded() const { return state == 'Z' || state == 'X'; }
};

[[nodiscard]] std::optional<Taskmill_TreeProcess> Taskmill_ReadTreeProcess(pid_t id);

/// Everything that descends from a process, without it, the processes that have ended but are not reaped
/// too; what is listed in `except` is left out with all that descends from it.
[[nodiscard]] std::vector<Taskmill_TreeProcess> Taskmill_Descendants(pid_t root,
                                                                     const std::set<pid_t> &except = {});
/// Everything with one of those run ids in its environment, and what descends from it.
[[nodiscard]] std::vector<Taskmill_TreeProcess> Taskmill_ProcessesOfRuns(const std::set<std::string> &runIDs);
/// Stops those that go from process to process, faster than all processes can be looked at: looks again and
/// again at new ones alone. Whether there was one, or any other process of those runs.
[[nodiscard]] bool Taskmill_StopPassingProcessesOfRuns(const std::set<std::string> &runIDs);

using Taskmill_ProcessLister = std::function<std::vector<Taskmill_TreeProcess>()>;

/// Stops what is listed, again and again until all of it stands still and nothing new has appeared: none of
/// it starts another process then. Gives up after a fifth of a second. What is stopped.
std::vector<Taskmill_TreeProcess> Taskmill_StopAll(const Taskmill_ProcessLister &list);
/// A value other than 0 goes with the signal.
void Taskmill_SignalAll(const std::vector<Taskmill_TreeProcess> &processes, int signal, int value = 0);
