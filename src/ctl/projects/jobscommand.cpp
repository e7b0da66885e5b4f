// SPDX-License-Identifier: MIT
#include "ctl/projects/output.h"
#include "ctl/projects/projectcommands.h"
#include "ctl/projects/projectfile.h"
#include "db/database.h"
#include "jobs/destination.h"
#include "jobs/joborder.h"
#include "jobs/jobrecord.h"
#include "manager/listings.h"
#include "manager/texttable.h"

#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
struct JobList
{
    QString option;
    QString title;
    QList<Taskmill_JobRecord> (*read)(Taskmill_Database &database);
};

JobList QueueList(Taskmill_Destination queue, QList<Taskmill_JobRecord> (*read)(Taskmill_Database &database))
{
    const Taskmill_QueueNames &names = Taskmill_NamesOf(queue);
    return {QString{names.Stored}.toLower(), names.List, read};
}

const QList<JobList> &JobLists()
{
    using Database = Taskmill_Database;
    static const QList<JobList> lists{
        {u"finished"_s, u"Finished Jobs"_s,
         // No listing shows the outputs of finished jobs.
         [](Database &database) {
             return database.GetFinishedJobsWithoutOutputs();
         }},
        QueueList(Taskmill_Destination::Long,
                  [](Database &database) { return Taskmill_InWaitingOrder(database.GetLongJobs()); }),
        QueueList(Taskmill_Destination::Short,
                  [](Database &database) { return Taskmill_InWaitingOrder(database.GetShortJobs()); }),
        QueueList(Taskmill_Destination::Queueless,
                  [](Database &database) { return database.GetQueuelessJobs(); }),
    };
    return lists;
}

QJsonObject ToJson(const JobList &list, const Taskmill_JobRecord &job)
{
    QJsonObject object = Taskmill_Listings::JobFields().Json(job);
    object.insert(u"list"_s, list.option);
    return object;
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
    const Taskmill_Columns<Taskmill_JobRecord> &columns = Taskmill_Listings::FinishedJobs();
    QList<QStringList> rows;
    rows.reserve(jobs.size());
    bool anyExtras = false;
    for (const Taskmill_JobRecord &job : jobs) {
        rows.append(columns.Row(job) + QStringList{Extras(job)});
        anyExtras = anyExtras || !rows.last().last().isEmpty();
    }
    QStringList headers = columns.Headers();
    if (anyExtras)
        headers.append(u"Files and Placeholders"_s);
    else
        std::ranges::for_each(rows, &QStringList::removeLast);
    Taskmill_PrintLine(list.title + u'\n' + Taskmill_TextTable(headers, rows));
}
} // namespace

Taskmill_CtlStatus Taskmill_JobsCommand(const QCommandLineParser &parser)
{
    Taskmill_ProjectFile project{parser.positionalArguments().first()};
    const Taskmill_CtlStatus status = project.Open();
    if (status != Taskmill_CtlStatus::Success)
        return status;
    const bool json = parser.isSet(u"json"_s);
    const bool all = std::ranges::none_of(
        JobLists(), [&parser](const JobList &list) { return parser.isSet(list.option); });
    QJsonArray allJobs;
    for (const JobList &list : JobLists()) {
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
