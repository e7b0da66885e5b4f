// SPDX-License-Identifier: MIT
#pragma once

#include "wire/keepermessage.h"

#include <string>

#include <windows.h>

/// A program that was started, or why it was not.
struct Taskmill_StartedJob
{
    HANDLE process = nullptr;
    DWORD id = 0;
    int error = 0;          ///< number of the system's error
    std::string failedFile; ///< the file, folder or program that it is about
};

/// Starts the program of an order inside the job object, and so everything that it starts. What it writes
/// goes into `output`, an end of a pipe, unless the order names a file.
[[nodiscard]] Taskmill_StartedJob Taskmill_StartJob(const Taskmill_KeeperMessage &order, HANDLE jobObject,
                                                    HANDLE output);
