// SPDX-License-Identifier: MIT
#include "processes/processtree.h"

#include "kilnutil/logging.h"

#include <QHash>
#include <QList>
#include <QProcess>

#include <memory>
#include <mutex>
#include <utility>

#include <windows.h>

namespace {
/// One job object for each process, so that programs started by programs are ended with it. They do not end
/// with the manager: no kill-on-close.
QHash<qint64, HANDLE> jobObjects;
std::mutex mutex; // a console's closing arrives on a thread of its own

/// The process that was started last, held up before its first instruction. Qt owns it.
const PROCESS_INFORMATION *heldProcess = nullptr;

HANDLE MakeJobObject(HANDLE process)
{
    const HANDLE jobObject = CreateJobObjectW(nullptr, nullptr);
    if (jobObject && AssignProcessToJobObject(jobObject, process))
        return jobObject;
    qCWarning(Taskmill_ProcessesLog, "Programs started by process %lu will not be ended with it: error %lu",
              GetProcessId(process), GetLastError());
    if (jobObject)
        CloseHandle(jobObject);
    return nullptr;
}
/// Start-up information by which a process inherits its three streams and nothing else, such as the
/// connections of clients, which would then stay open until its end.
class StreamsOnly
{
public:
    explicit StreamsOnly(const STARTUPINFOW &plain)
    {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        m_attributes.resize(static_cast<qsizetype>(size));
        for (const HANDLE stream : {plain.hStdInput, plain.hStdOutput, plain.hStdError}) {
            if (stream && stream != INVALID_HANDLE_VALUE && !m_streams.contains(stream))
                m_streams.append(stream);
        }
        m_information.StartupInfo = plain;
        m_information.StartupInfo.cb = sizeof m_information;
        m_information.lpAttributeList = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(m_attributes.data());
        m_isValid = !m_streams.isEmpty() &&
                    InitializeProcThreadAttributeList(m_information.lpAttributeList, 1, 0, &size) &&
                    UpdateProcThreadAttribute(
                        m_information.lpAttributeList, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, m_streams.data(),
                        static_cast<SIZE_T>(m_streams.size()) * sizeof(HANDLE), nullptr, nullptr);
    }
    Q_DISABLE_COPY_MOVE(StreamsOnly)
    ~StreamsOnly() = default;

    [[nodiscard]] bool IsValid() const { return m_isValid; }
    [[nodiscard]] STARTUPINFOW *Information() { return &m_information.StartupInfo; }

private:
    QByteArray m_attributes;
    QList<HANDLE> m_streams;
    STARTUPINFOEXW m_information{};
    bool m_isValid = false;
};
} // namespace

void KilnUtil_ProcessTree::PrepareChild(QProcess &process, const QString &argumentText)
{
    process.setNativeArguments(argumentText);
    heldProcess = nullptr;
    // The start-up information has to live until the process is started.
    process.setCreateProcessArgumentsModifier(
        [streams = std::shared_ptr<StreamsOnly>{}](QProcess::CreateProcessArguments *arguments) mutable {
            streams = std::make_shared<StreamsOnly>(*arguments->startupInfo);
            if (streams->IsValid()) {
                arguments->startupInfo = streams->Information();
                arguments->flags |= EXTENDED_STARTUPINFO_PRESENT;
            }
            // Whatever it starts is to be in its job object, so it may not begin before it is there itself.
            arguments->flags |= CREATE_NEW_PROCESS_GROUP | CREATE_SUSPENDED;
            heldProcess = arguments->processInformation;
        });
}

void KilnUtil_ProcessTree::RegisterChild(qint64 processID)
{
    const PROCESS_INFORMATION *process = std::exchange(heldProcess, nullptr);
    if (!process || process->dwProcessId != static_cast<DWORD>(processID))
        return;
    if (const HANDLE jobObject = MakeJobObject(process->hProcess)) {
        const std::scoped_lock lock{mutex};
        jobObjects.insert(processID, jobObject);
    }
    ResumeThread(process->hThread);
}

void KilnUtil_ProcessTree::UnregisterChild(qint64 processID)
{
    const std::scoped_lock lock{mutex};
    if (const HANDLE jobObject = jobObjects.take(processID))
        CloseHandle(jobObject);
}

void KilnUtil_ProcessTree::KillDescendants(qint64) {}

void KilnUtil_ProcessTree::KillProcessTree(qint64 processID)
{
    const std::scoped_lock lock{mutex};
    if (const HANDLE jobObject = jobObjects.value(processID))
        TerminateJobObject(jobObject, STATUS_CONTROL_C_EXIT);
}

void KilnUtil_ProcessTree::KillRegisteredChildren()
{
    const std::scoped_lock lock{mutex};
    for (const HANDLE jobObject : std::as_const(jobObjects))
        TerminateJobObject(jobObject, STATUS_CONTROL_C_EXIT);
}
