#pragma once

#include "service/consoleterminal.h"

#include <array>
#include <atomic>

/// Waits for bytes of a descriptor or for being woken, whichever comes first.
class Taskmill_InterruptibleInput
{
public:
    explicit Taskmill_InterruptibleInput(int descriptor);
    ~Taskmill_InterruptibleInput();
    Q_DISABLE_COPY_MOVE(Taskmill_InterruptibleInput)

    /// The next byte. Nothing when it was woken, by a signal too, or interrupted; the end of the input is
    /// waited out.
    [[nodiscard]] std::optional<char> ReadByte();
    [[nodiscard]] bool IsInterrupted() const { return m_interrupted; }
    /// Makes a ReadByte() that waits return without a byte, once.
    void Wake();
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
    std::array<int, 2> m_wakePipe{-1, -1};
    std::atomic<bool> m_interrupted{false};
    int m_endWaitMs = 0; ///< how long the last end of the input was waited out
};

/// Reads lines as they come, without editing.
class Taskmill_PlainTerminal final : public Taskmill_ConsoleTerminal
{
public:
    explicit Taskmill_PlainTerminal(int inputDescriptor);

    std::optional<QString> ReadLine(const QString &prompt) override;
    void Print(const QString &text) override;
    void Interrupt() override;

private:
    Taskmill_InterruptibleInput m_input;
};
