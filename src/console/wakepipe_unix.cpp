// SPDX-License-Identifier: MIT
#include "console/wakepipe_unix.h"

#include "kilnutil/logging.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

Taskmill_WakePipe::Taskmill_WakePipe()
{
    if (pipe2(m_ends.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        qCWarning(Taskmill_ConsoleLog, "The console cannot be woken while it waits");
}

Taskmill_WakePipe::~Taskmill_WakePipe()
{
    close(m_ends[0]);
    close(m_ends[1]);
}

void Taskmill_WakePipe::Wake() const
{
    const int savedError = errno;
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(m_ends[1], &byte, 1);
    errno = savedError;
}

void Taskmill_WakePipe::Drain() const
{
    std::array<char, 64> bytes{};
    while (read(m_ends[0], bytes.data(), bytes.size()) > 0) {
    }
}
