#include "app/platform.h"

#include "kilnutil/platform.h"

#include <QSocketNotifier>
#include <QtGlobal>

#include <array>
#include <csignal>
#include <cstdio>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr std::array terminationSignals{SIGINT, SIGTERM, SIGHUP};

std::array<int, 2> signalPipe{-1, -1};
volatile std::sig_atomic_t signalSeen = 0;
std::unique_ptr<QSocketNotifier> signalNotifier;

void HandleSignal(int signal)
{
    if (signalSeen) {
        KilnUtil_Platform::KillRegisteredChildren();
        std::signal(signal, SIG_DFL);
        raise(signal);
        return;
    }
    signalSeen = 1;
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(signalPipe[1], &byte, 1);
}
} // namespace

bool Taskmill_Platform::HasDisplay(const QStringList &arguments)
{
    return arguments.contains("-platform"_L1) || qEnvironmentVariableIsSet("DISPLAY") ||
           qEnvironmentVariableIsSet("WAYLAND_DISPLAY") || qEnvironmentVariableIsSet("QT_QPA_PLATFORM");
}

bool Taskmill_Platform::AttachToParentConsole()
{
    return true;
}

bool Taskmill_Platform::OpenConsole()
{
    return fcntl(STDOUT_FILENO, F_GETFD) != -1;
}

void Taskmill_Platform::ReconnectStreams()
{
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    std::setvbuf(stdin, nullptr, _IONBF, 0);
    std::setvbuf(stderr, nullptr, _IONBF, 0);
}

void Taskmill_Platform::ReleaseConsole() {}

void Taskmill_Platform::CallOnTermination(const std::function<void()> &quit)
{
    if (pipe2(signalPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    signalNotifier = std::make_unique<QSocketNotifier>(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(signalNotifier.get(), &QSocketNotifier::activated, signalNotifier.get(), [quit] {
        signalNotifier->setEnabled(false);
        quit();
    });
    for (const int signal : terminationSignals) {
        struct sigaction action
        {
        };
        sigaction(signal, nullptr, &action);
        if (action.sa_handler == SIG_IGN)
            continue;
        action.sa_handler = HandleSignal;
        action.sa_flags = SA_RESTART;
        sigaction(signal, &action, nullptr);
    }
}

void Taskmill_Platform::StopCallingOnTermination()
{
    signalNotifier.reset();
}
