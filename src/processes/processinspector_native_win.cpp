// SPDX-License-Identifier: MIT
#include "processes/processinspector_native.h"

#include "kilnutil/logging.h"

#include <QDateTime>
#include <QSysInfo>

#include <array>

// windows.h comes first: the others use its types.
#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>
#include <winternl.h>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr qint64 ticksPerMs = 10'000;               // of 100 ns, as the system counts
constexpr qint64 msFrom1601To1970 = 11644473600000; // the system's epoch and that of Qt

class Handle
{
public:
    explicit Handle(HANDLE handle)
        : m_handle{handle}
    {
    }
    ~Handle()
    {
        if (IsValid())
            CloseHandle(m_handle);
    }
    Q_DISABLE_COPY_MOVE(Handle)

    [[nodiscard]] bool IsValid() const { return m_handle && m_handle != INVALID_HANDLE_VALUE; }
    [[nodiscard]] HANDLE Get() const { return m_handle; }

private:
    HANDLE m_handle;
};

qint64 Ticks(const FILETIME &time)
{
    return static_cast<qint64>((static_cast<quint64>(time.dwHighDateTime) << 32U) | time.dwLowDateTime);
}

/// Since 1601, or a span, in units of 100 ns.
struct Times
{
    qint64 creation = 0;
    qint64 kernel = 0;
    qint64 user = 0;
};

std::optional<Times> TimesOf(const Handle &process)
{
    FILETIME creation{};
    FILETIME exit{};
    FILETIME kernel{};
    FILETIME user{};
    if (!process.IsValid() || !GetProcessTimes(process.Get(), &creation, &exit, &kernel, &user))
        return std::nullopt;
    return Times{.creation = Ticks(creation), .kernel = Ticks(kernel), .user = Ticks(user)};
}

std::optional<Times> TimesOf(DWORD processID)
{
    return TimesOf(Handle{OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processID)});
}

QByteArray DateText(qint64 ticks)
{
    const QDateTime date = QDateTime::fromMSecsSinceEpoch(ticks / ticksPerMs - msFrom1601To1970);
    const qint64 microseconds = ticks / 10 % 1'000'000;
    const int offset = date.offsetFromUtc() / 60;
    return date.toString(u"yyyyMMddHHmmss"_s).toLatin1() + '.' +
           QByteArray::number(microseconds).rightJustified(6, '0') + (offset < 0 ? '-' : '+') +
           QByteArray::number(qAbs(offset)).rightJustified(3, '0');
}

QByteArray ExecutablePath(HANDLE process)
{
    std::array<wchar_t, 32768> path;
    auto length = static_cast<DWORD>(path.size());
    if (!QueryFullProcessImageNameW(process, 0, path.data(), &length))
        return {};
    return QString::fromWCharArray(path.data(), static_cast<qsizetype>(length)).toUtf8();
}

/// Copies an object out of another process's memory.
template <typename T>
bool ReadMemory(HANDLE process, const void *address, T *target, size_t size = sizeof(T))
{
    SIZE_T count = 0;
    return ReadProcessMemory(process, address, target, size, &count) && count == size;
}

/// The command line stands in the process's own memory.
QByteArray CommandLine(DWORD processID)
{
    const Handle process{OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | PROCESS_VM_READ, FALSE, processID)};
    PROCESS_BASIC_INFORMATION basics{};
    PEB environment{};
    RTL_USER_PROCESS_PARAMETERS parameters{};
    if (!process.IsValid() ||
        NtQueryInformationProcess(process.Get(), ProcessBasicInformation, &basics, sizeof basics, nullptr) <
            0 ||
        !ReadMemory(process.Get(), basics.PebBaseAddress, &environment) ||
        !ReadMemory(process.Get(), environment.ProcessParameters, &parameters))
        return {};
    const UNICODE_STRING &text = parameters.CommandLine;
    QString commandLine{text.Length / static_cast<qsizetype>(sizeof(wchar_t)), Qt::Uninitialized};
    if (!ReadMemory(process.Get(), text.Buffer, commandLine.data(), text.Length))
        return {};
    return commandLine.toUtf8();
}

/// The begin of what the system returns about a process's memory, the whole of which it wants room for.
struct VirtualMemory
{
    SIZE_T peakVirtualSize;
    SIZE_T virtualSize;
    std::array<SIZE_T, 9> others;
};

QByteArray VirtualSize(HANDLE process)
{
    constexpr auto memoryInformation = static_cast<PROCESSINFOCLASS>(3);
    VirtualMemory memory{};
    if (NtQueryInformationProcess(process, memoryInformation, &memory, sizeof memory, nullptr) < 0)
        return {};
    return QByteArray::number(static_cast<qulonglong>(memory.virtualSize));
}

/// Calls visit(entry) for every process of a snapshot.
template <typename Visit>
void ForEachProcess(Visit visit)
{
    const Handle snapshot{CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0)};
    if (!snapshot.IsValid())
        return;
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL found = Process32FirstW(snapshot.Get(), &entry); found;
         found = Process32NextW(snapshot.Get(), &entry))
        visit(entry);
}

/// One process of a listing.
class Lines
{
public:
    explicit Lines(QByteArray &listing)
        : m_listing{listing}
    {
    }

    void AppendSnapshot(const PROCESSENTRY32W &entry)
    {
        const QByteArray name = QString::fromWCharArray(entry.szExeFile).toUtf8();
        Append("Caption", name);
        Append("Name", name);
        for (const char *key : {"Handle", "ProcessId"})
            Append(key, entry.th32ProcessID);
        Append("ParentProcessId", entry.th32ParentProcessID);
        Append("ThreadCount", entry.cntThreads);
        Append("Priority", static_cast<qulonglong>(entry.pcPriClassBase));
    }

    void AppendProgram(DWORD processID, const Handle &process)
    {
        Append("CommandLine", CommandLine(processID));
        Append("ExecutablePath", process.IsValid() ? ExecutablePath(process.Get()) : QByteArray{});
        Append("CSName", QSysInfo::machineHostName().toUtf8());
        Append("ExecutionState", QByteArray{});
    }

    void AppendTimes(const std::optional<Times> &times)
    {
        const auto number = [&times](qint64 Times::*field) {
            return times ? QByteArray::number(*times.*field) : QByteArray{};
        };
        Append("CreationDate", times ? DateText(times->creation) : QByteArray{});
        Append("KernelModeTime", number(&Times::kernel));
        Append("UserModeTime", number(&Times::user));
    }

    void AppendMemory(const Handle &process)
    {
        PROCESS_MEMORY_COUNTERS_EX memory{};
        const bool known =
            process.IsValid() &&
            GetProcessMemoryInfo(process.Get(), reinterpret_cast<PROCESS_MEMORY_COUNTERS *>(&memory),
                                 sizeof memory);
        const auto number = [known](SIZE_T bytes) {
            return known ? QByteArray::number(static_cast<qulonglong>(bytes)) : QByteArray{};
        };
        Append("PrivatePageCount", number(memory.PrivateUsage));
        Append("WorkingSetSize", number(memory.WorkingSetSize));
        Append("VirtualSize", process.IsValid() ? VirtualSize(process.Get()) : QByteArray{});
    }

private:
    void Append(const char *key, const QByteArray &value)
    {
        Taskmill_AppendProcessLine(m_listing, key, value);
    }
    void Append(const char *key, qulonglong value) { Append(key, QByteArray::number(value)); }

    QByteArray &m_listing;
};

void End(DWORD processID)
{
    const Handle process{OpenProcess(PROCESS_TERMINATE, FALSE, processID)};
    if (!process.IsValid() || !TerminateProcess(process.Get(), 1))
        qCInfo(Taskmill_ProcessesLog, "Process %lu was not ended: error %lu", processID, GetLastError());
}
} // namespace

QString Taskmill_NativeProcessInspector::ListingText()
{
    QByteArray listing;
    ForEachProcess([&listing](const PROCESSENTRY32W &entry) {
        const Handle process{OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, entry.th32ProcessID)};
        Lines lines{listing};
        lines.AppendSnapshot(entry);
        lines.AppendProgram(entry.th32ProcessID, process);
        lines.AppendTimes(TimesOf(process));
        lines.AppendMemory(process);
        listing.append("\r\n");
    });
    return QString::fromUtf8(listing);
}

void Taskmill_NativeProcessInspector::EndProcess(int processID)
{
    End(static_cast<DWORD>(processID));
}

void Taskmill_NativeProcessInspector::EndChildren(int processID)
{
    const auto parent = static_cast<DWORD>(processID);
    const std::optional<Times> parentTimes = TimesOf(parent);
    ForEachProcess([&](const PROCESSENTRY32W &entry) {
        if (entry.th32ParentProcessID != parent || entry.th32ProcessID == GetCurrentProcessId())
            return;
        // A process older than its parent was the child of one that had the number before.
        const std::optional<Times> times = TimesOf(entry.th32ProcessID);
        if (!parentTimes || !times || times->creation >= parentTimes->creation)
            End(entry.th32ProcessID);
    });
}

std::optional<QString> Taskmill_NativeProcessInspector::CreationDateNow(int processID)
{
    const Handle process{
        OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE, FALSE, static_cast<DWORD>(processID))};
    // One that has ended is there as long as somebody has it open.
    const bool runs = process.IsValid() && WaitForSingleObject(process.Get(), 0) == WAIT_TIMEOUT;
    const std::optional<Times> times = runs ? TimesOf(process) : std::nullopt;
    return times ? QString::fromLatin1(DateText(times->creation)) : QString{};
}

std::optional<int> Taskmill_NativeProcessInspector::ParentNow(int processID)
{
    const auto process = static_cast<DWORD>(processID);
    std::optional<DWORD> parent;
    ForEachProcess([&](const PROCESSENTRY32W &entry) {
        if (entry.th32ProcessID == process)
            parent = entry.th32ParentProcessID;
    });
    if (!parent)
        return -1;
    // The system still reports the number of a parent that has ended, which may be another's by now.
    const std::optional<Times> times = TimesOf(process);
    const std::optional<Times> parentTimes = TimesOf(*parent);
    if (times && parentTimes && parentTimes->creation > times->creation)
        return -1;
    return static_cast<int>(*parent);
}
