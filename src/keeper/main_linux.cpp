// SPDX-License-Identifier: MIT
#include "keeper/clock.h"
#include "keeper/nursery_linux.h"

#include <csignal>
#include <cstdio>
#include <ctime>

#include <fcntl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
constexpr unsigned int firstFile = 3;

/// The manager waits for this process alone, and is not the parent of what goes on.
bool LeaveManager()
{
    const pid_t child = fork();
    if (child > 0)
        _exit(0);
    return child == 0 && setsid() > 0;
}

/// Takes the connection from standard input, in whose place the null device is from then on.
Taskmill_KeeperChannel TakeConnection()
{
    Taskmill_KeeperChannel manager{fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, static_cast<int>(firstFile))};
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    if (null < 0)
        return {};
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        dup2(null, standard);
    close(null);
    return manager;
}

/// A disk that is full or a manager that is gone end nothing here, and what a terminal sends is not meant.
int TakeSignals()
{
    for (const int signal : {SIGPIPE, SIGXFSZ, SIGHUP, SIGINT, SIGQUIT})
        std::signal(signal, SIG_IGN);
    std::signal(SIGCHLD, SIG_DFL);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGCHLD);
    sigaddset(&signals, SIGTERM);
    sigprocmask(SIG_SETMASK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC);
}

/// In a process of its own, so that the memory that it takes is not every keeper's, and that nothing in there
/// can hold up what is to be started: a process in an uninterruptible wait stays until that is over. The
/// number of that process when it is still at work.
pid_t SweepLostRuns(Taskmill_KeeperChannel &manager)
{
    constexpr long long longestMs = 2000;
    constexpr timespec pause{.tv_sec = 0, .tv_nsec = 1'000'000};
    const pid_t child = fork();
    if (child == 0) {
        manager.Close();
        Taskmill_SweepLostRuns();
        _exit(0);
    }
    const long long end = Taskmill_SteadyClockMs() + longestMs;
    while (child > 0 && waitpid(child, nullptr, WNOHANG) == 0) {
        if (Taskmill_SteadyClockMs() >= end)
            return child;
        nanosleep(&pause, nullptr);
    }
    return 0;
}
} // namespace

/// taskmill-keeper FOLDER, with a connection to the manager as its standard input.
int main(int argc, char **argv)
{
    if (argc != 2 || chdir(argv[1]) != 0) {
        std::fputs("This program is started by Taskmill.\n", stderr);
        return 2;
    }
    close_range(firstFile, ~0U, 0);
    if (!LeaveManager())
        return 1;
    Taskmill_KeeperChannel manager = TakeConnection();
    const int signals = TakeSignals();
    if (!manager.IsOpen() || signals < 0)
        return 1;
    const pid_t sweep = SweepLostRuns(manager);
    return Taskmill_KeeperNursery{std::move(manager), signals, sweep}.Run();
}
