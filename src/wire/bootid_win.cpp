// SPDX-License-Identifier: MIT
#include "wire/bootid.h"

// windows.h comes first: the others use its types.
#include <windows.h>

#include <winternl.h>

#include <algorithm>
#include <cstddef>
#include <cwchar>
#include <vector>

namespace {
/// A number that the system increases at each start of its kernel; empty where it has none.
std::string KernelStart()
{
    DWORD count = 0;
    DWORD size = sizeof count;
    const LSTATUS status = RegGetValueW(
        HKEY_LOCAL_MACHINE,
        L"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Memory Management\\PrefetchParameters",
        L"BootId", RRF_RT_REG_DWORD, nullptr, &count, &size);
    return status == ERROR_SUCCESS ? std::to_string(count) : std::string{};
}

std::vector<std::byte> AllProcesses()
{
    using Query = NTSTATUS(NTAPI *)(SYSTEM_INFORMATION_CLASS, PVOID, ULONG, PULONG);
    const auto query = reinterpret_cast<Query>(
        reinterpret_cast<void *>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
    constexpr ULONG roomForNewOnes = 64 * 1024;
    constexpr int mostTries = 5;
    std::vector<std::byte> list;
    ULONG size = 0;
    for (int tries = 0; query && tries < mostTries; ++tries) {
        list.resize(size + roomForNewOnes);
        if (query(SystemProcessInformation, list.data(), static_cast<ULONG>(list.size()), &size) >= 0)
            return list;
    }
    return {};
}

/// When the oldest session of a user began, in the system's units. With "fast start-up" the kernel is not
/// started but woken: of the processes that no shutdown ends, those of the sessions are made anew. 0 where no
/// session is seen.
long long OldestSession()
{
    const std::vector<std::byte> list = AllProcesses();
    // winternl.h has these three as one field without a name.
    struct Times
    {
        LARGE_INTEGER workingSet[3];
        LARGE_INTEGER creation;
    };
    constexpr std::wstring_view sessionProcess = L"winlogon.exe";
    long long oldest = 0;
    for (std::size_t offset = 0; offset + sizeof(SYSTEM_PROCESS_INFORMATION) <= list.size();) {
        const auto *process = reinterpret_cast<const SYSTEM_PROCESS_INFORMATION *>(list.data() + offset);
        constexpr std::size_t timesOffset = 2 * sizeof(ULONG);
        const auto *times = reinterpret_cast<const Times *>(list.data() + offset + timesOffset);
        const UNICODE_STRING &name = process->ImageName;
        const bool isSession = name.Buffer && name.Length / sizeof(wchar_t) == sessionProcess.size() &&
                               _wcsnicmp(name.Buffer, sessionProcess.data(), sessionProcess.size()) == 0;
        const long long creation = times->creation.QuadPart;
        if (isSession && creation > 0)
            oldest = oldest == 0 ? creation : std::min(oldest, creation);
        if (process->NextEntryOffset == 0)
            break;
        offset += process->NextEntryOffset;
    }
    return oldest;
}
} // namespace

std::string Taskmill_SystemBootID()
{
    const std::string kernel = KernelStart();
    const long long session = OldestSession();
    if (session == 0)
        return kernel;
    return kernel + '-' + std::to_string(session);
}
