// SPDX-License-Identifier: MIT
#include "ctl/commandhelp.h"

#include "ctl/managercommands.h"
#include "ctl/managerfinder.h"
#include "ctl/projectoptions.h"
#include "ctl/submitoptions.h"

#include <algorithm>
#include <iterator>

std::string Taskmill_GeneralHelp()
{
    std::string text =
        "Usage: taskmillctl COMMAND [options]\n\n"
        "Submits jobs to a running manager, and works on project files. A project that a manager\n"
        "has open is to be changed there: the manager writes over the file when it saves.\n\n"
        "Commands:\n";
    for (const Taskmill_CtlCommand &command : Taskmill_CtlCommands) {
        std::string usage = std::string{command.Name} + ' ' + std::string{command.Arguments};
        usage.resize(std::max<std::size_t>(usage.size(), 24), ' ');
        text.append("  ").append(usage).append(command.Purpose).append("\n");
    }
    return text
        .append("\n\"taskmillctl COMMAND --help\" shows the options of a command, \"taskmillctl --version\" "
                "the version.\n\n")
        .append(Taskmill_CtlExitStatusText);
}

std::string Taskmill_CommandHelp(const Taskmill_CtlCommand &command, const Taskmill_CtlOptions &options)
{
    std::string text = "Usage: taskmillctl " + std::string{command.Name} + " [options]";
    if (!command.Arguments.empty())
        text.append(" ").append(command.Arguments);
    text.append("\n").append(command.Purpose).append("\n\n").append(options.HelpText());
    return text.append("\n").append(Taskmill_CtlExitStatusText);
}

std::vector<Taskmill_CtlOption> Taskmill_OptionsOf(const Taskmill_CtlCommand &command)
{
    std::vector<Taskmill_CtlOption> options{{"help", "", "Print this text."}};
    for (const Taskmill_ProjectOption &option : Taskmill_ProjectOptions) {
        if (command.IsOnProjects && option.Command == command.Name)
            options.push_back(
                {std::string{option.Name}, std::string{option.Value}, std::string{option.Description}});
    }
    if (command.IsOnProjects)
        return options;
    if (command.Name == "submit")
        std::ranges::copy(Taskmill_SubmitOptions::Options(), std::back_inserter(options));
    if (command.Name == "result" || command.Name == "resources") {
        options.push_back({"json", "", "Print one JSON object a line, one for each file."});
        return options; // no manager is asked
    }
    if (Taskmill_IsManagerCommand(command.Name))
        std::ranges::copy(Taskmill_ManagerCommandOptions(command.Name), std::back_inserter(options));
    std::ranges::copy(Taskmill_ManagerOptions(), std::back_inserter(options));
    return options;
}
