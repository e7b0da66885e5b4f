// SPDX-License-Identifier: MIT
#include "keeper/clock.h"
#include "keeper/jobstart_win.h"
#include "keeper/keepersystem_win.h"

#include <algorithm>
#include <utility>

// Behind windows.h, on which it builds.
#include <psapi.h>

namespace {
/// The code with which a program ends that is ended by force.
constexpr UINT endedByForce = 0xC000013A; // as by Ctrl+C
constexpr long long ticksPerUs = 10;      // of 100 ns, as the system counts
/// Between two looks at what a program has left in the background.
constexpr DWORD lookAgainMs = 50;

/// Everything in it ends when the last handle is closed, which this process alone has.
HANDLE MakeJobObject()
{
    const HANDLE jobObject = CreateJobObjectW(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    if (jobObject &&
        SetInformationJobObject(jobObject, JobObjectExtendedLimitInformation, &limits, sizeof limits))
        return jobObject;
    if (jobObject)
        CloseHandle(jobObject);
    return nullptr;
}

JOBOBJECT_BASIC_ACCOUNTING_INFORMATION AccountsOf(HANDLE jobObject)
{
    JOBOBJECT_BASIC_ACCOUNTING_INFORMATION accounts{};
    QueryInformationJobObject(jobObject, JobObjectBasicAccountingInformation, &accounts, sizeof accounts,
                              nullptr);
    return accounts;
}

long long Ticks(const FILETIME &time)
{
    return static_cast<long long>((static_cast<unsigned long long>(time.dwHighDateTime) << 32U) |
                                  time.dwLowDateTime);
}

HANDLE EventOf(const Taskmill_KeeperChannel &channel)
{
    return channel.IsOpen() ? reinterpret_cast<HANDLE>(channel.Get()) : nullptr;
}

bool IsSet(HANDLE event)
{
    return event && WaitForSingleObject(event, 0) == WAIT_OBJECT_0;
}
} // namespace

Taskmill_Keeper::Taskmill_Keeper(Taskmill_KeeperMessage order, Taskmill_KeeperChannel manager, System system)
    : m_order{std::move(order)}
    , m_runID{m_order.Value("run")}
    , m_link{m_runID, std::string{m_order.Value("owner")}, std::move(manager), *this}
    , m_system{std::make_unique<System>(std::move(system))}
    , m_output{"out/" + m_runID}
    , m_mayBeFree{m_order.Number("more", 0) != 0}
{
}

Taskmill_Keeper::~Taskmill_Keeper()
{
    m_link.StopListeningForGood();
    for (const HANDLE handle : {m_system->jobObject, m_system->process}) {
        if (handle)
            CloseHandle(handle);
    }
    SetEvent(m_system->recorded);
}

void Taskmill_Keeper::StartProgram()
{
    m_system->jobObject = MakeJobObject();
    m_system->pipe = std::make_unique<Taskmill_OutputPipe>();
    if (!m_system->jobObject || !m_system->pipe->IsOpen()) {
        FailToStart(static_cast<int>(GetLastError()), {});
        return;
    }
    const Taskmill_StartedJob job =
        Taskmill_StartJob(m_order, m_system->jobObject, m_system->pipe->RunsEnd());
    m_system->pipe->CloseRunsEnd();
    m_system->process = job.process;
    m_hasChildren = job.process != nullptr;
    if (!m_hasChildren) {
        FailToStart(job.error, job.failedFile);
        return;
    }
    m_main = job.id;
    SendStarted();
}

void Taskmill_Keeper::WaitForSomething()
{
    std::vector<HANDLE> waits;
    const auto add = [&waits](HANDLE handle) {
        if (handle)
            waits.push_back(handle);
    };
    const bool isEnding = m_killing != Killing::No;
    add(m_hasMainEnded ? nullptr : m_system->process);
    add(isEnding ? nullptr : m_system->end);
    add(isEnding ? nullptr : m_system->systemEnd);
    add(EventOf(m_link.Manager()));
    add(EventOf(m_link.Listener()));
    add(EventOf(m_link.Visitor()));
    add(m_system->pipe && m_system->pipe->IsOpen() ? m_system->pipe->Event() : nullptr);
    auto wait = static_cast<DWORD>(WaitMs());
    if (m_hasMainEnded && m_hasChildren)
        wait = std::min(wait, lookAgainMs);
    if (waits.empty())
        Sleep(std::min(wait, lookAgainMs));
    else
        WaitForMultipleObjects(static_cast<DWORD>(waits.size()), waits.data(), FALSE, wait);
    constexpr long long mostAtOnce = 1024L * 1024;
    ReadOutput(mostAtOnce);
    if (IsSet(EventOf(m_link.Visitor())))
        m_link.ReadVisitor();
    if (IsSet(EventOf(m_link.Listener())))
        m_link.TakeVisitor();
    if (IsSet(EventOf(m_link.Manager())))
        m_link.ReadManager();
}

void Taskmill_Keeper::TakeEnds()
{
    if (m_killing == Killing::No && (IsSet(m_system->end) || IsSet(m_system->systemEnd)))
        BeginKill(m_order.Number("grace", 0), Taskmill_RunEnd::By::System);
    Reap();
}

void Taskmill_Keeper::Reap()
{
    if (!m_hasMainEnded && IsSet(m_system->process)) {
        DWORD code = 0;
        GetExitCodeProcess(m_system->process, &code);
        m_hasMainEnded = true;
        m_end.endMs = Taskmill_WallClockMs();
        m_end.code = static_cast<int>(code);
        // An error of the system, as after an exception that nobody took.
        m_end.how = m_end.code < 0 ? Taskmill_RunEnd::How::Signal : Taskmill_RunEnd::How::Exit;
    }
    m_hasChildren =
        m_system->process && (!m_hasMainEnded || AccountsOf(m_system->jobObject).ActiveProcesses > 0);
    if (!m_hasMainEnded || m_isRecorded || !m_system->process)
        return;
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    QueryInformationJobObject(m_system->jobObject, JobObjectExtendedLimitInformation, &limits, sizeof limits,
                              nullptr);
    PROCESS_MEMORY_COUNTERS memory{};
    GetProcessMemoryInfo(m_system->process, &memory, sizeof memory);
    constexpr long long bytesInKB = 1024;
    m_end.peakMemoryKB =
        static_cast<long long>(std::max(limits.PeakProcessMemoryUsed, memory.PeakWorkingSetSize)) / bytesInKB;
    // Not every system counts for the whole job object.
    const JOBOBJECT_BASIC_ACCOUNTING_INFORMATION accounts = AccountsOf(m_system->jobObject);
    FILETIME creation{};
    FILETIME exit{};
    FILETIME kernel{};
    FILETIME user{};
    GetProcessTimes(m_system->process, &creation, &exit, &kernel, &user);
    m_processorUs = std::max(accounts.TotalUserTime.QuadPart + accounts.TotalKernelTime.QuadPart,
                             Ticks(kernel) + Ticks(user)) /
                    ticksPerUs;
}

void Taskmill_Keeper::ReadOutput(long long most)
{
    while (m_system->pipe && most > 0) {
        const std::string_view bytes = m_system->pipe->Read();
        if (bytes.empty())
            break;
        m_output.Append(bytes);
        most -= static_cast<long long>(bytes.size());
    }
    m_link.ReportOutput();
}

void Taskmill_Keeper::ReadRestOfOutput()
{
    // What a process writes that still runs comes later: it must not put the end off.
    constexpr long long mostInPipe = 512L * 1024;
    ReadOutput(mostInPipe);
}

bool Taskmill_Keeper::IsSystemEnding() const
{
    return false;
}

long long Taskmill_Keeper::WriteToJournal(const std::string &text, int &error) const
{
    return m_system->journal->Append(text, error);
}

void Taskmill_Keeper::StoreJournal() const
{
    m_system->journal->Store();
}

void Taskmill_Keeper::GiveLockBack()
{
    m_system->lock.reset();
}

bool Taskmill_Keeper::AskAll() const
{
    // Programs with a console, which is shared with this one, are asked as by Ctrl+Break.
    return !m_hasMainEnded && GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, static_cast<DWORD>(m_main)) != 0;
}

void Taskmill_Keeper::EndAll() const
{
    TerminateJobObject(m_system->jobObject, endedByForce);
}

std::vector<long long> Taskmill_Keeper::Remaining() const
{
    constexpr std::size_t most = 256;
    std::vector<std::byte> bytes(sizeof(JOBOBJECT_BASIC_PROCESS_ID_LIST) + most * sizeof(ULONG_PTR));
    auto *list = reinterpret_cast<JOBOBJECT_BASIC_PROCESS_ID_LIST *>(bytes.data());
    if (!QueryInformationJobObject(m_system->jobObject, JobObjectBasicProcessIdList, list,
                                   static_cast<DWORD>(bytes.size()), nullptr))
        return {};
    return {list->ProcessIdList, list->ProcessIdList + list->NumberOfProcessIdsInList};
}
