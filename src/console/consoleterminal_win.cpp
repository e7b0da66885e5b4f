// SPDX-License-Identifier: MIT
#include "console/consoleterminal.h"

#include "console/consolewriter_win.h"

#include <QStringDecoder>

#include <array>
#include <atomic>

#include <windows.h>

namespace {
constexpr DWORD endWaitMs = 250;
constexpr DWORD cancelRoundMs = 5;
constexpr int cancelRounds = 200;

/// UTF-8 as other programs of today write it, else the code page of Windows.
QString TextOfLine(const QByteArray &line)
{
    QStringDecoder decoder{QStringDecoder::Utf8};
    QString text = decoder.decode(line);
    return decoder.hasError() ? QString::fromLocal8Bit(line) : text;
}

/// Reads lines as they come; the console host of Windows has editing and history of its own.
class WindowsTerminal final : public Taskmill_ConsoleTerminal
{
public:
    WindowsTerminal()
        : m_input{GetStdHandle(STD_INPUT_HANDLE)}
        , m_interruptEvent{CreateEventW(nullptr, TRUE, FALSE, nullptr)}
    {
        DWORD mode = 0;
        m_isConsole = GetConsoleMode(m_input, &mode) != 0;
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
        m_isBrokenOff = false;
        Print(prompt);
        QByteArray line;
        while (const std::optional<char> byte = NextByte()) {
            if (*byte == '\n')
                return TextOfLine(line);
            if (*byte != '\r' && line.size() < MaxLineBytes)
                line += *byte;
        }
        return std::nullopt;
    }

    [[nodiscard]] bool IsBrokenOff() override
    {
        // Ctrl+C ends the program here.
        m_isBrokenOff = m_isBrokenOff || (m_isConsole && EscapeWasPressed());
        return m_isBrokenOff;
    }
    [[nodiscard]] QString BreakOffKey() const override
    {
        return m_isConsole ? QStringLiteral("Esc") : QString{};
    }
    [[nodiscard]] int Columns() const override
    {
        CONSOLE_SCREEN_BUFFER_INFO info{};
        // Behind a full line the console puts an empty one.
        return GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info) ? info.dwSize.X - 1 : 0;
    }

    void Print(const QString &text) override { m_writer.Write(text); }
    void Post(const QString &text) override { m_writer.Post(text); }

    [[nodiscard]] bool IsInteractive() const override { return m_isConsole; }

    void Interrupt() override
    {
        m_writer.Interrupt();
        m_interrupted = true;
        SetEvent(m_interruptEvent);
        // The reading thread may still be on its way into the call that is to be cancelled. What stands
        // behind the handle may not know how to cancel.
        for (int round = 0; round < cancelRounds && m_reading && m_thread; ++round) {
            if (!CancelSynchronousIo(m_thread) && m_isConsole)
                PressEnter();
            Sleep(cancelRoundMs);
        }
    }
    [[nodiscard]] bool IsStillReading() const override { return m_interrupted && m_reading; }

private:
    std::optional<char> NextByte()
    {
        while (m_next == m_bytes.size()) {
            if (m_interrupted)
                return std::nullopt;
            m_next = 0;
            m_reading = true;
            m_bytes = m_interrupted ? QByteArray{} : ReadSome();
            m_reading = false;
            if (!m_bytes.isEmpty())
                break;
            // Ctrl+C ends the reading too.
            CallWakeHook();
            // More may come behind the end of a file that grows.
            WaitForSingleObject(m_interruptEvent, endWaitMs);
        }
        return m_bytes.at(m_next++);
    }

    QByteArray ReadSome() const
    {
        DWORD count = 0;
        if (m_isConsole) {
            std::array<wchar_t, 1024> units{};
            const BOOL read =
                ReadConsoleW(m_input, units.data(), static_cast<DWORD>(units.size()), &count, nullptr);
            return QString::fromWCharArray(units.data(), read ? static_cast<qsizetype>(count) : 0).toUtf8();
        }
        std::array<char, 1024> bytes{};
        const BOOL read = ReadFile(m_input, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr);
        return {bytes.data(), read ? static_cast<qsizetype>(count) : 0};
    }

    /// Takes the keys up to that one.
    [[nodiscard]] bool EscapeWasPressed() const
    {
        std::array<INPUT_RECORD, 128> events{};
        DWORD count = 0;
        if (!PeekConsoleInputW(m_input, events.data(), static_cast<DWORD>(events.size()), &count))
            return false;
        for (DWORD position = 0; position < count; ++position) {
            const INPUT_RECORD &event = events.at(position);
            if (event.EventType != KEY_EVENT || !event.Event.KeyEvent.bKeyDown ||
                event.Event.KeyEvent.wVirtualKeyCode != VK_ESCAPE)
                continue;
            ReadConsoleInputW(m_input, events.data(), position + 1, &count);
            return true;
        }
        return false;
    }

    /// Ends the reading of a line on a console whose reading cannot be cancelled.
    void PressEnter() const
    {
        INPUT_RECORD key{};
        key.EventType = KEY_EVENT;
        key.Event.KeyEvent.bKeyDown = TRUE;
        key.Event.KeyEvent.wRepeatCount = 1;
        key.Event.KeyEvent.wVirtualKeyCode = VK_RETURN;
        key.Event.KeyEvent.uChar.UnicodeChar = L'\r';
        DWORD written = 0;
        WriteConsoleInputW(m_input, &key, 1, &written);
    }

    Taskmill_ConsoleWriter m_writer;
    const HANDLE m_input;
    const HANDLE m_interruptEvent;
    bool m_isConsole = false;
    bool m_isBrokenOff = false;
    std::atomic<HANDLE> m_thread{nullptr}; ///< the one that reads
    std::atomic<bool> m_reading{false};
    std::atomic<bool> m_interrupted{false};
    QByteArray m_bytes; ///< read, of which some may be taken already
    qsizetype m_next = 0;
};
} // namespace

std::unique_ptr<Taskmill_ConsoleTerminal> Taskmill_MakeConsoleTerminal()
{
    return std::make_unique<WindowsTerminal>();
}
