// SPDX-License-Identifier: MIT
#include "slurm/reporter.h"

#include <algorithm>
#include <cerrno>

#include <poll.h>
#include <unistd.h>

void Taskmill_SlurmReporter::Say(const std::string &text)
{
    if (text == m_last)
        return;
    m_last = text;
    std::string line = text;
    std::ranges::replace_if(
        line, [](unsigned char c) { return c < ' '; }, ' ');
    Print((m_isInLine ? "\ntaskmill-slurm: " : "taskmill-slurm: ") + line + '\n');
}

void Taskmill_SlurmReporter::Print(std::string_view bytes)
{
    if (!bytes.empty())
        m_isInLine = bytes.back() != '\n';
    while (!bytes.empty()) {
        const ssize_t count = write(STDOUT_FILENO, bytes.data(), bytes.size());
        if (count < 0 && errno == EAGAIN) {
            pollfd wait{.fd = STDOUT_FILENO, .events = POLLOUT, .revents = 0};
            poll(&wait, 1, -1);
        } else if (count < 0 && errno != EINTR) {
            // Nobody reads it any more, or the disk is full: the job itself goes on.
            return;
        } else if (count > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
    }
}
