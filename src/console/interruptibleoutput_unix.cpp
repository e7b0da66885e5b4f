// SPDX-License-Identifier: MIT
#include "console/interruptibleoutput_unix.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr int roundMs = 1000;
constexpr int crowdedRoundMs = 20;
constexpr int longestEndMs = 500;
/// Small, for writing must not begin to wait after poll() has reported room.
constexpr qsizetype pieceBytes = 512;

/// A pipe or a terminal once more, so that writing to it never waits; the descriptor that other programs
/// share is left alone. -1 where that cannot be had.
int OpenWithoutWaiting(int descriptor)
{
    struct stat output
    {
    };
    if (fstat(descriptor, &output) != 0 || !(S_ISFIFO(output.st_mode) || isatty(descriptor)))
        return -1;
    const QByteArray path = "/proc/self/fd/" + QByteArray::number(descriptor);
    return open(path.constData(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}
} // namespace

Taskmill_InterruptibleOutput::Taskmill_InterruptibleOutput(int descriptor, std::function<void()> onWake)
    : m_ownDescriptor{OpenWithoutWaiting(descriptor)}
    , m_descriptor{m_ownDescriptor < 0 ? descriptor : m_ownDescriptor}
    , m_onWake{std::move(onWake)}
{
}

Taskmill_InterruptibleOutput::~Taskmill_InterruptibleOutput()
{
    Interrupt();
    WritePosted();
    if (m_ownDescriptor >= 0)
        close(m_ownDescriptor);
}

void Taskmill_InterruptibleOutput::WritePosted()
{
    while (HasPosted() && !m_end.hasExpired())
        Write(m_posted.Take().toLocal8Bit());
}

void Taskmill_InterruptibleOutput::WriteWhile(QByteArrayView bytes, bool isOfCommand)
{
    while (!bytes.isEmpty() && !(isOfCommand && m_isBrokenOff)) {
        const Waited waited = Wait(true, roundMs);
        if (waited == Waited::TooLong)
            return;
        if (waited == Waited::Woken)
            continue;
        const auto size = static_cast<size_t>(std::min(bytes.size(), pieceBytes));
        const ssize_t written = write(m_descriptor, bytes.data(), size);
        if (written > 0)
            bytes = bytes.sliced(written);
        else if (errno == EAGAIN)
            // There is room, but not for the next character.
            static_cast<void>(Wait(false, crowdedRoundMs));
        else if (errno != EINTR)
            return;
    }
}

Taskmill_InterruptibleOutput::Waited Taskmill_InterruptibleOutput::Wait(bool alsoDescriptor, int timeoutMs)
{
    if (m_isInterrupted && m_end.isForever())
        m_end.setRemainingTime(longestEndMs);
    if (!m_end.isForever())
        timeoutMs = static_cast<int>(std::min<qint64>(timeoutMs, m_end.remainingTime()));
    std::array<pollfd, 2> waited{{{m_wakePipe.Descriptor(), POLLIN, 0}, {m_descriptor, POLLOUT, 0}}};
    const int count = poll(waited.data(), alsoDescriptor ? 2 : 1, timeoutMs);
    // A descriptor that cannot be written to makes the writing fail.
    if (count > 0 && waited[1].revents != 0)
        return Waited::Ready;
    if (count > 0)
        m_wakePipe.Drain();
    else if (m_end.hasExpired())
        return Waited::TooLong;
    else
        m_onWake();
    return Waited::Woken;
}

void Taskmill_InterruptibleOutput::BreakOff()
{
    m_isBrokenOff = true;
    m_wakePipe.Wake();
}

void Taskmill_InterruptibleOutput::Interrupt()
{
    m_isInterrupted = true;
    m_wakePipe.Wake();
}
