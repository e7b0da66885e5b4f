// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

/// What taskmill-slurm has written down of a job that it has handed to a Slurm cluster.
///
/// The file "state" in the run's folder is text: a first line "taskmill-slurm 1", then lines NAME=VALUE, a
/// last line ".". It is always replaced as a whole. Whoever reads it skips unknown names. Control
/// characters in a value are blanks. The names:
///   comment  the word by which the cluster's listing shows that the job is this one
///   phase    "prepared": nothing is submitted; "submitting": it may be, under an unknown number;
///            "submitted"; "ended"
///   job      the cluster's number, digits; from "submitted" on
///   host     USER@LOGIN, when the cluster is reached by ssh
///   state    Slurm's word, such as PENDING, RUNNING, TIMEOUT
///   reason   Slurm's reason, such as Resources; of an end, why
///   node     the nodes on which it runs, as Slurm writes them
///   since    when it came into that state, seconds since 1970
///   cancel   "yes" once its end was asked for
///   exit     of "ended": the exit code; or
///   signal   of "ended": the signal with which taskmill-slurm ends
struct Taskmill_ClusterState
{
    enum class Phase
    {
        Prepared,
        Submitting,
        Submitted,
        Ended,
    };

    std::string comment;
    Phase phase = Phase::Prepared;
    std::string job;
    std::string host;
    std::string state;
    std::string reason;
    std::string node;
    long long since = 0;
    bool isCancelled = false;
    std::optional<int> exitCode;
    std::optional<int> signal;

    [[nodiscard]] std::string ToText() const;
    /// None for a text that is not whole, or of another version.
    [[nodiscard]] static std::optional<Taskmill_ClusterState> FromText(std::string_view text);

    /// Whether taskmill-slurm is to be started again, when nobody follows the job any more.
    [[nodiscard]] bool IsToBeFollowed() const { return phase != Phase::Ended && !isCancelled; }
};

/// How the name of the program that hands a job to a cluster ends, and the variables in which it finds what
/// the job takes: digits; the memory in units of 2^20 bytes.
constexpr std::string_view Taskmill_SlurmProgram = "taskmill-slurm";
constexpr std::string_view Taskmill_CoresVariable = "TASKMILL_JOB_CORES";
constexpr std::string_view Taskmill_MemoryVariable = "TASKMILL_JOB_MEMORY";

/// The folder of a run in the folder in which its job works, both as bytes of the system.
[[nodiscard]] std::string Taskmill_ClusterRunFolder(std::string_view workFolder, std::string_view runID);

/// None when there is no such run.
[[nodiscard]] std::optional<Taskmill_ClusterState> Taskmill_ReadClusterState(const std::string &runFolder);

/// Makes the run that is to follow an earlier one's job known under its own number, on the disk too. False
/// when that cannot be: it must not be started then.
[[nodiscard]] bool Taskmill_LinkClusterRun(std::string_view workFolder, std::string_view earlierRunID,
                                           std::string_view runID);
