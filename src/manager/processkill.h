// SPDX-License-Identifier: MIT
#pragma once

#include "processes/processinspector.h"

/// What of a process is ended.
enum class Taskmill_Kill
{
    Process,
    ProcessGroup, ///< ends nothing: a listed process does not say which its group is
    Children,
    ProcessAndChildren,
    ProcessAndParent,
    /// The children; the process itself only together with its parent.
    ProcessChildrenAndParent
};

/// False when not all that was asked for was ended. A process that has got the number of the listed one, or
/// of its parent, since is left alone.
bool Taskmill_KillProcess(Taskmill_ProcessInspector &inspector, const Taskmill_ProcessRecord &process,
                          Taskmill_Kill kill);
