// SPDX-License-Identifier: MIT
#pragma once

#include "wire/socket.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

/// What a manager reports of a job that has ended.
struct Taskmill_CtlNotification
{
    std::string Text; ///< lines key=value
    std::map<std::string, std::string> Values;

    [[nodiscard]] static Taskmill_CtlNotification Parse(std::string_view bytes);
    /// Empty when there is no such key.
    [[nodiscard]] std::string Value(const std::string &key) const;
};

/// Listens on a port of its own for notifications of managers; each comes over a connection of its own.
class Taskmill_CtlNotifications
{
public:
    [[nodiscard]] bool Listen();
    [[nodiscard]] std::uint16_t Port() const { return m_server.LocalPort(); }

    /// The sockets at which something may arrive.
    [[nodiscard]] std::vector<Taskmill_Socket::Handle> Handles() const;
    /// Takes what has arrived; the notifications that are whole now.
    [[nodiscard]] std::vector<Taskmill_CtlNotification> Take();

private:
    struct Connection
    {
        Taskmill_Socket socket;
        std::string bytes;
    };

    /// False when there may be more, for which there is no room.
    [[nodiscard]] bool TakeConnections();
    /// Whether some have ended.
    [[nodiscard]] bool Read(std::vector<Taskmill_CtlNotification> &whole);

    Taskmill_Socket m_server;
    std::vector<Connection> m_connections; ///< oldest first
};
