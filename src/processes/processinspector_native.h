// SPDX-License-Identifier: MIT
#pragma once

#include "processes/processinspector.h"

/// Asks Windows itself, for computers without "wmic". What the system does not return of a process (of those
/// of other users nearly everything) stays empty; so does ExecutionState, as it does with "wmic".
class Taskmill_NativeProcessInspector final : public Taskmill_ProcessInspector
{
public:
    [[nodiscard]] QString ListingText() override;
    void EndProcess(int processID) override;
    void EndChildren(int processID) override;
    [[nodiscard]] std::optional<QString> CreationDateNow(int processID) override;
    [[nodiscard]] std::optional<int> ParentNow(int processID) override;
};
