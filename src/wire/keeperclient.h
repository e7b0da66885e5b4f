// SPDX-License-Identifier: MIT
#pragma once

#include "wire/keeperchannel.h"
#include "wire/runrecord.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

/// What a run is to be.
struct Taskmill_RunOrder
{
    std::string runID;   ///< from Taskmill_NewRunID(), stored with the job before
    std::string owner;   ///< who may adopt the run, such as the identity of a project; no blanks
    std::string program; ///< path, not looked up
    std::vector<std::string> arguments;   ///< without the program; on Windows one text, quoted as a whole
    std::vector<std::string> environment; ///< NAME=VALUE, all of it
    std::string directory;                ///< absolute, as the files
    std::string inputPath;                ///< a regular file; empty for none
    std::string outputPath;               ///< a regular file, emptied; with it nothing is captured
    long long graceMs = 2000; ///< between SIGTERM and SIGKILL where the keeper itself is asked to end
    int nice = 0;             ///< added to the manager's own
    long long openFiles = 0;  ///< how many files the run may have open at first; 0 for as many as the manager

    [[nodiscard]] Taskmill_KeeperMessage ToMessage() const;
};

/// What a keeper reports.
struct Taskmill_RunReport
{
    enum class Kind
    {
        None,    ///< nothing has come
        Started, ///< processID
        Output,  ///< outputBytes
        Remains, ///< a kill has not ended `remaining` 5 s beyond its grace; the keeper goes on with it
        Ended,   ///< end; nothing that a kill was to end is left
        Lost,    ///< the keeper is gone without a report: its run has crashed
    };

    Kind kind = Kind::None;
    long long processID = 0;
    long long outputBytes = 0;
    std::vector<long long> remaining;
    Taskmill_RunEnd end;
    std::string
        failedFile; ///< of a program that could not be started, which file, directory or program it was
};

/// A manager's connection to the keeper of one run. When it closes, the run goes on without a manager.
class Taskmill_RunConnection
{
public:
    Taskmill_RunConnection() = default;
    explicit Taskmill_RunConnection(Taskmill_KeeperChannel channel)
        : m_channel{std::move(channel)}
    {
    }

    enum class Adoption
    {
        Adopted,
        Gone,     ///< no keeper lives: the journals say how the run ended
        Refused,  ///< the run belongs to somebody else
        Occupied, ///< another manager has it, or its keeper does not answer in time
    };
    /// Takes over a run whose manager is gone. `owner` is the one of its order; where the run belongs to
    /// somebody else, his name is stored there.
    [[nodiscard]] static Adoption Adopt(const std::string &runFolder, const std::string &runID,
                                        std::string &owner, int waitMs, Taskmill_RunConnection &connection);

    [[nodiscard]] bool IsOpen() const { return m_channel.IsOpen(); }
    /// For the event loop: readable when a report has come, on Windows an event.
    [[nodiscard]] Taskmill_KeeperChannel::Handle Handle() const { return m_channel.Get(); }

    /// The next report; waits for so long at most, -1 for ever. After Ended and Lost the connection is
    /// closed.
    Taskmill_RunReport Receive(int waitMs = 0);
    /// Ends everything the run has started: SIGTERM, then SIGKILL after that time. The answer is Ended, or
    /// Remains. A second one can only shorten the time. False when the keeper is gone.
    bool Kill(long long graceMs) const;
    /// Gives the run to another owner.
    bool SetOwner(const std::string &owner) const;
    /// Asks for one report when there are more than so many bytes of output.
    bool Watch(long long outputBytes) const;

private:
    [[nodiscard]] Taskmill_RunReport Take(const Taskmill_KeeperMessage &message);

    Taskmill_KeeperChannel m_channel;
};

/// The small process that starts keepers, started once by each manager. Windows has none: there one keeper
/// waits for an order, and the system ends what a keeper leaves.
class Taskmill_Nursery
{
public:
    /// Makes the folder and starts the program. Before it is ready it ends what is left of runs whose keeper
    /// was killed; what takes longer than 2 s, beside the rest. Nothing when that fails or takes longer than
    /// so long.
    [[nodiscard]] static std::optional<Taskmill_Nursery> Start(const std::string &program,
                                                               const std::string &runFolder, int waitMs);

    [[nodiscard]] long long ProcessID() const { return m_processID; }
    /// For the event loop: readable when ReceiveSwept() has something, on Windows an event.
    [[nodiscard]] Taskmill_KeeperChannel::Handle Handle() const;
    [[nodiscard]] bool IsOpen() const;
    /// Has all runs that it has started end, as when the system is shut down, without waiting. Also from
    /// another thread, and when the object is gone. For the value see EndWord().
    static void EndAll(long long word);
    [[nodiscard]] long long EndWord() const;

    /// Does not wait for the start: Started or Ended follow on the connection. Not open when the process is
    /// gone, does not take the order within 5 s, or the run is there already, or for lack of something, which
    /// `error` says then, see Taskmill_IsLack().
    [[nodiscard]] Taskmill_RunConnection StartRun(const Taskmill_RunOrder &order, int *error = nullptr);
    /// Whether ReceiveSwept() reports runs of this object without being asked.
    [[nodiscard]] static bool SweepsUnasked();
    /// Asks to end what is left of a run that was adopted and then Lost: it may have been started by another
    /// such process, which is gone. ReceiveSwept() returns it when that is done. For a run of this one that
    /// may happen without being asked.
    bool Sweep(const std::string &runID) const;
    /// The next run that was Lost and of which nothing is left now; nothing when there is none yet. When the
    /// process itself is gone, IsOpen() is false then.
    std::optional<std::string> ReceiveSwept(int waitMs = 0);

private:
    struct System;

    Taskmill_KeeperChannel m_channel; ///< on Windows of the keeper that waits for an order
    std::string m_runFolder;
    long long m_processID = 0;
    std::shared_ptr<System> m_system; ///< what Windows needs besides
};
