// SPDX-License-Identifier: MIT
#include "ctl/managerfinder.h"

#include "ctl/options.h"
#include "ctl/output.h"
#include "ctl/platform.h"
#include "wire/instanceprobe.h"
#include "wire/ports.h"

namespace {
std::vector<Taskmill_ManagerAddress> AddressesToTry(const Taskmill_CtlOptions &options,
                                                    Taskmill_ManagerChoice choice)
{
    const bool onlyGui = choice == Taskmill_ManagerChoice::GuiOnly && !options.IsSet("console");
    const bool gui = options.IsSet("gui") || onlyGui;
    if (options.IsSet("port"))
        return {{.Gui = gui, .Port = Taskmill_PortFromText(options.Value("port"))}};
    const Taskmill_Ports ports = Taskmill_PortsInForce(
        [](const std::string &warning) { Taskmill_CtlPlatform::Write(stderr, warning + '\n'); });
    std::vector<Taskmill_ManagerAddress> addresses;
    if (!gui)
        addresses.push_back({.Gui = false, .Port = ports.Console});
    if (!options.IsSet("console"))
        addresses.push_back({.Gui = true, .Port = ports.GUI});
    return addresses;
}
} // namespace

std::vector<Taskmill_CtlOption> Taskmill_ManagerOptions()
{
    return {{"gui", "", "Speak to the manager with a window."},
            {"console", "", "Speak to the manager on a console."},
            {"port", "N", "Speak to the manager on this port."}};
}

bool Taskmill_CheckManagerOptions(const Taskmill_CtlOptions &options)
{
    if (options.IsSet("gui") && options.IsSet("console")) {
        Taskmill_PrintError("--gui and --console exclude each other");
        return false;
    }
    if (options.IsSet("port") && Taskmill_PortFromText(options.Value("port")) == 0) {
        Taskmill_PrintError("--port needs a number from 1 to 65535");
        return false;
    }
    return true;
}

std::optional<Taskmill_ManagerAddress> Taskmill_FindManager(const Taskmill_CtlOptions &options,
                                                            Taskmill_ManagerChoice choice)
{
    std::string ports;
    for (const Taskmill_ManagerAddress &address : AddressesToTry(options, choice)) {
        if (Taskmill_IsManagerRunning(address.Gui, address.Port))
            return address;
        ports += (ports.empty() ? "" : " or ") + std::to_string(address.Port);
    }
    Taskmill_PrintError("No manager answers on port " + ports + ". Is Taskmill running?");
    return std::nullopt;
}
