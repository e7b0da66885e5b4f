// SPDX-License-Identifier: MIT
#include "wire/runrecord.h"

#include <array>

#include <sys/random.h>

std::string Taskmill_NewRunID()
{
    std::array<unsigned char, 16> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        return {};
    return Taskmill_HexText(bytes);
}
