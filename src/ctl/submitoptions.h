// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

class Taskmill_CtlOptions;
struct Taskmill_CtlOption;

/// What the command "submit" is asked to send.
struct Taskmill_SubmitOptions
{
    struct InputFile
    {
        std::string Given; ///< as it stands on the command line
        std::string Path;  ///< absolute
    };

    std::vector<InputFile> Files;
    std::string Lines; ///< key=value, the same in each request, each with its line feed
    /// The job type that was asked for by its name; empty when the manager is to find one.
    std::string JobType;
    bool Confirm = false;
    bool Wait = false;
    bool Result = false; ///< what the calculation of each job came to is wanted, too
    bool Raw = false;    ///< the manager's own lines on the end of each job
    bool Json = false;
    std::optional<std::chrono::milliseconds> Timeout; ///< for everything, from the first request on

    [[nodiscard]] static std::vector<Taskmill_CtlOption> Options();
    /// Checks everything that can be checked before anything is sent. Nothing, with a message, when something
    /// is wrong.
    [[nodiscard]] static std::optional<Taskmill_SubmitOptions> Read(const Taskmill_CtlOptions &options);
};
