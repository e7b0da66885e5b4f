// SPDX-License-Identifier: MIT
#pragma once

#include "processes/processinspector.h"

#include <chrono>

/// Runs the command-line tool "wmic", found through PATH, for every question and every order.
class Taskmill_WmicProcessInspector final : public Taskmill_ProcessInspector
{
public:
    /// A run of the tool that takes longer is abandoned; what it printed until then is used.
    explicit Taskmill_WmicProcessInspector(std::chrono::milliseconds timeLimit = std::chrono::seconds{30});

    [[nodiscard]] QString ListingText() override;
    [[nodiscard]] QString InterruptibleListingText() override;
    void EndProcess(int processID) override;
    void EndChildren(int processID) override;

private:
    [[nodiscard]] QString List(bool mayBeGivenUp) const;
    /// Returns what the tool printed; empty when there is no such tool. A run that may be given up ends early
    /// when an interruption of the calling thread is requested.
    QString RunTool(const QStringList &arguments, bool mayBeGivenUp) const;

    std::chrono::milliseconds m_timeLimit;
};
