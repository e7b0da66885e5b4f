// SPDX-License-Identifier: MIT
#include "keeper/processtree_linux.h"

#include "keeper/clock.h"
#include "wire/procstat_linux.h"
#include "wire/runrecord.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <ctime>
#include <string_view>

#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {
constexpr long long longestStopMs = 200;

std::string ReadFile(const std::string &path)
{
    std::string text;
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return text;
    std::array<char, 4096> piece;
    for (ssize_t size = 0; (size = read(file, piece.data(), piece.size())) > 0;)
        text.append(piece.data(), static_cast<std::size_t>(size));
    close(file);
    return text;
}

template <typename Number>
Number ToNumber(std::string_view text)
{
    Number number{};
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

std::string_view NextWord(std::string_view &text)
{
    text.remove_prefix(std::min(text.size(), text.find_first_not_of(" \n")));
    const std::string_view word = text.substr(0, text.find_first_of(" \n"));
    text.remove_prefix(word.size());
    return word;
}

std::string FolderOf(pid_t id)
{
    return "/proc/" + std::to_string(id);
}

/// The children of a process, found among all processes, where the kernel does not list them.
std::vector<pid_t> ChildrenInListing(pid_t parent)
{
    std::vector<pid_t> children;
    for (const pid_t id : Taskmill_ListProcesses()) {
        const std::optional<Taskmill_TreeProcess> process = Taskmill_ReadTreeProcess(id);
        if (process && process->parent == parent)
            children.push_back(id);
    }
    return children;
}

std::vector<pid_t> ChildrenOf(pid_t parent)
{
    static const bool hasLists = access("/proc/thread-self/children", R_OK) == 0;
    if (!hasLists)
        return ChildrenInListing(parent);
    std::vector<pid_t> children;
    const std::string tasks = FolderOf(parent) + "/task";
    for (const pid_t task : Taskmill_NumbersIn(tasks.c_str())) {
        const std::string list = ReadFile(tasks + '/' + std::to_string(task) + "/children");
        std::string_view rest = list;
        for (std::string_view word = NextWord(rest); !word.empty(); word = NextWord(rest))
            children.push_back(ToNumber<pid_t>(word));
    }
    return children;
}

bool IsSame(const Taskmill_TreeProcess &process)
{
    const std::optional<Taskmill_TreeProcess> now = Taskmill_ReadTreeProcess(process.id);
    return now && now->startTicks == process.startTicks;
}

void AppendDescendants(const Taskmill_TreeProcess &root, const std::set<pid_t> &except,
                       std::vector<Taskmill_TreeProcess> &processes)
{
    std::vector<Taskmill_TreeProcess> level{root};
    while (!level.empty()) {
        std::vector<Taskmill_TreeProcess> next;
        for (const Taskmill_TreeProcess &parent : level) {
            std::vector<Taskmill_TreeProcess> found;
            for (const pid_t id : ChildrenOf(parent.id)) {
                const std::optional<Taskmill_TreeProcess> child = Taskmill_ReadTreeProcess(id);
                if (child && child->parent == parent.id && !except.contains(id))
                    found.push_back(*child);
            }
            // When the parent has ended meanwhile, these may be the children of another process that has its
            // number now.
            if (IsSame(parent))
                next.insert(next.end(), found.begin(), found.end());
        }
        processes.insert(processes.end(), next.begin(), next.end());
        level = std::move(next);
    }
}

/// Through a handle of the process, so that a number that was given away meanwhile does no harm.
void Signal(const Taskmill_TreeProcess &process, int signal, int value = 0)
{
    siginfo_t info{};
    info.si_signo = signal;
    info.si_code = SI_QUEUE;
    info.si_pid = getpid();
    info.si_uid = getuid();
    info.si_value.sival_int = value;
    const int handle = static_cast<int>(syscall(SYS_pidfd_open, process.id, 0));
    if (handle < 0 && errno == ESRCH)
        return;
    if (IsSame(process)) {
        if (handle >= 0)
            syscall(SYS_pidfd_send_signal, handle, signal, value == 0 ? nullptr : &info, 0);
        else
            kill(process.id, signal);
    }
    if (handle >= 0)
        close(handle);
}

/// The process when it has one of those run ids in its environment.
std::optional<Taskmill_TreeProcess> ProcessOfRuns(pid_t id, const std::set<std::string> &runIDs)
{
    const std::string name = '\0' + std::string{Taskmill_RunVariable} + '=';
    const std::optional<Taskmill_TreeProcess> process = Taskmill_ReadTreeProcess(id);
    const std::string environment = '\0' + ReadFile(FolderOf(id) + "/environ");
    const std::size_t place = environment.find(name);
    const bool isOne = process && !process->HasEnded() && place != std::string::npos &&
                       runIDs.contains(std::string{environment.c_str() + place + name.size()}) &&
                       IsSame(*process);
    return isOne ? process : std::nullopt;
}

/// Whether the process can start another one as soon as it is left alone. One in an uninterruptible wait has
/// the signal before it does anything else, and the parent in a vfork waits for a child that is stopped.
bool CanGoOn(const Taskmill_TreeProcess &process)
{
    return process.state == 'R' || process.state == 'S';
}
} // namespace

std::optional<Taskmill_TreeProcess> Taskmill_ReadTreeProcess(pid_t id)
{
    const Taskmill_ProcStat stat = Taskmill_ReadProcStat(id);
    if (stat.parent < 0)
        return std::nullopt;
    return Taskmill_TreeProcess{
        .id = id, .parent = stat.parent, .state = stat.state, .startTicks = stat.startTicks};
}

std::vector<Taskmill_TreeProcess> Taskmill_Descendants(pid_t root, const std::set<pid_t> &except)
{
    std::vector<Taskmill_TreeProcess> processes;
    if (const std::optional<Taskmill_TreeProcess> process = Taskmill_ReadTreeProcess(root))
        AppendDescendants(*process, except, processes);
    return processes;
}

std::vector<Taskmill_TreeProcess> Taskmill_ProcessesOfRuns(const std::set<std::string> &runIDs)
{
    std::vector<Taskmill_TreeProcess> processes;
    for (const pid_t id : Taskmill_ListProcesses()) {
        if (const std::optional<Taskmill_TreeProcess> process = ProcessOfRuns(id, runIDs)) {
            processes.push_back(*process);
            AppendDescendants(*process, {}, processes);
        }
    }
    return processes;
}

bool Taskmill_StopPassingProcessesOfRuns(const std::set<std::string> &runIDs)
{
    constexpr int quietRounds = 20;
    constexpr timespec pause{.tv_sec = 0, .tv_nsec = 200'000};
    const long long end = Taskmill_SteadyClockMs() + longestStopMs;
    std::set<pid_t> known;
    bool isAnyStopped = false;
    for (int quiet = 0; quiet < quietRounds && Taskmill_SteadyClockMs() < end; ++quiet) {
        for (const pid_t id : Taskmill_ListProcesses()) {
            if (!known.insert(id).second)
                continue;
            if (const std::optional<Taskmill_TreeProcess> process = ProcessOfRuns(id, runIDs)) {
                Signal(*process, SIGSTOP);
                isAnyStopped = true;
                quiet = 0;
            }
        }
        nanosleep(&pause, nullptr);
    }
    return isAnyStopped;
}

std::vector<Taskmill_TreeProcess> Taskmill_StopAll(const Taskmill_ProcessLister &list)
{
    constexpr timespec pause{.tv_sec = 0, .tv_nsec = 200'000};
    std::set<pid_t> stopped;
    for (const long long end = Taskmill_SteadyClockMs() + longestStopMs;;) {
        std::vector<Taskmill_TreeProcess> processes = list();
        bool isQuiet = true;
        for (const Taskmill_TreeProcess &process : processes) {
            if (process.HasEnded())
                continue;
            if (stopped.insert(process.id).second) {
                Signal(process, SIGSTOP);
                isQuiet = false;
            } else if (CanGoOn(process)) {
                isQuiet = false;
            }
        }
        if (isQuiet || Taskmill_SteadyClockMs() > end)
            return processes;
        nanosleep(&pause, nullptr);
    }
}

void Taskmill_SignalAll(const std::vector<Taskmill_TreeProcess> &processes, int signal, int value)
{
    for (const Taskmill_TreeProcess &process : processes) {
        if (!process.HasEnded())
            Signal(process, signal, value);
    }
}
