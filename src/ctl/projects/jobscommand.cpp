// SPDX-License-Identifier: MIT
#include "ctl/projects/output.h"
#include "ctl/projects/projectcommands.h"
#include "ctl/projects/projectfile.h"
#include "db/database.h"
#include "jobs/jobrecord.h"
#include "manager/listings.h"
#include "manager/texttable.h"

#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {
struct JobList
{
    QLatin1StringView option;
    QLatin1StringView title;
    QLatin1StringView description;
    QList<Taskmill_JobRecord> (*read)(Taskmill_Database &database);
};

constexpr std::array jobLists{
    JobList{"finished"_L1, "Finished Jobs"_L1, "The finished jobs."_L1,
            // No listing shows what they have written.
            [](Taskmill_Database &database) {
                return database.GetFinishedJobsWithShortOutputs(0);
            }},
    JobList{"long"_L1, "Long Jobs Queue"_L1, "The queue of long jobs."_L1,
            [](Taskmill_Database &database) {
                return database.GetLongJobs();
            }},
    JobList{"short"_L1, "Short Jobs Queue"_L1, "The queue of short jobs."_L1,
            [](Taskmill_Database &database) {
                return database.GetShortJobs();
            }},
    JobList{"queueless"_L1, "Queueless Jobs List"_L1, "The jobs without a queue."_L1,
            [](Taskmill_Database &database) {
                return database.GetQueuelessJobs();
            }},
};

/// The placeholders in the order in which they are applied.
QJsonArray PlaceholdersToJson(const Taskmill_PlaceholderValues &values)
{
    QJsonArray placeholders;
    for (const auto &[name, value] : values)
        placeholders.append(QJsonObject{{u"name"_s, name}, {u"value"_s, value}});
    return placeholders;
}

QJsonObject ToJson(const JobList &list, const Taskmill_JobRecord &job)
{
    return {
        {u"list"_s, list.option},
        {u"id"_s, job.JobID},
        {u"name"_s, job.Name},
        {u"status"_s, Taskmill_JobStatusText(job.Status)},
        {u"jobtype"_s, job.JobType.Name},
        {u"queue"_s, job.QueueName},
        {u"executablepath"_s, job.JobType.ExecutablePath},
        {u"commandline"_s, job.CommandLine()},
        {u"inputfile"_s, job.InputFilePath},
        {u"inputfile2"_s, job.InputFilePath2},
        {u"standardinputfile"_s, job.StandardInputFile},
        {u"standardoutputfile"_s, job.StandardOutputFile},
        {u"outputfile"_s, job.OutputFile},
        {u"checkpointfile"_s, job.CheckpointFile},
        {u"checkpointfile2"_s, job.CheckpointFile2},
        {u"placeholders"_s, PlaceholdersToJson(job.PlaceholderValues)},
        {u"submitted"_s, job.Submitted.IsoText()},
        {u"started"_s, job.Started.IsoText()},
        {u"finished"_s, job.Finished.IsoText()},
        {u"clientname"_s, job.ClientName},
        {u"clientappname"_s, job.ClientAppName},
    };
}

/// What a few jobs only have, in one text: the files that their submitter named, and the placeholders.
QString Extras(const Taskmill_JobRecord &job)
{
    QStringList texts;
    const auto addFile = [&texts](const QString &name, const QString &file) {
        if (!file.isEmpty())
            texts.append(name + u'=' + file);
    };
    addFile(u"standard input"_s, job.StandardInputFile);
    addFile(u"standard output"_s, job.StandardOutputFile);
    if (job.OutputFile != job.DerivedOutputFile())
        addFile(u"output"_s, job.OutputFile);
    addFile(u"checkpoint"_s, job.CheckpointFile);
    addFile(u"second checkpoint"_s, job.CheckpointFile2);
    for (const auto &[name, value] : job.PlaceholderValues)
        texts.append(name + u'=' + value);
    return texts.join(u"; "_s);
}

void PrintList(const JobList &list, const QList<Taskmill_JobRecord> &jobs)
{
    if (jobs.isEmpty()) {
        Taskmill_PrintLine(list.title + u" is Empty\n"_s);
        return;
    }
    QList<QStringList> rows;
    rows.reserve(jobs.size());
    bool anyExtras = false;
    for (const Taskmill_JobRecord &job : jobs) {
        rows.append(Taskmill_Listings::FinishedRow(job) + QStringList{Extras(job)});
        anyExtras = anyExtras || !rows.last().last().isEmpty();
    }
    QStringList headers = Taskmill_Listings::FinishedHeaders();
    if (anyExtras)
        headers.append(u"Files and Placeholders"_s);
    else
        std::ranges::for_each(rows, &QStringList::removeLast);
    Taskmill_PrintLine(list.title + u'\n' + Taskmill_TextTable(headers, rows));
}
} // namespace

void Taskmill_AddJobsOptions(QCommandLineParser &parser)
{
    for (const JobList &list : jobLists)
        parser.addOption({list.option, list.description});
    parser.addOption({u"json"_s, u"Print one JSON array of the jobs of all lists."_s});
}

Taskmill_CtlStatus Taskmill_JobsCommand(const QCommandLineParser &parser)
{
    Taskmill_ProjectFile project{parser.positionalArguments().first()};
    const Taskmill_CtlStatus status = project.Open();
    if (status != Taskmill_CtlStatus::Success)
        return status;
    const bool json = parser.isSet(u"json"_s);
    const bool all =
        std::ranges::none_of(jobLists, [&parser](const JobList &list) { return parser.isSet(list.option); });
    QJsonArray allJobs;
    for (const JobList &list : jobLists) {
        if (!all && !parser.isSet(list.option))
            continue;
        const QList<Taskmill_JobRecord> jobs = list.read(project.Database());
        if (!json)
            PrintList(list, jobs);
        else
            for (const Taskmill_JobRecord &job : jobs)
                allJobs.append(ToJson(list, job));
    }
    if (json)
        Taskmill_PrintJson(allJobs);
    return status;
}
