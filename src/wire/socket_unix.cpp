// SPDX-License-Identifier: MIT
#include "wire/socket.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {
sockaddr_in LoopbackAddress(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

Taskmill_Socket MakeSocket()
{
    const int descriptor = socket(AF_INET, SOCK_STREAM, 0);
    if (descriptor < 0)
        return {};
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    fcntl(descriptor, F_SETFL, O_NONBLOCK);
    return Taskmill_Socket{descriptor};
}

int DescriptorOf(Taskmill_Socket::Handle handle)
{
    return static_cast<int>(handle);
}

bool WaitToWrite(Taskmill_Socket::Handle handle, int waitMs)
{
    pollfd one{.fd = DescriptorOf(handle), .events = POLLOUT, .revents = 0};
    return poll(&one, 1, waitMs) == 1;
}
} // namespace

Taskmill_Socket Taskmill_Socket::Connect(std::uint16_t port, int waitMs)
{
    Taskmill_Socket client = MakeSocket();
    const sockaddr_in address = LoopbackAddress(port);
    if (!client.IsOpen())
        return {};
    if (connect(DescriptorOf(client.m_handle), reinterpret_cast<const sockaddr *>(&address),
                sizeof address) == 0)
        return client;
    int error = errno;
    if (error == EINPROGRESS && WaitToWrite(client.m_handle, waitMs)) {
        socklen_t size = sizeof error;
        if (getsockopt(DescriptorOf(client.m_handle), SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0)
            return client;
    }
    return {};
}

Taskmill_Socket Taskmill_Socket::Listen(std::uint16_t port)
{
    // Many may connect while this program is busy. One that does not fit tries again after a whole second.
    constexpr int mostWaiting = 4096;
    Taskmill_Socket server = MakeSocket();
    const sockaddr_in address = LoopbackAddress(port);
    const int descriptor = DescriptorOf(server.m_handle);
    // Connections that have just ended do not keep a program from starting again.
    constexpr int on = 1;
    const bool listens =
        server.IsOpen() && setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) == 0 &&
        bind(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 &&
        listen(descriptor, mostWaiting) == 0;
    return listens ? std::move(server) : Taskmill_Socket{};
}

std::string Taskmill_Socket::LastErrorText()
{
    return std::system_category().message(errno);
}

std::uint16_t Taskmill_Socket::LocalPort() const
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    const bool isKnown =
        getsockname(DescriptorOf(m_handle), reinterpret_cast<sockaddr *>(&address), &size) == 0;
    return isKnown ? ntohs(address.sin_port) : 0;
}

Taskmill_Socket Taskmill_Socket::Accept(bool *hasFailed) const
{
    int descriptor = -1;
    do {
        descriptor = accept4(DescriptorOf(m_handle), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    } while (descriptor < 0 && (errno == EINTR || errno == ECONNABORTED));
    if (hasFailed)
        *hasFailed = descriptor < 0 && errno != EAGAIN && errno != EWOULDBLOCK;
    return descriptor < 0 ? Taskmill_Socket{} : Taskmill_Socket{descriptor};
}

/// The lowest number that is free is taken, so this one shows how many files are open at least.
bool Taskmill_Socket::IsNearLimit() const
{
    constexpr rlim_t leastReserve = 16; // two or three starts of a program, and a save
    constexpr rlim_t mostReserve = 512;
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
        return false;
    const rlim_t reserve = std::clamp(limit.rlim_cur / 4, leastReserve, mostReserve);
    return static_cast<rlim_t>(m_handle) + reserve >= limit.rlim_cur;
}

void Taskmill_Socket::MoveFromLimit()
{
    const int other = fcntl(DescriptorOf(m_handle), F_DUPFD_CLOEXEC, 0);
    if (other < 0)
        return;
    close(std::max(other, DescriptorOf(m_handle)));
    m_handle = std::min(Handle{other}, m_handle);
}

bool Taskmill_Socket::Send(std::string_view bytes, int waitMs) const
{
    while (!bytes.empty()) {
        const ssize_t sent = send(DescriptorOf(m_handle), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        else if (errno == EAGAIN || errno == EWOULDBLOCK ? !WaitToWrite(m_handle, waitMs) : errno != EINTR)
            return false;
    }
    return true;
}

bool Taskmill_Socket::SendSome(std::string_view &bytes) const
{
    while (!bytes.empty()) {
        const ssize_t sent = send(DescriptorOf(m_handle), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        else if (errno != EINTR)
            return errno == EAGAIN || errno == EWOULDBLOCK;
    }
    return true;
}

Taskmill_Socket::State Taskmill_Socket::Receive(std::string &bytes, std::size_t most) const
{
    std::array<char, 4096> part{};
    while (bytes.size() < most) {
        const std::size_t room = std::min(part.size(), most - bytes.size());
        const ssize_t received = recv(DescriptorOf(m_handle), part.data(), room, MSG_DONTWAIT);
        if (received > 0)
            bytes.append(part.data(), static_cast<std::size_t>(received));
        else if (received == 0)
            return State::Ended;
        else if (errno != EINTR)
            return errno == EAGAIN || errno == EWOULDBLOCK ? State::Open : State::Ended;
    }
    return State::Open;
}

void Taskmill_Socket::Close()
{
    if (IsOpen())
        close(DescriptorOf(Release()));
}

std::vector<std::size_t> Taskmill_Socket::WaitForAny(const std::vector<Handle> &sockets, int waitMs)
{
    std::vector<pollfd> all;
    all.reserve(sockets.size());
    for (const Handle handle : sockets)
        all.push_back({.fd = DescriptorOf(handle), .events = POLLIN, .revents = 0});
    std::vector<std::size_t> ready;
    if (poll(all.data(), static_cast<nfds_t>(all.size()), waitMs) <= 0)
        return ready;
    for (std::size_t position = 0; position < all.size(); ++position) {
        if (all[position].revents != 0)
            ready.push_back(position);
    }
    return ready;
}
