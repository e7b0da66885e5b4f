// SPDX-License-Identifier: MIT
#include "wire/ports.h"

#include <charconv>
#include <cstdlib>

namespace {
// Below the range from which Linux takes the ports of outgoing connections.
constexpr Taskmill_Ports usualPorts{27641, 27642};

using Warn = std::function<void(const std::string &)>;

std::uint16_t PortFromEnvironment(const std::string &variable, std::uint16_t usual, const Warn &warn)
{
    const char *value = std::getenv(variable.c_str());
    const std::string text = value ? value : "";
    if (text.empty())
        return usual;
    if (const std::uint16_t port = Taskmill_PortFromText(text); port != 0)
        return port;
    warn(variable + " is ignored, it is no port number: " + text);
    return usual;
}
} // namespace

std::uint16_t Taskmill_PortFromText(const std::string &text)
{
    std::uint16_t port = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, port);
    return error == std::errc{} && stop == end ? port : std::uint16_t{0};
}

Taskmill_Ports Taskmill_PortsInForce(const Warn &warn)
{
    const Taskmill_Ports ports{PortFromEnvironment("TASKMILL_GUI_PORT", usualPorts.GUI, warn),
                               PortFromEnvironment("TASKMILL_CONSOLE_PORT", usualPorts.Console, warn)};
    if (ports.GUI != ports.Console)
        return ports;
    warn("TASKMILL_GUI_PORT and TASKMILL_CONSOLE_PORT are ignored, both give port " +
         std::to_string(ports.GUI));
    return usualPorts;
}
