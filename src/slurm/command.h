// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// What became of a command.
struct Taskmill_CommandEnd
{
    enum class How
    {
        Exit,       ///< code is the exit code
        Signal,     ///< code is the signal
        NotStarted, ///< code is the system's number of the error
        TooLong,    ///< it was ended
    };

    How how = How::Exit;
    int code = 0;
    std::string output;
    std::string errors; ///< what it wrote to standard error

    [[nodiscard]] bool IsSuccess() const { return how == How::Exit && code == 0; }
    /// Its own words, else what the system says, in one line.
    [[nodiscard]] std::string Reason(std::string_view program) const;
};

/// How a command is run.
struct Taskmill_CommandOrder
{
    std::vector<std::string> words;
    std::string input;                 ///< for its standard input
    std::string outputFile{};          ///< takes its output in place of the result; made, and appended to
    int waitMs = 120'000;              ///< then it is ended
    std::function<void()> meanwhile{}; ///< called several times a second while it runs
    bool isOfRun = true;               ///< false: whoever ends this run does not know it for a part of it
};

/// Runs a command to its end.
[[nodiscard]] Taskmill_CommandEnd Taskmill_RunCommand(const Taskmill_CommandOrder &order);

/// From now on commands are ended when this program ends in whatever way.
void Taskmill_EndCommandsWithThis();
