// SPDX-License-Identifier: MIT
#include "wire/keeperclient.h"
#include "wire/privatefolder.h"
#include "wire/runlocks.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
using Clock = std::chrono::steady_clock;

int MsUntil(Clock::time_point end)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    return static_cast<int>(std::max<long long>(0, left));
}

/// The program with the channel as its standard input, and the null device for the others. It leaves this
/// process at once, which therefore waits only for its first half.
bool StartProgram(const std::string &program, const std::string &runFolder, int channel)
{
    posix_spawn_file_actions_t actions;
    if (posix_spawn_file_actions_init(&actions) != 0)
        return false;
    posix_spawn_file_actions_adddup2(&actions, channel, STDIN_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    std::string name = program;
    std::string folder = runFolder;
    // A manager that a job has started would pass the mark of that job on.
    std::vector<char *> environment;
    for (char **variable = environ; *variable; ++variable) {
        if (!std::string_view{*variable}.starts_with(std::string{Taskmill_RunVariable} + '='))
            environment.push_back(*variable);
    }
    environment.push_back(nullptr);
    const std::array<char *, 3> arguments{name.data(), folder.data(), nullptr};
    pid_t child = -1;
    const int error =
        posix_spawn(&child, program.c_str(), &actions, nullptr, arguments.data(), environment.data());
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    while (error == 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return error == 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// What the keeper says to who wants to adopt its run.
Taskmill_RunConnection::Adoption AnswerOf(const Taskmill_KeeperChannel &channel, std::string &owner,
                                          int waitMs)
{
    using Adoption = Taskmill_RunConnection::Adoption;
    std::optional<Taskmill_KeeperMessage> answer;
    if (channel.ReceiveWithin(waitMs, answer) == Taskmill_KeeperChannel::State::Ended || !answer)
        return Adoption::Occupied;
    if (answer->Word() == Taskmill_AdoptedWord)
        return Adoption::Adopted;
    owner = answer->Value("owner");
    return Adoption::Refused;
}
} // namespace

std::optional<Taskmill_Nursery> Taskmill_Nursery::Start(const std::string &program,
                                                        const std::string &runFolder, int waitMs)
{
    for (const char *folder : {"", "/journal", "/out", "/socket"}) {
        if (!Taskmill_MakePrivateFolder(runFolder + folder))
            return std::nullopt;
    }
    Taskmill_Nursery nursery;
    auto [own, its] = Taskmill_KeeperChannel::MakePair();
    if (!own.IsOpen() || !StartProgram(program, runFolder, its.Get()))
        return std::nullopt;
    its.Close();
    std::optional<Taskmill_KeeperMessage> answer;
    own.ReceiveWithin(waitMs, answer);
    if (!answer || answer->Word() != Taskmill_ReadyWord)
        return std::nullopt;
    nursery.m_channel = std::move(own);
    nursery.m_runFolder = runFolder;
    nursery.m_processID = answer->Number("pid", 0);
    return nursery;
}

Taskmill_RunConnection::Adoption Taskmill_RunConnection::Adopt(const std::string &runFolder,
                                                               const std::string &runID, std::string &owner,
                                                               int waitMs, Taskmill_RunConnection &connection)
{
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds{waitMs};
    const int folder = open(runFolder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    Adoption adoption = Adoption::Gone;
    // Its socket is there a moment after its manager's end.
    while (folder >= 0 && Taskmill_IsKeeperAlive(runFolder, runID)) {
        Taskmill_KeeperMessage question{Taskmill_AdoptWord};
        question.Add("run", runID);
        question.Add("owner", owner);
        Taskmill_KeeperChannel channel = Taskmill_KeeperChannel::Connect(folder, "socket/" + runID);
        adoption = channel.IsOpen() && channel.Send(question) ? AnswerOf(channel, owner, MsUntil(end))
                                                              : Adoption::Occupied;
        if (adoption == Adoption::Adopted)
            connection.m_channel = std::move(channel);
        if (adoption != Adoption::Occupied || Clock::now() >= end)
            break;
        constexpr std::chrono::milliseconds pause{2};
        std::this_thread::sleep_for(pause);
        adoption = Adoption::Gone;
    }
    if (folder >= 0)
        close(folder);
    return adoption;
}
