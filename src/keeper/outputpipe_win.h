// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <string_view>

#include <windows.h>

/// A pipe through which a run writes, read without ever waiting.
class Taskmill_OutputPipe
{
public:
    Taskmill_OutputPipe();
    ~Taskmill_OutputPipe();
    Taskmill_OutputPipe(const Taskmill_OutputPipe &) = delete;
    Taskmill_OutputPipe &operator=(const Taskmill_OutputPipe &) = delete;

    /// False when the system gives none.
    [[nodiscard]] bool IsOpen() const { return m_pipe != INVALID_HANDLE_VALUE; }
    /// The end for the run, inheritable; nullptr after CloseRunsEnd().
    [[nodiscard]] HANDLE RunsEnd() const { return m_runsEnd; }
    /// Once the run has its own copy: the pipe ends with the last of those.
    void CloseRunsEnd();
    /// Set when bytes have come, and at the end.
    [[nodiscard]] HANDLE Event() const { return m_event; }

    /// The bytes that have come, valid until the next call; empty when none have, or the pipe has ended.
    [[nodiscard]] std::string_view Read();

private:
    void BeginToRead();
    void End();

    HANDLE m_pipe = INVALID_HANDLE_VALUE;
    HANDLE m_runsEnd = nullptr;
    HANDLE m_event = nullptr;
    OVERLAPPED m_reading{};
    bool m_isReading = false;
    std::array<char, 60UL * 1024> m_bytes{}; ///< below a chunk of the layout of the file
};
