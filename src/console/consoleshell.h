// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class QProcess;
class Taskmill_ConsoleTerminal;

/// What the console's directory commands are on this system.
namespace Taskmill_ConsoleShell {
/// Starts the command interpreter on a line that begins with "dir".
void StartDirectoryCommand(QProcess &process, const QString &line);
/// The terminal is the console's own.
void ClearConsole(Taskmill_ConsoleTerminal &terminal);
/// The console's own window gets out of the way; nothing where the console has none.
void MinimiseConsoleWindow();
} // namespace Taskmill_ConsoleShell
