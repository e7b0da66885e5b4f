// SPDX-License-Identifier: MIT
#include "ctl/platform.h"

#include "wire/systemtext_win.h"

#include <algorithm>
#include <array>

#include <windows.h>
// Behind windows.h, on which they build.
#include <io.h>
#include <shellapi.h>

namespace {
/// Null when the stream is no console.
HANDLE ConsoleOf(std::FILE *stream)
{
    const int descriptor = _fileno(stream);
    if (descriptor < 0)
        return nullptr;
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) ? handle : nullptr;
}

std::wstring OwnPath()
{
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD size = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (size < path.size()) {
            path.resize(size);
            return path;
        }
        path.resize(path.size() * 2);
    }
}
} // namespace

std::vector<std::string> Taskmill_CtlPlatform::Arguments(int, char **)
{
    int count = 0;
    LPWSTR *words = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int position = 1; words && position < count; ++position)
        arguments.push_back(Taskmill_Utf8Text(words[position]));
    LocalFree(words);
    return arguments;
}

void Taskmill_CtlPlatform::Write(std::FILE *stream, const std::string &text)
{
    constexpr std::size_t mostUnitsAtOnce = 8192; // older consoles refuse long texts
    std::fflush(stream);
    const HANDLE console = ConsoleOf(stream);
    if (!console) {
        std::fwrite(text.data(), 1, text.size(), stream);
        std::fflush(stream);
        return;
    }
    std::wstring rest = Taskmill_WideText(text);
    while (!rest.empty()) {
        DWORD written = 0;
        const auto units = static_cast<DWORD>(std::min(rest.size(), mostUnitsAtOnce));
        if (!WriteConsoleW(console, rest.data(), units, &written, nullptr) || written == 0)
            return;
        rest.erase(0, written);
    }
}

bool Taskmill_CtlPlatform::IsReadable(const std::string &path)
{
    constexpr int forReading = 4;
    return _waccess(Taskmill_WideText(path).c_str(), forReading) == 0;
}

int Taskmill_CtlPlatform::TerminalWidth()
{
    CONSOLE_SCREEN_BUFFER_INFO console{};
    if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &console))
        return 0;
    // A console adds an empty line behind a full one.
    return console.srWindow.Right - console.srWindow.Left;
}

long long Taskmill_CtlPlatform::ProcessID()
{
    return GetCurrentProcessId();
}

long long Taskmill_CtlPlatform::UserID()
{
    return 0;
}

long long Taskmill_CtlPlatform::GroupID()
{
    return 0;
}

int Taskmill_CtlPlatform::RunSibling(const std::string &name, char **)
{
    std::wstring program = OwnPath();
    program.resize(program.find_last_of(L"\\/") + 1);
    program += Taskmill_WideText(name) + L".exe";
    // As it was given, so that nothing is lost on the way; the program may write into it.
    std::wstring commandLine = GetCommandLineW();
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    start.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                        &start, &process))
        return -1;
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD status = 0;
    GetExitCodeProcess(process.hProcess, &status);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return static_cast<int>(status);
}
