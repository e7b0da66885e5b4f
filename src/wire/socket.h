// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// A TCP socket on the IPv4 loopback address, without Qt, which a small client does without and which closes
/// the whole connection as soon as the other side has closed its half.
class Taskmill_Socket
{
public:
    using Handle = std::intptr_t;
    static constexpr Handle NoHandle = -1;

    enum class State
    {
        Open,
        Ended, ///< the other side has closed, or is gone
    };

    Taskmill_Socket() = default;
    /// Takes the ownership of an open one.
    explicit Taskmill_Socket(Handle handle)
        : m_handle{handle}
    {
    }
    ~Taskmill_Socket() { Close(); }
    Taskmill_Socket(Taskmill_Socket &&other) noexcept
        : m_handle{other.Release()}
    {
    }
    Taskmill_Socket &operator=(Taskmill_Socket &&other) noexcept;
    Taskmill_Socket(const Taskmill_Socket &) = delete;
    Taskmill_Socket &operator=(const Taskmill_Socket &) = delete;

    /// Not open when nobody takes the connection within that time.
    [[nodiscard]] static Taskmill_Socket Connect(std::uint16_t port, int waitMs);
    /// On that port, or on one that the system chooses (0); not open when it is taken, or there is none.
    [[nodiscard]] static Taskmill_Socket Listen(std::uint16_t port = 0);
    /// Why the last call of this thread has failed.
    [[nodiscard]] static std::string LastErrorText();

    [[nodiscard]] Handle Get() const { return m_handle; }
    /// Gives the ownership away.
    Handle Release();
    void Close();
    [[nodiscard]] bool IsOpen() const { return m_handle != NoHandle; }
    /// 0 when it is not open.
    [[nodiscard]] std::uint16_t LocalPort() const;
    /// The next connection of a listening socket; not open when none waits, or when it cannot be taken, most
    /// likely because too many files are open.
    [[nodiscard]] Taskmill_Socket Accept(bool *hasFailed = nullptr) const;
    /// Whether this socket is one of the last that the system lets the program open: what is left is needed
    /// to start jobs and to save.
    [[nodiscard]] bool IsNearLimit() const;
    /// Takes a place that another socket has left, if that is further from the limit.
    void MoveFromLimit();

    /// Sends everything; false when the connection ends or the other side does not take it within that time.
    bool Send(std::string_view bytes, int waitMs) const;
    /// Sends what the other side takes without waiting and leaves the rest; false when the connection has
    /// ended.
    bool SendSome(std::string_view &bytes) const;
    /// Appends what has arrived, no more than `most` bytes in all; does not wait.
    State Receive(std::string &bytes, std::size_t most) const;

    /// Waits until something has arrived at one of the open sockets, or the other side has closed; nothing
    /// after that time, or -1 for ever. The positions of those sockets.
    [[nodiscard]] static std::vector<std::size_t> WaitForAny(const std::vector<Handle> &sockets, int waitMs);

private:
    Handle m_handle = NoHandle;
};
