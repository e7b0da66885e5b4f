// SPDX-License-Identifier: MIT
#include "wire/bootid.h"

#include <array>

#include <fcntl.h>
#include <unistd.h>

std::string Taskmill_SystemBootID()
{
    std::array<char, 64> text{};
    const int file = open("/proc/sys/kernel/random/boot_id", O_RDONLY | O_CLOEXEC);
    const ssize_t size = file < 0 ? -1 : read(file, text.data(), text.size());
    if (file >= 0)
        close(file);
    // Without its line feed.
    return size > 1 ? std::string{text.data(), static_cast<std::size_t>(size) - 1} : std::string{};
}
