// SPDX-License-Identifier: MIT
#pragma once

#include "wire/socket.h"

#include <cstdint>
#include <optional>

/// Whose the other end of a connection on this computer is. The port is open to all users, but only this one
/// may submit.
enum class Taskmill_PeerUser
{
    This,
    Other,
    Unknown, ///< the system does not show it, mostly because the client has closed its end already
};
[[nodiscard]] Taskmill_PeerUser Taskmill_UserOfPeer(Taskmill_Socket::Handle connection);

/// The number of that user; nothing when the system does not show it, or has no such numbers.
[[nodiscard]] std::optional<std::uint64_t> Taskmill_UserIDOfPeer(Taskmill_Socket::Handle connection);

/// Whose program receives what is sent to the server at the other end: who has accepted the connection, or
/// else who listens there. Connections by IPv6 are Unknown.
[[nodiscard]] Taskmill_PeerUser Taskmill_UserOfServer(Taskmill_Socket::Handle connection);

/// Whether the server at the other end is known to be a program of this user: only then may it be shown the
/// key of his manager. Another user may have taken the port.
[[nodiscard]] bool Taskmill_IsServerOfThisUser(Taskmill_Socket::Handle connection);
