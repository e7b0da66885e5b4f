// Stands in for a calculation in tests. Its arguments are carried out one after another:
//   exit N          end at once with status N
//   crash           end by a signal
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

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#ifdef _WIN32
#include <process.h>
static int ProcessId()
{
    return _getpid();
}
static void StartCopy(char **arguments)
{
    _spawnv(_P_NOWAIT, arguments[0], arguments);
}
static void LeaveSession() {}
#else
#include <unistd.h>
static int ProcessId()
{
    return static_cast<int>(getpid());
}
static void StartCopy(char **arguments)
{
    if (fork() == 0) {
        execv(arguments[0], arguments);
        _exit(127);
    }
}
static void LeaveSession()
{
    setsid();
}
#endif

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

static void WriteArguments(const char *path, int count, char **arguments)
{
    std::ofstream out{std::filesystem::path{path}, std::ios::binary};
    for (int i = 0; i < count; ++i)
        out << arguments[i] << '\0';
}

static void PrintVariable(const char *name)
{
    if (const char *value = std::getenv(name))
        std::printf("%s=%s\n", name, value);
    else
        std::printf("%s\n", name);
}

int main(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i) {
        const std::string verb = argv[i];
        const char *value = i + 1 < argc ? argv[i + 1] : "";
        if (verb == "crash") {
            std::fflush(stdout);
            std::abort();
        } else if (verb == "wait") {
            std::fflush(stdout);
            WaitUntilKilled();
        } else if (verb == "cwd") {
            std::printf("%s\n", std::filesystem::current_path().string().c_str());
        } else if (verb == "session") {
            LeaveSession();
        } else if (verb == "stdin") {
            CopyInput();
        } else if (verb == "child") {
            std::fflush(stdout);
            argv[i] = argv[0];
            StartCopy(argv + i);
            WaitUntilKilled();
        } else if (verb == "args") {
            WriteArguments(value, argc - i - 2, argv + i + 2);
            return 0;
        } else {
            ++i;
            if (verb == "exit")
                return std::atoi(value);
            if (verb == "waitfor") {
                std::fflush(stdout);
                while (!std::filesystem::exists(value))
                    Sleep();
            } else if (verb == "touch") {
                std::ofstream{value};
            } else if (verb == "print") {
                std::printf("%s\n", value);
            } else if (verb == "error") {
                std::fprintf(stderr, "%s\n", value);
            } else if (verb == "fill") {
                Fill(std::atoll(value));
            } else if (verb == "env") {
                PrintVariable(value);
            } else if (verb == "pid") {
                const std::string temporary = std::string{value} + ".part";
                std::ofstream{temporary} << ProcessId();
                std::filesystem::rename(temporary, value);
            } else {
                std::fprintf(stderr, "unknown verb %s\n", verb.c_str());
                return 64;
            }
        }
    }
    return 0;
}
