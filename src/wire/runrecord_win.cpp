// SPDX-License-Identifier: MIT
#include "wire/runrecord.h"

#include <array>

#include <windows.h>

// Behind windows.h, on which it builds.
#include <bcrypt.h>

std::string Taskmill_NewRunID()
{
    std::array<unsigned char, 16> bytes{};
    if (BCryptGenRandom(nullptr, bytes.data(), static_cast<ULONG>(bytes.size()),
                        BCRYPT_USE_SYSTEM_PREFERRED_RNG) < 0)
        return {};
    return Taskmill_HexText(bytes);
}

std::string Taskmill_BootID()
{
    // A number that the system increases at each start.
    DWORD count = 0;
    DWORD size = sizeof count;
    const LSTATUS status = RegGetValueW(
        HKEY_LOCAL_MACHINE,
        L"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Memory Management\\PrefetchParameters",
        L"BootId", RRF_RT_REG_DWORD, nullptr, &count, &size);
    // Without it every run counts as one of this boot.
    return status == ERROR_SUCCESS ? std::to_string(count) : "-";
}
