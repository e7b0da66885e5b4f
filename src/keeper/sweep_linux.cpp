// SPDX-License-Identifier: MIT
#include "keeper/nursery_linux.h"
#include "keeper/processtree_linux.h"
#include "wire/bootid.h"
#include "wire/runjournals.h"
#include "wire/runlocks.h"

#include <csignal>
#include <ctime>

namespace {
/// The reading of the journals comes last: a keeper appends the end before it gives its lock back.
std::set<std::string> LostRuns()
{
    const std::string bootID = Taskmill_BootID();
    Taskmill_RunJournals journals{"."};
    journals.Refresh();
    std::set<std::string> lost;
    for (const auto &[id, run] : journals.Runs()) {
        if (!run.end && run.bootID == bootID && !Taskmill_IsKeeperAlive(".", id))
            lost.insert(id);
    }
    journals.Refresh();
    std::erase_if(lost, [&journals](const std::string &id) { return journals.Find(id)->end.has_value(); });
    return lost;
}
} // namespace

void Taskmill_SweepLostRuns(const std::string &runID)
{
    std::set<std::string> lost = LostRuns();
    if (!runID.empty())
        std::erase_if(lost, [&runID](const std::string &id) { return id != runID; });
    if (lost.empty())
        return;
    const auto left = [&lost] {
        return Taskmill_ProcessesOfRuns(lost);
    };
    // What is in an uninterruptible wait ends when that is over, whoever waits for it.
    constexpr int mostRounds = 100;
    constexpr timespec pause{.tv_sec = 0, .tv_nsec = 10'000'000};
    for (int round = 0; round < mostRounds; ++round) {
        const bool isAnyStopped = Taskmill_StopPassingProcessesOfRuns(lost);
        const std::vector<Taskmill_TreeProcess> stopped = Taskmill_StopAll(left);
        if (!isAnyStopped && stopped.empty())
            return;
        Taskmill_SignalAll(stopped, SIGKILL);
        nanosleep(&pause, nullptr);
    }
}
