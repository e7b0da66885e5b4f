// SPDX-License-Identifier: MIT
#include "console/consoleshell.h"

#include <QProcess>

#include <cstdlib>

#include <windows.h>

using namespace Qt::Literals::StringLiterals;

void Taskmill_ConsoleShell::StartDirectoryCommand(QProcess &process, const QString &line)
{
    process.setProgram(u"cmd.exe"_s);
    process.setNativeArguments(u"/C \""_s + line + u'"');
    process.start();
}

void Taskmill_ConsoleShell::ClearConsole(Taskmill_ConsoleTerminal &)
{
    std::system("cls");
}

void Taskmill_ConsoleShell::MinimiseConsoleWindow()
{
    if (const HWND window = GetConsoleWindow())
        ShowWindow(window, SW_MINIMIZE);
}
