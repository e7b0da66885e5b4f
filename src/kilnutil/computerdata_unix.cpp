// SPDX-License-Identifier: MIT
#include "kilnutil/computerdata.h"

#include <QSysInfo>

#include <unistd.h>

qint32 KilnUtil_ComputerData::UID()
{
    return static_cast<qint32>(getuid());
}

qint32 KilnUtil_ComputerData::GID()
{
    return static_cast<qint32>(getgid());
}
