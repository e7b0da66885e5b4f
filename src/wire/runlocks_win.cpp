// SPDX-License-Identifier: MIT
#include "wire/runlocks.h"

#include "wire/openjournal_win.h"
#include "wire/runrecord.h"
#include "wire/systemtext_win.h"

#include <windows.h>

namespace {
constexpr std::intptr_t noFile = -1;
/// What is locked of a journal, or of the file "claims": behind everything that is ever written.
constexpr std::int64_t lockedByte = 0x4000000000000000;

HANDLE Handle(std::intptr_t file)
{
    return reinterpret_cast<HANDLE>(file);
}

std::intptr_t OpenFile(const std::string &path, DWORD access, DWORD disposition)
{
    return reinterpret_cast<std::intptr_t>(CreateFileW(Taskmill_WideText(path).c_str(), access,
                                                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                                       nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
}

/// Ends with the handle.
bool Lock(std::intptr_t file, std::int64_t offset, DWORD flags)
{
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(offset & 0xFFFFFFFF);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32U);
    return file != noFile && LockFileEx(Handle(file), flags, 0, 1, 0, &place) != 0;
}

void Close(std::intptr_t file)
{
    if (file != noFile)
        CloseHandle(Handle(file));
}

/// Those who only look do not stand in each other's way.
bool IsLockedByOther(const std::string &path, std::int64_t offset, DWORD exclusive)
{
    const std::intptr_t file = OpenFile(path, GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING);
    // In doubt it is: what is taken for lost is ended, or started again.
    if (file == noFile)
        return GetLastError() != ERROR_FILE_NOT_FOUND && GetLastError() != ERROR_PATH_NOT_FOUND;
    const bool isLocked = !Lock(file, offset, LOCKFILE_FAIL_IMMEDIATELY | exclusive);
    Close(file);
    return isLocked;
}
} // namespace

bool Taskmill_IsKeeperAlive(const std::string &runFolder, std::string_view runID)
{
    return IsLockedByOther(runFolder + "/living", Taskmill_RunLockOffset(runID), 0);
}

Taskmill_RunLock::Taskmill_RunLock(const std::string &runFolder, std::string_view runID)
    : m_file{OpenFile(runFolder + "/living", GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS)}
    , m_isHeld{
          Lock(m_file, Taskmill_RunLockOffset(runID), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY)}
{
}

Taskmill_RunLock::~Taskmill_RunLock()
{
    Close(m_file);
}

bool Taskmill_IsJournalInUse(const std::string &journal)
{
    return IsLockedByOther(journal, lockedByte, LOCKFILE_EXCLUSIVE_LOCK);
}

Taskmill_OpenJournal::Taskmill_OpenJournal(const std::string &journal)
    : m_file{OpenFile(journal, FILE_APPEND_DATA | FILE_READ_DATA | SYNCHRONIZE, OPEN_ALWAYS)}
{
    // Shared by all who append.
    if (!Lock(m_file, lockedByte, LOCKFILE_FAIL_IMMEDIATELY)) {
        Close(m_file);
        m_file = noFile;
    }
}

Taskmill_OpenJournal::~Taskmill_OpenJournal()
{
    Close(m_file);
}

bool Taskmill_OpenJournal::IsOpen() const
{
    return m_file != noFile;
}

long long Taskmill_OpenJournal::Append(const std::string &text, int &error) const
{
    DWORD count = 0;
    const bool isWritten =
        WriteFile(Handle(m_file), text.data(), static_cast<DWORD>(text.size()), &count, nullptr) != 0;
    error = static_cast<int>(GetLastError());
    return isWritten ? static_cast<long long>(count) : -1;
}

void Taskmill_OpenJournal::Store() const
{
    FlushFileBuffers(Handle(m_file));
}

bool Taskmill_AppendToJournal(const std::string &journal, const std::string &line)
{
    const std::intptr_t file =
        OpenFile(journal, FILE_APPEND_DATA | FILE_READ_DATA | SYNCHRONIZE, OPEN_EXISTING);
    if (file == noFile)
        return false;
    LARGE_INTEGER last{};
    last.QuadPart = -1;
    char end = '\n';
    DWORD count = 0;
    // There is none in an empty file.
    const bool isTorn = SetFilePointerEx(Handle(file), last, nullptr, FILE_END) &&
                        (!ReadFile(Handle(file), &end, 1, &count, nullptr) || count != 1 || end != '\n');
    const std::string text = isTorn ? '\n' + line : line;
    const bool isWritten =
        WriteFile(Handle(file), text.data(), static_cast<DWORD>(text.size()), &count, nullptr) &&
        count == static_cast<DWORD>(text.size());
    Close(file);
    return isWritten;
}

Taskmill_ClaimLock::Taskmill_ClaimLock(const std::string &runFolder, int waitMs)
    : m_file{OpenFile(runFolder + "/claims", GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS)}
    , m_isHeld{false}
{
    // A pause takes at least its time.
    for (int waitedMs = 0; m_file != noFile; ++waitedMs) {
        m_isHeld = Lock(m_file, lockedByte, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY);
        if (m_isHeld || waitedMs >= waitMs)
            break;
        Sleep(1);
    }
}

Taskmill_ClaimLock::~Taskmill_ClaimLock()
{
    Close(m_file);
}
