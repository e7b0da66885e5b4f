// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <string_view>

/// An option of taskmill-slurm, as its help and its manual page show it.
struct Taskmill_SlurmOption
{
    std::string_view Name;  ///< without its hyphens
    std::string_view Value; ///< what the help calls its value; empty for a task without one
    std::string_view Purpose;
};

constexpr std::array Taskmill_SlurmOptionTable{
    Taskmill_SlurmOption{"host", "USER@LOGIN", "Reach the cluster through ssh."},
    Taskmill_SlurmOption{"scratch", "FOLDER", "With --host: where a folder for each job is made there."},
    Taskmill_SlurmOption{"copy", "FILE",
                         "With --host: one more file to copy there, or a pattern such as *.gbw. May be "
                         "repeated."},
    Taskmill_SlurmOption{"partition", "NAME", "The partition."},
    Taskmill_SlurmOption{"cores", "NUMBER",
                         "Cores on one node; \"input\" for as many as the input of a job of Taskmill says."},
    Taskmill_SlurmOption{"memory", "MB", "Memory, in MB of 2^20 bytes; \"input\" as above."},
    Taskmill_SlurmOption{"time", "TIME", "Limit of time, as sbatch takes it."},
    Taskmill_SlurmOption{"sbatch", "OPTIONS", "Other options of sbatch. May be repeated."},
    Taskmill_SlurmOption{"prepare", "LINE",
                         "A line of the shell before the program, such as \"module load orca\". May be "
                         "repeated."},
    Taskmill_SlurmOption{"resume", "FOLDER", "Follow the job of that folder again."},
    Taskmill_SlurmOption{"cancel", "FOLDER", "Have the job of that folder cancelled, which nobody follows."},
    Taskmill_SlurmOption{"cancellations", "", "Repeat the cancellations that a cluster has not confirmed."},
    Taskmill_SlurmOption{"check", "", "Show the partitions of the cluster."},
    Taskmill_SlurmOption{"help", "", "Show this text."},
    Taskmill_SlurmOption{"version", "", "Show the version."},
};
