// SPDX-License-Identifier: MIT
#include "keeper/clock.h"
#include "keeper/jobstart_linux.h"
#include "keeper/keepersystem_linux.h"
#include "keeper/processtree_linux.h"

#include <algorithm>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
std::vector<Taskmill_TreeProcess> Tree()
{
    return Taskmill_Descendants(getpid());
}

long long Microseconds(const timeval &time)
{
    return time.tv_sec * 1'000'000LL + time.tv_usec;
}

int Descriptor(const Taskmill_KeeperChannel &channel)
{
    return static_cast<int>(channel.Get());
}
} // namespace

Taskmill_Keeper::Taskmill_Keeper(Taskmill_KeeperMessage order, Taskmill_KeeperChannel manager, System system)
    : m_order{std::move(order)}
    , m_runID{m_order.Value("run")}
    , m_link{m_runID, std::string{m_order.Value("owner")}, std::move(manager), *this}
    , m_system{std::make_unique<System>(system)}
    , m_output{"out/" + m_runID}
    , m_mayBeFree{m_order.Number("more", 0) != 0}
{
}

Taskmill_Keeper::~Taskmill_Keeper()
{
    m_link.StopListeningForGood();
    for (const int file : {m_system->lock, m_system->pipe}) {
        if (file >= 0)
            close(file);
    }
}

void Taskmill_Keeper::StartProgram()
{
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    std::array<int, 2> pipe{-1, -1};
    if (pipe2(pipe.data(), O_CLOEXEC) != 0) {
        FailToStart(errno, {});
        return;
    }
    const Taskmill_StartedJob job = Taskmill_StartJob(m_order, pipe[1]);
    close(pipe[1]);
    m_system->pipe = pipe[0];
    fcntl(m_system->pipe, F_SETFL, O_NONBLOCK);
    m_main = job.id;
    m_hasChildren = job.id >= 0;
    if (m_hasChildren)
        SendStarted();
    else
        FailToStart(job.error, job.failedFile);
}

void Taskmill_Keeper::WaitForSomething()
{
    // What is not open has a negative number, which poll() skips.
    std::array<pollfd, 5> &waits = m_system->waits;
    waits[0] = {.fd = m_system->signals, .events = POLLIN, .revents = 0};
    waits[1] = {.fd = Descriptor(m_link.Manager()), .events = POLLIN, .revents = 0};
    waits[2] = {.fd = Descriptor(m_link.Listener()), .events = POLLIN, .revents = 0};
    waits[3] = {.fd = Descriptor(m_link.Visitor()), .events = POLLIN, .revents = 0};
    waits[4] = {.fd = m_system->pipe, .events = POLLIN, .revents = 0};
    if (poll(waits.data(), waits.size(), WaitMs()) <= 0)
        return;
    constexpr long long mostAtOnce = 1024L * 1024;
    if (waits[4].revents != 0)
        ReadOutput(mostAtOnce);
    if (waits[3].revents != 0)
        m_link.ReadVisitor();
    if (waits[2].revents != 0)
        m_link.TakeVisitor();
    if (waits[1].revents != 0)
        m_link.ReadManager();
}

void Taskmill_Keeper::TakeEnds()
{
    if (m_system->waits[0].revents == 0)
        return;
    m_system->waits[0].revents = 0;
    signalfd_siginfo signal{};
    while (read(m_system->signals, &signal, sizeof signal) == static_cast<ssize_t>(sizeof signal)) {
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
    while ((child = wait4(-1, &status, WNOHANG, &usage)) > 0) {
        m_processorUs += Microseconds(usage.ru_utime) + Microseconds(usage.ru_stime);
        m_end.peakMemoryKB = std::max(m_end.peakMemoryKB, static_cast<long long>(usage.ru_maxrss));
        if (child != m_main)
            continue;
        m_hasMainEnded = true;
        m_end.endMs = Taskmill_WallClockMs();
        m_end.how = WIFSIGNALED(status) ? Taskmill_RunEnd::How::Signal : Taskmill_RunEnd::How::Exit;
        m_end.code = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
    }
    m_hasChildren = child == 0;
}

void Taskmill_Keeper::ReadOutput(long long most)
{
    static std::array<char, Taskmill_OutputWriter::MostAtOnce> bytes;
    int &pipe = m_system->pipe;
    while (pipe >= 0 && most > 0) {
        const std::size_t wanted = std::min(bytes.size(), static_cast<std::size_t>(most));
        const ssize_t count = read(pipe, bytes.data(), wanted);
        if (count < 0 && errno == EINTR)
            continue;
        if (count == 0 || (count < 0 && errno != EAGAIN))
            close(std::exchange(pipe, -1));
        if (count <= 0)
            break;
        m_output.Append({bytes.data(), static_cast<std::size_t>(count)});
        most -= count;
    }
    m_link.ReportOutput();
}

void Taskmill_Keeper::ReadRestOfOutput()
{
    // What a process writes that still runs comes later: it must not put the end off.
    int waiting = 0;
    if (m_system->pipe >= 0 && ioctl(m_system->pipe, FIONREAD, &waiting) == 0 && waiting > 0)
        ReadOutput(waiting);
}

bool Taskmill_Keeper::IsSystemEnding() const
{
    // When a system is shut down, the run may get its SIGTERM before its keeper does.
    if (m_end.how != Taskmill_RunEnd::How::Signal || m_end.code != SIGTERM)
        return false;
    constexpr timespec wait{.tv_sec = 0, .tv_nsec = 100'000'000};
    sigset_t end;
    sigemptyset(&end);
    sigaddset(&end, SIGTERM);
    return sigtimedwait(&end, nullptr, &wait) == SIGTERM;
}

long long Taskmill_Keeper::WriteToJournal(const std::string &text, int &error) const
{
    const ssize_t count = write(m_system->journal, text.data(), text.size());
    error = errno;
    eventfd_write(m_system->appended, 1);
    return count;
}

void Taskmill_Keeper::StoreJournal() const
{
    fdatasync(m_system->journal);
}

void Taskmill_Keeper::GiveLockBack()
{
    close(std::exchange(m_system->lock, -1));
}

bool Taskmill_Keeper::AskAll() const
{
    // All of it is stopped first, or a script would go on to its next line when the program that it waits
    // for ends before it.
    const std::vector<Taskmill_TreeProcess> tree = Taskmill_StopAll(Tree);
    // What has a job elsewhere leaves it there when only this computer is shut down.
    Taskmill_SignalAll(tree, SIGTERM, m_end.by == Taskmill_RunEnd::By::System ? Taskmill_SystemEndsValue : 0);
    Taskmill_SignalAll(tree, SIGCONT);
    return true;
}

void Taskmill_Keeper::EndAll() const
{
    const std::vector<Taskmill_TreeProcess> tree = Taskmill_StopAll(Tree);
    Taskmill_SignalAll(tree, SIGKILL);
    // Where /proc shows no processes, at least the process group of the program is ended.
    if (tree.empty() && !m_hasMainEnded)
        kill(-static_cast<pid_t>(m_main), SIGKILL);
}

std::vector<long long> Taskmill_Keeper::Remaining() const
{
    std::vector<long long> processes;
    for (const Taskmill_TreeProcess &process : Tree())
        processes.push_back(process.id);
    return processes;
}
