// SPDX-License-Identifier: MIT
#pragma once

#include "keeper/keeper.h"
#include "keeper/outputpipe_win.h"
#include "wire/openjournal_win.h"
#include "wire/runlocks.h"

#include <memory>
#include <string>

#include <windows.h>

struct Taskmill_Keeper::System
{
    std::unique_ptr<Taskmill_RunLock> lock; ///< says that this run is not over
    std::unique_ptr<Taskmill_OpenJournal> journal;
    HANDLE end = nullptr;       ///< set when all runs of the manager are to end
    HANDLE systemEnd = nullptr; ///< set when the system ends this process
    HANDLE recorded = nullptr;  ///< to be set when nothing is left to do
    HANDLE jobObject = nullptr; ///< ends everything in it when the keeper is gone
    HANDLE process = nullptr;
    std::unique_ptr<Taskmill_OutputPipe> pipe;
};
