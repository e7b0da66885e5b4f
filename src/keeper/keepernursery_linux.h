// SPDX-License-Identifier: MIT
#pragma once

#include "wire/keeperchannel.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <sys/types.h>

/// Starts a keeper for each order of its manager, by a fork that copies little, and ends what a keeper leaves
/// that was killed. Works in the folder of the runs.
class Taskmill_KeeperNursery
{
public:
    /// SIGCHLD and SIGTERM are blocked and come through `signals`. `sweep` is a process of this program that
    /// still ends what lost runs have left; 0 for none.
    Taskmill_KeeperNursery(Taskmill_KeeperChannel manager, int signals, pid_t sweep);

    /// Returns when there is neither a manager nor a keeper; in a keeper when its run is over. The exit code.
    [[nodiscard]] int Run();

private:
    [[nodiscard]] bool OpenJournal();
    void WaitForSomething();
    void ReadSignals();
    void ReapAll();
    void Reap(pid_t child, bool hasCrashed);
    void EndLostRuns();
    void ReportSwept(const std::string &runID) const;
    /// Does that in a short-lived copy of this process; `runID` is the run whose sweep it is, or empty.
    template <typename Work>
    void DoAside(const std::string &runID, const Work &work);
    void SweepFor(const std::string &runID);
    [[nodiscard]] int WaitMs() const;
    void StoreJournalWhenDue();
    void ReadManager();
    /// The lock is the run's, see Taskmill_RunLock.
    void TakeOrder(Taskmill_KeeperMessage order, Taskmill_KeeperChannel manager, int lock);
    void BecomeKeeper(Taskmill_KeeperMessage order, Taskmill_KeeperChannel manager, int lock);
    /// In a keeper without a run: the next message of that word, with its files, of its manager. Nothing when
    /// there will be none.
    [[nodiscard]] std::optional<Taskmill_KeeperMessage>
    WaitForWord(const Taskmill_KeeperChannel &manager, std::string_view word, std::vector<int> &files) const;
    /// The next order, and its lock.
    [[nodiscard]] std::optional<Taskmill_KeeperMessage> WaitForOrder(const Taskmill_KeeperChannel &manager,
                                                                     int &lock) const;

    Taskmill_KeeperChannel m_manager;
    int m_signals;
    int m_journal = -1;
    /// Set by keepers that have written to the journal; looked at while nothing is to be stored yet.
    int m_appended = -1;
    int m_startsInJournal = 0;
    long long m_storeAt = 0; ///< when the journal is to be safe from a loss of power; 0 when it is
    std::string m_bootID;
    std::map<pid_t, std::string> m_keepers; ///< and their runs
    /// Short-lived copies of this process, with the run whose sweep the manager waits for, if there is one.
    std::map<pid_t, std::string> m_helpers;
    std::vector<std::string> m_lostRuns; ///< of which something may be left
    long long m_lostAt = 0;              ///< when the last of them was
    bool m_isEnding = false;
    bool m_isKeeper = false;
};

/// Ends what is left of the runs of this boot that have no end and no keeper, in the folder of the runs; or
/// of that run alone, if it is one.
void Taskmill_SweepLostRuns(const std::string &runID = {});
