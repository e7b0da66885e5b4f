#include "ctl/requestcommands.h"

#include "ctl/managerfinder.h"
#include "ctl/output.h"
#include "ctl/submission.h"
#include "ctl/submitoptions.h"
#include "jobs/jobnotification.h"

#include <QCommandLineParser>

using namespace Qt::Literals::StringLiterals;

namespace {
Taskmill_CtlStatus SendToWindow(const QCommandLineParser &parser, const QByteArray &action)
{
    if (!Taskmill_CheckManagerOptions(parser))
        return Taskmill_CtlStatus::WrongUsage;
    // A manager on a console has no window and would take the request without a word.
    const auto manager = Taskmill_FindManager(parser, Taskmill_ManagerChoice::GuiOnly);
    if (!manager)
        return Taskmill_CtlStatus::NoManager;
    if (Taskmill_SendMessage(u"127.0.0.1"_s, manager->Port, "clientname=taskmillctl\naction=" + action))
        return Taskmill_CtlStatus::Success;
    Taskmill_PrintError(u"the manager does not take the request"_s);
    return Taskmill_CtlStatus::NoManager;
}
} // namespace

void Taskmill_AddSubmitOptions(QCommandLineParser &parser)
{
    Taskmill_SubmitOptions::AddOptions(parser);
    Taskmill_AddManagerOptions(parser);
}

Taskmill_CtlStatus Taskmill_SubmitCommand(const QCommandLineParser &parser)
{
    if (!Taskmill_CheckManagerOptions(parser))
        return Taskmill_CtlStatus::WrongUsage;
    auto options = Taskmill_SubmitOptions::Read(parser);
    if (!options)
        return Taskmill_CtlStatus::WrongUsage;
    const auto manager = Taskmill_FindManager(parser, Taskmill_ManagerChoice::ConsoleFirst);
    if (!manager)
        return Taskmill_CtlStatus::NoManager;
    return Taskmill_Submission{*std::move(options), *manager}.Run();
}

Taskmill_CtlStatus Taskmill_TestCommand(const QCommandLineParser &parser)
{
    if (!Taskmill_CheckManagerOptions(parser))
        return Taskmill_CtlStatus::WrongUsage;
    const auto manager = Taskmill_FindManager(parser, Taskmill_ManagerChoice::ConsoleFirst);
    if (!manager)
        return Taskmill_CtlStatus::NoManager;
    Taskmill_PrintLine(u"A manager answers on port %1."_s.arg(manager->Port));
    return Taskmill_CtlStatus::Success;
}

Taskmill_CtlStatus Taskmill_ShowCommand(const QCommandLineParser &parser)
{
    return SendToWindow(parser, "show");
}

Taskmill_CtlStatus Taskmill_HideCommand(const QCommandLineParser &parser)
{
    return SendToWindow(parser, "hide");
}
