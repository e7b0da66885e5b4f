// SPDX-License-Identifier: MIT
#include "ctl/commandhelp.h"
#include "ctl/commandtable.h"
#include "ctl/completion.h"
#include "ctl/ctlstatus.h"
#include "ctl/managercommands.h"
#include "ctl/options.h"
#include "ctl/output.h"
#include "ctl/platform.h"
#include "ctl/requestcommands.h"
#include "ctl/resultcommand.h"

#include <algorithm>
#include <cstdio>

namespace {
using Arguments = std::vector<std::string>;

int WrongUsage(const std::string &text)
{
    Taskmill_PrintError(text);
    return static_cast<int>(Taskmill_CtlStatus::WrongUsage);
}

Taskmill_CtlStatus Act(const Taskmill_CtlCommand &command, const Taskmill_CtlOptions &options)
{
    if (command.Name == "submit")
        return Taskmill_SubmitCommand(options);
    if (command.Name == "result")
        return Taskmill_ResultCommand(options);
    if (command.Name == "resources")
        return Taskmill_ResourcesCommand(options);
    if (Taskmill_IsManagerCommand(command.Name))
        return Taskmill_ManagerCommand(command.Name, options);
    if (command.Name == "test")
        return Taskmill_TestCommand(options);
    return command.Name == "show" ? Taskmill_ShowCommand(options) : Taskmill_HideCommand(options);
}

int RunCommand(const Taskmill_CtlCommand &command, const Arguments &arguments)
{
    Taskmill_CtlOptions options{Taskmill_OptionsOf(command)};
    const bool areRead = options.Read(arguments);
    if (options.IsSet("help")) {
        Taskmill_PrintLine(Taskmill_CommandHelp(command, options));
        return static_cast<int>(Taskmill_CtlStatus::Success);
    }
    const std::string name{command.Name};
    const std::string hint = "\nSee \"taskmillctl " + name + " --help\".";
    const Arguments &positional = options.Positional();
    if (!areRead)
        return WrongUsage(options.ErrorText() + hint);
    if (positional.size() < command.MinArguments)
        return WrongUsage(name + " needs " + std::string{command.Arguments} + hint);
    if (positional.size() > command.MaxArguments)
        return WrongUsage("too many arguments: " + positional[command.MaxArguments] + hint);
    return static_cast<int>(Act(command, options));
}

/// How many of the arguments name the command; 0 when they name another one.
std::size_t WordsOf(const Taskmill_CtlCommand &command, const Arguments &arguments)
{
    const std::size_t words = 1 + static_cast<std::size_t>(std::ranges::count(command.Name, ' '));
    std::string name;
    for (std::size_t position = 0; position < std::min(words, arguments.size()); ++position)
        name += (position == 0 ? "" : " ") + arguments[position];
    return name == command.Name ? words : 0;
}

/// Whether the other program carries the command out.
bool IsOnProjects(const Taskmill_CtlCommand &command, const Arguments &arguments)
{
    const auto namesProject = [](const std::string &argument) {
        return argument == "--project" || argument.starts_with("--project=");
    };
    return command.IsOnProjects || (command.Name == "types" && std::ranges::any_of(arguments, namesProject));
}

int RunWithoutCommand(const Arguments &arguments)
{
    const std::string word = arguments.empty() ? "" : arguments.front();
    if (word == Taskmill_CompletionOption) {
        Taskmill_PrintLine(Taskmill_Completions({arguments.begin() + 1, arguments.end()}));
        return static_cast<int>(Taskmill_CtlStatus::Success);
    }
    if (word == "--version" || word == "-v") {
        Taskmill_PrintLine("taskmillctl " TASKMILL_VERSION);
        return static_cast<int>(Taskmill_CtlStatus::Success);
    }
    if (word == "-h" || std::ranges::find(arguments, "--help") != arguments.end()) {
        Taskmill_PrintLine(Taskmill_GeneralHelp());
        return static_cast<int>(Taskmill_CtlStatus::Success);
    }
    const std::string words = arguments.size() > 1 ? word + ' ' + arguments[1] : word;
    const std::string fault = word.empty() ? "a command is needed" : "there is no command \"" + words + '"';
    return WrongUsage(fault + "\nSee \"taskmillctl --help\".");
}

int Run(const Arguments &arguments, char **argv)
{
    for (const Taskmill_CtlCommand &command : Taskmill_CtlCommands) {
        const auto words = static_cast<Arguments::difference_type>(WordsOf(command, arguments));
        if (words == 0)
            continue;
        if (!IsOnProjects(command, arguments))
            return RunCommand(command, {arguments.begin() + words, arguments.end()});
        const int status = Taskmill_CtlPlatform::RunSibling("taskmillctl-projects", argv);
        if (status < 0)
            Taskmill_PrintError(
                "the program taskmillctl-projects, which belongs beside this one, cannot be run");
        return status < 0 ? static_cast<int>(Taskmill_CtlStatus::BadProject) : status;
    }
    return RunWithoutCommand(arguments);
}
} // namespace

int main(int argc, char **argv)
{
    const int status = Run(Taskmill_CtlPlatform::Arguments(argc, argv), argv);
    if (std::ferror(stdout) == 0)
        return status;
    Taskmill_PrintError("standard output cannot be written");
    return static_cast<int>(Taskmill_CtlStatus::OutputLost);
}
