// SPDX-License-Identifier: MIT
#include "console/console.h"
#include "console/consoleworker.h"

using namespace Qt::Literals::StringLiterals;

using Worker = Taskmill_Console_Worker;
using Destination = Taskmill_Destination;

/// The words in lines that begin at a column, where the first one stands already, and end before another; 0
/// for none such.
static QString Wrapped(const QString &words, qsizetype begin, qsizetype end)
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

QList<Worker::Command> Worker::Commands()
{
    static const QList<Command> commands{
        {"list long jobs"_L1,
         {},
         "List the Long Jobs Queue"_L1,
         [](Worker &worker, const QString &) {
             worker.ListQueue(Destination::Long);
         }},
        {"list short jobs"_L1,
         {},
         "List the Short Jobs Queue"_L1,
         [](Worker &worker, const QString &) {
             worker.ListQueue(Destination::Short);
         }},
        {"list queueless jobs"_L1,
         {},
         "List the jobs that run without a queue"_L1,
         [](Worker &worker, const QString &) {
             worker.ListQueue(Destination::Queueless);
         }},
        {"list running jobs"_L1,
         {},
         "List the running processes of known job types"_L1,
         [](Worker &worker, const QString &) {
             worker.ListRunning(true);
         }},
        {"list all running jobs"_L1,
         {},
         "List all running processes"_L1,
         [](Worker &worker, const QString &) {
             worker.ListRunning(false);
         }},
        {"list finished jobs"_L1,
         {},
         "List the finished jobs"_L1,
         [](Worker &worker, const QString &) {
             worker.ListFinished();
         }},
        {"list job types"_L1,
         {},
         "List the job types"_L1,
         [](Worker &worker, const QString &) {
             worker.ListJobTypes();
         }},
        {"show job"_L1, "N"_L1, "Show all fields of job N and its captured output"_L1,
         [](Worker &worker, const QString &argument) {
             worker.ShowJob(argument);
         }},
        {"follow job"_L1, "N"_L1, "Show what running job N writes, until it ends"_L1,
         [](Worker &worker, const QString &argument) {
             worker.FollowJob(argument);
         }},
        {"add job"_L1,
         {},
         "Add a job: asks for queue, job type and input file"_L1,
         [](Worker &worker, const QString &) {
             worker.AddJobToAskedQueue();
         }},
        {"add long job"_L1,
         {},
         "Add a job to the Long Jobs Queue"_L1,
         [](Worker &worker, const QString &) {
             worker.AddJob(Destination::Long);
         }},
        {"add short job"_L1,
         {},
         "Add a job to the Short Jobs Queue"_L1,
         [](Worker &worker, const QString &) {
             worker.AddJob(Destination::Short);
         }},
        {"add queueless job"_L1,
         {},
         "Add a job that runs at once"_L1,
         [](Worker &worker, const QString &) {
             worker.AddJob(Destination::Queueless);
         }},
        {"submit job"_L1,
         {},
         "The same as add job"_L1,
         [](Worker &worker, const QString &) {
             worker.AddJobToAskedQueue();
         }},
        {"submit long job"_L1,
         {},
         "The same as add long job"_L1,
         [](Worker &worker, const QString &) {
             worker.AddJob(Destination::Long);
         }},
        {"submit short job"_L1,
         {},
         "The same as add short job"_L1,
         [](Worker &worker, const QString &) {
             worker.AddJob(Destination::Short);
         }},
        {"submit queueless job"_L1,
         {},
         "The same as add queueless job"_L1,
         [](Worker &worker, const QString &) {
             worker.AddJob(Destination::Queueless);
         }},
        {"remove job"_L1, "N"_L1, "Remove job N from its queue, killing it when it runs"_L1,
         [](Worker &worker, const QString &argument) {
             worker.RemoveJob(argument);
         }},
        {"kill job"_L1, "N"_L1, "Kill job N, which runs"_L1,
         [](Worker &worker, const QString &argument) {
             worker.KillJob(argument);
         }},
        {"run held jobs"_L1,
         {},
         "Run the queueless jobs again that ran when the project was closed"_L1,
         [](Worker &worker, const QString &) {
             worker.RunHeldJobs();
         }},
        {"run job"_L1, "N"_L1, "Run job N, one of these, again"_L1,
         [](Worker &worker, const QString &argument) {
             worker.RunHeldJob(argument);
         }},
        {"pause long jobs"_L1,
         {},
         "Start no more jobs of the Long Jobs Queue"_L1,
         [](Worker &worker, const QString &) {
             worker.SetPaused(Destination::Long, true);
         }},
        {"unpause long jobs"_L1,
         {},
         "Start jobs of the Long Jobs Queue again"_L1,
         [](Worker &worker, const QString &) {
             worker.SetPaused(Destination::Long, false);
         }},
        {"pause short jobs"_L1,
         {},
         "Start no more jobs of the Short Jobs Queue"_L1,
         [](Worker &worker, const QString &) {
             worker.SetPaused(Destination::Short, true);
         }},
        {"unpause short jobs"_L1,
         {},
         "Start jobs of the Short Jobs Queue again"_L1,
         [](Worker &worker, const QString &) {
             worker.SetPaused(Destination::Short, false);
         }},
        {"set long limit"_L1, "N"_L1, "Run at most N jobs of the Long Jobs Queue at a time"_L1,
         [](Worker &worker, const QString &argument) {
             worker.SetLimit(Destination::Long, argument);
         }},
        {"set short limit"_L1, "N"_L1, "Run at most N jobs of the Short Jobs Queue at a time"_L1,
         [](Worker &worker, const QString &argument) {
             worker.SetLimit(Destination::Short, argument);
         }},
        {"save"_L1,
         {},
         "Save the project to its file"_L1,
         [](Worker &worker, const QString &) {
             worker.Save();
         }},
        {"save"_L1, "FILE"_L1, "Save the project to FILE, which becomes its file"_L1,
         [](Worker &worker, const QString &argument) {
             worker.SaveTo(argument);
         }},
        {"pwd"_L1,
         {},
         "Show the current directory"_L1,
         [](Worker &worker, const QString &) {
             worker.PrintDirectory();
         }},
        {"cd"_L1,
         {},
         "Go to the home directory"_L1,
         [](Worker &worker, const QString &) {
             worker.GoHome();
         }},
        {"cd"_L1, "PATH"_L1, "Make PATH the current directory"_L1,
         [](Worker &worker, const QString &argument) {
             worker.ChangeDirectory(argument);
         }},
        {"dir"_L1,
         {},
         "List the current directory; switches and paths may follow"_L1,
         [](Worker &worker, const QString &) {
             worker.ListDirectory(u"dir"_s);
         }},
        {"cls"_L1,
         {},
         "Clear the screen"_L1,
         [](Worker &worker, const QString &) {
             worker.Clear();
         }},
        {"help"_L1,
         {},
         "Show this list"_L1,
         [](Worker &worker, const QString &) {
             worker.Help();
         }},
        {"quit keep"_L1,
         {},
         "End Taskmill and let the running jobs go on"_L1,
         [](Worker &worker, const QString &) {
             worker.QuitAndKeep();
         }},
        {"quit"_L1,
         {},
         "End Taskmill, also as exit, in any case of letters"_L1,
         [](Worker &worker, const QString &) {
             worker.Quit();
         }},
    };
    return commands;
}

QStringList Worker::CommandWords() const
{
    QStringList words;
    const QList<Command> commands = Commands();
    for (const Command &command : commands)
        words += command.argumentName.isEmpty() ? QString{command.words} : command.words + u" "_s;
    return words;
}

void Worker::Help()
{
    QList<std::pair<QString, QLatin1StringView>> lines;
    qsizetype width = 0;
    const QList<Command> commands = Commands();
    for (const Command &command : commands) {
        QString words{command.words};
        if (!command.argumentName.isEmpty())
            words += u' ' + command.argumentName;
        width = qMax(width, words.size());
        lines.append({words, command.help});
    }
    QString text = u"\n"_s;
    for (const auto &[words, help] : lines)
        text += words.leftJustified(width) + u"  "_s + Wrapped(help, width + 2, Columns()) + u'\n';
    Print(text + u'\n');
}

void Worker::Execute(const QString &line)
{
    if (line.compare("quit"_L1, Qt::CaseInsensitive) == 0 ||
        line.compare("exit"_L1, Qt::CaseInsensitive) == 0) {
        Quit();
        return;
    }
    if (line.startsWith("dir "_L1) || line.startsWith("dir/"_L1)) {
        ListDirectory(line);
        return;
    }
    const QList<Command> commands = Commands();
    for (const Command &command : commands) {
        if (command.argumentName.isEmpty() && line == command.words)
            return command.run(*this, {});
        const qsizetype wordsSize = command.words.size();
        if (!command.argumentName.isEmpty() && line.size() > wordsSize + 1 &&
            line.startsWith(command.words) && line[wordsSize] == u' ')
            return command.run(*this, line.sliced(wordsSize + 1));
    }
    // A program that drives the console by a pipe counts on silence.
    if (!line.isEmpty() && m_console.Terminal().IsInteractive())
        ExplainUnknown(line);
}

void Worker::ExplainUnknown(const QString &line)
{
    constexpr qsizetype longestShown = 30;
    QString problem = u"There is no command \"%1\""_s.arg(
        line.size() > longestShown ? line.first(longestShown) + u"..."_s : line);
    const QList<Command> commands = Commands();
    for (const Command &command : commands) {
        if (!command.argumentName.isEmpty() && line == command.words)
            problem = u"%1 needs %2"_s.arg(command.words, command.argumentName);
    }
    Print(u"\n<Taskmill> %1; help lists the commands.\n\n"_s.arg(problem));
}
