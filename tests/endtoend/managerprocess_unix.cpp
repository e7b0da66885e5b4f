// SPDX-License-Identifier: MIT
#include "endtoend/managerprocess.h"

#include <QSocketNotifier>

#include <array>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

/// The other side of a terminal in which a program runs: what it writes appears here, what is typed here it
/// reads.
struct PseudoTerminal
{
    int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    int slave = -1; ///< kept open, so that the mode can be asked when the program has ended
    std::unique_ptr<QSocketNotifier> notifier;

    PseudoTerminal()
    {
        if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0)
            qFatal("no pseudo-terminal can be opened");
        slave = open(ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC);
        constexpr winsize windowSize{.ws_row = 50, .ws_col = 200, .ws_xpixel = 0, .ws_ypixel = 0};
        ioctl(slave, TIOCSWINSZ, &windowSize);
        notifier = std::make_unique<QSocketNotifier>(master, QSocketNotifier::Read);
    }
    ~PseudoTerminal()
    {
        HangUp();
        close(slave);
    }
    Q_DISABLE_COPY_MOVE(PseudoTerminal)

    void HangUp()
    {
        notifier.reset();
        if (master >= 0)
            close(std::exchange(master, -1));
    }
};

void ManagerProcess::PrepareInput()
{
    if (m_input == Input::NullDevice)
        m_process->setStandardInputFile(QProcess::nullDevice());
    if (m_input != Input::Terminal)
        return;
    m_terminal = std::make_shared<PseudoTerminal>();
    // It leads a session of its own, with this as its controlling terminal.
    m_process->setInputChannelMode(QProcess::ForwardedInputChannel);
    m_process->setChildProcessModifier([slave = m_terminal->slave] {
        setsid();
        ioctl(slave, TIOCSCTTY, 0);
        dup2(slave, STDIN_FILENO);
        dup2(slave, STDOUT_FILENO);
    });
    QSocketNotifier *notifier = m_terminal->notifier.get();
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [this, notifier] {
        std::array<char, 4096> bytes{};
        const ssize_t count = read(m_terminal->master, bytes.data(), bytes.size());
        if (count > 0)
            m_output.append(bytes.data(), count);
        else
            notifier->setEnabled(false);
    });
}

void ManagerProcess::Type(const QByteArray &bytes)
{
    if (!m_terminal)
        m_process->write(bytes);
    else if (write(m_terminal->master, bytes.constData(), static_cast<size_t>(bytes.size())) != bytes.size())
        qFatal("the pseudo-terminal does not take what is typed");
}

void ManagerProcess::HangUp()
{
    m_terminal->HangUp();
}

bool ManagerProcess::IsTerminalInItsNormalMode() const
{
    constexpr tcflag_t normal = ECHO | ICANON | ISIG;
    termios mode{};
    return tcgetattr(m_terminal->slave, &mode) == 0 && (mode.c_lflag & normal) == normal;
}

void ManagerProcess::Signal(int signal) const
{
    kill(ProcessID(), signal);
}
