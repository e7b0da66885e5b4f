// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

/// The debug log: receives every message of Qt and of the program, in a file or on standard error.
/// There is one for the process.
class Taskmill_DebugLog
{
public:
    /// Looks for the first debug option among the arguments behind the program's name and turns the log on
    /// when there is one. A file that cannot be opened leaves it off.
    static void TurnOn(const QStringList &arguments);
    static void TurnOff();

    /// A bit set: 1 info, 2 warning, 4 fatal lines; 0 while the log is off, else all of them.
    [[nodiscard]] static int Level();
};
