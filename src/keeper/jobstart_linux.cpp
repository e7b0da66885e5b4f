// SPDX-License-Identifier: MIT
#include "keeper/jobstart_linux.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <vector>

#include <fcntl.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
/// What the new process needs until it runs its program. It shares the memory of this one until then.
struct Plan
{
    pid_t keeper;
    const char *directory;
    int input;
    int output;
    int nice;
    rlim_t openFiles;
    char *const *arguments;
    char *const *environment;
    int error = 0;
    bool isDirectoryMissing = false;
};

/// Resets the signals to what the system gives a program by default.
void ResetSignals()
{
    struct sigaction usual
    {
    };
    usual.sa_handler = SIG_DFL;
    for (const int signal : {SIGPIPE, SIGXFSZ, SIGHUP, SIGINT, SIGQUIT})
        sigaction(signal, &usual, nullptr);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// To return ends the new process without anything else, as _exit() would.
int BecomeJob(void *data)
{
    constexpr int neverSeen = 127;
    Plan &plan = *static_cast<Plan *>(data);
    setsid();
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // The keeper may have ended before the line above took effect.
    if (getppid() != plan.keeper)
        return neverSeen;
    dup2(plan.input, STDIN_FILENO);
    dup2(plan.output, STDOUT_FILENO);
    dup2(plan.output, STDERR_FILENO);
    if (plan.nice != 0)
        setpriority(PRIO_PROCESS, 0, getpriority(PRIO_PROCESS, 0) + plan.nice);
    if (*plan.directory && chdir(plan.directory) != 0) {
        plan.error = errno;
        plan.isDirectoryMissing = true;
        return neverSeen;
    }
    if (plan.openFiles > 0) {
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = plan.openFiles;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    ResetSignals();
    execve(plan.arguments[0], plan.arguments, plan.environment);
    plan.error = errno;
    return neverSeen;
}

/// The opening of a pipe with a name would wait for its other end.
bool IsFileOrNull(int file)
{
    constexpr unsigned int memoryDevices = 1;
    constexpr unsigned int nullDevice = 3;
    struct stat status
    {
    };
    return fstat(file, &status) == 0 &&
           (S_ISREG(status.st_mode) ||
            (S_ISCHR(status.st_mode) && status.st_rdev == makedev(memoryDevices, nullDevice)));
}

/// -1, and the reason in errno.
int OpenFile(const char *path, int flags)
{
    constexpr mode_t everybodyAllowed = 0666;
    const int file = open(path, flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, everybodyAllowed);
    if (file >= 0 && !IsFileOrNull(file)) {
        close(file);
        errno = EINVAL;
        return -1;
    }
    if (file >= 0)
        fcntl(file, F_SETFL, 0);
    return file;
}

/// A new process that borrows this one's memory until it runs its program, which takes far less than a copy.
pid_t StartBorrowing(Plan &plan)
{
    alignas(16) static std::array<char, 64UL * 1024> stack;
    return clone(BecomeJob, stack.data() + stack.size(), CLONE_VM | CLONE_VFORK | SIGCHLD, &plan);
}

Taskmill_StartedJob Failed(int error, std::string_view file)
{
    return {.id = -1, .error = error, .failedFile = std::string{file}};
}

Taskmill_StartedJob StartWithFiles(const Taskmill_KeeperMessage &order, int input, int output)
{
    std::vector<const char *> arguments = order.Values("argument");
    std::vector<const char *> environment = order.Values("variable");
    if (arguments.empty())
        return Failed(EINVAL, {});
    arguments.push_back(nullptr);
    environment.push_back(nullptr);
    const std::string directory{order.Value("directory")};
    Plan plan{.keeper = getpid(),
              .directory = directory.c_str(),
              .input = input,
              .output = output,
              .nice = static_cast<int>(order.Number("nice", 0)),
              .openFiles = static_cast<rlim_t>(order.Number("files", 0)),
              .arguments = const_cast<char *const *>(arguments.data()),
              .environment = const_cast<char *const *>(environment.data())};
    const pid_t id = StartBorrowing(plan);
    if (id < 0)
        return Failed(errno, arguments.front());
    if (plan.error == 0)
        return {.id = id, .error = 0, .failedFile = {}};
    waitpid(id, nullptr, 0);
    return Failed(plan.error, plan.isDirectoryMissing ? directory : arguments.front());
}
} // namespace

Taskmill_StartedJob Taskmill_StartJob(const Taskmill_KeeperMessage &order, int output)
{
    const std::string inputPath{order.Value("input")};
    const std::string outputPath{order.Value("output")};
    const int input = OpenFile(inputPath.empty() ? "/dev/null" : inputPath.c_str(), O_RDONLY);
    if (input < 0)
        return Failed(errno, inputPath);
    int file = -1;
    if (!outputPath.empty())
        file = OpenFile(outputPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC);
    Taskmill_StartedJob job = !outputPath.empty() && file < 0
                                  ? Failed(errno, outputPath)
                                  : StartWithFiles(order, input, file < 0 ? output : file);
    close(input);
    if (file >= 0)
        close(file);
    return job;
}
