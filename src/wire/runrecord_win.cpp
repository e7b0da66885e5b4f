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
