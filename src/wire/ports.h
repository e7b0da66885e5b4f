// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <string>

/// Ports of the local server of a manager with a window and of one on a console; never the same.
struct Taskmill_Ports
{
    std::uint16_t GUI;
    std::uint16_t Console;
};

/// The environment variables TASKMILL_GUI_PORT and TASKMILL_CONSOLE_PORT (1 to 65535) override the usual
/// ones; `warn` is called for each that is ignored.
[[nodiscard]] Taskmill_Ports Taskmill_PortsInForce(const std::function<void(const std::string &)> &warn);

/// The port number of a text; 0 when it is none.
[[nodiscard]] std::uint16_t Taskmill_PortFromText(const std::string &text);
