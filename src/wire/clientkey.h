// SPDX-License-Identifier: MIT
#pragma once

#include "wire/socket.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The manager's key, new at each start: who sends it can read the file that only the manager's user can
/// read. A client that closes at once cannot be recognised in another way.
constexpr std::string_view Taskmill_WireClientKey = "clientkey=";

/// Writes the key of the manager that listens on the port into files of their own, readable to this user
/// alone, where they do not hold it already: in $XDG_RUNTIME_DIR/taskmill and in the state folder (empty for
/// none). The paths of those that hold it; none when it could be written nowhere.
[[nodiscard]] std::vector<std::string> Taskmill_WriteClientKey(std::uint16_t port, std::string_view key,
                                                               const std::string &stateFolder);

/// The lines that show the key of the manager at the other end of a connection to the port. Empty when there
/// is none, or when a program of another user may listen there. With TASKMILL_ACCEPT_UNKNOWN=1 in the
/// environment, when a program of another user is known to listen there.
[[nodiscard]] std::string Taskmill_ClientKeyLines(const Taskmill_Socket &connection, std::uint16_t port);
