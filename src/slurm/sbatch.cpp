// SPDX-License-Identifier: MIT
#include "slurm/sbatch.h"

#include <algorithm>
#include <array>

namespace {
constexpr std::string_view digits = "0123456789";

/// What listings of the cluster show: the last word that is no option, so as a rule the input file.
std::string JobName(const std::vector<std::string> &command)
{
    constexpr std::size_t longest = 64;
    std::string name = command.empty() ? std::string{} : command.front();
    for (const std::string &word : command) {
        if (!word.starts_with('-') && !word.empty())
            name = word;
    }
    name = name.substr(name.rfind('/') + 1);
    const auto isPlain = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '.' ||
               c == '-' || c == '+';
    };
    std::ranges::replace_if(
        name, [&](char c) { return !isPlain(c); }, '_');
    return name.empty() ? "taskmill" : name.substr(0, longest);
}

/// Slurm fills in numbers behind a percent sign; with a backslash anywhere it takes names in another way.
std::string LogPath(const std::string &runFolder)
{
    if (runFolder.find('\\') != std::string::npos)
        return "/dev/null";
    std::string path;
    for (const char c : runFolder + "/slurm.log")
        path.append(c == '%' ? 2 : 1, c);
    return path;
}

std::string LastLine(std::string_view text)
{
    while (text.ends_with('\n'))
        text.remove_suffix(1);
    return std::string{text.substr(text.rfind('\n') + 1)};
}
} // namespace

std::vector<std::string> Taskmill_SbatchWords(const Taskmill_SlurmArguments &arguments,
                                              const std::string &comment, const std::string &runFolder)
{
    std::vector<std::string> words{"sbatch", "--job-name=" + JobName(arguments.command), "--nodes=1",
                                   "--ntasks=1"};
    const auto add = [&words](const char *name, const std::string &value) {
        if (!value.empty())
            words.push_back(name + value);
    };
    add("--partition=", arguments.partition);
    add("--cpus-per-task=", arguments.cores);
    add("--mem=", arguments.memory.empty() ? std::string{} : arguments.memory + 'M');
    add("--time=", arguments.time);
    words.insert(words.end(), arguments.sbatchOptions.begin(), arguments.sbatchOptions.end());
    // Of two options of one name the last one counts: the job must be found again.
    words.insert(words.end(), {"--parsable", "--comment=" + comment, "--output=" + LogPath(runFolder),
                               "--open-mode=append", "--", runFolder + "/script"});
    return words;
}

std::string Taskmill_SubmittedNumber(std::string_view output)
{
    std::string line = LastLine(output);
    line = line.substr(0, line.find(';'));
    return line.find_first_not_of(digits) == std::string::npos ? line : std::string{};
}

std::string Taskmill_BegunNumber(std::string_view begun)
{
    if (!begun.ends_with('\n'))
        return {};
    const std::string line = LastLine(begun);
    const std::string number = line.substr(0, line.find(' '));
    return number.find_first_not_of(digits) == std::string::npos ? number : std::string{};
}

Taskmill_SbatchFailure Taskmill_KindOfFailure(const Taskmill_CommandEnd &end)
{
    using How = Taskmill_CommandEnd::How;
    if (end.how == How::Signal || end.how == How::TooLong)
        return Taskmill_SbatchFailure::Unknown;
    const auto says = [&end](std::string_view words) {
        return end.errors.find(words) != std::string::npos;
    };
    static constexpr std::array nobodyThere{"(connect failure)",  "backup controller in standby mode",
                                            "Connection refused", "Could not resolve hostname",
                                            "Permission denied",  "Host key verification failed"};
    static constexpr std::array unclear{"timed out", " failure)",     "Zero Bytes",         "socket",
                                        "Socket",    "Communication", "Unexpected message", "Transport"};
    if (std::ranges::any_of(nobodyThere, says))
        return Taskmill_SbatchFailure::Unreachable;
    return std::ranges::any_of(unclear, says) ? Taskmill_SbatchFailure::Unknown
                                              : Taskmill_SbatchFailure::Refused;
}
