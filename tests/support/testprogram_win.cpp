// SPDX-License-Identifier: MIT
#include "support/testprogram_system.h"

#include <cstdio>
#include <cstdlib>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <windows.h>

namespace {
std::wstring programPath;

std::string ToUtf8(const std::wstring &text)
{
    std::string bytes(text.size() * 3, '\0');
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                                         static_cast<int>(bytes.size()), nullptr, nullptr);
    bytes.resize(static_cast<size_t>(size));
    return bytes;
}

std::wstring FromUtf8(const std::string &bytes)
{
    std::wstring text(bytes.size(), L'\0');
    const int size = MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()),
                                         text.data(), static_cast<int>(text.size()));
    text.resize(static_cast<size_t>(size));
    return text;
}
} // namespace

int TestProgramSystem::ProcessId()
{
    return _getpid();
}

void TestProgramSystem::StartCopy(std::span<const std::string> arguments)
{
    // The tests give such arguments only as need no quotes.
    std::vector<std::wstring> texts{L'"' + programPath + L'"'};
    for (const std::string &argument : arguments)
        texts.push_back(FromUtf8(argument));
    std::vector<const wchar_t *> pointers;
    for (const std::wstring &text : texts)
        pointers.push_back(text.c_str());
    pointers.push_back(nullptr);
    _wspawnv(_P_NOWAIT, programPath.c_str(), pointers.data());
}

void TestProgramSystem::LeaveSession() {}

void TestProgramSystem::Crash()
{
    // What is left behind by an exception that nobody handles, without the debugger that it would call.
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(STATUS_ACCESS_VIOLATION));
    std::abort();
}

int wmain(int argc, wchar_t **argv)
{
    for (std::FILE *stream : {stdin, stdout, stderr})
        _setmode(_fileno(stream), _O_BINARY);
    programPath = argv[0];
    std::vector<std::string> arguments;
    for (int i = 0; i < argc; ++i)
        arguments.push_back(ToUtf8(argv[i]));
    return RunTestProgram(arguments);
}
