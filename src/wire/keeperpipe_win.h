// SPDX-License-Identifier: MIT
#pragma once

#include "wire/keeperchannel.h"

/// One end of a new connection, and the system's handle of the other one, which a program to be started may
/// inherit. The channel is not open when the system gives none.
[[nodiscard]] std::pair<Taskmill_KeeperChannel, Taskmill_KeeperChannel::Handle> Taskmill_MakeKeeperPipe();

/// Takes the ownership of such a handle.
[[nodiscard]] Taskmill_KeeperChannel Taskmill_KeeperChannelOf(Taskmill_KeeperChannel::Handle pipe);
