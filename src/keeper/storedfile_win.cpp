// SPDX-License-Identifier: MIT
#include "keeper/storedfile.h"

#include "wire/systemtext_win.h"

#include <windows.h>

namespace {
HANDLE Handle(std::intptr_t file)
{
    return reinterpret_cast<HANDLE>(file);
}
} // namespace

Taskmill_StoredFile::~Taskmill_StoredFile()
{
    if (m_file != noFile)
        CloseHandle(Handle(m_file));
}

// The folder is closed to everybody else.
bool Taskmill_StoredFile::Open(const std::string &path)
{
    if (m_file == noFile)
        m_file = reinterpret_cast<std::intptr_t>(
            CreateFileW(Taskmill_WideText(path).c_str(), GENERIC_READ | GENERIC_WRITE,
                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, CREATE_ALWAYS,
                        FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    if (m_file == noFile)
        m_error = static_cast<int>(GetLastError());
    return m_file != noFile;
}

std::size_t Taskmill_StoredFile::WriteAt(long long place, std::string_view bytes)
{
    LARGE_INTEGER position{};
    position.QuadPart = place;
    DWORD count = 0;
    if (SetFilePointerEx(Handle(m_file), position, nullptr, FILE_BEGIN) &&
        WriteFile(Handle(m_file), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr) &&
        count > 0)
        return count;
    m_error = static_cast<int>(GetLastError());
    return 0;
}

void Taskmill_StoredFile::Truncate(long long size)
{
    LARGE_INTEGER position{};
    position.QuadPart = size;
    if (!SetFilePointerEx(Handle(m_file), position, nullptr, FILE_BEGIN) || !SetEndOfFile(Handle(m_file)))
        m_error = static_cast<int>(GetLastError());
}

std::string Taskmill_StoredFile::ErrorText() const
{
    return Taskmill_SystemErrorText(m_error);
}
