// SPDX-License-Identifier: MIT
#include "wire/bootid.h"

#include <windows.h>

std::string Taskmill_SystemBootID()
{
    // A number that the system increases at each start.
    DWORD count = 0;
    DWORD size = sizeof count;
    const LSTATUS status = RegGetValueW(
        HKEY_LOCAL_MACHINE,
        L"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Memory Management\\PrefetchParameters",
        L"BootId", RRF_RT_REG_DWORD, nullptr, &count, &size);
    return status == ERROR_SUCCESS ? std::to_string(count) : std::string{};
}
