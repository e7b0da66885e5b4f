// SPDX-License-Identifier: MIT
#include "endtoend/windowsconsole.h"

#include "support/testutil.h"

#include <QProcess>
#include <QtTest>

#include <vector>

#include <windows.h>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int longestWaitMs = 60'000;

/// What is meant for the program under test does not end this one.
BOOL WINAPI Ignore(DWORD)
{
    return TRUE;
}

HANDLE OpenConsoleFile(const wchar_t *name)
{
    const HANDLE file = CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_EXISTING, 0, nullptr);
    return file == INVALID_HANDLE_VALUE ? nullptr : file;
}

INPUT_RECORD Key(QChar character, bool down)
{
    INPUT_RECORD record{};
    record.EventType = KEY_EVENT;
    record.Event.KeyEvent.bKeyDown = down;
    record.Event.KeyEvent.wRepeatCount = 1;
    record.Event.KeyEvent.wVirtualKeyCode = character == u'\r' ? VK_RETURN : 0;
    record.Event.KeyEvent.uChar.UnicodeChar = static_cast<wchar_t>(character.unicode());
    return record;
}

/// Has the process handle the event as the system would do it.
bool HandleEvent(qint64 processID, DWORD event)
{
    const auto handle = reinterpret_cast<LPTHREAD_START_ROUTINE>(
        reinterpret_cast<void *>(GetProcAddress(GetModuleHandleW(L"kernelbase"), "CtrlRoutine")));
    const HANDLE process = OpenProcess(PROCESS_ALL_ACCESS, FALSE, static_cast<DWORD>(processID));
    if (!handle || !process)
        return false;
    // The library stands at the same place in every process.
    const HANDLE thread = CreateRemoteThread(process, nullptr, 0, handle,
                                             reinterpret_cast<void *>(ULONG_PTR{event}), 0, nullptr);
    CloseHandle(process);
    return thread && CloseHandle(thread);
}

bool Close(qint64 processID)
{
    const HWND window = GetConsoleWindow();
    // Whoever is still at the console when it is closed is ended.
    FreeConsole();
    // Wine ends the others too, without asking them.
    return RunsUnderWine() ? HandleEvent(processID, CTRL_CLOSE_EVENT)
                           : window && PostMessageW(window, WM_CLOSE, 0, 0);
}
} // namespace

WindowsConsole::WindowsConsole(int processID)
{
    FreeConsole();
    const bool joined = processID == 0 ? AllocConsole() : AttachConsole(static_cast<DWORD>(processID));
    if (!joined)
        return;
    // Ctrl+C may be ignored by inheritance, and the programs started from here are not to inherit that.
    SetConsoleCtrlHandler(nullptr, FALSE);
    SetConsoleCtrlHandler(Ignore, TRUE);
    m_input = OpenConsoleFile(L"CONIN$");
    m_output = OpenConsoleFile(L"CONOUT$");
    // No path is to be broken at the edge.
    SetConsoleScreenBufferSize(m_output, {250, 250});
}

bool WindowsConsole::IsOpen() const
{
    CONSOLE_SCREEN_BUFFER_INFO information{};
    return GetConsoleScreenBufferInfo(m_output, &information);
}

WindowsConsole::~WindowsConsole()
{
    for (const HANDLE file : {m_input, m_output}) {
        if (file)
            CloseHandle(file);
    }
    SetConsoleCtrlHandler(Ignore, FALSE);
    FreeConsole();
}

void WindowsConsole::Type(const QString &line) const
{
    std::vector<INPUT_RECORD> records;
    for (const QChar character : QString{line + u'\r'}) {
        records.push_back(Key(character, true));
        records.push_back(Key(character, false));
    }
    DWORD written = 0;
    WriteConsoleInputW(m_input, records.data(), static_cast<DWORD>(records.size()), &written);
}

bool WindowsConsole::Make(Event event, qint64 processID)
{
    switch (event) {
    case Event::ControlC:
        return GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
    case Event::Break:
        // Wine sends Ctrl+C alone.
        return GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, 0) || HandleEvent(processID, CTRL_BREAK_EVENT);
    case Event::Close:
        return Close(processID);
    }
    return false;
}

bool WindowsConsole::IsMinimised()
{
    return IsIconic(GetConsoleWindow());
}

void WindowsConsole::KeepFrom(QProcess &process)
{
    process.setCreateProcessArgumentsModifier([](QProcess::CreateProcessArguments *arguments) {
        arguments->flags |= DETACHED_PROCESS;
        arguments->startupInfo->dwFlags &= ~static_cast<DWORD>(STARTF_USESTDHANDLES);
    });
}

QString WindowsConsole::Screen() const
{
    CONSOLE_SCREEN_BUFFER_INFO information{};
    if (!GetConsoleScreenBufferInfo(m_output, &information))
        return {};
    QString screen;
    std::vector<wchar_t> units(static_cast<size_t>(information.dwSize.X));
    for (SHORT row = 0; row <= information.dwCursorPosition.Y; ++row) {
        DWORD count = 0;
        ReadConsoleOutputCharacterW(m_output, units.data(), static_cast<DWORD>(units.size()), {0, row},
                                    &count);
        QString line = QString::fromWCharArray(units.data(), static_cast<qsizetype>(count));
        while (line.endsWith(u' '))
            line.chop(1);
        screen += line + u'\n';
    }
    return screen;
}

bool WindowsConsole::Expect(const QString &text) const
{
    if (QTest::qWaitFor([&] { return Screen().contains(text); }, longestWaitMs))
        return true;
    qWarning("Not \"%ls\" but \"%ls\"", qUtf16Printable(text), qUtf16Printable(Screen()));
    return false;
}
