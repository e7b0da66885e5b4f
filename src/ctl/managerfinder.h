// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

class Taskmill_CtlOptions;
struct Taskmill_CtlOption;

/// Where a manager answers.
struct Taskmill_ManagerAddress
{
    bool Gui = false;
    std::uint16_t Port = 0;
};

/// Which managers are asked when no option says so.
enum class Taskmill_ManagerChoice
{
    ConsoleFirst,
    GuiOnly
};

/// The options --gui, --console and --port.
[[nodiscard]] std::vector<Taskmill_CtlOption> Taskmill_ManagerOptions();

/// False, with a message, when the options contradict each other or the port is none.
[[nodiscard]] bool Taskmill_CheckManagerOptions(const Taskmill_CtlOptions &options);

/// The first manager that answers of those that the checked options name. Nothing, with a message, when none
/// does.
[[nodiscard]] std::optional<Taskmill_ManagerAddress> Taskmill_FindManager(const Taskmill_CtlOptions &options,
                                                                          Taskmill_ManagerChoice choice);
