// SPDX-License-Identifier: MIT
#include "endtoend/processtable.h"

// windows.h comes first: the others use its types.
#include <windows.h>

#include <tlhelp32.h>

namespace {
QList<int> Children()
{
    QList<int> children;
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL found = Process32FirstW(snapshot, &entry); found; found = Process32NextW(snapshot, &entry)) {
        if (entry.th32ParentProcessID == GetCurrentProcessId())
            children.append(static_cast<int>(entry.th32ProcessID));
    }
    CloseHandle(snapshot);
    return children;
}

HANDLE Open(int processID, DWORD access)
{
    return OpenProcess(access, FALSE, static_cast<DWORD>(processID));
}
} // namespace

// Orphans keep the number of their parent here; the tests look at each process by its number.
void ProcessTable::AdoptOrphans() {}

QList<int> ProcessTable::LivingChildren()
{
    QList<int> children = Children();
    children.removeIf([](int processID) { return !IsAlive(processID); });
    return children;
}

void ProcessTable::EndChildren()
{
    for (const int processID : LivingChildren()) {
        const HANDLE process = Open(processID, PROCESS_TERMINATE);
        TerminateProcess(process, 1);
        CloseHandle(process);
    }
}

bool ProcessTable::IsAlive(int processID)
{
    const HANDLE process = Open(processID, SYNCHRONIZE);
    if (!process)
        return false;
    const bool alive = WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
    CloseHandle(process);
    return alive;
}
