#include "ctl/ctl.h"

#include "ctl/managerfinder.h"
#include "ctl/output.h"
#include "ctl/projectcommands.h"
#include "ctl/requestcommands.h"
#include "service/texttable.h"
#include "service/version.h"

#include <QCommandLineParser>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {
void AddNoOptions(QCommandLineParser &) {}

struct Command
{
    QLatin1StringView name; ///< one or two words
    QLatin1StringView arguments;
    qsizetype minArguments;
    qsizetype maxArguments;
    QLatin1StringView purpose;
    void (*addOptions)(QCommandLineParser &parser);
    Taskmill_CtlStatus (*run)(const QCommandLineParser &parser);
};

constexpr qsizetype any = 1'000'000;
constexpr std::array commands{
    Command{"submit"_L1, "FILE..."_L1, 1, any, "Submit a job for each input file to a running manager."_L1,
            Taskmill_AddSubmitOptions, Taskmill_SubmitCommand},
    Command{"test"_L1, ""_L1, 0, 0, "Tell whether a manager answers."_L1, Taskmill_AddManagerOptions,
            Taskmill_TestCommand},
    Command{"show"_L1, ""_L1, 0, 0, "Show the manager's window."_L1, Taskmill_AddManagerOptions,
            Taskmill_ShowCommand},
    Command{"hide"_L1, ""_L1, 0, 0, "Hide the manager's window."_L1, Taskmill_AddManagerOptions,
            Taskmill_HideCommand},
    Command{"project create"_L1, "FILE"_L1, 1, 1, "Make a new project file with the default job types."_L1,
            Taskmill_AddProjectCreateOptions, Taskmill_ProjectCreateCommand},
    Command{"types list"_L1, "FILE"_L1, 1, 1, "List the job types of a project file."_L1,
            Taskmill_AddTypesListOptions, Taskmill_TypesListCommand},
    Command{"types add"_L1, "FILE"_L1, 1, 1, "Add a job type to a project file."_L1,
            Taskmill_AddTypesAddOptions, Taskmill_TypesAddCommand},
    Command{"types remove"_L1, "FILE NAME"_L1, 2, 2, "Remove the job types of that name, in any case."_L1,
            AddNoOptions, Taskmill_TypesRemoveCommand},
    Command{"jobs"_L1, "FILE"_L1, 1, 1,
            "List the jobs of a project file: of all lists, or of those named."_L1, Taskmill_AddJobsOptions,
            Taskmill_JobsCommand},
};

const QString exitStatusText = uR"(Exit status (when several apply, the largest):
  0  success; with --wait, every job has completed
  1  a job has not completed
  2  wrong usage, or a file that does not exist
  3  no manager answers, or it went away
  4  a request was refused
  5  a project file cannot be read or written)"_s;

QString GeneralHelp()
{
    QString text = u"Usage: taskmillctl COMMAND [options]\n\n"
                   "Submits jobs to a running manager, and works on project files. A project that a manager\n"
                   "has open is to be changed there: the manager writes over the file when it saves.\n\n"
                   "Commands:\n"_s;
    for (const Command &command : commands) {
        const QString usage = u"%1 %2"_s.arg(command.name, command.arguments);
        text += u"  %1%2\n"_s.arg(usage, -24).arg(command.purpose);
    }
    return text +
           u"\n\"taskmillctl COMMAND --help\" tells the options of a command, \"taskmillctl --version\" the "
           "version.\n\n"_s +
           exitStatusText;
}

QString CommandHelp(const Command &command, const QCommandLineParser &parser)
{
    // The parser's own first line holds the path of this program and knows no commands of two words.
    const QString help = parser.helpText();
    const QString usage = u"Usage: taskmillctl %1 [options] %2"_s.arg(command.name, command.arguments);
    return usage.trimmed() + u'\n' + help.sliced(help.indexOf(u'\n') + 1) + u'\n' + exitStatusText;
}

Taskmill_CtlStatus WrongUsage(const QString &text)
{
    Taskmill_PrintError(text);
    return Taskmill_CtlStatus::WrongUsage;
}

Taskmill_CtlStatus RunCommand(const Command &command, const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(command.purpose);
    const QCommandLineOption helpOption{{u"h"_s, u"help"_s}, u"Print this text."_s};
    parser.addOption(helpOption);
    command.addOptions(parser);
    const bool parsed = parser.parse(arguments);
    if (parser.isSet(helpOption)) {
        Taskmill_PrintLine(CommandHelp(command, parser));
        return Taskmill_CtlStatus::Success;
    }
    const QString hint = u"\nSee \"taskmillctl %1 --help\"."_s.arg(command.name);
    if (!parsed)
        return WrongUsage(parser.errorText() + hint);
    const qsizetype count = parser.positionalArguments().size();
    if (count < command.minArguments)
        return WrongUsage(u"%1 needs %2"_s.arg(command.name, command.arguments) + hint);
    if (count > command.maxArguments)
        return WrongUsage(
            u"too many arguments: %1"_s.arg(parser.positionalArguments().at(command.maxArguments)) + hint);
    return command.run(parser);
}
} // namespace

Taskmill_CtlStatus Taskmill_RunCtl(const QStringList &arguments)
{
    for (const Command &command : commands) {
        const QStringList words = QString{command.name}.split(u' ');
        if (arguments.mid(1, words.size()) != words)
            continue;
        return RunCommand(command, arguments.first(1) + arguments.sliced(1 + words.size()));
    }
    const QString word = arguments.value(1);
    if (word == "--version"_L1 || word == "-v"_L1) {
        Taskmill_PrintLine(u"taskmillctl "_s + Taskmill_FullVersion);
        return Taskmill_CtlStatus::Success;
    }
    if (arguments.contains(u"--help"_s) || word == "-h"_L1) {
        Taskmill_PrintLine(GeneralHelp());
        return Taskmill_CtlStatus::Success;
    }
    const QString fault = word.isEmpty()
                              ? u"a command is needed"_s
                              : u"there is no command \"%1\""_s.arg(
                                    arguments.sliced(1, qMin<qsizetype>(2, arguments.size() - 1)).join(u' '));
    return WrongUsage(fault + u"\nSee \"taskmillctl --help\"."_s);
}
