// SPDX-License-Identifier: MIT
#include "processes/processtree.h"

#include "kilnutil/logging.h"
#include "wire/startup_win.h"

#include <QHash>
#include <QProcess>

#include <algorithm>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

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

/// Its three streams, each once: all that it is to inherit.
std::vector<HANDLE> StreamsOf(const STARTUPINFOW &plain)
{
    std::vector<HANDLE> streams;
    for (const HANDLE stream : {plain.hStdInput, plain.hStdOutput, plain.hStdError}) {
        if (stream && stream != INVALID_HANDLE_VALUE && std::ranges::find(streams, stream) == streams.end())
            streams.push_back(stream);
    }
    return streams;
}
} // namespace

void KilnUtil_ProcessTree::PrepareChild(QProcess &process, const QString &argumentText, bool hasLowPriority)
{
    process.setNativeArguments(argumentText);
    heldProcess = nullptr;
    // The start-up information has to live until the process is started.
    process.setCreateProcessArgumentsModifier(
        [hasLowPriority, streams = std::shared_ptr<Taskmill_InheritedHandles>{}](
            QProcess::CreateProcessArguments *arguments) mutable {
            streams = std::make_shared<Taskmill_InheritedHandles>(StreamsOf(*arguments->startupInfo),
                                                                  *arguments->startupInfo);
            if (streams->AreValid()) {
                arguments->startupInfo = streams->StartupInfo();
                arguments->flags |= EXTENDED_STARTUPINFO_PRESENT;
            }
            // Whatever it starts is to be in its job object, so it may not begin before it is there itself.
            arguments->flags |= CREATE_NEW_PROCESS_GROUP | CREATE_SUSPENDED;
            if (hasLowPriority)
                arguments->flags |= BELOW_NORMAL_PRIORITY_CLASS;
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
