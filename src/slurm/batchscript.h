// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// A word as the shell takes it, whatever bytes it is made of.
[[nodiscard]] std::string Taskmill_ShellWord(std::string_view text);
/// The same of several, with blanks between them.
[[nodiscard]] std::string Taskmill_ShellWords(const std::vector<std::string> &words);

/// What a batch script is made for. Folders are those of the cluster.
struct Taskmill_BatchOrder
{
    std::string runFolder;
    std::string workFolder;
    std::vector<std::string> prepareLines;
    std::vector<std::string> command;
    bool hasInput = false; ///< the file "input" of the run folder is the program's standard input
};

/// The script that the cluster runs. In the run folder it keeps
///   begun   a line "JOB RESTARTS NODE SECONDS" for each start, which is the first thing that it does
///   owner   the number of the one job that may run the program: should it ever be submitted twice, the other
///   ends output  what the program prints exit    "JOB RESTARTS CODE", in place at once, when the program has
///   ended
[[nodiscard]] std::string Taskmill_BatchScript(const Taskmill_BatchOrder &order);

/// How a program ended, as the shell's $? says it.
struct Taskmill_ShellEnd
{
    int code = 0;   ///< 0 where `signal` is set
    int signal = 0; ///< 0 when it ended by itself
};
/// The end that the text of "exit" says; none when it is not whole, or of another job.
[[nodiscard]] std::optional<Taskmill_ShellEnd> Taskmill_ReadShellEnd(std::string_view text,
                                                                     std::string_view job);
