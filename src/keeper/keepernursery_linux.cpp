// SPDX-License-Identifier: MIT
#include "keeper/keepernursery_linux.h"

#include "keeper/clock.h"
#include "keeper/keepersystem_linux.h"
#include "keeper/processtree_linux.h"
#include "wire/bootid.h"
#include "wire/runjournals.h"
#include "wire/runlocks.h"
#include "wire/runrecord.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <ctime>

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
/// One that is used again costs no fork. Its journal stays as long as it does.
constexpr int mostRunsOfKeeper = 128;
/// A new journal is begun then, so that old ones can be removed.
constexpr int mostStartsInJournal = 5000;
/// Between two looks at what a killed keeper has left.
constexpr int lookAgainMs = 10;
/// How much of what was recorded a loss of power may take away. To store each line at once would make the
/// start of a short job ten times as long.
constexpr long long storeWithinMs = 1000;
/// How long a run that is lost keeps its place for the sake of a process in an uninterruptible wait.
constexpr long long longestWaitMs = 5000;

/// The connection of a keeper that is killed may close a moment before its lock is given back, and as long as
/// that is held its run is not lost.
void WaitForEndOfKeeper(const std::string &runID)
{
    constexpr long long longestMs = 5000;
    constexpr timespec pause{.tv_sec = 0, .tv_nsec = 1'000'000};
    const long long end = Taskmill_SteadyClockMs() + longestMs;
    while (Taskmill_IsKeeperAlive(".", runID) && Taskmill_SteadyClockMs() < end)
        nanosleep(&pause, nullptr);
}
} // namespace

Taskmill_KeeperNursery::Taskmill_KeeperNursery(Taskmill_KeeperChannel manager, int signals, pid_t sweep)
    : m_manager{std::move(manager)}
    , m_signals{signals}
    , m_appended{eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)}
    , m_bootID{Taskmill_BootID()}
{
    if (sweep > 0)
        m_helpers.emplace(sweep, std::string{});
}

int Taskmill_KeeperNursery::Run()
{
    // Programs that remove old files pass over a folder that is locked, and all below it: in /var/tmp the
    // files of a long calculation look old. The keeper that comes of this process has the lock, too.
    const int folder = open("..", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0)
        flock(folder, LOCK_SH | LOCK_NB);
    // What a keeper leaves that was killed becomes a child of this process.
    if (prctl(PR_SET_CHILD_SUBREAPER, 1) != 0 || m_appended < 0 || !OpenJournal())
        return 1;
    // Removes what nobody needs any more, while runs start already.
    DoAside({}, [] { Taskmill_RunJournals{"."}.Tidy(); });
    Taskmill_KeeperMessage ready{Taskmill_ReadyWord};
    ready.Add("pid", getpid());
    m_manager.Send(ready);
    while (!m_isKeeper && (m_manager.IsOpen() || !m_keepers.empty() || !m_lostRuns.empty())) {
        WaitForSomething();
        if (m_isKeeper)
            break;
        ReadSignals();
        EndLostRuns();
        StoreJournalWhenDue();
    }
    eventfd_t appended = 0;
    if (!m_isKeeper && eventfd_read(m_appended, &appended) == 0)
        fdatasync(m_journal);
    return 0;
}

bool Taskmill_KeeperNursery::OpenJournal()
{
    constexpr mode_t ownerOnly = 0600;
    // Whoever tidies up takes a journal for an old one while nobody has locked it.
    const Taskmill_ClaimLock tidying{"."};
    const int journal = open(("journal/" + Taskmill_NewRunID()).c_str(),
                             O_RDWR | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, ownerOnly);
    // Shared with the keepers: it ends with the last of them.
    struct flock lock
    {
    };
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    if (journal < 0 || fcntl(journal, F_OFD_SETLK, &lock) != 0)
        return false;
    if (m_journal >= 0) {
        fdatasync(m_journal);
        close(m_journal);
    }
    m_journal = journal;
    m_startsInJournal = 0;
    return true;
}

void Taskmill_KeeperNursery::WaitForSomething()
{
    std::array<pollfd, 3> waits{{{.fd = m_signals, .events = POLLIN, .revents = 0},
                                 {.fd = static_cast<int>(m_manager.Get()), .events = POLLIN, .revents = 0},
                                 {.fd = m_storeAt == 0 ? m_appended : -1, .events = POLLIN, .revents = 0}}};
    if (poll(waits.data(), waits.size(), WaitMs()) <= 0)
        return;
    if (waits[1].revents != 0)
        ReadManager();
    if (waits[2].revents != 0 && !m_isKeeper)
        m_storeAt = Taskmill_SteadyClockMs() + storeWithinMs;
}

int Taskmill_KeeperNursery::WaitMs() const
{
    if (!m_lostRuns.empty())
        return lookAgainMs;
    return m_storeAt == 0 ? -1 : static_cast<int>(std::max(0LL, m_storeAt - Taskmill_SteadyClockMs()));
}

void Taskmill_KeeperNursery::StoreJournalWhenDue()
{
    if (m_storeAt == 0 || Taskmill_SteadyClockMs() < m_storeAt)
        return;
    m_storeAt = 0;
    eventfd_t ignored = 0;
    eventfd_read(m_appended, &ignored);
    // No start waits for a slow disk.
    DoAside({}, [this] { fdatasync(m_journal); });
}

template <typename Work>
void Taskmill_KeeperNursery::DoAside(const std::string &runID, const Work &work)
{
    const pid_t child = fork();
    if (child == 0) {
        // The work may take long, and a connection that stays open would hide from the manager that this
        // process is gone.
        m_manager.Close();
        work();
        _exit(0);
    }
    if (child > 0)
        m_helpers.emplace(child, runID);
}

void Taskmill_KeeperNursery::ReadSignals()
{
    signalfd_siginfo signal{};
    while (read(m_signals, &signal, sizeof signal) == static_cast<ssize_t>(sizeof signal)) {
        if (signal.ssi_signo != SIGTERM)
            continue;
        m_isEnding = true;
        for (const auto &[keeper, runID] : m_keepers)
            kill(keeper, SIGTERM);
    }
    ReapAll();
    if (m_isEnding && m_keepers.empty() && m_lostRuns.empty())
        m_manager.Close();
}

void Taskmill_KeeperNursery::ReapAll()
{
    int status = 0;
    for (pid_t child = 0; (child = waitpid(-1, &status, WNOHANG)) > 0;)
        Reap(child, !WIFEXITED(status) || WEXITSTATUS(status) != 0);
}

void Taskmill_KeeperNursery::Reap(pid_t child, bool hasCrashed)
{
    if (const auto helper = m_helpers.find(child); helper != m_helpers.end()) {
        if (!helper->second.empty())
            ReportSwept(helper->second);
        m_helpers.erase(helper);
    }
    const auto keeper = m_keepers.find(child);
    if (keeper == m_keepers.end())
        return;
    if (hasCrashed) {
        m_lostRuns.push_back(keeper->second);
        m_lostAt = Taskmill_SteadyClockMs();
    }
    m_keepers.erase(keeper);
}

void Taskmill_KeeperNursery::EndLostRuns()
{
    if (m_lostRuns.empty())
        return;
    // A keeper that ends in order leaves no processes, so every child but these helpers and keepers belongs
    // to a lost run.
    std::set<pid_t> own;
    for (const auto *processes : {&m_keepers, &m_helpers}) {
        for (const auto &[process, runID] : *processes)
            own.insert(process);
    }
    const auto left = [&own] {
        return Taskmill_Descendants(getpid(), own);
    };
    Taskmill_SignalAll(Taskmill_StopAll(left), SIGKILL);
    ReapAll();
    // A run that became lost meanwhile shows in the next round. A process in an uninterruptible wait ends
    // when that is over, and does nothing before that.
    const std::vector<Taskmill_TreeProcess> remaining = left();
    const bool isWaitLong = Taskmill_SteadyClockMs() >= m_lostAt + longestWaitMs;
    if (!std::ranges::all_of(remaining, [isWaitLong](const Taskmill_TreeProcess &process) {
            return isWaitLong && process.state == 'D';
        }))
        return;
    for (const std::string &runID : m_lostRuns)
        ReportSwept(runID);
    m_lostRuns.clear();
}

void Taskmill_KeeperNursery::ReportSwept(const std::string &runID) const
{
    Taskmill_KeeperChannel::StopListening(".", runID);
    Taskmill_KeeperMessage message{Taskmill_SweptWord};
    message.Add("run", runID);
    if (m_manager.IsOpen())
        m_manager.Send(message);
}

void Taskmill_KeeperNursery::SweepFor(const std::string &runID)
{
    DoAside(runID, [&runID] {
        WaitForEndOfKeeper(runID);
        Taskmill_SweepLostRuns(runID);
    });
}

void Taskmill_KeeperNursery::ReadManager()
{
    for (;;) {
        std::optional<Taskmill_KeeperMessage> message;
        std::vector<int> files;
        if (m_manager.Receive(message, &files) == Taskmill_KeeperChannel::State::Ended) {
            m_manager.Close();
            return;
        }
        if (!message)
            return;
        if (message->Word() == Taskmill_SweepWord)
            SweepFor(std::string{message->Value("run")});
        constexpr std::size_t filesOfOrder = 2;
        if (message->Word() == Taskmill_StartWord && files.size() == filesOfOrder && !m_isEnding) {
            TakeOrder(std::move(*message), Taskmill_KeeperChannel{files[0]}, files[1]);
        } else {
            for (const int file : files)
                close(file);
        }
        if (m_isKeeper)
            return;
    }
}

void Taskmill_KeeperNursery::TakeOrder(Taskmill_KeeperMessage order, Taskmill_KeeperChannel manager, int lock)
{
    if (m_startsInJournal >= mostStartsInJournal)
        static_cast<void>(OpenJournal());
    m_startsInJournal += mostRunsOfKeeper;
    const pid_t keeper = fork();
    if (keeper == 0) {
        BecomeKeeper(std::move(order), std::move(manager), lock);
        return;
    }
    if (keeper > 0) {
        m_keepers.emplace(keeper, order.Value("run"));
    } else {
        const int error = errno;
        Taskmill_RunRecord record{Taskmill_RunRecord::Kind::End, order.Value("run")};
        record.end.how = Taskmill_RunEnd::How::NotStarted;
        record.end.code = error;
        Taskmill_KeeperMessage message{Taskmill_EndWord};
        message.Add("record", record.ToLine());
        manager.Send(message);
    }
    close(lock);
}

void Taskmill_KeeperNursery::BecomeKeeper(Taskmill_KeeperMessage order, Taskmill_KeeperChannel manager,
                                          int lock)
{
    m_isKeeper = true;
    m_manager.Close();
    std::optional<Taskmill_KeeperMessage> next{std::move(order)};
    for (int runs = 1; next; ++runs) {
        std::vector<int> none;
        if (next->Number("waits", 0) != 0 && !WaitForWord(manager, Taskmill_GoWord, none)) {
            close(lock);
            return;
        }
        next->Add("boot", m_bootID);
        next->Add("more", runs < mostRunsOfKeeper ? 1 : 0);
        Taskmill_Keeper keeper{std::move(*next),
                               std::move(manager),
                               {.lock = lock,
                                .journal = m_journal,
                                .signals = m_signals,
                                .appended = m_appended,
                                .pipe = -1,
                                .waits = {}}};
        keeper.Run();
        manager = keeper.TakeManager();
        next = WaitForOrder(manager, lock);
    }
}

std::optional<Taskmill_KeeperMessage>
Taskmill_KeeperNursery::WaitForOrder(const Taskmill_KeeperChannel &manager, int &lock) const
{
    std::vector<int> files;
    std::optional<Taskmill_KeeperMessage> order = WaitForWord(manager, Taskmill_StartWord, files);
    if (order && files.size() != 1)
        order.reset();
    if (order)
        lock = files.front();
    return order;
}

std::optional<Taskmill_KeeperMessage>
Taskmill_KeeperNursery::WaitForWord(const Taskmill_KeeperChannel &manager, std::string_view word,
                                    std::vector<int> &files) const
{
    while (manager.IsOpen()) {
        std::array<pollfd, 2> waits{
            {{.fd = m_signals, .events = POLLIN, .revents = 0},
             {.fd = static_cast<int>(manager.Get()), .events = POLLIN, .revents = 0}}};
        poll(waits.data(), waits.size(), -1);
        signalfd_siginfo signal{};
        while (read(m_signals, &signal, sizeof signal) == static_cast<ssize_t>(sizeof signal)) {
            if (signal.ssi_signo == SIGTERM)
                return std::nullopt;
        }
        std::optional<Taskmill_KeeperMessage> message;
        files.clear();
        if (manager.Receive(message, &files) == Taskmill_KeeperChannel::State::Ended)
            return std::nullopt;
        if (message && message->Word() == word)
            return message;
        for (const int file : files)
            close(file);
    }
    return std::nullopt;
}
