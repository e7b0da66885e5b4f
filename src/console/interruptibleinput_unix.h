// SPDX-License-Identifier: MIT
#pragma once

#include "console/wakepipe_unix.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <optional>

/// Waits for bytes of a descriptor or for being woken, whichever comes first.
class Taskmill_InterruptibleInput
{
public:
    explicit Taskmill_InterruptibleInput(int descriptor);

    /// The next byte; takes more from the descriptor than that. Nothing when it was woken, by a signal too,
    /// or interrupted; the end of the input is waited out.
    [[nodiscard]] std::optional<char> ReadByte();
    [[nodiscard]] bool IsInterrupted() const { return m_interrupted; }
    /// Makes a ReadByte() that waits return without a byte, once.
    void Wake() { m_wakePipe.Wake(); }
    /// The same for good.
    void Interrupt();

private:
    enum class Waited
    {
        Ready,
        Woken
    };

    [[nodiscard]] Waited WaitForInput(int timeoutMs, bool alsoDescriptor);

    const int m_descriptor;
    Taskmill_WakePipe m_wakePipe;
    std::atomic<bool> m_interrupted{false};
    std::array<char, 4096> m_bytes{}; ///< read, of which some may be taken already
    std::size_t m_next = 0;
    std::size_t m_end = 0;
    int m_endWaitMs = 0; ///< how long the last end of the input was waited out
};
