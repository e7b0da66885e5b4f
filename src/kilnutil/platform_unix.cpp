// SPDX-License-Identifier: MIT
#include "kilnutil/platform.h"

#include "kilnutil/logging.h"
#include "kilnutil/stringutil.h"

#include <QProcess>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
constexpr rlim_t wantedOpenFiles = 8192;

/// The leaders of the jobs' process groups; 0 marks a free place. Fixed, since another thread reads it.
std::array<std::atomic<pid_t>, 4096> registeredChildren;

rlimit openFilesAtStart{};
std::atomic<bool> openFilesRaised{false};

struct ProcessIds
{
    pid_t id = 0;
    pid_t parent = 0;
    pid_t group = 0;
    pid_t session = 0;
};

/// Reads /proc/N/stat: "N (name) S parent group session ...". The name may itself hold blanks and
/// parentheses.
ProcessIds ReadProcessIds(pid_t id)
{
    std::array<char, 512> text{};
    const int file = open(("/proc/" + std::to_string(id) + "/stat").c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return {};
    const ssize_t size = read(file, text.data(), text.size() - 1);
    close(file);
    const char *nameEnd = size > 0 ? std::strrchr(text.data(), ')') : nullptr;
    if (!nameEnd)
        return {};
    // The state is one letter between two blanks.
    char *next = text.data() + (nameEnd - text.data()) + std::min<size_t>(std::strlen(nameEnd), 3);
    ProcessIds ids{.id = id};
    for (pid_t *field : {&ids.parent, &ids.group, &ids.session})
        *field = static_cast<pid_t>(std::strtol(next, &next, 10));
    return ids;
}

std::vector<ProcessIds> ListProcessIds()
{
    std::vector<ProcessIds> processes;
    std::error_code error;
    for (std::filesystem::directory_iterator entry{"/proc", error}, end; !error && entry != end;
         entry.increment(error)) {
        const auto id = static_cast<pid_t>(std::atol(entry->path().filename().c_str()));
        if (id <= 1)
            continue;
        if (const ProcessIds ids = ReadProcessIds(id); ids.id != 0)
            processes.push_back(ids);
    }
    return processes;
}

/// Adds what belongs to the processes already in the tree: their children, and members of the roots' groups
/// or sessions.
bool GrowTree(std::set<pid_t> &tree, const std::vector<ProcessIds> &processes, const std::set<pid_t> &roots)
{
    bool grown = false;
    for (const ProcessIds &ids : processes) {
        if (ids.id == getpid() || tree.contains(ids.id))
            continue;
        if (roots.contains(ids.group) || roots.contains(ids.session) || tree.contains(ids.parent)) {
            tree.insert(ids.id);
            grown = true;
        }
    }
    return grown;
}

/// Whether a child of this program has ended, although nobody has asked for its exit status yet.
bool HasEnded(pid_t id)
{
    siginfo_t information{};
    return waitid(P_PID, static_cast<id_t>(id), &information, WEXITED | WNOHANG | WNOWAIT | __WALL) == 0 &&
           information.si_pid != 0;
}

void EndTrees(const std::set<pid_t> &roots, bool withRoots)
{
    // Stopped first, so that no program goes on to its next step because the step before it was ended.
    for (const pid_t root : roots)
        kill(-root, SIGSTOP);
    // Ended processes lose their children to process 1, so the trees are gathered before anything is ended;
    // the second round catches what those outside the stopped groups started meanwhile.
    for (int round = 0; round < 2; ++round) {
        const std::vector<ProcessIds> processes = ListProcessIds();
        std::set<pid_t> tree = roots;
        while (GrowTree(tree, processes, roots)) {
        }
        for (const pid_t id : tree) {
            if (!roots.contains(id))
                kill(id, SIGKILL);
        }
        if (tree.size() == roots.size())
            break;
    }
    if (withRoots) {
        for (const pid_t root : roots)
            kill(-root, SIGKILL);
    }
}
} // namespace

void KilnUtil_Platform::PrepareChild(QProcess &process, const QString &argumentText)
{
    process.setArguments(KilnUtil_String::MakeStringList(argumentText, true));
    process.setChildProcessModifier([] {
        setsid();
        // What this program ignores, its children would ignore too; of the broken pipe Qt takes care.
        std::signal(SIGXFSZ, SIG_DFL);
        if (openFilesRaised)
            setrlimit(RLIMIT_NOFILE, &openFilesAtStart);
    });
}

void KilnUtil_Platform::RegisterChild(qint64 processID)
{
    for (auto &place : registeredChildren) {
        pid_t free = 0;
        if (place.compare_exchange_strong(free, static_cast<pid_t>(processID)))
            return;
    }
    qCWarning(KilnUtil_UtilLog, "Too many running processes: %lld is not known to a forced end",
              static_cast<long long>(processID));
}

void KilnUtil_Platform::UnregisterChild(qint64 processID)
{
    for (auto &place : registeredChildren) {
        auto taken = static_cast<pid_t>(processID);
        if (place.compare_exchange_strong(taken, 0))
            return;
    }
}

void KilnUtil_Platform::KillDescendants(qint64 processID)
{
    if (processID > 1 && !HasEnded(static_cast<pid_t>(processID)))
        EndTrees({static_cast<pid_t>(processID)}, false);
}

void KilnUtil_Platform::KillProcessTree(qint64 processID)
{
    const auto root = static_cast<pid_t>(processID);
    if (root <= 1)
        return;
    // Of a process that has ended only its group can still be found.
    if (HasEnded(root))
        kill(-root, SIGKILL);
    else
        EndTrees({root}, true);
}

void KilnUtil_Platform::KillRegisteredChildren()
{
    std::set<pid_t> leaders;
    for (const auto &place : registeredChildren) {
        if (const pid_t leader = place.load(); leader > 1)
            leaders.insert(leader);
    }
    if (!leaders.empty())
        EndTrees(leaders, true);
}

void KilnUtil_Platform::RaiseOpenFilesLimit()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= wantedOpenFiles)
        return;
    openFilesAtStart = limit;
    limit.rlim_cur =
        limit.rlim_max == RLIM_INFINITY ? wantedOpenFiles : qMin(wantedOpenFiles, limit.rlim_max);
    openFilesRaised = setrlimit(RLIMIT_NOFILE, &limit) == 0;
}
