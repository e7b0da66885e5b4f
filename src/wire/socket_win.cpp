// SPDX-License-Identifier: MIT
#include "wire/socket.h"

#include <algorithm>
#include <array>
#include <limits>
#include <system_error>
#include <utility>

// Before windows.h, which brings an older version of it.
#include <winsock2.h>

namespace {
/// The system's sockets are to be asked for once in a process.
bool Start()
{
    static const bool started = [] {
        WSADATA data{};
        return WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }();
    return started;
}

sockaddr_in LoopbackAddress(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

SOCKET SocketOf(Taskmill_Socket::Handle handle)
{
    return static_cast<SOCKET>(handle);
}

void NeverWait(SOCKET socket)
{
    u_long on = 1;
    ioctlsocket(socket, static_cast<long>(FIONBIO), &on);
}

Taskmill_Socket Owned(SOCKET socket)
{
    if (socket == INVALID_SOCKET)
        return {};
    NeverWait(socket);
    SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0);
    return Taskmill_Socket{static_cast<Taskmill_Socket::Handle>(socket)};
}

Taskmill_Socket MakeSocket()
{
    return Start() ? Owned(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP)) : Taskmill_Socket{};
}

bool WaitToWrite(Taskmill_Socket::Handle handle, int waitMs)
{
    WSAPOLLFD one{SocketOf(handle), POLLWRNORM, 0};
    return WSAPoll(&one, 1, waitMs) == 1 && (one.revents & (POLLERR | POLLHUP)) == 0;
}
} // namespace

Taskmill_Socket Taskmill_Socket::Connect(std::uint16_t port, int waitMs)
{
    Taskmill_Socket client = MakeSocket();
    const sockaddr_in address = LoopbackAddress(port);
    if (!client.IsOpen())
        return {};
    const SOCKET socket = SocketOf(client.m_handle);
    if (connect(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0)
        return client;
    if (WSAGetLastError() != WSAEWOULDBLOCK)
        return {};
    // Older systems report a refused connection through select() only.
    fd_set writable;
    fd_set failed;
    FD_ZERO(&writable);
    FD_ZERO(&failed);
    FD_SET(socket, &writable);
    FD_SET(socket, &failed);
    timeval wait{waitMs / 1000, (waitMs % 1000) * 1000};
    const bool connected = select(0, nullptr, &writable, &failed, &wait) > 0 && FD_ISSET(socket, &writable);
    return connected ? std::move(client) : Taskmill_Socket{};
}

Taskmill_Socket Taskmill_Socket::Listen(std::uint16_t port)
{
    Taskmill_Socket server = MakeSocket();
    const sockaddr_in address = LoopbackAddress(port);
    const SOCKET socket = SocketOf(server.m_handle);
    // Otherwise another program could listen on the same port and take the connections.
    constexpr BOOL on = TRUE;
    const bool listens = server.IsOpen() &&
                         setsockopt(socket, SOL_SOCKET, SO_EXCLUSIVEADDRUSE,
                                    reinterpret_cast<const char *>(&on), sizeof on) == 0 &&
                         bind(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 &&
                         listen(socket, SOMAXCONN) == 0;
    return listens ? std::move(server) : Taskmill_Socket{};
}

std::string Taskmill_Socket::LastErrorText()
{
    return std::system_category().message(WSAGetLastError());
}

std::uint16_t Taskmill_Socket::LocalPort() const
{
    sockaddr_in address{};
    int size = sizeof address;
    const bool isKnown = getsockname(SocketOf(m_handle), reinterpret_cast<sockaddr *>(&address), &size) == 0;
    return isKnown ? ntohs(address.sin_port) : std::uint16_t{0};
}

Taskmill_Socket Taskmill_Socket::Accept(bool *hasFailed) const
{
    Taskmill_Socket client = Owned(accept(SocketOf(m_handle), nullptr, nullptr));
    if (hasFailed) {
        const int error = client.IsOpen() ? 0 : WSAGetLastError();
        *hasFailed = error != 0 && error != WSAEWOULDBLOCK && error != WSAECONNRESET;
    }
    return client;
}

/// Sockets are limited by the memory alone.
bool Taskmill_Socket::IsNearLimit() const
{
    return false;
}

void Taskmill_Socket::MoveFromLimit() {}

bool Taskmill_Socket::Send(std::string_view bytes, int waitMs) const
{
    while (!bytes.empty()) {
        const auto part =
            static_cast<int>(std::min<std::size_t>(bytes.size(), std::numeric_limits<int>::max()));
        const int sent = send(SocketOf(m_handle), bytes.data(), part, 0);
        if (sent >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        else if (WSAGetLastError() != WSAEWOULDBLOCK || !WaitToWrite(m_handle, waitMs))
            return false;
    }
    return true;
}

bool Taskmill_Socket::SendSome(std::string_view &bytes) const
{
    while (!bytes.empty()) {
        const auto part =
            static_cast<int>(std::min<std::size_t>(bytes.size(), std::numeric_limits<int>::max()));
        const int sent = send(SocketOf(m_handle), bytes.data(), part, 0);
        if (sent < 0)
            return WSAGetLastError() == WSAEWOULDBLOCK;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

Taskmill_Socket::State Taskmill_Socket::Receive(std::string &bytes, std::size_t most) const
{
    NeverWait(SocketOf(m_handle));
    std::array<char, 4096> part{};
    while (bytes.size() < most) {
        const auto room = static_cast<int>(std::min(part.size(), most - bytes.size()));
        const int received = recv(SocketOf(m_handle), part.data(), room, 0);
        if (received > 0)
            bytes.append(part.data(), static_cast<std::size_t>(received));
        else if (received == 0)
            return State::Ended;
        else
            return WSAGetLastError() == WSAEWOULDBLOCK ? State::Open : State::Ended;
    }
    return State::Open;
}

void Taskmill_Socket::Close()
{
    if (IsOpen())
        closesocket(SocketOf(Release()));
}

std::vector<std::size_t> Taskmill_Socket::WaitForAny(const std::vector<Handle> &sockets, int waitMs)
{
    std::vector<WSAPOLLFD> all;
    all.reserve(sockets.size());
    for (const Handle handle : sockets)
        all.push_back({SocketOf(handle), POLLRDNORM, 0});
    std::vector<std::size_t> ready;
    if (WSAPoll(all.data(), static_cast<ULONG>(all.size()), waitMs) <= 0)
        return ready;
    for (std::size_t position = 0; position < all.size(); ++position) {
        if (all[position].revents != 0)
            ready.push_back(position);
    }
    return ready;
}
