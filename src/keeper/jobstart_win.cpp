// SPDX-License-Identifier: MIT
#include "keeper/jobstart_win.h"

#include "wire/startup_win.h"
#include "wire/systemtext_win.h"

#include <algorithm>
#include <vector>

namespace {
class File
{
public:
    explicit File(HANDLE handle)
        : m_handle{handle}
    {
    }
    ~File()
    {
        if (IsOpen())
            CloseHandle(m_handle);
    }
    File(const File &) = delete;
    File &operator=(const File &) = delete;

    [[nodiscard]] bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }
    [[nodiscard]] HANDLE Get() const { return m_handle; }

private:
    HANDLE m_handle;
};

/// Opens a file with a handle that the new process inherits.
HANDLE OpenFile(const std::string &path, DWORD access, DWORD disposition)
{
    SECURITY_ATTRIBUTES inheritable{};
    inheritable.nLength = sizeof inheritable;
    inheritable.bInheritHandle = TRUE;
    return CreateFileW(Taskmill_WideText(path).c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE,
                       &inheritable, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

Taskmill_StartedJob Failed(DWORD error, std::string_view file)
{
    return {.process = nullptr, .id = 0, .error = static_cast<int>(error), .failedFile = std::string{file}};
}

/// The program, in quotes where it needs them, and behind it the arguments as they are.
std::wstring CommandLine(const std::vector<const char *> &arguments)
{
    std::string program = arguments.front();
    std::ranges::replace(program, '/', '\\');
    if (program.find(' ') != std::string::npos && !program.starts_with('"'))
        program = '"' + program + '"';
    for (std::size_t position = 1; position < arguments.size(); ++position)
        program.append(1, ' ').append(arguments.at(position));
    return Taskmill_WideText(program);
}

/// As the system wants it: each text with its NUL, and one behind them.
std::wstring EnvironmentBlock(const std::vector<const char *> &variables)
{
    std::wstring block;
    for (const char *variable : variables)
        block.append(Taskmill_WideText(variable)).append(1, L'\0');
    return block + L'\0';
}

Taskmill_StartedJob StartWithFiles(const Taskmill_KeeperMessage &order, HANDLE jobObject, HANDLE input,
                                   HANDLE output)
{
    const std::vector<const char *> arguments = order.Values("argument");
    if (arguments.empty())
        return Failed(ERROR_INVALID_PARAMETER, {});
    Taskmill_InheritedHandles inherited{{input, output}};
    if (!inherited.AreValid())
        return Failed(GetLastError(), {});
    STARTUPINFOW *startup = inherited.StartupInfo();
    startup->dwFlags = STARTF_USESTDHANDLES;
    startup->hStdInput = input;
    startup->hStdOutput = output;
    startup->hStdError = output;
    std::wstring command = CommandLine(arguments);
    std::wstring environment = EnvironmentBlock(order.Values("variable"));
    const std::string directory{order.Value("directory")};
    const std::wstring wideDirectory = Taskmill_WideText(directory);
    PROCESS_INFORMATION process{};
    // Whatever it starts is to be in the job object, so it may not begin before it is there itself.
    const DWORD priority = order.Number("nice", 0) > 0 ? BELOW_NORMAL_PRIORITY_CLASS : 0;
    const DWORD flags = CREATE_SUSPENDED | CREATE_NEW_PROCESS_GROUP | CREATE_UNICODE_ENVIRONMENT |
                        EXTENDED_STARTUPINFO_PRESENT | priority;
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, flags, environment.data(),
                        wideDirectory.empty() ? nullptr : wideDirectory.c_str(), startup, &process)) {
        const DWORD error = GetLastError();
        return Failed(error, error == ERROR_DIRECTORY ? directory : std::string{arguments.front()});
    }
    Taskmill_StartedJob job{
        .process = process.hProcess, .id = process.dwProcessId, .error = 0, .failedFile = {}};
    if (!AssignProcessToJobObject(jobObject, process.hProcess)) {
        job = Failed(GetLastError(), arguments.front());
        TerminateProcess(process.hProcess, 1);
        CloseHandle(process.hProcess);
    } else {
        ResumeThread(process.hThread);
    }
    CloseHandle(process.hThread);
    return job;
}
} // namespace

Taskmill_StartedJob Taskmill_StartJob(const Taskmill_KeeperMessage &order, HANDLE jobObject, HANDLE output)
{
    const std::string inputPath{order.Value("input")};
    const std::string outputPath{order.Value("output")};
    const File input{OpenFile(inputPath.empty() ? "NUL" : inputPath, GENERIC_READ, OPEN_EXISTING)};
    if (!input.IsOpen())
        return Failed(GetLastError(), inputPath);
    const File file{outputPath.empty() ? INVALID_HANDLE_VALUE
                                       : OpenFile(outputPath, GENERIC_WRITE, CREATE_ALWAYS)};
    if (!outputPath.empty() && !file.IsOpen())
        return Failed(GetLastError(), outputPath);
    return StartWithFiles(order, jobObject, input.Get(), file.IsOpen() ? file.Get() : output);
}
