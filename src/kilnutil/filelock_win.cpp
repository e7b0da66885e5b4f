// SPDX-License-Identifier: MIT
#include "kilnutil/filelock.h"

#include <QDir>

#include <array>

#include <qt_windows.h>

namespace {
constexpr DWORD longestNote = 8192;
// Behind the note, which others are to read.
constexpr DWORD lockedByte = 0x40000000;
constexpr DWORD sharing = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

HANDLE OpenFile(const QString &path, DWORD access, DWORD disposition)
{
    return CreateFileW(reinterpret_cast<const wchar_t *>(QDir::toNativeSeparators(path).utf16()), access,
                       sharing, nullptr, disposition, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT,
                       nullptr);
}

HANDLE Handle(qintptr file)
{
    return reinterpret_cast<HANDLE>(file);
}
} // namespace

void KilnUtil_FileLock::Take()
{
    const HANDLE file = OpenFile(m_path, GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS);
    if (file == INVALID_HANDLE_VALUE)
        return;
    m_file = reinterpret_cast<qintptr>(file);
    OVERLAPPED place{};
    place.Offset = lockedByte;
    if (LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place)) {
        m_state = State::Held;
        return;
    }
    const bool isHeldElsewhere = GetLastError() == ERROR_LOCK_VIOLATION || GetLastError() == ERROR_IO_PENDING;
    Release();
    m_state = isHeldElsewhere ? State::HeldElsewhere : State::Failed;
}

void KilnUtil_FileLock::Release()
{
    if (m_file != -1)
        CloseHandle(Handle(m_file));
    m_file = -1;
    m_state = State::Failed;
}

bool KilnUtil_FileLock::WriteNote(const QByteArray &note) const
{
    if (!IsHeld())
        return false;
    DWORD written = 0;
    return SetFilePointer(Handle(m_file), 0, nullptr, FILE_BEGIN) != INVALID_SET_FILE_POINTER &&
           WriteFile(Handle(m_file), note.constData(), static_cast<DWORD>(note.size()), &written, nullptr) &&
           written == static_cast<DWORD>(note.size()) && SetEndOfFile(Handle(m_file));
}

QByteArray KilnUtil_FileLock::Note(const QString &path)
{
    const HANDLE file = OpenFile(path, GENERIC_READ, OPEN_EXISTING);
    if (file == INVALID_HANDLE_VALUE)
        return {};
    std::array<char, longestNote> note{};
    DWORD count = 0;
    const bool isRead = ReadFile(file, note.data(), longestNote, &count, nullptr) != 0;
    CloseHandle(file);
    return isRead ? QByteArray{note.data(), static_cast<qsizetype>(count)} : QByteArray{};
}

void KilnUtil_FileLock::Remove()
{
    // The file disappears when its last handle is closed.
    if (IsHeld())
        DeleteFileW(reinterpret_cast<const wchar_t *>(QDir::toNativeSeparators(m_path).utf16()));
    Release();
}
