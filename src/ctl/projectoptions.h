// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <string_view>

/// An option of a command on project files, which taskmillctl-projects carries out.
struct Taskmill_ProjectOption
{
    std::string_view Command; ///< its name in Taskmill_CtlCommands
    std::string_view Name;
    std::string_view Value; ///< what the help calls its value; empty for a switch
    std::string_view Description;
    std::string_view Default{};
};

constexpr std::array Taskmill_ProjectOptions{
    Taskmill_ProjectOption{"project create", "force", "", "Replace the file when it exists."},
    Taskmill_ProjectOption{"types list", "json", "", "Print a JSON array."},
    Taskmill_ProjectOption{"types add", "found", "",
                           "Add one for each known program that is installed, and no other."},
    Taskmill_ProjectOption{"types add", "name", "NAME", "Name of the job type; needed."},
    Taskmill_ProjectOption{"types add", "exe", "PATH", "The program; needed."},
    Taskmill_ProjectOption{"types add", "app", "NAME",
                           "Application name instead of the program's file name."},
    Taskmill_ProjectOption{"types add", "queue", "QUEUE",
                           "Default queue: long, short, or queueless (or none).", "long"},
    Taskmill_ProjectOption{"types add", "command-line", "TEMPLATE", "Template of the command line.",
                           "@EXEFILE @INFILE"},
    Taskmill_ProjectOption{"types add", "input-filter", "FILTER",
                           "Input files, such as \"Water Files (*.mop *.dat)\"."},
    Taskmill_ProjectOption{"types add", "output-filter", "FILTER",
                           "Output files; the first pattern names a job's output file."},
    Taskmill_ProjectOption{"types add", "kill-grace", "SECONDS",
                           "Seconds that a killed job has to end by itself, 0 to 60.", "2"},
    Taskmill_ProjectOption{"types add", "time-limit", "MINUTES",
                           "Minutes after which a job is killed; 0 for no limit.", "0"},
    Taskmill_ProjectOption{
        "types add", "warn-after", "MINUTES",
        "Minutes without output and processor time after which the user is told; 0 for never.", "0"},
    Taskmill_ProjectOption{"types add", "cores", "N",
                           "Cores that a job takes where its input does not say it."},
    Taskmill_ProjectOption{"types add", "memory", "N",
                           "Memory that a job takes where its input does not say it, in MB of 2^20 bytes."},
    Taskmill_ProjectOption{
        "types add", "free-space", "N",
        "Space, in MB of 2^20 bytes, without which on the drive of its output a job is not started."},
    Taskmill_ProjectOption{"types add", "hold-changed-input", "",
                           "Hold a job whose input has changed since it was submitted."},
    Taskmill_ProjectOption{
        "types add", "slurm", "OPTIONS",
        "Run it on a Slurm cluster with these options of taskmill-slurm; the program is one of the cluster."},
    Taskmill_ProjectOption{"types add", "env", "NAME=VALUE", "Environment variable. May be repeated."},
    // Those of the running manager's list of types are added where that is asked.
    Taskmill_ProjectOption{"types", "json", "", "Print a JSON array."},
    Taskmill_ProjectOption{"types", "project", "FILE", "The project file."},
    Taskmill_ProjectOption{"jobs", "finished", "", "The finished jobs."},
    Taskmill_ProjectOption{"jobs", "long", "", "The queue of long jobs."},
    Taskmill_ProjectOption{"jobs", "short", "", "The queue of short jobs."},
    Taskmill_ProjectOption{"jobs", "queueless", "", "The jobs without a queue."},
    Taskmill_ProjectOption{"jobs", "json", "", "Print one JSON array of the jobs of all lists."},
};
