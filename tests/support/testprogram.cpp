// Stands in for a calculation in tests. Its arguments are carried out one after another:
//   exit N          end at once with status N
//   crash           end by a signal (as after an unhandled exception on Windows)
//   wait            sleep until killed
//   waitfor FILE    sleep until the file exists
//   touch FILE      make an empty file
//   print TEXT      write TEXT and a line feed to standard output
//   error TEXT      the same to standard error
//   fill N          write N bytes of 80-byte lines to standard output
//   args FILE       write all following arguments to FILE, each followed by a NUL byte, and end
//   env NAME        write the variable NAME=VALUE, or NAME alone when it is not set
//   cwd             write the current directory
//   stdin           copy standard input to standard output
//   pid FILE        write the process id into FILE
//   session         become the leader of a session of its own (nothing on Windows)
//   child ARGS...   start a copy of itself with ARGS and go on waiting until killed

#include "support/testprogram_system.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

static void Sleep()
{
    std::this_thread::sleep_for(std::chrono::milliseconds{10});
}

static void WaitUntilKilled()
{
    for (;;)
        Sleep();
}

static void Fill(long long bytes)
{
    const std::string line = std::string(79, 'x') + '\n';
    std::string block;
    for (int i = 0; i < 800; ++i)
        block += line;
    for (long long count = 0; bytes > 0; bytes -= count) {
        count = std::min(bytes, static_cast<long long>(block.size()));
        std::fwrite(block.data(), 1, static_cast<size_t>(count), stdout);
    }
}

static void CopyInput()
{
    for (int c = std::getchar(); c != EOF; c = std::getchar())
        std::putchar(c);
}

static std::filesystem::path Path(const std::string &text)
{
    return std::u8string{text.begin(), text.end()};
}

static void WriteArguments(const std::string &path, std::span<const std::string> arguments)
{
    std::ofstream out{Path(path), std::ios::binary};
    for (const std::string &argument : arguments)
        out << argument << '\0';
}

static void PrintVariable(const std::string &name)
{
    if (const std::optional<std::string> value = TestProgramSystem::Variable(name))
        std::printf("%s=%s\n", name.c_str(), value->c_str());
    else
        std::printf("%s\n", name.c_str());
}

static void WriteProcessId(const std::string &path)
{
    const std::string temporary = path + ".part";
    std::ofstream{Path(temporary)} << TestProgramSystem::ProcessId();
    std::filesystem::rename(Path(temporary), Path(path));
}

static void WaitForFile(const std::string &path)
{
    std::fflush(stdout);
    while (!std::filesystem::exists(Path(path)))
        Sleep();
}

static void PrintDirectory()
{
    const std::u8string directory = std::filesystem::current_path().u8string();
    std::printf("%s\n", std::string{directory.begin(), directory.end()}.c_str());
}

/// Carries out a verb with one word behind it; false when there is no such verb.
static bool CarryOut(const std::string &verb, const std::string &value)
{
    if (verb == "waitfor")
        WaitForFile(value);
    else if (verb == "touch")
        std::ofstream{Path(value)};
    else if (verb == "print")
        std::printf("%s\n", value.c_str());
    else if (verb == "error")
        std::fprintf(stderr, "%s\n", value.c_str());
    else if (verb == "fill")
        Fill(std::stoll(value));
    else if (verb == "env")
        PrintVariable(value);
    else if (verb == "pid")
        WriteProcessId(value);
    else
        return false;
    return true;
}

int RunTestProgram(std::span<const std::string> arguments)
{
    for (size_t i = 1; i < arguments.size(); ++i) {
        const std::string &verb = arguments[i];
        const std::string value = i + 1 < arguments.size() ? arguments[i + 1] : std::string{};
        if (verb == "exit")
            return std::atoi(value.c_str());
        if (verb == "crash") {
            std::fflush(stdout);
            TestProgramSystem::Crash();
        } else if (verb == "wait") {
            std::fflush(stdout);
            WaitUntilKilled();
        } else if (verb == "cwd") {
            PrintDirectory();
        } else if (verb == "session") {
            TestProgramSystem::LeaveSession();
        } else if (verb == "stdin") {
            CopyInput();
        } else if (verb == "child") {
            std::fflush(stdout);
            TestProgramSystem::StartCopy(arguments.subspan(i + 1));
            WaitUntilKilled();
        } else if (verb == "args") {
            WriteArguments(value, arguments.subspan(std::min(i + 2, arguments.size())));
            return 0;
        } else if (CarryOut(verb, value)) {
            ++i;
        } else {
            std::fprintf(stderr, "unknown verb %s\n", verb.c_str());
            return 64;
        }
    }
    return 0;
}
