// SPDX-License-Identifier: MIT
#include "ctl/requestcommands.h"

#include "ctl/managerfinder.h"
#include "ctl/output.h"
#include "ctl/submission.h"
#include "ctl/submitoptions.h"
#include "wire/clientkey.h"
#include "wire/protocol.h"
#include "wire/socket.h"
#include "wire/utf8.h"

namespace {
constexpr int waitMs = 30000;
constexpr std::size_t longestAnswer = 65536;

/// What the manager has answered; empty when it closed without a word or took too long.
std::string AnswerOf(const Taskmill_Socket &socket)
{
    std::string answer;
    while (answer.find('\n') == std::string::npos && answer.size() < longestAnswer) {
        if (Taskmill_Socket::WaitForAny({socket.Get()}, waitMs).empty() ||
            socket.Receive(answer, longestAnswer) == Taskmill_Socket::State::Ended)
            break;
    }
    return answer.substr(0, answer.find('\n'));
}

Taskmill_CtlStatus SendToWindow(const Taskmill_CtlOptions &options, const std::string &action)
{
    if (!Taskmill_CheckManagerOptions(options))
        return Taskmill_CtlStatus::WrongUsage;
    // A manager on a console has no window and would take the request without a word.
    const auto manager = Taskmill_FindManager(options, Taskmill_ManagerChoice::GuiOnly);
    if (!manager)
        return Taskmill_CtlStatus::NoManager;
    const Taskmill_Socket socket = Taskmill_Socket::Connect(manager->Port, waitMs);
    const std::string message = Taskmill_ClientKeyLines(socket, manager->Port) +
                                "clientname=taskmillctl\naction=" + action + '\n' +
                                std::string{Taskmill_WireReplyRequest};
    if (!socket.IsOpen() || !socket.Send(message, waitMs)) {
        Taskmill_PrintError("the manager does not take the request");
        return Taskmill_CtlStatus::NoManager;
    }
    const std::string answer = AnswerOf(socket);
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
    return SendToWindow(options, "show");
}

Taskmill_CtlStatus Taskmill_HideCommand(const Taskmill_CtlOptions &options)
{
    return SendToWindow(options, "hide");
}
