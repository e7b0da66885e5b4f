// SPDX-License-Identifier: MIT
#pragma once

#include "wire/keepermessage.h"

#include <string>

#include <sys/types.h>

/// A program that was started, or why it was not.
struct Taskmill_StartedJob
{
    pid_t id = -1;
    int error = 0;          ///< number of the system's error
    std::string failedFile; ///< the file, folder or program that it is about
};

/// Starts the program of an order in a session of its own. It is ended when this process ends. What it writes
/// goes into `output`, an end of a pipe, unless the order names a file.
[[nodiscard]] Taskmill_StartedJob Taskmill_StartJob(const Taskmill_KeeperMessage &order, int output);
