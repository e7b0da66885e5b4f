// SPDX-License-Identifier: MIT
#pragma once

#include "slurm/site.h"

/// The cluster's commands are here, and its nodes see the same files.
class Taskmill_LocalSite final : public Taskmill_SlurmSite
{
public:
    Taskmill_LocalSite(std::string runFolder, Taskmill_SlurmArguments arguments);

    [[nodiscard]] Outcome Prepare() override;
    [[nodiscard]] Taskmill_CommandEnd Submit(const std::vector<std::string> &words) override;
    [[nodiscard]] Taskmill_CommandEnd Run(const std::vector<std::string> &words) override;
    [[nodiscard]] Taskmill_RunNews Look(const std::function<void(std::string_view)> &print) override;
    [[nodiscard]] int LookIntervalMs() const override { return 1000; }
    [[nodiscard]] Outcome Collect() override
    {
        return {.isDone = true, .mayBeTriedAgain = false, .reason = {}};
    }
    [[nodiscard]] std::string RunFolder() const override { return m_runFolder; }

private:
    std::string m_runFolder;
    Taskmill_SlurmArguments m_arguments;
    long long m_printed = 0; ///< bytes of the output
};
