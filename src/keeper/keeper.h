// SPDX-License-Identifier: MIT
#pragma once

#include "keeper/outputwriter_linux.h"
#include "wire/keeperchannel.h"
#include "wire/runrecord.h"

#include <array>
#include <string>

#include <poll.h>
#include <sys/types.h>

/// Stands between a manager and one run: starts the program, stores what it writes, ends it when that is
/// asked, and records how it ended, with a manager or without one. Works in the folder of the runs.
class Taskmill_Keeper
{
public:
    /// The descriptors are this process's own from then on. SIGCHLD and SIGTERM are blocked and come through
    /// `signals`.
    Taskmill_Keeper(Taskmill_KeeperMessage order, Taskmill_KeeperChannel manager, int lock, int journal,
                    int signals);
    ~Taskmill_Keeper();
    Taskmill_Keeper(const Taskmill_Keeper &) = delete;
    Taskmill_Keeper &operator=(const Taskmill_Keeper &) = delete;

    /// Returns when the end is recorded and nothing of the run is left.
    void Run();

private:
    enum class Killing
    {
        No,
        Asked,  ///< everything has got SIGTERM
        Forced, ///< and SIGKILL, again and again
    };

    // keeper_linux.cpp: the run
    void Start();
    void FailToStart(int error, const std::string &file);
    void WaitForSomething();
    [[nodiscard]] int WaitMs() const;
    void ReadSignals();
    void Reap();
    void Account(int status, const struct rusage &usage, bool isMain);
    /// Reads what waits in the pipe, so many bytes at the most.
    void ReadOutput(long long most);
    void ReadRestOfOutput();
    void ReportOutput();
    void RecordEndWhenDue();
    void RecordEnd();
    [[nodiscard]] bool AppendLine(const std::string &line);
    void BeginKill(long long graceMs, Taskmill_RunEnd::By by);
    void Force();
    void ForceAgainWhenDue();

    // keepermanager_linux.cpp: what is said to managers
    void ReadManager();
    void LoseManager();
    void TakeVisitor();
    void ReadVisitor();
    void StopListening();
    void SendStarted();
    void SendEnd();

    Taskmill_KeeperMessage m_order;
    std::string m_runID;
    std::string m_owner;
    Taskmill_KeeperChannel m_manager;
    Taskmill_KeeperChannel m_listener;
    Taskmill_KeeperChannel m_visitor; ///< who may become the manager
    int m_journal;
    int m_signals;
    int m_lock; ///< says that this run is not over
    int m_pipe = -1;
    std::array<pollfd, 5> m_waits{};

    Taskmill_OutputWriter m_output;
    long long m_watched = -1; ///< the manager wants to hear of more output than that; -1 when it does not

    pid_t m_main = -1;
    bool m_hasMainEnded = false;
    bool m_hasChildren = false;
    bool m_isRecorded = false;
    bool m_isTorn = false; ///< the last line of the journal that this keeper wrote is not whole
    long long m_retryAt = 0;
    std::string m_failedFile;
    Taskmill_RunEnd m_end;
    long long m_processorUs = 0;

    Killing m_killing = Killing::No;
    long long m_killAt = 0;
    long long m_forceAgainAt = 0;
    long long m_complainAt = 0; ///< when what remains is reported; 0 after that
};
