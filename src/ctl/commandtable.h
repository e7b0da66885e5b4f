// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

/// What a command is called and takes, and where it is carried out.
struct Taskmill_CtlCommand
{
    std::string_view Name; ///< one or two words
    std::string_view Arguments;
    std::size_t MinArguments;
    std::size_t MaxArguments;
    std::string_view Purpose;
    bool IsOnProjects; ///< the other program, taskmillctl-projects, carries it out
};

constexpr std::size_t Taskmill_AnyNumber = 1'000'000;
constexpr std::array Taskmill_CtlCommands{
    Taskmill_CtlCommand{"submit", "FILE...", 1, Taskmill_AnyNumber,
                        "Submit a job for each input file to a running manager.", false},
    Taskmill_CtlCommand{"test", "", 0, 0, "Tell whether a manager answers.", false},
    Taskmill_CtlCommand{"show", "[N]", 0, 1, "Show the manager's window, with job N chosen.", false},
    Taskmill_CtlCommand{"hide", "", 0, 0, "Hide the manager's window.", false},
    Taskmill_CtlCommand{"list", "[LIST]", 0, 1,
                        "List the manager's jobs: long, short, queueless, finished, or all.", false},
    Taskmill_CtlCommand{"job", "N", 1, 1, "Show all fields of job N, and its output.", false},
    Taskmill_CtlCommand{"kill", "N", 1, 1, "Kill job N, which runs.", false},
    Taskmill_CtlCommand{"remove", "N", 1, 1, "Remove job N from its queue.", false},
    Taskmill_CtlCommand{"move", "N... WHERE", 2, Taskmill_AnyNumber,
                        "Move waiting jobs in their queue: up, down, top or bottom.", false},
    Taskmill_CtlCommand{"hold", "N...", 1, Taskmill_AnyNumber, "Hold waiting jobs: they are not started.",
                        false},
    Taskmill_CtlCommand{"release", "N...", 1, Taskmill_AnyNumber,
                        "Let waiting jobs start when their turn comes.", false},
    Taskmill_CtlCommand{"pause", "QUEUE", 1, 1, "Pause a queue, long or short: it starts no more jobs.",
                        false},
    Taskmill_CtlCommand{"unpause", "QUEUE", 1, 1, "Let a queue, long or short, start jobs again.", false},
    Taskmill_CtlCommand{"estimate", "QUEUE", 1, 1,
                        "Show when a queue, long or short, will probably have done its jobs.", false},
    Taskmill_CtlCommand{"quiet", "HOURS", 1, 1,
                        "Let the queues start no jobs in these hours, such as 22:00-06:30, or off.", false},
    Taskmill_CtlCommand{"priority", "WHICH", 1, 1, "Start jobs with low or with normal priority.", false},
    Taskmill_CtlCommand{"limit", "QUEUE N", 2, 2, "Let a queue, long or short, run at most N jobs at a time.",
                        false},
    Taskmill_CtlCommand{"budget", "[LIMIT...]", 0, 4,
                        "Show or set what all running jobs may take together: off, cores N, memory M in MB.",
                        false},
    Taskmill_CtlCommand{"save", "[FILE]", 0, 1,
                        "Save the manager's project, to another file if one is named.", false},
    Taskmill_CtlCommand{"quit", "", 0, 0,
                        "End the manager: its project is saved, its running jobs are killed or kept.", false},
    Taskmill_CtlCommand{"result", "FILE...", 1, Taskmill_AnyNumber,
                        "Show what output files say of their calculations.", false},
    Taskmill_CtlCommand{"resources", "INPUT...", 1, Taskmill_AnyNumber,
                        "Show the cores and the memory that input files ask for.", false},
    Taskmill_CtlCommand{"project create", "NAME", 1, 1,
                        "Make a new project file, NAME.mill, with the default job types.", true},
    Taskmill_CtlCommand{"types list", "FILE", 1, 1, "List the job types of a project file.", true},
    Taskmill_CtlCommand{"types add", "FILE", 1, 1, "Add a job type to a project file.", true},
    Taskmill_CtlCommand{"types remove", "FILE NAME", 2, 2, "Remove the job types of that name, in any case.",
                        true},
    Taskmill_CtlCommand{"types", "", 0, 0, "List the manager's job types.", false},
    Taskmill_CtlCommand{"jobs", "FILE", 1, 1,
                        "List the jobs of a project file: of all lists, or of those named.", true},
};

constexpr std::string_view Taskmill_CtlExitStatusText = R"(Exit status (when several apply, the largest):
  0  success; with --wait, every job has completed
  1  a job has not completed; with --result, or its result is "not-converged" or "error"
  2  wrong usage, or a file that does not exist or cannot be read
  3  no manager answers, or it went away
  4  a request was refused
  5  a project file cannot be read or written
  6  the time that --timeout grants has passed
  7  standard output cannot be written)";
