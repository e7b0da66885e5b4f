// SPDX-License-Identifier: MIT
#include "ctl/requestcommands.h"

#include "ctl/managercommands.h"
#include "ctl/managerfinder.h"
#include "ctl/managerlink.h"
#include "ctl/output.h"
#include "ctl/submission.h"
#include "ctl/submitoptions.h"
#include "wire/protocol.h"
#include "wire/utf8.h"

namespace {
Taskmill_CtlStatus SendToWindow(const Taskmill_CtlOptions &options, const std::string &action,
                                const std::string &lines = {})
{
    if (!Taskmill_CheckManagerOptions(options))
        return Taskmill_CtlStatus::WrongUsage;
    // A manager on a console has no window and would take the request without a word.
    const auto manager = Taskmill_FindManager(options, Taskmill_ManagerChoice::GuiOnly);
    if (!manager)
        return Taskmill_CtlStatus::NoManager;
    const std::optional<std::string> whole = Taskmill_AnswerOf(*manager, "action=" + action + '\n' + lines);
    if (!whole)
        return Taskmill_CtlStatus::NoManager;
    const std::string answer = whole->substr(0, whole->find('\n'));
    if (!answer.starts_with(Taskmill_WireRefused))
        return Taskmill_CtlStatus::Success;
    Taskmill_PrintError(action +
                        " was refused: " + Taskmill_Utf8FromAny(answer.substr(Taskmill_WireRefused.size())));
    return Taskmill_CtlStatus::Refused;
}
} // namespace

Taskmill_CtlStatus Taskmill_SubmitCommand(const Taskmill_CtlOptions &options)
{
    if (!Taskmill_CheckManagerOptions(options))
        return Taskmill_CtlStatus::WrongUsage;
    auto submit = Taskmill_SubmitOptions::Read(options);
    if (!submit)
        return Taskmill_CtlStatus::WrongUsage;
    const auto manager = Taskmill_FindManager(options, Taskmill_ManagerChoice::ConsoleFirst);
    if (!manager)
        return Taskmill_CtlStatus::NoManager;
    return Taskmill_Submission{*std::move(submit), *manager}.Run();
}

Taskmill_CtlStatus Taskmill_TestCommand(const Taskmill_CtlOptions &options)
{
    if (!Taskmill_CheckManagerOptions(options))
        return Taskmill_CtlStatus::WrongUsage;
    const auto manager = Taskmill_FindManager(options, Taskmill_ManagerChoice::ConsoleFirst);
    if (!manager)
        return Taskmill_CtlStatus::NoManager;
    Taskmill_PrintLine("A manager answers on port " + std::to_string(manager->Port) + '.');
    return Taskmill_CtlStatus::Success;
}

Taskmill_CtlStatus Taskmill_ShowCommand(const Taskmill_CtlOptions &options)
{
    const std::optional<std::string> job =
        options.Positional().empty() ? std::string{} : Taskmill_JobNumberLine(options.Positional().front());
    return job ? SendToWindow(options, "show", *job) : Taskmill_CtlStatus::WrongUsage;
}

Taskmill_CtlStatus Taskmill_HideCommand(const Taskmill_CtlOptions &options)
{
    return SendToWindow(options, "hide");
}
