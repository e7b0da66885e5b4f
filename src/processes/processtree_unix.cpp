// SPDX-License-Identifier: MIT
#include "processes/processtree.h"

#include "kilnutil/logging.h"
#include "kilnutil/openfileslimit.h"
#include "kilnutil/stringutil.h"
#include "processes/procfiles_linux.h"
#include "wire/procstat_linux.h"

#include <QProcess>

#include <array>
#include <atomic>
#include <csignal>
#include <set>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
/// The leaders of the jobs' process groups; 0 marks a free place. Fixed, since another thread reads it.
std::array<std::atomic<pid_t>, 4096> registeredChildren;

struct ProcessIds
{
    pid_t id = 0;
    pid_t parent = 0;
    pid_t group = 0;
    pid_t session = 0;
};

std::vector<ProcessIds> ListProcessIds()
{
    std::vector<ProcessIds> processes;
    for (const pid_t id : Taskmill_ListProcesses()) {
        const Taskmill_ProcStat stat = Taskmill_ReadProcStat(id);
        if (id > 1 && stat.parent >= 0)
            processes.push_back(
                {.id = id, .parent = stat.parent, .group = stat.group, .session = stat.session});
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

void KilnUtil_ProcessTree::PrepareChild(QProcess &process, const QString &argumentText, bool hasLowPriority)
{
    process.setArguments(KilnUtil_String::MakeStringList(argumentText, true));
    process.setChildProcessModifier([hasLowPriority] {
        setsid();
        if (hasLowPriority)
            setpriority(PRIO_PROCESS, 0, getpriority(PRIO_PROCESS, 0) + LowPriorityNice);
        // What this program ignores, its children would ignore too; of the broken pipe Qt takes care.
        std::signal(SIGXFSZ, SIG_DFL);
        KilnUtil_RestoreOpenFilesLimit();
    });
}

void KilnUtil_ProcessTree::RegisterChild(qint64 processID)
{
    for (auto &place : registeredChildren) {
        pid_t free = 0;
        if (place.compare_exchange_strong(free, static_cast<pid_t>(processID)))
            return;
    }
    qCWarning(Taskmill_ProcessesLog, "Too many running processes: %lld is not known to a forced end",
              static_cast<long long>(processID));
}

void KilnUtil_ProcessTree::UnregisterChild(qint64 processID)
{
    for (auto &place : registeredChildren) {
        auto taken = static_cast<pid_t>(processID);
        if (place.compare_exchange_strong(taken, 0))
            return;
    }
}

void KilnUtil_ProcessTree::KillDescendants(qint64 processID)
{
    if (processID > 1 && !HasEnded(static_cast<pid_t>(processID)))
        EndTrees({static_cast<pid_t>(processID)}, false);
}

void KilnUtil_ProcessTree::KillProcessTree(qint64 processID)
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

void KilnUtil_ProcessTree::KillRegisteredChildren()
{
    std::set<pid_t> leaders;
    for (const auto &place : registeredChildren) {
        if (const pid_t leader = place.load(); leader > 1)
            leaders.insert(leader);
    }
    if (!leaders.empty())
        EndTrees(leaders, true);
}
