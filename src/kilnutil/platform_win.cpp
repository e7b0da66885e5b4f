#include "kilnutil/platform.h"

#include <QHash>
#include <QProcess>

#include <windows.h>

namespace {
/// One job object for each process, so that programs started by programs are ended with it. They do not end
/// with the manager: no kill-on-close.
QHash<qint64, HANDLE> &JobObjects()
{
    static QHash<qint64, HANDLE> jobObjects;
    return jobObjects;
}
} // namespace

void KilnUtil_Platform::PrepareChild(QProcess &process, const QString &argumentText)
{
    process.setNativeArguments(argumentText);
    process.setCreateProcessArgumentsModifier(
        [](QProcess::CreateProcessArguments *arguments) { arguments->flags |= CREATE_NEW_PROCESS_GROUP; });
}

void KilnUtil_Platform::RegisterChild(qint64 processID)
{
    const HANDLE process =
        OpenProcess(PROCESS_SET_QUOTA | PROCESS_TERMINATE, FALSE, static_cast<DWORD>(processID));
    if (!process)
        return;
    const HANDLE jobObject = CreateJobObjectW(nullptr, nullptr);
    if (jobObject && AssignProcessToJobObject(jobObject, process))
        JobObjects().insert(processID, jobObject);
    else if (jobObject)
        CloseHandle(jobObject);
    CloseHandle(process);
}

void KilnUtil_Platform::UnregisterChild(qint64 processID)
{
    if (const HANDLE jobObject = JobObjects().take(processID))
        CloseHandle(jobObject);
}

void KilnUtil_Platform::KillDescendants(qint64) {}

void KilnUtil_Platform::KillProcessTree(qint64 processID)
{
    if (const HANDLE jobObject = JobObjects().value(processID))
        TerminateJobObject(jobObject, 1);
}

void KilnUtil_Platform::KillRegisteredChildren()
{
    const QHash<qint64, HANDLE> &jobObjects = JobObjects();
    for (const HANDLE jobObject : jobObjects)
        TerminateJobObject(jobObject, 1);
}

void KilnUtil_Platform::RaiseOpenFilesLimit() {}
