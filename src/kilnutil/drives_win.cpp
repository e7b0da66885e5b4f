// SPDX-License-Identifier: MIT
#include "kilnutil/drives.h"

#include <windows.h>

using namespace Qt::Literals::StringLiterals;

bool KilnUtil_Drives::IsOnLocalDrive(const QString &path)
{
    // Anything else is the name of a computer.
    if (path.size() < 2 || path[1] != u':')
        return false;
    const UINT type = GetDriveTypeW(reinterpret_cast<const wchar_t *>((path.first(2) + u'\\').utf16()));
    return type == DRIVE_FIXED || type == DRIVE_RAMDISK;
}
