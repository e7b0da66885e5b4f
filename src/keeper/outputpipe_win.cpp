// SPDX-License-Identifier: MIT
#include "keeper/outputpipe_win.h"

#include "wire/ownersecurity_win.h"
#include "wire/runrecord.h"
#include "wire/systemtext_win.h"

#include <algorithm>
#include <utility>

Taskmill_OutputPipe::Taskmill_OutputPipe()
    : m_event{CreateEventW(nullptr, TRUE, FALSE, nullptr)}
{
    constexpr DWORD bufferSize = 256 * 1024;
    const std::wstring name = L"\\\\.\\pipe\\taskmill-output-" + Taskmill_WideText(Taskmill_NewRunID());
    Taskmill_OwnerSecurity security;
    if (!security.Get())
        return;
    m_pipe = CreateNamedPipeW(name.c_str(),
                              PIPE_ACCESS_INBOUND | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
                              PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS, 1,
                              bufferSize, bufferSize, 0, security.Get());
    SECURITY_ATTRIBUTES inheritable{};
    inheritable.nLength = sizeof inheritable;
    inheritable.bInheritHandle = TRUE;
    m_runsEnd = CreateFileW(name.c_str(), GENERIC_WRITE | FILE_READ_ATTRIBUTES, 0, &inheritable,
                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (m_runsEnd == INVALID_HANDLE_VALUE) {
        m_runsEnd = nullptr;
        End();
        return;
    }
    BeginToRead();
}

Taskmill_OutputPipe::~Taskmill_OutputPipe()
{
    CloseRunsEnd();
    End();
    CloseHandle(m_event);
}

void Taskmill_OutputPipe::CloseRunsEnd()
{
    if (m_runsEnd)
        CloseHandle(std::exchange(m_runsEnd, nullptr));
}

void Taskmill_OutputPipe::BeginToRead()
{
    m_reading = {};
    m_reading.hEvent = m_event;
    ResetEvent(m_event);
    m_isReading = ReadFile(m_pipe, m_bytes.data(), static_cast<DWORD>(m_bytes.size()), nullptr, &m_reading) ||
                  GetLastError() == ERROR_IO_PENDING;
    if (!m_isReading)
        End();
}

void Taskmill_OutputPipe::End()
{
    if (!IsOpen())
        return;
    DWORD count = 0;
    if (std::exchange(m_isReading, false)) {
        CancelIoEx(m_pipe, &m_reading);
        GetOverlappedResult(m_pipe, &m_reading, &count, TRUE);
    }
    CloseHandle(std::exchange(m_pipe, INVALID_HANDLE_VALUE));
}

std::string_view Taskmill_OutputPipe::Read()
{
    static std::array<char, 60UL * 1024> taken;
    DWORD count = 0;
    if (!IsOpen())
        return {};
    if (!GetOverlappedResult(m_pipe, &m_reading, &count, FALSE)) {
        if (GetLastError() != ERROR_IO_INCOMPLETE) {
            m_isReading = false;
            End();
        }
        return {};
    }
    std::copy_n(m_bytes.begin(), count, taken.begin());
    BeginToRead();
    return {taken.data(), count};
}
