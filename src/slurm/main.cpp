// SPDX-License-Identifier: MIT
#include "slurm/arguments.h"
#include "slurm/cancellations.h"
#include "slurm/durablefile.h"
#include "slurm/endsignal.h"
#include "slurm/follower.h"
#include "slurm/partitions.h"
#include "wire/clusterrun.h"
#include "wire/privatefolder.h"
#include "wire/runrecord.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <set>

#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr int wrongUse = 2;
constexpr int cannotRun = 1;

std::string PathOf(const std::string &path)
{
    const std::unique_ptr<char, decltype(&std::free)> real{realpath(path.c_str(), nullptr), &std::free};
    return real ? real.get() : "";
}

int Fail(const std::string &text, int code = cannotRun)
{
    std::fprintf(stderr, "taskmill-slurm: %s\n", text.c_str());
    return code;
}

/// Of this user alone, for what all followers share; empty where there is none.
std::string SharedFolder()
{
    const std::string state = Taskmill_StateFolderPath();
    const std::string folder = state + "/slurm";
    return !state.empty() && Taskmill_MakePrivateFolder(folder) ? folder : std::string{};
}

/// They would change what the commands show, or have them ask.
void ForgetCommandSettings()
{
    std::vector<std::string> names;
    for (char **variable = environ; *variable; ++variable) {
        const std::string text = *variable;
        if (text.starts_with("SQUEUE_") || text.starts_with("SCANCEL_") || text.starts_with("SINFO_"))
            names.push_back(text.substr(0, text.find('=')));
    }
    for (const std::string &name : names)
        unsetenv(name.c_str());
}

std::string ToText(const std::vector<std::string> &list)
{
    std::string text;
    for (const std::string &word : list)
        text.append(word).append(1, '\0');
    return text;
}

std::vector<std::string> ToList(const std::string &text)
{
    std::vector<std::string> list;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = text.find('\0', begin);
        list.push_back(text.substr(begin, end - begin));
        begin = std::min(end, text.size() - 1) + 1;
    }
    return list;
}

/// What the program is to read from its standard input, when that is a file with something in it.
bool StoreInput(const std::string &folder)
{
    constexpr std::size_t longestInput = 64UL * 1024 * 1024;
    struct stat status
    {
    };
    if (fstat(STDIN_FILENO, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size == 0)
        return true;
    const auto input = Taskmill_ReadFile("/proc/self/fd/0", longestInput);
    return input && Taskmill_WriteDurably(folder + "/input", *input);
}

int EndAs(const std::optional<Taskmill_ShellEnd> &end)
{
    if (!end)
        Taskmill_EndBySignal(SIGTERM);
    if (end->signal != 0)
        Taskmill_EndBySignal(end->signal);
    return end->code;
}

int Resume(const std::string &name)
{
    constexpr std::size_t longestOrder = 16UL * 1024 * 1024;
    constexpr int lockTurns = 60;
    constexpr int lockTurnMs = 500;
    const std::string folder = PathOf(name);
    const auto state = Taskmill_ReadClusterState(folder);
    const auto order = Taskmill_ReadFile(folder + "/order", longestOrder);
    std::string error;
    const auto arguments = order ? Taskmill_SlurmArguments::Read(ToList(*order), error)
                                 : std::optional<Taskmill_SlurmArguments>{};
    if (!state || !arguments)
        return Fail("there is no job in " + name);
    // Its earlier follower may be about to end.
    auto lock = std::make_unique<Taskmill_FileLock>(folder + "/lock");
    for (int turn = 0; !lock->IsHeld() && turn < lockTurns; ++turn) {
        Taskmill_SleepMs(lockTurnMs);
        lock = std::make_unique<Taskmill_FileLock>(folder + "/lock");
        if (Taskmill_WhatEndSignalAsks() != Taskmill_EndAsked::No)
            return EndAs(std::nullopt);
    }
    if (!lock->IsHeld())
        return Fail("another program follows the job of " + name);
    return EndAs(
        Taskmill_SlurmFollower{folder, *arguments, *Taskmill_ReadClusterState(folder), SharedFolder()}.Run());
}

/// Runs that have ended long ago: whoever wanted their ends has them.
void RemoveOldRuns(const std::string &above)
{
    namespace fs = std::filesystem;
    constexpr std::chrono::hours longAgo{24 * 30};
    std::error_code error;
    for (const fs::directory_entry &run : fs::directory_iterator{above, error}) {
        const bool isLink = run.is_symlink(error);
        const bool isOld = !isLink && fs::file_time_type::clock::now() - run.last_write_time(error) > longAgo;
        if (isLink ? !fs::exists(run.path(), error) && !error : isOld && !error) {
            const auto state = Taskmill_ReadClusterState(run.path().string());
            if (isLink || (state && state->phase == Taskmill_ClusterState::Phase::Ended))
                fs::remove_all(run.path(), error);
        }
    }
}

/// The folder of a new run; empty, and why, when there can be none.
std::string MakeRunFolder(const std::string &runID, std::string &error)
{
    const std::string workFolder = PathOf(".");
    bool isNew = false;
    std::string above = Taskmill_ClusterRunFolder(workFolder, {});
    above.pop_back();
    std::string folder;
    if (workFolder.empty() || !Taskmill_MakeOwnFolder(above, isNew))
        error = above + ": " + std::strerror(errno);
    else
        RemoveOldRuns(above);
    isNew = false;
    // A script may have more than one job of the cluster in one run.
    for (int number = 1; error.empty() && !isNew; ++number) {
        folder.assign(above).append(1, '/').append(runID);
        if (number > 1)
            folder.append(1, '.').append(std::to_string(number));
        if (!Taskmill_MakeOwnFolder(folder, isNew))
            error = folder + ": " + std::strerror(errno);
    }
    return folder;
}

/// Numbers of the job's input, which whoever has started this program has read, in place of their word; empty
/// where nobody says them.
void FillNeeds(Taskmill_SlurmArguments &arguments)
{
    const auto fill = [](std::string &value, std::string_view variable) {
        const std::string name{variable};
        if (const char *number = std::getenv(name.c_str()); value == Taskmill_SlurmArguments::OfInput)
            value = number && Taskmill_SlurmArguments::IsNumber(number) ? number : "";
        unsetenv(name.c_str());
    };
    fill(arguments.cores, Taskmill_CoresVariable);
    fill(arguments.memory, Taskmill_MemoryVariable);
}

int Submit(Taskmill_SlurmArguments arguments)
{
    FillNeeds(arguments);
    const char *given = std::getenv(std::string{Taskmill_RunVariable}.c_str());
    const std::string runID = given && Taskmill_IsRunID(given) ? given : Taskmill_NewRunID();
    // What runs on the cluster is no part of this run, also where the cluster is this computer.
    unsetenv(std::string{Taskmill_RunVariable}.c_str());
    std::string error;
    const std::string folder = MakeRunFolder(runID, error);
    if (!error.empty())
        return Fail("the folder of the run cannot be made: " + error);
    const Taskmill_FileLock lock{folder + "/lock"};
    Taskmill_ClusterState state;
    state.comment = "taskmill-" + folder.substr(folder.rfind('/') + 1);
    state.host = arguments.host;
    if (!StoreInput(folder) || !Taskmill_WriteDurably(folder + "/order", ToText(arguments.ToList())) ||
        !Taskmill_WriteDurably(folder + "/state", state.ToText()))
        return Fail("nothing can be written to " + folder);
    return EndAs(Taskmill_SlurmFollower{folder, arguments, state, SharedFolder()}.Run());
}

/// Until none is left.
int RepeatCancellations()
{
    constexpr int turnMs = 1000;
    const std::string shared = SharedFolder();
    const Taskmill_Cancellations cancellations{shared};
    if (shared.empty())
        return Fail("there is no folder for them");
    const Taskmill_FileLock lock{shared + "/cancel/lock"};
    if (!lock.IsHeld())
        return 0;
    for (auto entries = cancellations.All(); !entries.empty(); entries = cancellations.All()) {
        std::set<std::string> hosts;
        for (const auto &entry : entries)
            hosts.insert(entry.host);
        for (const std::string &host : hosts) {
            Taskmill_SlurmArguments arguments;
            arguments.host = host;
            const auto site = Taskmill_SlurmSite::Make({}, arguments);
            Taskmill_SharedQueue queue{shared, Taskmill_SlurmSite::ClusterName(host)};
            const auto run = [&site](const std::vector<std::string> &words) {
                return site->Run(words);
            };
            const auto &listing = queue.Look([&run] { return run(Taskmill_ListingCommand()); });
            if (queue.HasAsked() && listing.isAnswer)
                cancellations.Repeat(host, listing.text, run);
        }
        if (Taskmill_WhatEndSignalAsks() != Taskmill_EndAsked::No)
            return EndAs(std::nullopt);
        Taskmill_SleepMs(turnMs);
    }
    return 0;
}

int Cancel(const std::string &name)
{
    const std::string folder = PathOf(name);
    auto state = Taskmill_ReadClusterState(folder);
    if (!state)
        return Fail("there is no job in " + name);
    if (state->phase == Taskmill_ClusterState::Phase::Ended)
        return 0;
    state->isCancelled = true;
    const bool isStored = Taskmill_WriteDurably(folder + "/state", state->ToText());
    const bool isAdded = Taskmill_Cancellations{SharedFolder()}.Add(
        {.comment = state->comment, .host = state->host, .number = state->job, .askedMs = Taskmill_NowMs()});
    return isStored && isAdded ? RepeatCancellations() : Fail("nothing can be written to " + folder);
}

int Check(const Taskmill_SlurmArguments &arguments)
{
    const Taskmill_CommandEnd end =
        Taskmill_SlurmSite::Make({}, arguments)->Run(Taskmill_PartitionsCommand());
    if (!end.IsSuccess())
        return Fail(end.Reason("sinfo"));
    std::printf("%s", Taskmill_PartitionTable(end.output).c_str());
    return 0;
}
} // namespace

int main(int argc, char *argv[])
{
    using Task = Taskmill_SlurmArguments::Task;
    std::string error;
    const auto arguments =
        Taskmill_SlurmArguments::Read(std::vector<std::string>{argv + std::min(argc, 1), argv + argc}, error);
    if (!arguments)
        return Fail(error + "; see taskmill-slurm --help", wrongUse);
    if (arguments->task == Task::Help || arguments->task == Task::Version) {
        std::printf("%s", arguments->task == Task::Help ? Taskmill_SlurmArguments::HelpText().c_str()
                                                        : "taskmill-slurm " TASKMILL_SLURM_VERSION "\n");
        return 0;
    }
    ForgetCommandSettings();
    // Nothing is lost when that is ended.
    if (arguments->task == Task::Check) {
        Taskmill_EndCommandsWithThis();
        return Check(*arguments);
    }
    Taskmill_CatchEndSignals();
    switch (arguments->task) {
    case Task::Resume:
        unsetenv(std::string{Taskmill_RunVariable}.c_str());
        return Resume(arguments->folder);
    case Task::Cancel:
        return Cancel(arguments->folder);
    case Task::RepeatCancellations:
        return RepeatCancellations();
    default:
        return Submit(*arguments);
    }
}
