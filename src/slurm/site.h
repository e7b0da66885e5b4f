// SPDX-License-Identifier: MIT
#pragma once

#include "slurm/arguments.h"
#include "slurm/command.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// What the files of the run folder say that the batch script has written.
struct Taskmill_RunNews
{
    bool isReached = false; ///< false: nothing is known of them now, and `text` says why
    std::string text;
    std::string begun;
    std::string end;    ///< "exit"
    std::string number; ///< what sbatch has printed
    std::string log;    ///< Slurm's own lines
};

/// Where the commands of a cluster are run, and where the files of a job are that it sees: here, or behind
/// ssh.
class Taskmill_SlurmSite
{
public:
    /// Calls this several times a second while it waits for something.
    using Meanwhile = std::function<void()>;

    struct Outcome
    {
        bool isDone = false;
        bool mayBeTriedAgain = false; ///< nothing is wrong with what was asked
        std::string reason;           ///< when it is not done
    };

    /// For a run folder with the arguments of its job.
    [[nodiscard]] static std::unique_ptr<Taskmill_SlurmSite> Make(const std::string &runFolder,
                                                                  const Taskmill_SlurmArguments &arguments);
    /// What the cluster is called where queries are shared.
    [[nodiscard]] static std::string ClusterName(const std::string &host);

    virtual ~Taskmill_SlurmSite() = default;
    Taskmill_SlurmSite(const Taskmill_SlurmSite &) = delete;
    Taskmill_SlurmSite &operator=(const Taskmill_SlurmSite &) = delete;

    void SetMeanwhile(Meanwhile meanwhile) { m_meanwhile = std::move(meanwhile); }

    /// Puts everything in place that the batch script needs; again without harm.
    [[nodiscard]] virtual Outcome Prepare() = 0;
    /// Runs sbatch, whose output, the number, goes into the file "number" of the run folder.
    [[nodiscard]] virtual Taskmill_CommandEnd Submit(const std::vector<std::string> &words) = 0;
    /// Runs a command of the cluster.
    [[nodiscard]] virtual Taskmill_CommandEnd Run(const std::vector<std::string> &words) = 0;
    /// Reads what is new; output of the program goes to `print`.
    [[nodiscard]] virtual Taskmill_RunNews Look(const std::function<void(std::string_view)> &print) = 0;
    /// How often Look() may be called.
    [[nodiscard]] virtual int LookIntervalMs() const = 0;
    /// Brings the results here, when the job has ended.
    [[nodiscard]] virtual Outcome Collect() = 0;
    /// Removes what Collect() has brought, once it is written down that the job has ended.
    virtual void Tidy() {}
    /// Folders as the cluster sees them.
    [[nodiscard]] virtual std::string RunFolder() const = 0;

protected:
    Taskmill_SlurmSite() = default;
    [[nodiscard]] const Meanwhile &Idle() const { return m_meanwhile; }

private:
    Meanwhile m_meanwhile;
};
