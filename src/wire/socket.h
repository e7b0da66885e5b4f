#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// A TCP socket on the IPv4 loopback address, without the toolkit: what a small client speaks through, and
/// what the manager looks at before it makes one of the toolkit's sockets.
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
    /// On a port that the system chooses; not open when there is none.
    [[nodiscard]] static Taskmill_Socket Listen();

    [[nodiscard]] Handle Get() const { return m_handle; }
    /// Gives the ownership away.
    Handle Release();
    void Close();
    [[nodiscard]] bool IsOpen() const { return m_handle != NoHandle; }
    /// 0 when it is not open.
    [[nodiscard]] std::uint16_t LocalPort() const;
    /// The next connection of a listening socket; not open when none waits.
    [[nodiscard]] Taskmill_Socket Accept() const;

    /// Sends everything; false when the connection ends or the other side does not take it within that time.
    bool Send(std::string_view bytes, int waitMs) const;
    /// Appends what has arrived, `most` bytes in all at the most; does not wait.
    State Receive(std::string &bytes, std::size_t most) const;

    /// Waits until something has arrived at one of the open sockets, or the other side has closed; nothing
    /// after that time, or -1 for ever. The positions of those sockets.
    [[nodiscard]] static std::vector<std::size_t> WaitForAny(const std::vector<Handle> &sockets, int waitMs);

private:
    Handle m_handle = NoHandle;
};
