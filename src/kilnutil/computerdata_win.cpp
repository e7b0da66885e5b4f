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

QString KilnUtil_ComputerData::SystemBootID()
{
    // A number that the system increases at each start.
    DWORD count = 0;
    DWORD size = sizeof count;
    const LSTATUS status = RegGetValueW(
        HKEY_LOCAL_MACHINE,
        L"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Memory Management\\PrefetchParameters",
        L"BootId", RRF_RT_REG_DWORD, nullptr, &count, &size);
    return status == ERROR_SUCCESS ? QString::number(count) : QString{};
}
