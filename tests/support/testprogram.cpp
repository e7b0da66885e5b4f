// SPDX-License-Identifier: MIT
// Stands in for a calculation in tests. Its arguments are carried out one after another:
//   exit N          end at once with status N
//   crash           end by a signal (as after an unhandled exception on Windows)
//   wait            sleep until killed
//   waitfor FILE    sleep until the file exists
//   touch FILE      make an empty file
//   mark FILE       append the line "start" to the file
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

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

static std::filesystem::path Path(const std::string &text)
{
    return std::u8string{text.begin(), text.end()};
}

static void WaitUntil(const std::function<bool()> &isDone)
{
    std::fflush(stdout);
    while (!isDone())
        std::this_thread::sleep_for(std::chrono::milliseconds{10});
}

static void Fill(long long bytes)
{
    const std::string line = std::string(79, 'x') + '\n';
    for (; bytes > 0; bytes -= 80)
        std::fwrite(line.data(), 1, bytes < 80 ? static_cast<size_t>(bytes) : line.size(), stdout);
}

static void PrintVariable(const std::string &name)
{
    const char *value = std::getenv(name.c_str());
    std::printf("%s%s%s\n", name.c_str(), value ? "=" : "", value ? value : "");
}

static void WriteProcessId(const std::string &path)
{
    std::ofstream{Path(path + ".part")} << TestProgramSystem::ProcessId();
    std::filesystem::rename(Path(path + ".part"), Path(path));
}

static void CopyInput()
{
    for (int c = std::getchar(); c != EOF; c = std::getchar())
        std::putchar(c);
}

static void PrintDirectory()
{
    const std::u8string directory = std::filesystem::current_path().u8string();
    std::printf("%s\n", std::string{directory.begin(), directory.end()}.c_str());
}

/// Carries out a verb that stands alone; false when there is no such verb.
static bool CarryOut(const std::string &verb)
{
    if (verb == "crash") {
        std::fflush(stdout);
        TestProgramSystem::Crash();
    } else if (verb == "wait") {
        WaitUntil([] { return false; });
    } else if (verb == "cwd") {
        PrintDirectory();
    } else if (verb == "session") {
        TestProgramSystem::LeaveSession();
    } else if (verb == "stdin") {
        CopyInput();
    } else {
        return false;
    }
    return true;
}

/// The same with one word behind it.
static bool CarryOut(const std::string &verb, const std::string &value)
{
    if (verb == "waitfor")
        WaitUntil([path = Path(value)] { return std::filesystem::exists(path); });
    else if (verb == "touch")
        std::ofstream{Path(value)};
    else if (verb == "mark")
        std::ofstream{Path(value), std::ios::binary | std::ios::app} << "start\n";
    else if (verb == "print" || verb == "error")
        std::fprintf(verb == "print" ? stdout : stderr, "%s\n", value.c_str());
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
        if (CarryOut(arguments[i]))
            continue;
        const std::string value = i + 1 < arguments.size() ? arguments[i + 1] : std::string{};
        if (arguments[i] == "exit")
            return std::atoi(value.c_str());
        if (arguments[i] == "args") {
            std::ofstream out{Path(value), std::ios::binary};
            for (i += 2; i < arguments.size(); ++i)
                out << arguments[i] << '\0';
        } else if (arguments[i] == "child") {
            std::fflush(stdout);
            TestProgramSystem::StartCopy(arguments.subspan(i + 1));
            WaitUntil([] { return false; });
        } else if (CarryOut(arguments[i], value)) {
            ++i;
        } else {
            std::fprintf(stderr, "unknown verb %s\n", arguments[i].c_str());
            return 64;
        }
    }
    return 0;
}
