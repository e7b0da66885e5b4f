#include "app/startoptions.h"

#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

// The bracket that "-list" lacks is part of the text that scripts compare.
const char *const Taskmill_UsageText = "Usage:    taskmill [options]\n\n"
                                       "options:  [-help]\n"
                                       "          [-list\n"
                                       "          [-console]\n"
                                       "          [-newconsole]\n"
                                       "          [-run]\n"
                                       "          [-nogui]\n";

namespace {
bool Has(const QStringList &arguments, QLatin1StringView option,
         Qt::CaseSensitivity sensitivity = Qt::CaseInsensitive)
{
    return arguments.sliced(qMin<qsizetype>(1, arguments.size())).contains(option, sensitivity);
}

/// The level that the options ask for, whatever their order, else the mode's own.
Taskmill_ProgressLevel ProgressLevelOf(const QStringList &arguments, Taskmill_RunMode mode)
{
    if (Has(arguments, "-showprogress=some"_L1))
        return Taskmill_ProgressLevel::Some;
    if (Has(arguments, "-showprogress=false"_L1))
        return Taskmill_ProgressLevel::None;
    if (Has(arguments, "-showprogress=true"_L1))
        return Taskmill_ProgressLevel::Full;
    return mode == Taskmill_RunMode::Gui ? Taskmill_ProgressLevel::Full : Taskmill_ProgressLevel::Some;
}
} // namespace

Taskmill_StartOptions Taskmill_StartOptions::Parse(const QStringList &arguments)
{
    Taskmill_StartOptions options;
    if (Has(arguments, "-console"_L1) || Has(arguments, "-nogui"_L1))
        options.Mode = Taskmill_RunMode::Console;
    if (Has(arguments, "-newconsole"_L1))
        options.Mode = Taskmill_RunMode::NewConsole;
    options.NoEventLoop = Has(arguments, "-noeventloop"_L1);
    options.Progress = ProgressLevelOf(arguments, options.Mode);
    return options;
}

Taskmill_FileArgument Taskmill_FileArgument::Check(const QStringList &arguments, bool console)
{
    if (arguments.size() == 1)
        return {};
    if (arguments.isEmpty() || Has(arguments, "-help"_L1))
        return {.Result = Outcome::ShowUsage, .StartUpFile = {}};

    // Unlike the help option these two count in this spelling only.
    const bool unattended =
        Has(arguments, "-nogui"_L1, Qt::CaseSensitive) || Has(arguments, "-run"_L1, Qt::CaseSensitive);
    for (const QString &argument : arguments.sliced(1)) {
        if (argument.startsWith(u'-'))
            continue;
        if (QFileInfo::exists(argument))
            return {.Result = Outcome::GoOn, .StartUpFile = argument};
        if (console || !unattended)
            return {.Result = Outcome::MissingFile, .StartUpFile = {}};
        break;
    }
    return {};
}
