#include "jobs/processinspector.h"

#include "jobs/processinspector_wmic.h"

#include <QStandardPaths>

#include <array>

// windows.h comes first: tlhelp32.h uses its types.
#include <windows.h>

#include <tlhelp32.h>

using namespace Qt::Literals::StringLiterals;

namespace {
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

/// Empty when the process may not be asked.
QByteArray ExecutablePath(DWORD processID)
{
    const Handle process{OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processID)};
    std::array<wchar_t, 32768> path;
    auto length = static_cast<DWORD>(path.size());
    if (!process.IsValid() || !QueryFullProcessImageNameW(process.Get(), 0, path.data(), &length))
        return {};
    return QString::fromWCharArray(path.data(), static_cast<qsizetype>(length)).toUtf8();
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

void End(DWORD processID)
{
    const Handle process{OpenProcess(PROCESS_TERMINATE, FALSE, processID)};
    if (!process.IsValid() || !TerminateProcess(process.Get(), 1))
        qInfo("Process %lu was not ended: error %lu", processID, GetLastError());
}

/// For systems that no longer have "wmic". Tells what a snapshot holds; the other values are empty.
class NativeProcessInspector final : public Taskmill_ProcessInspector
{
protected:
    QString ListingText() override
    {
        QByteArray listing;
        ForEachProcess([&listing](const PROCESSENTRY32W &entry) { Append(listing, entry); });
        return QString::fromUtf8(listing);
    }

    void EndProcess(int processID) override { End(static_cast<DWORD>(processID)); }

    void EndChildren(int processID) override
    {
        const auto parent = static_cast<DWORD>(processID);
        ForEachProcess([parent](const PROCESSENTRY32W &entry) {
            if (entry.th32ParentProcessID == parent && entry.th32ProcessID != GetCurrentProcessId())
                End(entry.th32ProcessID);
        });
    }

private:
    static void Append(QByteArray &listing, const PROCESSENTRY32W &entry)
    {
        const QByteArray name = QString::fromWCharArray(entry.szExeFile).toUtf8();
        const QByteArray id = QByteArray::number(static_cast<qulonglong>(entry.th32ProcessID));
        const QByteArray parent = QByteArray::number(static_cast<qulonglong>(entry.th32ParentProcessID));
        Taskmill_AppendProcessLine(listing, "Caption", name);
        Taskmill_AppendProcessLine(listing, "ExecutablePath", ExecutablePath(entry.th32ProcessID));
        Taskmill_AppendProcessLine(listing, "Handle", id);
        Taskmill_AppendProcessLine(listing, "Name", name);
        Taskmill_AppendProcessLine(listing, "ParentProcessId", parent);
        Taskmill_AppendProcessLine(listing, "ProcessId", id);
        Taskmill_AppendProcessLine(listing, "ThreadCount",
                                   QByteArray::number(static_cast<qulonglong>(entry.cntThreads)));
        for (const char *key :
             {"CommandLine", "CreationDate", "CSName", "ExecutionState", "KernelModeTime", "Priority",
              "PrivatePageCount", "UserModeTime", "VirtualSize", "WorkingSetSize"})
            Taskmill_AppendProcessLine(listing, key, {});
        listing.append("\r\n");
    }
};
} // namespace

std::unique_ptr<Taskmill_ProcessInspector> Taskmill_MakeSystemProcessInspector()
{
    if (!QStandardPaths::findExecutable(u"wmic"_s).isEmpty())
        return std::make_unique<Taskmill_WmicProcessInspector>();
    return std::make_unique<NativeProcessInspector>();
}
