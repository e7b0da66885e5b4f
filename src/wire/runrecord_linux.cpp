// SPDX-License-Identifier: MIT
#include "wire/runrecord.h"

#include <array>
#include <cstdlib>

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

std::string Taskmill_NewRunID()
{
    std::array<unsigned char, 16> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        return {};
    return Taskmill_HexText(bytes);
}

std::string Taskmill_BootID()
{
    // As for KilnUtil_ComputerData::BootID().
    if (const char *named = std::getenv("TASKMILL_BOOT_ID"); named && *named)
        return named;
    std::array<char, 64> text{};
    const int file = open("/proc/sys/kernel/random/boot_id", O_RDONLY | O_CLOEXEC);
    const ssize_t size = file < 0 ? -1 : read(file, text.data(), text.size());
    if (file >= 0)
        close(file);
    // Without it every run counts as one of this boot.
    return size > 1 ? std::string{text.data(), static_cast<std::size_t>(size) - 1} : "-";
}
