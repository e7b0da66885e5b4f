// SPDX-License-Identifier: MIT
#pragma once

#include "wire/keeperchannel.h"
#include "wire/runrecord.h"

#include <string>
#include <utility>
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
    bool waits = false; ///< for Go(); nothing is started without it. See Taskmill_Nursery::RunsMayWait()

    [[nodiscard]] Taskmill_KeeperMessage ToMessage() const;
};

/// What a keeper reports.
struct Taskmill_RunReport
{
    enum class Kind
    {
        None,    ///< nothing has come
        Started, ///< processID, directory
        Output,  ///< outputBytes
        Remains, ///< a kill has not ended `remaining` 5 s beyond its grace; the keeper goes on with it
        Ended,   ///< end; nothing that a kill was to end is left
        Lost,    ///< the keeper is gone without a report: its run has crashed
    };

    Kind kind = Kind::None;
    long long processID = 0;
    long long outputBytes = 0;
    std::vector<long long> remaining;
    std::string directory; ///< of its order
    Taskmill_RunEnd end;
    std::string
        failedFile; ///< of a program that could not be started, which file, directory or program it was
    bool isKeeperFree = false; ///< of Ended: TakeFreeKeeper() has it
};

/// A manager's connection to the keeper of one run. When it closes, the run goes on without a manager.
class Taskmill_RunConnection
{
public:
    Taskmill_RunConnection() = default;
    /// `hadOtherRun` says that the keeper had another run before.
    explicit Taskmill_RunConnection(Taskmill_KeeperChannel channel, bool hadOtherRun = false)
        : m_channel{std::move(channel)}
        , m_hadOtherRun{hadOtherRun}
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
    [[nodiscard]] bool HadOtherRun() const { return m_hadOtherRun; }
    /// After Ended, a keeper that waits for another order, if this one does; it ends when nobody takes it.
    [[nodiscard]] Taskmill_KeeperChannel TakeFreeKeeper() { return std::move(m_freeKeeper); }

    /// The next report; waits for so long at most, -1 for ever. After Ended and Lost the connection is
    /// closed.
    Taskmill_RunReport Receive(int waitMs = 0);
    /// Starts a run whose order says that it waits. False when its keeper is gone, which has started nothing.
    [[nodiscard]] bool Go() const;
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
    Taskmill_KeeperChannel m_freeKeeper;
    bool m_hadOtherRun = false;
};
