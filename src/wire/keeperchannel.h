// SPDX-License-Identifier: MIT
#pragma once

#include "wire/keepermessage.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// One end of a connection that carries whole messages between programs of this user on this computer, and
/// open files with them.
class Taskmill_KeeperChannel
{
public:
    enum class State
    {
        Open,
        Ended, ///< the other side has closed, or is gone, and everything it sent was received
    };
    /// A descriptor, on Windows an object of this class.
    using Handle = std::intptr_t;
    static constexpr Handle NoHandle = -1;

    Taskmill_KeeperChannel() = default;
    /// Takes the ownership of an open one.
    explicit Taskmill_KeeperChannel(Handle handle)
        : m_handle{handle}
    {
    }
    ~Taskmill_KeeperChannel() { Close(); }
    Taskmill_KeeperChannel(Taskmill_KeeperChannel &&other) noexcept
        : m_handle{other.Release()}
    {
    }
    Taskmill_KeeperChannel &operator=(Taskmill_KeeperChannel &&other) noexcept
    {
        if (this != &other) {
            Close();
            m_handle = other.Release();
        }
        return *this;
    }
    Taskmill_KeeperChannel(const Taskmill_KeeperChannel &) = delete;
    Taskmill_KeeperChannel &operator=(const Taskmill_KeeperChannel &) = delete;

    /// Both ends of a new one; not open when the system gives none. Windows has Taskmill_MakeKeeperPipe().
    [[nodiscard]] static std::pair<Taskmill_KeeperChannel, Taskmill_KeeperChannel> MakePair();
    /// Where the keeper of that run waits for a manager: in the folder of the runs, whatever the length of
    /// its path, or on Windows at a pipe whose name is the run's.
    [[nodiscard]] static Taskmill_KeeperChannel Listen(const std::string &runFolder,
                                                       const std::string &runID);
    /// Removes what Listen() has made there.
    static void StopListening(const std::string &runFolder, const std::string &runID);
    [[nodiscard]] static Taskmill_KeeperChannel Connect(const std::string &runFolder,
                                                        const std::string &runID);
    /// The next connection of a listening one; not open when none waits or it is another user's.
    [[nodiscard]] Taskmill_KeeperChannel Accept() const;
    /// Not after an Accept() behind which the system had nothing for the next one: it has to be made anew.
    [[nodiscard]] bool IsListening() const;

    [[nodiscard]] bool IsOpen() const { return m_handle != NoHandle; }
    /// For who waits for something to come, or to connect: readable then, on Windows an event.
    [[nodiscard]] Handle Get() const;
    /// Gives the ownership away.
    Handle Release() { return std::exchange(m_handle, NoHandle); }
    void Close();

    /// False when the other side is gone, or has not read enough within that time. A long message goes
    /// through memory of its own. The files stay the caller's; Windows has none.
    bool Send(const Taskmill_KeeperMessage &message, const std::vector<int> &files = {},
              int waitMs = 0) const;
    /// Never waits: no message when none has come. The files that came with it are the caller's; without
    /// `files` they are closed.
    State Receive(std::optional<Taskmill_KeeperMessage> &message, std::vector<int> *files = nullptr) const;
    /// The same after waiting for so long at most, or -1 for ever.
    State ReceiveWithin(int waitMs, std::optional<Taskmill_KeeperMessage> &message) const;

private:
    Handle m_handle = NoHandle;
};
