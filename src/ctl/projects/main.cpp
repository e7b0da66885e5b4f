// SPDX-License-Identifier: MIT
#include "ctl/commandtable.h"
#include "ctl/projectoptions.h"
#include "ctl/projects/output.h"
#include "ctl/projects/projectcommands.h"
#include "kilnutil/filesys.h"
#include "kilnutil/logging.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QLoggingCategory>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
struct Action
{
    QLatin1StringView name; ///< of the command
    Taskmill_CtlStatus (*run)(const QCommandLineParser &parser);
};

constexpr std::array actions{
    Action{"project create"_L1, Taskmill_ProjectCreateCommand},
    Action{"types list"_L1, Taskmill_TypesListCommand},
    Action{"types add"_L1, Taskmill_TypesAddCommand},
    Action{"types remove"_L1, Taskmill_TypesRemoveCommand},
    Action{"types"_L1, Taskmill_TypesCommand},
    Action{"jobs"_L1, Taskmill_JobsCommand},
};

QString Text(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

void AddOptions(const Taskmill_CtlCommand &command, QCommandLineParser &parser)
{
    for (const Taskmill_ProjectOption &option : Taskmill_ProjectOptions) {
        if (option.Command == command.Name)
            parser.addOption(
                {Text(option.Name), Text(option.Description), Text(option.Value), Text(option.Default)});
    }
}

QString CommandHelp(const Taskmill_CtlCommand &command, const QCommandLineParser &parser)
{
    // The parser's own first line holds the path of this program and knows no commands of two words.
    const QString help = parser.helpText();
    const QString usage =
        u"Usage: taskmillctl %1 [options] %2"_s.arg(Text(command.Name), Text(command.Arguments));
    return usage + u'\n' + help.sliced(help.indexOf(u'\n') + 1) + u'\n' + Text(Taskmill_CtlExitStatusText);
}

Taskmill_CtlStatus WrongUsage(const QString &text)
{
    Taskmill_PrintError(text);
    return Taskmill_CtlStatus::WrongUsage;
}

Taskmill_CtlStatus RunCommand(const Taskmill_CtlCommand &command, const Action &action,
                              const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(Text(command.Purpose));
    const QCommandLineOption helpOption{{u"h"_s, u"help"_s}, u"Print this text."_s};
    parser.addOption(helpOption);
    AddOptions(command, parser);
    const bool parsed = parser.parse(arguments);
    if (parser.isSet(helpOption)) {
        Taskmill_PrintLine(CommandHelp(command, parser));
        return Taskmill_CtlStatus::Success;
    }
    const QString hint = u"\nSee \"taskmillctl %1 --help\"."_s.arg(action.name);
    if (!parsed)
        return WrongUsage(parser.errorText() + hint);
    const QStringList positional = parser.positionalArguments();
    if (positional.size() < static_cast<qsizetype>(command.MinArguments))
        return WrongUsage(u"%1 needs %2"_s.arg(action.name, Text(command.Arguments)) + hint);
    if (positional.size() > static_cast<qsizetype>(command.MaxArguments))
        return WrongUsage(
            u"too many arguments: %1"_s.arg(positional.at(static_cast<qsizetype>(command.MaxArguments))) +
            hint);
    return action.run(parser);
}

Taskmill_CtlStatus Run(const QStringList &arguments)
{
    for (const Action &action : actions) {
        const QStringList words = QString{action.name}.split(u' ');
        const auto command =
            std::ranges::find(Taskmill_CtlCommands,
                              std::string_view{action.name.data(), static_cast<size_t>(action.name.size())},
                              &Taskmill_CtlCommand::Name);
        if (arguments.mid(1, words.size()) == words && command != Taskmill_CtlCommands.end())
            return RunCommand(*command, action, arguments.first(1) + arguments.sliced(1 + words.size()));
    }
    return WrongUsage(u"this program is run by taskmillctl\nSee \"taskmillctl --help\"."_s);
}
} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application{argc, argv};
    KilnUtil_Logging::HideOwnCategories();
    // What the user should know of is printed by the commands.
    QLoggingCategory::setFilterRules(u"*.debug=false\n*.info=false"_s);
    // Programs beside this one are beside the manager: both make the same default job types.
    KilnUtil_FileSys::m_appDirPath = QCoreApplication::applicationDirPath();
    return static_cast<int>(Run(QCoreApplication::arguments()));
}
