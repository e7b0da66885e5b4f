// SPDX-License-Identifier: MIT
#include "console/editterminal_unix.h"
#include "console/plainterminal_unix.h"

#include <unistd.h>

std::unique_ptr<Taskmill_ConsoleTerminal> Taskmill_MakeConsoleTerminal()
{
    if (isatty(STDIN_FILENO) && isatty(STDOUT_FILENO))
        return std::make_unique<Taskmill_EditTerminal>();
    return std::make_unique<Taskmill_PlainTerminal>(STDIN_FILENO, STDOUT_FILENO);
}
