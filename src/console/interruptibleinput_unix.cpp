// SPDX-License-Identifier: MIT
#include "console/interruptibleinput_unix.h"

#include <algorithm>
#include <cerrno>

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr int firstEndWaitMs = 250;
constexpr int longestEndWaitMs = 2000;
constexpr int forEver = -1;

/// Whether more can never come: the null device, or none.
bool EndsForEver(int descriptor)
{
    struct stat input
    {
    };
    struct stat null
    {
    };
    return fstat(descriptor, &input) != 0 ||
           (S_ISCHR(input.st_mode) && stat("/dev/null", &null) == 0 && input.st_rdev == null.st_rdev);
}
} // namespace

Taskmill_InterruptibleInput::Taskmill_InterruptibleInput(int descriptor)
    : m_descriptor{descriptor}
{
}

void Taskmill_InterruptibleInput::Interrupt()
{
    m_interrupted = true;
    Wake();
}

Taskmill_InterruptibleInput::Waited Taskmill_InterruptibleInput::WaitForInput(int timeoutMs,
                                                                              bool alsoDescriptor)
{
    std::array<pollfd, 2> waited{{{m_wakePipe.Descriptor(), POLLIN, 0}, {m_descriptor, POLLIN, 0}}};
    if (poll(waited.data(), alsoDescriptor ? 2 : 1, timeoutMs) < 0 && errno == EINTR)
        return Waited::Woken;
    if (!(waited[0].revents & POLLIN))
        return Waited::Ready;
    m_wakePipe.Drain();
    return Waited::Woken;
}

std::optional<char> Taskmill_InterruptibleInput::ReadByte()
{
    while (!m_interrupted) {
        if (m_next < m_end)
            return m_bytes.at(m_next++);
        if (WaitForInput(forEver, true) == Waited::Woken)
            return std::nullopt;
        // A line may be pasted that is megabytes long.
        const ssize_t count = read(m_descriptor, m_bytes.data(), m_bytes.size());
        m_next = 0;
        m_end = count > 0 ? static_cast<std::size_t>(count) : 0;
        if (count > 0) {
            m_endWaitMs = 0;
            continue;
        }
        if (count < 0 && (errno == EINTR || errno == EAGAIN))
            continue;
        // More may come behind the end of a file that grows or of a pipe that is opened again.
        m_endWaitMs = EndsForEver(m_descriptor)
                          ? forEver
                          : std::clamp(2 * m_endWaitMs, firstEndWaitMs, longestEndWaitMs);
        // Whoever reads looks about meanwhile: a terminal that is gone and the signal of its end come
        // together.
        (void)WaitForInput(m_endWaitMs, false);
        return std::nullopt;
    }
    return std::nullopt;
}
