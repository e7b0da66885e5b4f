// SPDX-License-Identifier: MIT
#include "kilnutil/computerdata.h"

#include <qt_windows.h>

qint32 KilnUtil_ComputerData::UID()
{
    return 0;
}

qint32 KilnUtil_ComputerData::GID()
{
    return 0;
}
