// SPDX-License-Identifier: MIT
#include "jobs/commandline.h"

#include "kilnutil/filesys.h"
#include "kilnutil/logging.h"

#include <QFile>
#include <QStringList>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Placeholder pairs come from clients: a few that double the text each time must not use up the memory.
constexpr qsizetype longestText = 131072;

void ReplaceFileName(QString &text, QLatin1StringView placeholder, const QString &path)
{
    if (!text.contains(placeholder))
        return;
    const qsizetype firstLineFeed = text.indexOf(u'\n');
    const qsizetype firstLineLength = firstLineFeed < 0 ? text.size() : firstLineFeed;
    QString commandLine = text.left(firstLineLength);
    QString answers = text.mid(firstLineLength);
    commandLine.replace(placeholder, KilnUtil_FileSys::ConvertFilename(path, true, false));
    answers.replace(placeholder, KilnUtil_FileSys::ConvertFilename(path, false, false));
    text = commandLine + answers;
}

/// ConvertFilename quotes a name when it must, so the template's own quotes would only get in the way.
void RemoveQuotesOfPlaceholders(QString &text)
{
    if (!text.contains(u'"'))
        return;
    text.replace("\"@INFILE\""_L1, "@INFILE"_L1);
    text.replace("\"@EXEFILE\""_L1, "@EXEFILE"_L1);
    text.replace("\"@OUTFILE\""_L1, "@OUTFILE"_L1);
}

/// Cubman asks for a second file and a confirmation only when there is one.
bool LacksSecondCubmanFile(const Taskmill_JobRecord &job)
{
    return job.InputFilePath2.isEmpty() &&
           job.JobType.ExecutablePath.contains("cubman"_L1, Qt::CaseInsensitive);
}

void ReplaceInputFiles(QString &text, const Taskmill_JobRecord &job)
{
    static const auto secondFileAndAnswer = "@INFILE2\ny\n"_L1;
    ReplaceFileName(text, "@INFILE1"_L1, job.InputFilePath);
    if (LacksSecondCubmanFile(job) && text.contains(secondFileAndAnswer, Qt::CaseInsensitive))
        text.remove(secondFileAndAnswer, Qt::CaseInsensitive);
    else
        ReplaceFileName(text, "@INFILE2"_L1, job.InputFilePath2);
    // Last, since it is the beginning of the other two.
    ReplaceFileName(text, "@INFILE"_L1, job.InputFilePath);
}

QStringList NonAsciiFileNames(const Taskmill_JobRecord &job)
{
    const std::array paths{&job.InputFilePath,     &job.InputFilePath2,    &job.OutputFile,
                           &job.CheckpointFile,    &job.CheckpointFile2,   &job.JobType.ExecutablePath,
                           &job.StandardInputFile, &job.StandardOutputFile};
    QStringList names;
    for (const QString *path : paths) {
        if (std::ranges::any_of(*path, [](QChar c) { return c.unicode() > 127; }))
            names.append(KilnUtil_FileSys::ConvertFilename(*path, false, false));
    }
    return names;
}

/// Latin-1, except that a line with one of the job's file names is written as the file system spells names:
/// the program could not open the file otherwise.
QByteArray EncodeStandardInput(const QString &text, const Taskmill_JobRecord &job)
{
    const QStringList names = NonAsciiFileNames(job);
    if (names.isEmpty())
        return text.toLatin1();

    QList<QByteArray> lines;
    for (const QString &line : text.split(u'\n')) {
        const bool holdsName =
            std::ranges::any_of(names, [&line](const QString &name) { return line.contains(name); });
        lines.append(holdsName ? QFile::encodeName(line) : line.toLatin1());
    }
    return lines.join('\n');
}

QString FirstLine(const QString &text)
{
    const QString line = text.left(text.indexOf(u'\n'));
    const auto isBlank = [](QChar c) {
        return c == u' ' || c == u'\t' || c == u'\r';
    };
    // Only blanks that may stand around a template's first line: a file name may end in another kind of
    // space.
    const auto begin = std::find_if_not(line.begin(), line.end(), isBlank);
    const auto end = std::find_if_not(line.rbegin(), std::make_reverse_iterator(begin), isBlank).base();
    return QString{begin, end - begin};
}

QString AfterFirstLine(const QString &text)
{
    const qsizetype end = text.indexOf(u'\n');
    return end < 0 ? QString{} : text.mid(end + 1);
}
/// The template, its executable and output file left open.
QString WithInputFiles(const Taskmill_JobRecord &job)
{
    QString text = job.JobType.GenericCommandLine;
    RemoveQuotesOfPlaceholders(text);
    ReplaceInputFiles(text, job);
    return text;
}

void ReplaceOthers(QString &text, const Taskmill_JobRecord &job)
{
    ReplaceFileName(text, "@OUTFILE"_L1, job.OutputFile);
    Taskmill_ApplyPlaceholders(text, job.PlaceholderValues);
}
} // namespace

void Taskmill_ApplyPlaceholders(QString &text, const Taskmill_PlaceholderValues &values)
{
    for (const auto &[placeholder, value] : values) {
        if (placeholder.isEmpty())
            continue;
        const qsizetype growth = value.size() - placeholder.size();
        const qsizetype count = text.count(placeholder, Qt::CaseInsensitive);
        if (count == 0)
            continue;
        if (growth > 0 && count > (longestText - text.size()) / growth) {
            qCWarning(Taskmill_JobsLog, "Placeholders left out: their values make the text too long");
            return;
        }
        text.replace(placeholder, value, Qt::CaseInsensitive);
    }
}

QString Taskmill_FullCommandLine(const Taskmill_JobRecord &job)
{
    QString text = WithInputFiles(job);
    ReplaceFileName(text, "@EXEFILE"_L1, job.JobType.ExecutablePath);
    ReplaceOthers(text, job);
    return text;
}

Taskmill_CommandLine Taskmill_ExpandCommandLine(const Taskmill_JobRecord &job)
{
    QString arguments = WithInputFiles(job).remove("@EXEFILE"_L1);
    ReplaceOthers(arguments, job);
    return {Taskmill_FullCommandLine(job), arguments};
}

Taskmill_LaunchPlan Taskmill_PlanLaunch(const Taskmill_JobRecord &job)
{
    const Taskmill_CommandLine expanded = Taskmill_ExpandCommandLine(job);
    return {.Program = KilnUtil_FileSys::ConvertFilename(job.JobType.ExecutablePath, false, false),
            .CommandLine = FirstLine(expanded.Full),
            .Arguments = FirstLine(expanded.Arguments),
            .StandardInput = EncodeStandardInput(AfterFirstLine(expanded.Arguments), job)};
}
