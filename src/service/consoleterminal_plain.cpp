#include "service/consoleterminal_plain.h"

#include <QFile>

#include <algorithm>

#include <fcntl.h>
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
    if (pipe2(m_wakePipe.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        qWarning("The console cannot be woken while it waits for input");
}

Taskmill_InterruptibleInput::~Taskmill_InterruptibleInput()
{
    close(m_wakePipe[0]);
    close(m_wakePipe[1]);
}

void Taskmill_InterruptibleInput::Wake()
{
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(m_wakePipe[1], &byte, 1);
}

void Taskmill_InterruptibleInput::Interrupt()
{
    m_interrupted = true;
    Wake();
}

Taskmill_InterruptibleInput::Waited Taskmill_InterruptibleInput::WaitForInput(int timeoutMs,
                                                                              bool alsoDescriptor)
{
    std::array<pollfd, 2> waited{{{m_wakePipe[0], POLLIN, 0}, {m_descriptor, POLLIN, 0}}};
    if (poll(waited.data(), alsoDescriptor ? 2 : 1, timeoutMs) < 0 && errno == EINTR)
        return Waited::Woken;
    if (!(waited[0].revents & POLLIN))
        return Waited::Ready;
    std::array<char, 64> wakeBytes{};
    while (read(m_wakePipe[0], wakeBytes.data(), wakeBytes.size()) > 0) {
    }
    return Waited::Woken;
}

std::optional<char> Taskmill_InterruptibleInput::ReadByte()
{
    while (!m_interrupted) {
        if (WaitForInput(forEver, true) == Waited::Woken)
            return std::nullopt;
        char byte = 0;
        const ssize_t count = read(m_descriptor, &byte, 1);
        if (count == 1) {
            m_endWaitMs = 0;
            return byte;
        }
        if (count < 0 && (errno == EINTR || errno == EAGAIN))
            continue;
        // More may come behind the end of a file that grows or of a pipe that is opened again.
        m_endWaitMs = EndsForEver(m_descriptor)
                          ? forEver
                          : std::clamp(2 * m_endWaitMs, firstEndWaitMs, longestEndWaitMs);
        if (WaitForInput(m_endWaitMs, false) == Waited::Woken)
            return std::nullopt;
    }
    return std::nullopt;
}

Taskmill_PlainTerminal::Taskmill_PlainTerminal(int inputDescriptor)
    : m_input{inputDescriptor}
{
}

std::optional<QString> Taskmill_PlainTerminal::ReadLine(const QString &prompt)
{
    Print(prompt);
    QByteArray line;
    while (!m_input.IsInterrupted()) {
        const std::optional<char> byte = m_input.ReadByte();
        if (!byte)
            CallWakeHook();
        else if (*byte == '\n')
            return QString::fromLocal8Bit(line);
        else if (line.size() < MaxLineBytes)
            line += *byte;
    }
    return std::nullopt;
}

void Taskmill_PlainTerminal::Print(const QString &text)
{
    Taskmill_WriteToStandardOutput(text);
}

void Taskmill_PlainTerminal::Interrupt()
{
    m_input.Interrupt();
}
