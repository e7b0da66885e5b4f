// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// Facts about this computer and its user.
class KilnUtil_ComputerData
{
public:
    /// Ports of the local server of a manager with a window and of one on a console; never the same. The
    /// environment variables TASKMILL_GUI_PORT and TASKMILL_CONSOLE_PORT (1 to 65535) override them.
    [[nodiscard]] static quint16 TaskmillGUIPortNumber();
    [[nodiscard]] static quint16 TaskmillConsolePortNumber();

    /// Ids of the user who runs the program; 0 on systems without such numbers.
    [[nodiscard]] static qint32 UID();
    [[nodiscard]] static qint32 GID();

    /// Never empty.
    [[nodiscard]] static QString HostName();

    /// Another text for each computer, fit for the name of a file; never empty.
    [[nodiscard]] static QString MachineID();
    /// Another text after each start of the system; empty where it has none.
    [[nodiscard]] static QString BootID();
};
