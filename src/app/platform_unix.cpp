// SPDX-License-Identifier: MIT
#include "app/platform.h"

#include "processes/processtree.h"
#include "processes/runkeepers.h"

#include <QFile>
#include <QSocketNotifier>
#include <QtGlobal>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr std::array terminationSignals{SIGINT, SIGTERM, SIGHUP};

std::array<int, 2> signalPipe{-1, -1};
std::array<int, 2> secondSignalPipe{-1, -1};
std::atomic<bool> signalSeen{false};
std::unique_ptr<QSocketNotifier> signalNotifier;

void HandleSignal(int signal)
{
    const int savedError = errno;
    const char byte = static_cast<char>(signal);
    [[maybe_unused]] const ssize_t written =
        write(signalSeen.exchange(true) ? secondSignalPipe[1] : signalPipe[1], &byte, 1);
    errno = savedError;
}

bool standardOutputWasClosed = false;

/// What TASKMILL_END_JOBS says.
std::optional<bool> endsJobs;

bool ChoosesPlatform(const QStringList &arguments)
{
    return arguments.contains("-platform"_L1) || !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

/// A thread's whole work: the main one may be held up for long, and no signal handler may look for processes.
void EndAtSecondSignal()
{
    // Signals are for the main thread, whose waiting they have to break.
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    char signal = 0;
    if (read(secondSignalPipe[0], &signal, 1) != 1)
        return;
    if (endsJobs.value_or(signal == SIGINT))
        KilnUtil_RunKeepers::EndRunsAtOnce();
    KilnUtil_ProcessTree::KillRegisteredChildren();
    std::signal(signal, SIG_DFL);
    kill(getpid(), signal);
}
} // namespace

void Taskmill_Platform::PrepareStandardStreams()
{
    standardOutputWasClosed = fcntl(STDOUT_FILENO, F_GETFD) == -1;
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        // The lowest free number is taken, so the streams are filled up in order.
        if (fcntl(stream, F_GETFD) == -1 && open("/dev/null", O_RDWR) != stream)
            return;
    }
    std::signal(SIGPIPE, SIG_IGN);
    // A file that may not grow any more is an error of the writing too: the jobs go on, and their project can
    // be saved elsewhere.
    std::signal(SIGXFSZ, SIG_IGN);
}

QString Taskmill_Platform::ExecutablePath()
{
    return QFile::symLinkTarget(u"/proc/self/exe"_s);
}

bool Taskmill_Platform::HasDisplay(const QStringList &arguments)
{
    return ChoosesPlatform(arguments) || !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

QByteArray Taskmill_Platform::PlatformsToTry(const QStringList &arguments)
{
    if (ChoosesPlatform(arguments))
        return {};
    QByteArray platforms;
    if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        qEnvironmentVariable("XDG_SESSION_TYPE") == "wayland"_L1)
        platforms += "wayland;";
    if (!qEnvironmentVariableIsEmpty("DISPLAY"))
        platforms += "xcb;";
    if (platforms.isEmpty())
        platforms += "wayland;";
    return platforms + "offscreen";
}

bool Taskmill_Platform::AttachToParentConsole()
{
    return true;
}

bool Taskmill_Platform::OpenConsole()
{
    return !standardOutputWasClosed;
}

void Taskmill_Platform::ReconnectStreams()
{
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    std::setvbuf(stdin, nullptr, _IONBF, 0);
    std::setvbuf(stderr, nullptr, _IONBF, 0);
}

void Taskmill_Platform::ReleaseConsole() {}

void Taskmill_Platform::EndAtOnce(int) {}

void Taskmill_Platform::CallOnTermination(const std::function<void(bool interrupted)> &quit)
{
    if (const QByteArray text = qgetenv("TASKMILL_END_JOBS"); text == "0" || text == "1")
        endsJobs = text == "1";
    if (pipe2(signalPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0 ||
        pipe2(secondSignalPipe.data(), O_CLOEXEC) != 0)
        return;
    // The thread waits until the program ends, in whatever way, so nobody joins it.
    std::thread{EndAtSecondSignal}.detach();
    signalNotifier = std::make_unique<QSocketNotifier>(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(signalNotifier.get(), &QSocketNotifier::activated, signalNotifier.get(), [quit] {
        signalNotifier->setEnabled(false);
        char signal = 0;
        quit(read(signalPipe[0], &signal, 1) == 1 && signal == SIGINT);
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
