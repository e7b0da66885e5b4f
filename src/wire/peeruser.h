#pragma once

#include "wire/socket.h"

/// Whether the other end of a connection on this computer is known to belong to another user: the port is
/// open to all of them, but only this user may submit. False when that cannot be told, for instance because
/// the client has closed its side already.
[[nodiscard]] bool Taskmill_IsOtherUser(Taskmill_Socket::Handle socket);
