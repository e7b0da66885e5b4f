// SPDX-License-Identifier: MIT
#pragma once

#include "keeper/keeperlink.h"
#include "keeper/outputwriter.h"
#include "wire/runrecord.h"

#include <memory>
#include <string>
#include <vector>

/// Stands between a manager and one run: starts the program, stores what it writes, ends it when that is
/// asked, and records how it ended, with a manager or without one. Works in the folder of the runs.
class Taskmill_Keeper final : private Taskmill_KeeperOrders
{
public:
    /// What the system has of this keeper and its run; see keepersystem_linux.h and keepersystem_win.h.
    struct System;

    Taskmill_Keeper(Taskmill_KeeperMessage order, Taskmill_KeeperChannel manager, System system);
    ~Taskmill_Keeper() override;
    Taskmill_Keeper(const Taskmill_Keeper &) = delete;
    Taskmill_Keeper &operator=(const Taskmill_Keeper &) = delete;

    /// Returns when the end is recorded and nothing of the run is left.
    void Run();
    /// After Run(), the manager's connection, when this keeper has said that it is free for another order.
    [[nodiscard]] Taskmill_KeeperChannel TakeManager();

private:
    enum class Killing
    {
        No,
        Asked,  ///< everything was asked to end
        Forced, ///< and is ended by force, again and again
    };

    // keeper.cpp: the run, and what managers are sent of it
    void Start();
    void FailToStart(int error, const std::string &file);
    /// -1 for ever.
    [[nodiscard]] int WaitMs() const;
    void RecordEndWhenDue();
    void RecordEnd();
    [[nodiscard]] bool AppendLine(const std::string &line);
    void BeginKill(long long graceMs, Taskmill_RunEnd::By by);
    void Force();
    void ForceAgainWhenDue();
    void SendStarted();
    void SendEnd();
    void Kill(long long graceMs) override { BeginKill(graceMs, Taskmill_RunEnd::By::Kill); }
    void ReportToNewManager() override;
    [[nodiscard]] long long OutputSize() const override { return m_output.TotalSize(); }

    // keeper_linux.cpp, keeper_win.cpp: what the system does
    /// Started or failed.
    void StartProgram();
    void WaitForSomething();
    /// Takes the ends of processes, and orders of the system.
    void TakeEnds();
    void Reap();
    /// Reads what waits in the pipe, so many bytes at the most.
    void ReadOutput(long long most);
    void ReadRestOfOutput();
    /// How many bytes are in the journal now; -1 and the system's error.
    [[nodiscard]] long long WriteToJournal(const std::string &text, int &error) const;
    void StoreJournal() const;
    /// Asks everything to end; false when nothing can be asked.
    [[nodiscard]] bool AskAll() const;
    void EndAll() const;
    [[nodiscard]] std::vector<long long> Remaining() const;
    /// Whether the system ends everything, so that the run has got its order before its keeper did.
    [[nodiscard]] bool IsSystemEnding() const;
    void GiveLockBack();

    Taskmill_KeeperMessage m_order;
    std::string m_runID;
    Taskmill_KeeperLink m_link;
    std::unique_ptr<System> m_system;

    Taskmill_OutputWriter m_output;

    long long m_main = -1; ///< the process of the program
    bool m_hasMainEnded = false;
    bool m_hasChildren = false;
    bool m_isRecorded = false;
    bool m_mayBeFree;      ///< for another order when this run is over
    bool m_isFree = false; ///< as the manager was told
    long long m_retryAt = 0;
    std::string m_failedFile;
    Taskmill_RunEnd m_end;
    long long m_processorUs = 0;

    Killing m_killing = Killing::No;
    long long m_killAt = 0;
    long long m_forceAgainAt = 0;
    long long m_complainAt = 0; ///< when what remains is reported; 0 after that
};
