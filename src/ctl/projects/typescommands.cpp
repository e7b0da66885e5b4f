// SPDX-License-Identifier: MIT
#include "ctl/projects/output.h"
#include "ctl/projects/projectcommands.h"
#include "ctl/projects/projectfile.h"
#include "jobs/clustercall.h"
#include "jobs/destination.h"
#include "jobs/jobneeds.h"
#include "jobs/presets.h"
#include "kilnutil/filesys.h"
#include "manager/listings.h"
#include "manager/texttable.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {
Taskmill_CtlStatus WrongUsage(const QString &text)
{
    Taskmill_PrintError(text);
    return Taskmill_CtlStatus::WrongUsage;
}

QList<Taskmill_JobType> TypesNamed(const Taskmill_JobTypeList &list, const QString &name)
{
    QList<Taskmill_JobType> named = list.GetAll();
    named.removeIf([&name](const Taskmill_JobType &jobType) { return !jobType.IsNamed(name); });
    return named;
}

void PrintTypes(const QList<Taskmill_JobType> &jobTypes)
{
    if (jobTypes.isEmpty()) {
        Taskmill_PrintLine(u"Job Types List is Empty"_s);
        return;
    }
    QList<QStringList> rows;
    for (const Taskmill_JobType &jobType : jobTypes)
        rows.append(Taskmill_Listings::JobTypes().Row(jobType));
    QString table = Taskmill_TextTable(Taskmill_Listings::JobTypes().Headers(), rows);
    table.chop(1);
    Taskmill_PrintLine(table);
}

bool HasLineFeed(const Taskmill_JobType &jobType)
{
    const auto texts = {jobType.Name, jobType.ApplicationName, jobType.ExecutablePath,
                        jobType.InputFileFilter, jobType.OutputFileFilter};
    return std::ranges::any_of(texts, [](const QString &text) { return text.contains(u'\n'); });
}

bool IsVariable(const QString &text)
{
    return text.indexOf(u'=') > 0 && !text.contains(u'\n');
}

bool IsQueue(const QString &name)
{
    return std::ranges::any_of(Taskmill_Queues, [&name](const Taskmill_QueueNames &queue) {
        return name.compare(queue.Stored, Qt::CaseInsensitive) == 0 ||
               name.compare(queue.OfNewJob, Qt::CaseInsensitive) == 0;
    });
}

/// Seconds; nothing when it is no number in its range.
std::optional<qint32> KillGrace(const QCommandLineParser &parser)
{
    bool isNumber = false;
    const int seconds = parser.value(u"kill-grace"_s).toInt(&isNumber);
    return isNumber && seconds >= 0 && seconds <= Taskmill_JobType::LongestKillGrace ? std::optional{seconds}
                                                                                     : std::nullopt;
}

/// Nothing when it is no number in its range.
std::optional<qint32> Minutes(const QCommandLineParser &parser, const QString &option)
{
    bool isNumber = false;
    const int minutes = parser.value(option).toInt(&isNumber);
    return isNumber && minutes >= 0 && minutes <= Taskmill_JobType::LongestMinutes ? std::optional{minutes}
                                                                                   : std::nullopt;
}

/// What stands in "--slurm"; nothing for what leaves a word that is no option.
std::optional<Taskmill_ClusterOptions> ClusterOptions(const QCommandLineParser &parser)
{
    const QString text = Taskmill_ExecutablePlaceholder + u' ' + parser.value(u"slurm"_s);
    const auto call = Taskmill_ClusterCall::Of(text);
    return call && call->Program.isEmpty() && !text.contains(u'\n') ? std::optional{call->Options}
                                                                    : std::nullopt;
}

Taskmill_JobType TypeFromOptions(const QCommandLineParser &parser)
{
    const QFileInfo executable{parser.value(u"exe"_s)};
    const QString queue = parser.value(u"queue"_s);
    const Taskmill_JobType jobType{
        .Name = parser.value(u"name"_s),
        .ApplicationName = parser.isSet(u"app"_s) ? parser.value(u"app"_s) : executable.fileName(),
        .ExecutablePath = executable.absoluteFilePath(),
        .DefaultQueue = Taskmill_QueueNameFromKey(static_cast<int>(Taskmill_QueueKeyFromName(queue))),
        .GenericCommandLine = parser.value(u"command-line"_s),
        .InputFileFilter = parser.value(u"input-filter"_s),
        .OutputFileFilter = parser.value(u"output-filter"_s),
        .EnvironmentVariables = parser.values(u"env"_s).join(u'\n'),
        .KillGraceSeconds = KillGrace(parser).value_or(Taskmill_JobType::DefaultKillGrace),
        .TimeLimitMinutes = Minutes(parser, u"time-limit"_s).value_or(0),
        .NoProgressMinutes = Minutes(parser, u"warn-after"_s).value_or(0),
        .Cores = Taskmill_CoresFromText(parser.value(u"cores"_s)).value_or(0),
        .MemoryMB = Taskmill_MemoryFromText(parser.value(u"memory"_s)).value_or(0),
        .LeastFreeMB = Taskmill_MemoryFromText(parser.value(u"free-space"_s)).value_or(0),
        .HoldsChangedInput = parser.isSet(u"hold-changed-input"_s)};
    return parser.isSet(u"slurm"_s)
               ? Taskmill_OnCluster(jobType, ClusterOptions(parser).value_or(Taskmill_ClusterOptions{}),
                                    parser.value(u"exe"_s))
               : jobType;
}

/// What is wrong with the job type; empty when it can be used.
QString Fault(const QCommandLineParser &parser, const Taskmill_JobType &jobType)
{
    if (jobType.Name.isEmpty() || jobType.ApplicationName.isEmpty())
        return u"a job type needs --name and --exe"_s;
    if (!QFileInfo{jobType.ExecutablePath}.isFile())
        return u"the executable does not exist: %1"_s.arg(parser.isSet(u"slurm"_s) ? jobType.ExecutablePath
                                                                                   : parser.value(u"exe"_s));
    if (parser.isSet(u"slurm"_s) && !ClusterOptions(parser))
        return u"--slurm needs options of taskmill-slurm, such as \"--cores input --time 2:00:00\""_s;
    if (!IsQueue(parser.value(u"queue"_s)))
        return u"--queue needs long, short, queueless or none"_s;
    if (!std::ranges::all_of(parser.values(u"env"_s), IsVariable))
        return u"--env needs NAME=VALUE in one line"_s;
    if (!KillGrace(parser))
        return u"--kill-grace needs seconds from 0 to %1"_s.arg(Taskmill_JobType::LongestKillGrace);
    for (const QString &option : {u"time-limit"_s, u"warn-after"_s}) {
        if (!Minutes(parser, option))
            return u"--%1 needs minutes from 0 to %2"_s.arg(option).arg(Taskmill_JobType::LongestMinutes);
    }
    for (const auto &[name, value, most] :
         {std::tuple{u"cores"_s, qint64{jobType.Cores}, qint64{Taskmill_MostCores}},
          std::tuple{u"memory"_s, jobType.MemoryMB, Taskmill_MostMemoryMB},
          std::tuple{u"free-space"_s, jobType.LeastFreeMB, Taskmill_MostMemoryMB}}) {
        if (parser.isSet(name) && value == 0)
            return u"--%1 needs a number from 1 to %2"_s.arg(name).arg(most);
    }
    if (HasLineFeed(jobType))
        return u"only the command line may hold a line feed"_s;
    if (!jobType.IsValid())
        return u"the command line needs @EXEFILE"_s;
    return {};
}
} // namespace

static Taskmill_CtlStatus ListTypesOf(const QString &file, const QCommandLineParser &parser)
{
    Taskmill_ProjectFile project{file};
    const Taskmill_CtlStatus status = project.Open();
    if (status != Taskmill_CtlStatus::Success)
        return status;
    const QList<Taskmill_JobType> jobTypes = project.JobTypes().GetAll();
    if (!parser.isSet(u"json"_s)) {
        PrintTypes(jobTypes);
        return status;
    }
    QJsonArray list;
    for (const Taskmill_JobType &jobType : jobTypes)
        list.append(Taskmill_Listings::JobTypes().Json(jobType));
    Taskmill_PrintJson(list);
    return status;
}

Taskmill_CtlStatus Taskmill_TypesListCommand(const QCommandLineParser &parser)
{
    return ListTypesOf(parser.positionalArguments().first(), parser);
}

Taskmill_CtlStatus Taskmill_TypesCommand(const QCommandLineParser &parser)
{
    return ListTypesOf(parser.value(u"project"_s), parser);
}

/// Adds the job type, or says why the project does not take it.
static bool AddType(Taskmill_ProjectFile &project, const Taskmill_JobType &jobType, const QString &path)
{
    Taskmill_JobType added = jobType;
    project.JobTypes().Add(added);
    const bool isAdded = !TypesNamed(project.JobTypes(), jobType.Name).isEmpty();
    if (!isAdded)
        Taskmill_PrintError(u"the project does not take the job type: %1"_s.arg(path));
    return isAdded;
}

static Taskmill_CtlStatus AddFoundTypes(const QString &path)
{
    Taskmill_ProjectFile project{path};
    const Taskmill_CtlStatus status = project.Open();
    if (status != Taskmill_CtlStatus::Success)
        return status;
    const QList<Taskmill_FoundPreset> found = Taskmill_FindPresets(project.JobTypes().GetAll());
    if (found.isEmpty()) {
        Taskmill_PrintLine(u"No further program that is known was found"_s);
        return status;
    }
    QString text;
    for (const auto &[jobType, isTried] : found) {
        if (!AddType(project, jobType, path))
            return Taskmill_CtlStatus::BadProject;
        text += jobType.Name + u": "_s + jobType.ExecutablePath + (isTried ? u"\n"_s : u" (untried)\n"_s);
    }
    const Taskmill_CtlStatus saved = project.Save();
    text.chop(1);
    if (saved == Taskmill_CtlStatus::Success)
        Taskmill_PrintLine(text);
    return saved;
}

Taskmill_CtlStatus Taskmill_TypesAddCommand(const QCommandLineParser &parser)
{
    if (parser.isSet(u"found"_s)) {
        if (parser.optionNames().size() > 1)
            return WrongUsage(u"--found takes no other option"_s);
        return AddFoundTypes(parser.positionalArguments().first());
    }
    const Taskmill_JobType jobType = TypeFromOptions(parser);
    const QString fault = Fault(parser, jobType);
    if (!fault.isEmpty())
        return WrongUsage(fault);
    const QString path = parser.positionalArguments().first();
    Taskmill_ProjectFile project{path};
    const Taskmill_CtlStatus status = project.Open();
    if (status != Taskmill_CtlStatus::Success)
        return status;
    if (!TypesNamed(project.JobTypes(), jobType.Name).isEmpty())
        return WrongUsage(u"there is a job type of that name: %1"_s.arg(jobType.Name));
    return AddType(project, jobType, path) ? project.Save() : Taskmill_CtlStatus::BadProject;
}

Taskmill_CtlStatus Taskmill_TypesRemoveCommand(const QCommandLineParser &parser)
{
    Taskmill_ProjectFile project{parser.positionalArguments().first()};
    const QString name = parser.positionalArguments().at(1);
    const Taskmill_CtlStatus status = project.Open();
    if (status != Taskmill_CtlStatus::Success)
        return status;
    const QList<Taskmill_JobType> named = TypesNamed(project.JobTypes(), name);
    if (named.isEmpty())
        return WrongUsage(u"there is no job type of that name: %1"_s.arg(name));
    for (const Taskmill_JobType &jobType : named)
        project.JobTypes().Remove(jobType);
    return project.Save();
}
