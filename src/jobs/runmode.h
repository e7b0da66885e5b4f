// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// How the program runs; one value for the process, set by start-up. 0 and 1 are graphical, 2 to 5 console
/// modes.
enum class Taskmill_RunMode
{
    Gui = 0,
    Gui1 = 1,
    Console = 2, ///< attached to the parent's console
    Console3 = 3,
    NewConsole = 4, ///< a console window of its own
    Console5 = 5,
};

[[nodiscard]] Taskmill_RunMode Taskmill_CurrentRunMode();
void Taskmill_SetRunMode(Taskmill_RunMode mode);
[[nodiscard]] bool Taskmill_IsConsoleMode();
[[nodiscard]] bool Taskmill_IsGuiMode();

/// "TaskmillConsole" in console modes, else "TaskmillGUI": the application's name and the name under which it
/// answers clients.
[[nodiscard]] QString Taskmill_ServerName();
/// The port on which the manager of the current mode takes requests.
[[nodiscard]] quint16 Taskmill_ServerPort();
