// SPDX-License-Identifier: MIT
#pragma once

#include "keeper/keeper.h"

#include <array>

#include <poll.h>

/// The descriptors are the keeper's own from then on, but for the journal, what asks for it to be stored and
/// the signals: SIGCHLD and SIGTERM are blocked and come through those.
struct Taskmill_Keeper::System
{
    int lock = -1; ///< says that this run is not over
    int journal = -1;
    int signals = -1;
    int appended = -1; ///< asks for the journal to be stored
    int pipe = -1;     ///< what the run writes
    std::array<pollfd, 5> waits{};
};
