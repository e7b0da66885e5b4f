// SPDX-License-Identifier: MIT
#pragma once

#include "slurm/site.h"
#include "slurm/sshconnection.h"

#include <map>

/// The cluster is reached by ssh and sees none of the files here: each job has a folder of its own there,
/// with the run folder's files and a folder "work", in which the program runs.
class Taskmill_SshSite final : public Taskmill_SlurmSite
{
public:
    Taskmill_SshSite(std::string runFolder, Taskmill_SlurmArguments arguments);

    [[nodiscard]] Outcome Prepare() override;
    [[nodiscard]] Taskmill_CommandEnd Submit(const std::vector<std::string> &words) override;
    [[nodiscard]] Taskmill_CommandEnd Run(const std::vector<std::string> &words) override;
    [[nodiscard]] Taskmill_RunNews Look(const std::function<void(std::string_view)> &print) override;
    /// Half of the time between two questions to the cluster.
    [[nodiscard]] int LookIntervalMs() const override;
    [[nodiscard]] Outcome Collect() override;
    void Tidy() override;
    [[nodiscard]] std::string RunFolder() const override { return m_remote; }

private:
    /// Whether Tidy() has been called, perhaps.
    [[nodiscard]] bool HasTidied() const;
    void FindGrowing();
    [[nodiscard]] Outcome MakeRemoteFolder();
    [[nodiscard]] std::vector<std::string> FilesToSend() const;
    [[nodiscard]] std::vector<std::string> CommandThere() const;
    void PrintStored(const std::function<void(std::string_view)> &print);
    [[nodiscard]] std::string LookScript() const;
    void TakeGrowth(const std::string &name, const std::string &bytes, long long size);
    [[nodiscard]] Outcome FilesToFetch(std::string &list);

    std::string m_runFolder;
    std::string m_workFolder;
    Taskmill_SlurmArguments m_arguments;
    Taskmill_SshConnection m_connection;
    std::string m_remote;             ///< the run folder there; empty until it is made
    std::vector<std::string> m_grows; ///< files of the program that are brought here while they grow
    std::map<std::string, long long> m_fetched; ///< bytes of these
    long long m_printed = 0;
    bool m_isStoredPrinted = false;
};
