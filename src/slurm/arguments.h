// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What taskmill-slurm was asked to do.
struct Taskmill_SlurmArguments
{
    enum class Task
    {
        Submit,
        Resume,              ///< follow the job of `folder`
        Cancel,              ///< cancel the job of `folder`, which nobody follows
        RepeatCancellations, ///< those that a cluster has not confirmed
        Check,               ///< show the partitions
        Help,
        Version,
    };

    Task task = Task::Submit;
    std::string folder;
    std::string host;                ///< USER@LOGIN for ssh; empty when the commands of the cluster are here
    std::string scratch;             ///< on the cluster, with `host`: where the folder of the run is made
    std::vector<std::string> copies; ///< names and patterns of files that the program reads besides
    std::string partition;
    /// What stands for the number that the input of the job says.
    static constexpr std::string_view OfInput = "input";
    std::string cores;
    std::string memory; ///< MB
    std::string time;
    std::vector<std::string> sbatchOptions; ///< as sbatch takes them
    std::vector<std::string> prepareLines;  ///< of the shell, before the program
    std::vector<std::string> command;       ///< the program and its arguments

    /// The arguments behind the name of the program; `error` says what is wrong with them.
    [[nodiscard]] static std::optional<Taskmill_SlurmArguments>
    Read(const std::vector<std::string> &arguments, std::string &error);
    /// The same that Read() takes, for a task that is to be taken up again.
    [[nodiscard]] std::vector<std::string> ToList() const;
    [[nodiscard]] static std::string HelpText();
    /// Whether that is one of cores or MB: digits, not 0.
    [[nodiscard]] static bool IsNumber(std::string_view text);
};

/// Splits a text as a shell does: blanks, quotes of both kinds, a backslash before any character. None when
/// a quote is left open.
[[nodiscard]] std::optional<std::vector<std::string>> Taskmill_SplitWords(std::string_view text);
