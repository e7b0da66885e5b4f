// SPDX-License-Identifier: MIT
#pragma once

#include "wire/socket.h"

#include <cstdint>
#include <cstdlib>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

/// A server that takes no connection, since as many wait as there is room for.
class BlackHole
{
public:
    BlackHole()
        : m_server{socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)}
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (bind(static_cast<int>(m_server.Get()), reinterpret_cast<const sockaddr *>(&address),
                 sizeof address) != 0 ||
            listen(static_cast<int>(m_server.Get()), 0) != 0)
            std::abort();
        m_waiting = Taskmill_Socket::Connect(Port(), 1000);
    }
    [[nodiscard]] std::uint16_t Port() const { return m_server.LocalPort(); }

private:
    const Taskmill_Socket m_server;
    Taskmill_Socket m_waiting;
};
