// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// Which files can be looked at without waiting for a network.
class KilnUtil_Drives
{
public:
    /// Whether an absolute path, whatever links it leads over, is on drives of this computer alone. Asks no
    /// drive that may not answer; false where that is not known.
    [[nodiscard]] static bool IsLocal(const QString &path);

private:
    [[nodiscard]] static bool LeadsOverLocalDrives(const QString &path);
    /// The same without a look at links.
    [[nodiscard]] static bool IsOnLocalDrive(const QString &path);
};
