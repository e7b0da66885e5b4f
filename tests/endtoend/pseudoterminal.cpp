#include "endtoend/pseudoterminal.h"

#include <QProcess>

#include <array>
#include <cstdlib>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace {
constexpr winsize windowSize{.ws_row = 50, .ws_col = 200, .ws_xpixel = 0, .ws_ypixel = 0};
}

PseudoTerminal::PseudoTerminal()
    : m_master{posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)}
{
    if (m_master < 0 || grantpt(m_master) != 0 || unlockpt(m_master) != 0)
        qFatal("no pseudo-terminal can be opened");
    m_slave = open(ptsname(m_master), O_RDWR | O_NOCTTY | O_CLOEXEC);
    ioctl(m_slave, TIOCSWINSZ, &windowSize);
    m_notifier = std::make_unique<QSocketNotifier>(m_master, QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &PseudoTerminal::ReadSlot);
}

PseudoTerminal::~PseudoTerminal()
{
    HangUp();
    close(m_slave);
}

void PseudoTerminal::Attach(QProcess &process) const
{
    process.setInputChannelMode(QProcess::ForwardedInputChannel);
    process.setChildProcessModifier([slave = m_slave] {
        setsid();
        ioctl(slave, TIOCSCTTY, 0);
        dup2(slave, STDIN_FILENO);
        dup2(slave, STDOUT_FILENO);
    });
}

void PseudoTerminal::Type(const QByteArray &bytes) const
{
    if (write(m_master, bytes.constData(), static_cast<size_t>(bytes.size())) != bytes.size())
        qFatal("the pseudo-terminal does not take what is typed");
}

void PseudoTerminal::HangUp()
{
    m_notifier.reset();
    if (m_master >= 0)
        close(std::exchange(m_master, -1));
}

bool PseudoTerminal::IsInItsNormalMode() const
{
    constexpr tcflag_t normal = ECHO | ICANON | ISIG;
    termios mode{};
    return tcgetattr(m_slave, &mode) == 0 && (mode.c_lflag & normal) == normal;
}

void PseudoTerminal::ReadSlot()
{
    std::array<char, 4096> bytes{};
    const ssize_t count = read(m_master, bytes.data(), bytes.size());
    if (count > 0)
        Q_EMIT OutputSignal(QByteArray{bytes.data(), static_cast<qsizetype>(count)});
    else
        m_notifier->setEnabled(false);
}
