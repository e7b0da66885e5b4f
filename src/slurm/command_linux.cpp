// SPDX-License-Identifier: MIT
#include "slurm/command.h"

#include "wire/runrecord.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
using Clock = std::chrono::steady_clock;

bool areEndedWithThis = false;

/// The two ends of a pipe, closed with it.
class Pipe
{
public:
    Pipe()
    {
        if (pipe2(m_ends.data(), O_CLOEXEC) != 0)
            m_ends = {-1, -1};
    }
    ~Pipe()
    {
        Close(0);
        Close(1);
    }
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;

    [[nodiscard]] bool IsOpen() const { return m_ends[0] >= 0; }
    [[nodiscard]] int End(std::size_t index) const { return m_ends.at(index); }
    void Close(std::size_t index)
    {
        int &end = m_ends.at(index);
        if (end >= 0)
            close(end);
        end = -1;
    }

private:
    std::array<int, 2> m_ends{-1, -1};
};

struct Pipes
{
    Pipe input;
    Pipe output;
    Pipe errors;
    Pipe failure; ///< says why the program could not be started
};

void ResetSignals()
{
    struct sigaction usual
    {
    };
    usual.sa_handler = SIG_DFL;
    for (const int signal : {SIGTERM, SIGINT, SIGPIPE, SIGHUP})
        sigaction(signal, &usual, nullptr);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

[[noreturn]] void BecomeCommand(const Taskmill_CommandOrder &order, std::vector<char *> &words, Pipes &pipes)
{
    constexpr mode_t ownerOnly = 0600;
    int output = pipes.output.End(1);
    if (!order.outputFile.empty())
        output = open(order.outputFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, ownerOnly);
    // Ctrl+C in a terminal is for the follower alone.
    if (order.isOfRun)
        setpgid(0, 0);
    else
        setsid();
    ResetSignals();
    if (areEndedWithThis)
        prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (output >= 0 && dup2(pipes.input.End(0), STDIN_FILENO) >= 0 && dup2(output, STDOUT_FILENO) >= 0 &&
        dup2(pipes.errors.End(1), STDERR_FILENO) >= 0)
        execvp(words.front(), words.data());
    const int error = errno;
    static_cast<void>(!write(pipes.failure.End(1), &error, sizeof error));
    constexpr int neverSeen = 127;
    _exit(neverSeen);
}

bool ReadSome(int file, std::string &text)
{
    std::array<char, 16384> piece;
    const ssize_t count = read(file, piece.data(), piece.size());
    if (count > 0)
        text.append(piece.data(), static_cast<std::size_t>(count));
    return count > 0 || (count < 0 && errno == EINTR);
}

bool HasEnded(pid_t child)
{
    siginfo_t info{};
    return waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == child;
}

/// Moves what the command reads and writes until it has closed its output. False when that takes too long.
bool Converse(const Taskmill_CommandOrder &order, pid_t child, Pipes &pipes, Taskmill_CommandEnd &end)
{
    constexpr int turnMs = 200;
    const auto deadline = Clock::now() + std::chrono::milliseconds{order.waitMs};
    std::string_view input = order.input;
    bool isOutputOpen = true;
    bool isErrorOpen = true;
    fcntl(pipes.input.End(1), F_SETFL, O_NONBLOCK);
    while (isOutputOpen || isErrorOpen) {
        if (input.empty())
            pipes.input.Close(1);
        std::array<pollfd, 3> waits{{{isOutputOpen ? pipes.output.End(0) : -1, POLLIN, 0},
                                     {isErrorOpen ? pipes.errors.End(0) : -1, POLLIN, 0},
                                     {pipes.input.End(1), POLLOUT, 0}}};
        const int ready = poll(waits.data(), waits.size(), turnMs);
        if (ready > 0 && waits[0].revents != 0)
            isOutputOpen = ReadSome(pipes.output.End(0), end.output);
        if (ready > 0 && waits[1].revents != 0)
            isErrorOpen = ReadSome(pipes.errors.End(0), end.errors);
        if (ready > 0 && waits[2].revents != 0) {
            const ssize_t count = write(pipes.input.End(1), input.data(), input.size());
            // A command that does not read to the end is no fault.
            input = count < 0 && errno != EAGAIN
                        ? std::string_view{}
                        : input.substr(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        }
        // What it has left behind, such as a shared connection, may hold them open.
        if (ready == 0 && HasEnded(child))
            return true;
        if (order.meanwhile)
            order.meanwhile();
        if (Clock::now() > deadline)
            return false;
    }
    return true;
}
} // namespace

std::string Taskmill_CommandEnd::Reason(std::string_view program) const
{
    std::string text = errors;
    if (how == How::NotStarted)
        text = std::string{program} + ": " + std::strerror(code);
    else if (how == How::TooLong)
        text = std::string{program} + " gave no answer";
    while (!text.empty() && static_cast<unsigned char>(text.back()) <= ' ')
        text.pop_back();
    if (text.empty())
        text = std::string{program} + (how == How::Signal ? " ended by signal " : " ended with ") +
               std::to_string(code);
    std::ranges::replace_if(
        text, [](unsigned char c) { return c < ' '; }, ' ');
    return text;
}

Taskmill_CommandEnd Taskmill_RunCommand(const Taskmill_CommandOrder &order)
{
    Taskmill_CommandEnd end{
        .how = Taskmill_CommandEnd::How::NotStarted, .code = EMFILE, .output = {}, .errors = {}};
    Pipes pipes;
    if (!pipes.input.IsOpen() || !pipes.output.IsOpen() || !pipes.errors.IsOpen() || !pipes.failure.IsOpen())
        return end;
    std::vector<std::string> words = order.words;
    std::vector<char *> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string &word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0)
        BecomeCommand(order, pointers, pipes);
    end.code = errno;
    if (child < 0)
        return end;
    pipes.input.Close(0);
    pipes.output.Close(1);
    pipes.errors.Close(1);
    pipes.failure.Close(1);
    int error = 0;
    if (read(pipes.failure.End(0), &error, sizeof error) == static_cast<ssize_t>(sizeof error)) {
        end.code = error;
        waitpid(child, nullptr, 0);
        return end;
    }
    const bool isInTime = Converse(order, child, pipes, end);
    if (!isInTime)
        kill(-child, SIGKILL);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (!isInTime)
        end.how = Taskmill_CommandEnd::How::TooLong;
    else
        end.how = WIFSIGNALED(status) ? Taskmill_CommandEnd::How::Signal : Taskmill_CommandEnd::How::Exit;
    end.code = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
    return end;
}

void Taskmill_EndCommandsWithThis()
{
    areEndedWithThis = true;
}
