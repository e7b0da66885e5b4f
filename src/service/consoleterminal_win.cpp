#include "service/consoleterminal.h"

#include <array>
#include <atomic>

#include <windows.h>

namespace {
constexpr DWORD endWaitMs = 250;

/// Reads lines as they come; the console host of Windows has editing and history of its own.
class WindowsTerminal final : public Taskmill_ConsoleTerminal
{
public:
    WindowsTerminal()
        : m_input{GetStdHandle(STD_INPUT_HANDLE)}
        , m_interruptEvent{CreateEventW(nullptr, TRUE, FALSE, nullptr)}
    {
    }
    ~WindowsTerminal() override
    {
        CloseHandle(m_interruptEvent);
        if (m_thread)
            CloseHandle(m_thread);
    }
    Q_DISABLE_COPY_MOVE(WindowsTerminal)

    std::optional<QString> ReadLine(const QString &prompt) override
    {
        if (!m_thread)
            m_thread = OpenThread(THREAD_TERMINATE, FALSE, GetCurrentThreadId());
        Print(prompt);
        QByteArray line;
        while (const std::optional<char> byte = ReadByte()) {
            if (*byte == '\n')
                return QString::fromLocal8Bit(line);
            if (*byte != '\r' && line.size() < MaxLineBytes)
                line += *byte;
        }
        return std::nullopt;
    }

    void Print(const QString &text) override { Taskmill_WriteToStandardOutput(text); }

    void Interrupt() override
    {
        m_interrupted = true;
        SetEvent(m_interruptEvent);
        // The reading thread may still be on its way into the call that is to be cancelled.
        while (m_reading && m_thread) {
            CancelSynchronousIo(m_thread);
            SwitchToThread();
        }
    }

private:
    std::optional<char> ReadByte()
    {
        while (!m_interrupted) {
            char byte = 0;
            DWORD count = 0;
            m_reading = true;
            const BOOL read = !m_interrupted && ReadFile(m_input, &byte, 1, &count, nullptr);
            m_reading = false;
            if (read && count == 1)
                return byte;
            // More may come behind the end of a file that grows.
            WaitForSingleObject(m_interruptEvent, endWaitMs);
        }
        return std::nullopt;
    }

    const HANDLE m_input;
    const HANDLE m_interruptEvent;
    std::atomic<HANDLE> m_thread{nullptr}; ///< the one that reads
    std::atomic<bool> m_reading{false};
    std::atomic<bool> m_interrupted{false};
};
} // namespace

std::unique_ptr<Taskmill_ConsoleTerminal> Taskmill_MakeConsoleTerminal()
{
    return std::make_unique<WindowsTerminal>();
}
