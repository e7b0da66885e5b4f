// SPDX-License-Identifier: MIT
// A job that does what it can to outlive its end: hostilejob FOLDER [keepenvironment]. Its twelve processes
// have FOLDER as their directory, which is how a test finds them, and each makes a file there when it is
// ready.

#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace {
constexpr int processes = 12;
// Nobody may be left who ends them when a test was broken off.
constexpr unsigned lifeSeconds = 120;
const std::time_t endOfLife = std::time(nullptr) + lifeSeconds;

void MarkReady(int number)
{
    const int file = open(("ready" + std::to_string(number)).c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
    close(file);
}

void IgnoreEverything()
{
    for (const int signal : {SIGTERM, SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGCHLD})
        std::signal(signal, SIG_IGN);
}

[[noreturn]] void Linger()
{
    alarm(lifeSeconds);
    for (;;)
        pause();
}

/// A new process every millisecond, each the child of one that has just ended.
[[noreturn]] void Hop()
{
    constexpr timespec pause{.tv_sec = 0, .tv_nsec = 1'000'000};
    while (std::time(nullptr) < endOfLife) {
        nanosleep(&pause, nullptr);
        if (fork() > 0)
            _exit(0);
    }
    _exit(0);
}

/// Becomes one of the twelve; each is hidden in another way.
[[noreturn]] void Hide(int number, bool keepsEnvironment)
{
    if (number % 2 == 0)
        setsid();
    if (number % 3 == 0)
        close_range(0, ~0U, 0);
    if (number % 4 != 0 && fork() > 0)
        _exit(0);
    const std::string text = std::to_string(number);
    const char *arguments[] = {"hostilejob", "hidden", text.c_str(), nullptr};
    const char *nothing[] = {nullptr};
    if (!keepsEnvironment && number % 5 == 0)
        execve("/proc/self/exe", const_cast<char **>(arguments), const_cast<char **>(nothing));
    MarkReady(number);
    if (number % 6 == 5)
        Hop();
    Linger();
}
} // namespace

int main(int argc, char **argv)
{
    IgnoreEverything();
    if (argc == 3 && std::strcmp(argv[1], "hidden") == 0) {
        MarkReady(std::stoi(argv[2]));
        Linger();
    }
    if (argc < 2 || chdir(argv[1]) != 0)
        return 2;
    for (int number = 1; number < processes; ++number) {
        if (fork() == 0)
            Hide(number, argc > 2);
    }
    MarkReady(0);
    Linger();
}
