// SPDX-License-Identifier: MIT
#include "keeper/keeper_linux.h"

#include "keeper/clock_linux.h"
#include "keeper/jobstart_linux.h"
#include "keeper/processtree_linux.h"

#include <algorithm>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
/// Between two tries to record an end on a full disk.
constexpr long long retryMs = 1000;
/// Between two rounds of SIGKILL, and how long they go on before what remains is reported.
constexpr long long forceAgainMs = 20;
constexpr long long complainMs = 5000;

std::vector<Taskmill_TreeProcess> Tree()
{
    return Taskmill_Descendants(getpid());
}

/// When a system is shut down, the run may get its SIGTERM before its keeper does.
bool IsSystemEnding()
{
    constexpr timespec wait{.tv_sec = 0, .tv_nsec = 100'000'000};
    sigset_t end;
    sigemptyset(&end);
    sigaddset(&end, SIGTERM);
    return sigtimedwait(&end, nullptr, &wait) == SIGTERM;
}

long long Microseconds(const timeval &time)
{
    return time.tv_sec * 1'000'000LL + time.tv_usec;
}
} // namespace

Taskmill_Keeper::Taskmill_Keeper(Taskmill_KeeperMessage order, Taskmill_KeeperChannel manager, int lock,
                                 int journal, int signals)
    : m_order{std::move(order)}
    , m_runID{m_order.Value("run")}
    , m_owner{m_order.Value("owner")}
    , m_manager{std::move(manager)}
    , m_journal{journal}
    , m_signals{signals}
    , m_lock{lock}
    , m_output{"out/" + m_runID}
{
}

Taskmill_Keeper::~Taskmill_Keeper()
{
    StopListening();
    for (const int file : {m_lock, m_pipe}) {
        if (file >= 0)
            close(file);
    }
}

void Taskmill_Keeper::Run()
{
    m_end.startMs = Taskmill_WallClockMs();
    Start();
    while (!m_isRecorded || m_hasChildren) {
        WaitForSomething();
        ReadSignals();
        ForceAgainWhenDue();
        RecordEndWhenDue();
    }
    ReadRestOfOutput();
}

void Taskmill_Keeper::Start()
{
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    // Before the program starts, and not without it: who finds this line without an end knows that the run is
    // lost, and who finds no line that it was never started.
    Taskmill_RunRecord record{Taskmill_RunRecord::Kind::Start, m_runID};
    record.bootID = m_order.Value("boot");
    record.startMs = m_end.startMs;
    if (!AppendLine(record.ToLine())) {
        m_isRecorded = true;
        FailToStart(errno, "journal");
        return;
    }
    std::array<int, 2> pipe{-1, -1};
    if (pipe2(pipe.data(), O_CLOEXEC) != 0) {
        FailToStart(errno, {});
        return;
    }
    const Taskmill_StartedJob job = Taskmill_StartJob(m_order, pipe[1]);
    close(pipe[1]);
    m_pipe = pipe[0];
    fcntl(m_pipe, F_SETFL, O_NONBLOCK);
    m_main = job.id;
    m_hasChildren = job.id >= 0;
    if (m_hasChildren)
        SendStarted();
    else
        FailToStart(job.error, job.failedFile);
}

void Taskmill_Keeper::FailToStart(int error, const std::string &file)
{
    m_hasMainEnded = true;
    m_failedFile = file;
    m_end.how = Taskmill_RunEnd::How::NotStarted;
    m_end.code = error;
    m_end.endMs = m_end.startMs;
    if (m_isRecorded)
        SendEnd();
    else
        RecordEnd();
}

int Taskmill_Keeper::WaitMs() const
{
    long long next = -1;
    const auto add = [&next](bool isWanted, long long time) {
        if (isWanted)
            next = next < 0 ? time : std::min(next, time);
    };
    add(m_killing == Killing::Asked, m_killAt);
    add(m_killing == Killing::Forced && m_hasChildren, m_forceAgainAt);
    add(m_retryAt > 0 && !m_isRecorded, m_retryAt);
    return next < 0 ? -1 : static_cast<int>(std::max(0LL, next - Taskmill_SteadyClockMs()));
}

void Taskmill_Keeper::WaitForSomething()
{
    // What is not open has a negative number, which poll() skips.
    m_waits[0] = {.fd = m_signals, .events = POLLIN, .revents = 0};
    m_waits[1] = {.fd = m_manager.Get(), .events = POLLIN, .revents = 0};
    m_waits[2] = {.fd = m_listener.Get(), .events = POLLIN, .revents = 0};
    m_waits[3] = {.fd = m_visitor.Get(), .events = POLLIN, .revents = 0};
    m_waits[4] = {.fd = m_pipe, .events = POLLIN, .revents = 0};
    if (poll(m_waits.data(), m_waits.size(), WaitMs()) <= 0)
        return;
    constexpr long long mostAtOnce = 1024L * 1024;
    if (m_waits[4].revents != 0)
        ReadOutput(mostAtOnce);
    if (m_waits[3].revents != 0)
        ReadVisitor();
    if (m_waits[2].revents != 0)
        TakeVisitor();
    if (m_waits[1].revents != 0)
        ReadManager();
}

void Taskmill_Keeper::ReadSignals()
{
    if (m_waits[0].revents == 0)
        return;
    m_waits[0].revents = 0;
    signalfd_siginfo signal{};
    while (read(m_signals, &signal, sizeof signal) == static_cast<ssize_t>(sizeof signal)) {
        if (signal.ssi_signo == SIGTERM)
            BeginKill(m_order.Number("grace", 0), Taskmill_RunEnd::By::System);
    }
    Reap();
}

void Taskmill_Keeper::Reap()
{
    int status = 0;
    rusage usage{};
    pid_t child = 0;
    while ((child = wait4(-1, &status, WNOHANG, &usage)) > 0)
        Account(status, usage, child == m_main);
    m_hasChildren = child == 0;
}

void Taskmill_Keeper::Account(int status, const rusage &usage, bool isMain)
{
    m_processorUs += Microseconds(usage.ru_utime) + Microseconds(usage.ru_stime);
    m_end.peakMemoryKB = std::max(m_end.peakMemoryKB, static_cast<long long>(usage.ru_maxrss));
    if (!isMain)
        return;
    m_hasMainEnded = true;
    m_end.endMs = Taskmill_WallClockMs();
    m_end.how = WIFSIGNALED(status) ? Taskmill_RunEnd::How::Signal : Taskmill_RunEnd::How::Exit;
    m_end.code = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
}

void Taskmill_Keeper::ReadOutput(long long most)
{
    static std::array<char, Taskmill_OutputWriter::MostAtOnce> bytes;
    while (m_pipe >= 0 && most > 0) {
        const std::size_t wanted = std::min(bytes.size(), static_cast<std::size_t>(most));
        const ssize_t count = read(m_pipe, bytes.data(), wanted);
        if (count < 0 && errno == EINTR)
            continue;
        if (count == 0 || (count < 0 && errno != EAGAIN))
            close(std::exchange(m_pipe, -1));
        if (count <= 0)
            break;
        m_output.Append({bytes.data(), static_cast<std::size_t>(count)});
        most -= count;
    }
    ReportOutput();
}

void Taskmill_Keeper::ReadRestOfOutput()
{
    // What a process writes that still runs comes later: it must not put the end off.
    int waiting = 0;
    if (m_pipe >= 0 && ioctl(m_pipe, FIONREAD, &waiting) == 0 && waiting > 0)
        ReadOutput(waiting);
}

void Taskmill_Keeper::RecordEndWhenDue()
{
    const bool isWhole = m_killing == Killing::No || !m_hasChildren;
    if (m_isRecorded || !m_hasMainEnded || !isWhole || Taskmill_SteadyClockMs() < m_retryAt)
        return;
    const bool wasAskedToEnd = m_end.how == Taskmill_RunEnd::How::Signal && m_end.code == SIGTERM;
    if (m_killing == Killing::No && wasAskedToEnd && IsSystemEnding()) {
        m_end.by = Taskmill_RunEnd::By::System;
        BeginKill(m_order.Number("grace", 0), Taskmill_RunEnd::By::System);
        if (m_hasChildren)
            return;
    }
    RecordEnd();
}

void Taskmill_Keeper::RecordEnd()
{
    ReadRestOfOutput();
    constexpr long long usInMs = 1000;
    m_end.processorMs = m_processorUs / usInMs;
    m_end.outputBytes = m_output.TotalSize();
    m_end.droppedBytes = m_output.DroppedSize();
    const bool isFirstTry = m_retryAt == 0;
    Taskmill_RunRecord record{Taskmill_RunRecord::Kind::End, m_runID};
    record.end = m_end;
    m_isRecorded = AppendLine(record.ToLine());
    m_retryAt = Taskmill_SteadyClockMs() + retryMs;
    if (isFirstTry)
        SendEnd();
    if (!m_isRecorded)
        return;
    // The run is over: whoever wants to know more reads the journal.
    StopListening();
    close(std::exchange(m_lock, -1));
    // With a manager the result is in his hands, and a moment later the journal is stored for all keepers.
    if (!m_manager.IsOpen())
        fdatasync(m_journal);
}

bool Taskmill_Keeper::AppendLine(const std::string &line)
{
    const std::string text = m_isTorn ? '\n' + line : line;
    const ssize_t count = write(m_journal, text.data(), text.size());
    m_isTorn = m_isTorn || count > 0;
    if (count != static_cast<ssize_t>(text.size())) {
        errno = count < 0 ? errno : ENOSPC;
        return false;
    }
    m_isTorn = false;
    return true;
}

void Taskmill_Keeper::BeginKill(long long graceMs, Taskmill_RunEnd::By by)
{
    const long long killAt = Taskmill_SteadyClockMs() + std::clamp(graceMs, 0LL, 60'000LL);
    if (m_killing == Killing::Asked)
        m_killAt = std::min(m_killAt, killAt);
    if (m_killing != Killing::No)
        return;
    if (!m_hasMainEnded)
        m_end.by = by;
    m_killing = Killing::Asked;
    m_killAt = killAt;
    if (graceMs <= 0) {
        Force();
        return;
    }
    // All of it is stopped first, or a script would go on to its next line when the program that it waits
    // for ends before it.
    const std::vector<Taskmill_TreeProcess> tree = Taskmill_StopAll(Tree);
    Taskmill_SignalAll(tree, SIGTERM);
    Taskmill_SignalAll(tree, SIGCONT);
}

void Taskmill_Keeper::Force()
{
    const long long now = Taskmill_SteadyClockMs();
    if (m_killing != Killing::Forced)
        m_complainAt = now + complainMs;
    m_killing = Killing::Forced;
    m_forceAgainAt = now + forceAgainMs;
    const std::vector<Taskmill_TreeProcess> tree = Taskmill_StopAll(Tree);
    Taskmill_SignalAll(tree, SIGKILL);
    // Where the system shows no processes, at least the group of the program.
    if (tree.empty() && !m_hasMainEnded)
        kill(-m_main, SIGKILL);
}

void Taskmill_Keeper::ForceAgainWhenDue()
{
    const long long now = Taskmill_SteadyClockMs();
    if (!m_hasChildren || (m_killing == Killing::Asked && now < m_killAt) || m_killing == Killing::No ||
        (m_killing == Killing::Forced && now < m_forceAgainAt))
        return;
    Force();
    Reap();
    if (!m_hasChildren || m_complainAt == 0 || now < m_complainAt)
        return;
    m_complainAt = 0;
    Taskmill_KeeperMessage message{Taskmill_RemainsWord};
    for (const Taskmill_TreeProcess &process : Tree())
        message.Add("pid", process.id);
    m_manager.Send(message);
}
