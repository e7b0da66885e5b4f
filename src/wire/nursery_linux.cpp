// SPDX-License-Identifier: MIT
#include "wire/nursery.h"
#include "wire/runjournals.h"
#include "wire/runlocks.h"
#include "wire/systemlack.h"

#include <array>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
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
} // namespace

std::optional<Taskmill_Nursery> Taskmill_Nursery::Start(const std::string &program,
                                                        const std::string &runFolder, int waitMs)
{
    if (!Taskmill_RunJournals::MakeFolders(runFolder))
        return std::nullopt;
    Taskmill_Nursery nursery;
    auto [own, its] = Taskmill_KeeperChannel::MakePair();
    if (!own.IsOpen() || !StartProgram(program, runFolder, static_cast<int>(its.Get())))
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

Taskmill_KeeperChannel::Handle Taskmill_Nursery::Handle() const
{
    return m_channel.Get();
}

bool Taskmill_Nursery::IsOpen() const
{
    return m_channel.IsOpen();
}

long long Taskmill_Nursery::EndWord() const
{
    return m_processID;
}

void Taskmill_Nursery::EndAll(long long word)
{
    if (word > 1)
        kill(static_cast<pid_t>(word), SIGTERM);
}

Taskmill_RunConnection Taskmill_Nursery::StartRun(const Taskmill_RunOrder &order, int *error)
{
    const auto fail = [error](int number) {
        if (error)
            *error = number;
        return Taskmill_RunConnection{};
    };
    if (!IsOpen())
        return {};
    const Taskmill_RunLock lock{m_runFolder, order.runID};
    if (!lock.IsHeld())
        return fail(errno);
    // Many orders at once fill its queue, from which it takes one in a fraction of a millisecond.
    constexpr int waitMs = 5000;
    const Taskmill_KeeperMessage message = order.ToMessage();
    if (Taskmill_KeeperChannel keeper = std::move(m_freeKeeper);
        keeper.IsOpen() && keeper.Send(message, {lock.Get()}, waitMs))
        return Taskmill_RunConnection{std::move(keeper), true};
    auto [own, keepers] = Taskmill_KeeperChannel::MakePair();
    if (!own.IsOpen())
        return fail(errno);
    if (m_channel.Send(message, {static_cast<int>(keepers.Get()), lock.Get()}, waitMs))
        return Taskmill_RunConnection{std::move(own)};
    const int number = errno;
    // The nursery itself is at fault when it does not read, or is gone.
    if (number == EAGAIN || !Taskmill_IsLack(number))
        m_channel.Close();
    return fail(number);
}

bool Taskmill_Nursery::RunsMayWait()
{
    return true;
}

bool Taskmill_Nursery::SweepsUnasked()
{
    return true;
}

bool Taskmill_Nursery::Sweep(const std::string &runID) const
{
    Taskmill_KeeperMessage message{Taskmill_SweepWord};
    message.Add("run", runID);
    return IsOpen() && m_channel.Send(message);
}

std::optional<std::string> Taskmill_Nursery::ReceiveSwept(int waitMs)
{
    std::optional<Taskmill_KeeperMessage> message;
    if (!IsOpen())
        return std::nullopt;
    if (m_channel.ReceiveWithin(waitMs, message) == Taskmill_KeeperChannel::State::Ended)
        m_channel.Close();
    if (!message || message->Word() != Taskmill_SweptWord)
        return std::nullopt;
    return std::string{message->Value("run")};
}
