// SPDX-License-Identifier: MIT
#include "console/consolecommandtable.h"

#include "console/consolecommands.h"

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
using Commands = Taskmill_ConsoleCommands;
using Destination = Taskmill_Destination;

const QList<Taskmill_ConsoleCommand> &All()
{
    static const QList<Taskmill_ConsoleCommand> all{
        {"list long jobs"_L1,
         {},
         "List the Long Jobs Queue"_L1,
         [](Commands &commands, const QString &) {
             commands.ListQueue(Destination::Long);
         }},
        {"list short jobs"_L1,
         {},
         "List the Short Jobs Queue"_L1,
         [](Commands &commands, const QString &) {
             commands.ListQueue(Destination::Short);
         }},
        {"list queueless jobs"_L1,
         {},
         "List the jobs that run without a queue"_L1,
         [](Commands &commands, const QString &) {
             commands.ListQueue(Destination::Queueless);
         }},
        {"list running jobs"_L1,
         {},
         "List the running processes of known job types"_L1,
         [](Commands &commands, const QString &) {
             commands.ListRunning(true);
         }},
        {"list all running jobs"_L1,
         {},
         "List all running processes"_L1,
         [](Commands &commands, const QString &) {
             commands.ListRunning(false);
         }},
        {"list finished jobs"_L1,
         {},
         "List the finished jobs"_L1,
         [](Commands &commands, const QString &) {
             commands.ListFinished();
         }},
        {"list job types"_L1,
         {},
         "List the job types"_L1,
         [](Commands &commands, const QString &) {
             commands.ListJobTypes();
         }},
        {"show job"_L1, "N"_L1, "Show all fields of job N and its captured output"_L1,
         [](Commands &commands, const QString &argument) {
             commands.ShowJob(argument);
         }},
        {"follow job"_L1, "N"_L1, "Show what running job N writes, until it ends"_L1,
         [](Commands &commands, const QString &argument) {
             commands.FollowJob(argument);
         }},
        {"add job"_L1,
         {},
         "Add a job: asks for queue, job type and input file"_L1,
         [](Commands &commands, const QString &) {
             commands.AddJobToAskedQueue();
         }},
        {"add long job"_L1,
         {},
         "Add a job to the Long Jobs Queue"_L1,
         [](Commands &commands, const QString &) {
             commands.AddJob(Destination::Long);
         }},
        {"add short job"_L1,
         {},
         "Add a job to the Short Jobs Queue"_L1,
         [](Commands &commands, const QString &) {
             commands.AddJob(Destination::Short);
         }},
        {"add queueless job"_L1,
         {},
         "Add a job that runs at once"_L1,
         [](Commands &commands, const QString &) {
             commands.AddJob(Destination::Queueless);
         }},
        {"submit job"_L1,
         {},
         "The same as add job"_L1,
         [](Commands &commands, const QString &) {
             commands.AddJobToAskedQueue();
         }},
        {"submit long job"_L1,
         {},
         "The same as add long job"_L1,
         [](Commands &commands, const QString &) {
             commands.AddJob(Destination::Long);
         }},
        {"submit short job"_L1,
         {},
         "The same as add short job"_L1,
         [](Commands &commands, const QString &) {
             commands.AddJob(Destination::Short);
         }},
        {"submit queueless job"_L1,
         {},
         "The same as add queueless job"_L1,
         [](Commands &commands, const QString &) {
             commands.AddJob(Destination::Queueless);
         }},
        {"remove job"_L1, "N"_L1, "Remove job N from its queue, killing it when it runs"_L1,
         [](Commands &commands, const QString &argument) {
             commands.RemoveJob(argument);
         }},
        {"kill job"_L1, "N"_L1, "Kill job N, which runs"_L1,
         [](Commands &commands, const QString &argument) {
             commands.KillJob(argument);
         }},
        {"move job"_L1, "N up|down|top|bottom"_L1,
         "Move waiting job N in its queue; N may be several: 3,5"_L1,
         [](Commands &commands, const QString &argument) {
             commands.MoveJobs(argument);
         }},
        {"hold job"_L1, "N"_L1,
         "Hold waiting job N: it is not started; N until TIME and N after M hold it so long"_L1,
         [](Commands &commands, const QString &argument) {
             commands.HoldJobs(argument);
         }},
        {"release job"_L1, "N"_L1, "Let waiting job N start when its turn comes"_L1,
         [](Commands &commands, const QString &argument) {
             commands.ReleaseJobs(argument);
         }},
        {"run held jobs"_L1,
         {},
         "Run the held jobs, which ran when the project was closed or saved"_L1,
         [](Commands &commands, const QString &) {
             commands.RunHeldJobs();
         }},
        {"run job"_L1, "N"_L1, "Run job N, one of these, again"_L1,
         [](Commands &commands, const QString &argument) {
             commands.RunHeldJob(argument);
         }},
        {"pause long jobs"_L1,
         {},
         "Start no more jobs of the Long Jobs Queue"_L1,
         [](Commands &commands, const QString &) {
             commands.SetPaused(Destination::Long, true);
         }},
        {"pause long jobs when ended"_L1,
         {},
         "Pause the Long Jobs Queue when the jobs in it have ended"_L1,
         [](Commands &commands, const QString &) {
             commands.PauseWhenEnded(Destination::Long);
         }},
        {"unpause long jobs"_L1,
         {},
         "Start jobs of the Long Jobs Queue again"_L1,
         [](Commands &commands, const QString &) {
             commands.SetPaused(Destination::Long, false);
         }},
        {"pause short jobs"_L1,
         {},
         "Start no more jobs of the Short Jobs Queue"_L1,
         [](Commands &commands, const QString &) {
             commands.SetPaused(Destination::Short, true);
         }},
        {"pause short jobs when ended"_L1,
         {},
         "Pause the Short Jobs Queue when the jobs in it have ended"_L1,
         [](Commands &commands, const QString &) {
             commands.PauseWhenEnded(Destination::Short);
         }},
        {"unpause short jobs"_L1,
         {},
         "Start jobs of the Short Jobs Queue again"_L1,
         [](Commands &commands, const QString &) {
             commands.SetPaused(Destination::Short, false);
         }},
        {"set long limit"_L1, "N"_L1, "Run at most N jobs of the Long Jobs Queue at a time"_L1,
         [](Commands &commands, const QString &argument) {
             commands.SetLimit(Destination::Long, argument);
         }},
        {"set short limit"_L1, "N"_L1, "Run at most N jobs of the Short Jobs Queue at a time"_L1,
         [](Commands &commands, const QString &argument) {
             commands.SetLimit(Destination::Short, argument);
         }},
        {"show estimate"_L1,
         {},
         "Show when the queues will probably have done their jobs"_L1,
         [](Commands &commands, const QString &) {
             commands.ShowEstimate();
         }},
        {"set quiet hours"_L1, "HOURS"_L1,
         "Start no jobs of the queues in these hours, such as 22:00-06:30, or off"_L1,
         [](Commands &commands, const QString &argument) {
             commands.SetQuietHours(argument);
         }},
        {"set job priority"_L1, "low|normal"_L1, "Priority of the jobs that start from now on"_L1,
         [](Commands &commands, const QString &argument) {
             commands.SetPriority(argument);
         }},
        {"show budget"_L1,
         {},
         "Show what all running jobs may take together, and what they take"_L1,
         [](Commands &commands, const QString &) {
             commands.ShowBudget();
         }},
        {"set budget"_L1, "cores N memory M"_L1,
         "Start jobs of both queues only into N cores and M megabytes; off for no budget"_L1,
         [](Commands &commands, const QString &argument) {
             commands.SetBudget(argument);
         }},
        {"save"_L1,
         {},
         "Save the project to its file"_L1,
         [](Commands &commands, const QString &) {
             commands.Save();
         }},
        {"save"_L1, "FILE"_L1, "Save the project to FILE, which becomes its file"_L1,
         [](Commands &commands, const QString &argument) {
             commands.SaveTo(argument);
         }},
        {"pwd"_L1,
         {},
         "Show the current directory"_L1,
         [](Commands &commands, const QString &) {
             commands.PrintDirectory();
         }},
        {"cd"_L1,
         {},
         "Go to the home directory"_L1,
         [](Commands &commands, const QString &) {
             commands.GoHome();
         }},
        {"cd"_L1, "PATH"_L1, "Make PATH the current directory"_L1,
         [](Commands &commands, const QString &argument) {
             commands.ChangeDirectory(argument);
         }},
        {"dir"_L1,
         {},
         "List the current directory; switches and paths may follow"_L1,
         [](Commands &commands, const QString &) {
             commands.ListDirectory(u"dir"_s);
         }},
        {"cls"_L1,
         {},
         "Clear the screen"_L1,
         [](Commands &commands, const QString &) {
             commands.Clear();
         }},
        {"help"_L1,
         {},
         "Show this list"_L1,
         [](Commands &commands, const QString &) {
             commands.PrintFitted(Taskmill_ConsoleCommandTable::HelpText);
         }},
        {"quit keep"_L1,
         {},
         "End Taskmill and let the running jobs go on"_L1,
         [](Commands &commands, const QString &) {
             commands.QuitAndKeep();
         }},
        {"quit"_L1,
         {},
         "End Taskmill, also as exit, in any case of letters"_L1,
         [](Commands &commands, const QString &) {
             commands.Quit();
         }},
    };
    return all;
}

/// As it is typed.
QString WordsOf(const Taskmill_ConsoleCommand &command)
{
    return command.argumentName.isEmpty() ? QString{command.words}
                                          : command.words + u' ' + command.argumentName;
}

/// The words in lines that begin at a column, where the first one stands already, and end before another; 0
/// for none such.
QString Wrapped(const QString &words, qsizetype begin, qsizetype end)
{
    if (end <= begin)
        return words;
    QString text;
    qsizetype column = begin;
    for (const QString &word : words.split(u' ')) {
        if (column > begin && column + 1 + word.size() > end) {
            text += u'\n' + QString{begin, u' '};
            column = begin;
        } else if (column > begin) {
            text += u' ';
            ++column;
        }
        text += word;
        column += word.size();
    }
    return text;
}
} // namespace

QStringList Taskmill_ConsoleCommandTable::Words()
{
    QStringList words;
    for (const Taskmill_ConsoleCommand &command : All())
        words += command.argumentName.isEmpty() ? QString{command.words} : command.words + u' ';
    return words;
}

bool Taskmill_ConsoleCommandTable::Run(Taskmill_ConsoleCommands &commands, const QString &line)
{
    for (const Taskmill_ConsoleCommand &command : All()) {
        const qsizetype wordsSize = command.words.size();
        if (command.argumentName.isEmpty() && line == command.words) {
            command.run(commands, {});
            return true;
        }
        if (!command.argumentName.isEmpty() && line.size() > wordsSize + 1 &&
            line.startsWith(command.words) && line[wordsSize] == u' ') {
            command.run(commands, line.sliced(wordsSize + 1));
            return true;
        }
    }
    return false;
}

QString Taskmill_ConsoleCommandTable::HelpText(int columns)
{
    qsizetype width = 0;
    for (const Taskmill_ConsoleCommand &command : All())
        width = qMax(width, WordsOf(command).size());
    QString text = u"\n"_s;
    for (const Taskmill_ConsoleCommand &command : All())
        text += WordsOf(command).leftJustified(width) + u"  "_s + Wrapped(command.help, width + 2, columns) +
                u'\n';
    return text + u'\n';
}

QString Taskmill_ConsoleCommandTable::ProblemOf(const QString &line)
{
    for (const Taskmill_ConsoleCommand &command : All()) {
        if (!command.argumentName.isEmpty() && line == command.words)
            return u"%1 needs %2"_s.arg(command.words, command.argumentName);
    }
    constexpr qsizetype longestShown = 30;
    return u"There is no command \"%1\""_s.arg(
        line.size() > longestShown ? line.first(longestShown) + u"..."_s : line);
}
