// SPDX-License-Identifier: MIT
#include "jobs/runmode.h"

#include "kilnutil/computerdata.h"

using namespace Qt::Literals::StringLiterals;

namespace {
Taskmill_RunMode currentMode = Taskmill_RunMode::Gui;
}

Taskmill_RunMode Taskmill_CurrentRunMode()
{
    return currentMode;
}

void Taskmill_SetRunMode(Taskmill_RunMode mode)
{
    currentMode = mode;
}

bool Taskmill_IsConsoleMode()
{
    return currentMode >= Taskmill_RunMode::Console;
}

bool Taskmill_IsGuiMode()
{
    return !Taskmill_IsConsoleMode();
}

QString Taskmill_ServerName()
{
    return Taskmill_IsConsoleMode() ? u"TaskmillConsole"_s : u"TaskmillGUI"_s;
}

quint16 Taskmill_ServerPort()
{
    return Taskmill_IsConsoleMode() ? KilnUtil_ComputerData::TaskmillConsolePortNumber()
                                    : KilnUtil_ComputerData::TaskmillGUIPortNumber();
}
