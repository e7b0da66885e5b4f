// SPDX-License-Identifier: MIT
#include "manager/listings.h"

#include "manager/texttable.h"
#include "manager/timetext.h"

using namespace Qt::Literals::StringLiterals;

QStringList Taskmill_Listings::QueueHeaders()
{
    return {u"Job ID"_s,          u"Name"_s,         u"Status"_s,    u"Job Type"_s,
            u"Executable Path"_s, u"Command Line"_s, u"Submitted"_s, u"Started"_s};
}

QStringList Taskmill_Listings::QueueRow(const Taskmill_JobRecord &job)
{
    return {QString::number(job.JobID),         job.Name,
            Taskmill_JobStatusText(job.Status), job.JobType.Name,
            job.JobType.ExecutablePath,         job.CommandLine(),
            Taskmill_TimeText(job.Submitted),   Taskmill_TimeText(job.Started)};
}

QStringList Taskmill_Listings::FinishedHeaders()
{
    QStringList headers = QueueHeaders();
    headers.insert(4, u"Queue"_s);
    headers.append(u"Finished"_s);
    return headers;
}

QString Taskmill_Listings::FinishedCell(const Taskmill_JobRecord &job, int column)
{
    switch (column) {
    case 0:
        return QString::number(job.JobID);
    case 1:
        return job.Name;
    case 2:
        return Taskmill_JobStatusText(job.Status);
    case 3:
        return job.JobType.Name;
    case 4:
        return job.QueueName;
    case 5:
        return job.JobType.ExecutablePath;
    case 6:
        return job.CommandLine();
    case 7:
        return Taskmill_TimeText(job.Submitted);
    case 8:
        return Taskmill_TimeText(job.Started);
    case 9:
        return Taskmill_TimeText(job.Finished);
    default:
        return {};
    }
}

QStringList Taskmill_Listings::FinishedRow(const Taskmill_JobRecord &job)
{
    constexpr int columns = 10;
    QStringList row;
    row.reserve(columns);
    for (int column = 0; column < columns; ++column)
        row.append(FinishedCell(job, column));
    return row;
}

QStringList Taskmill_Listings::JobTypeHeaders()
{
    return {u"DBID"_s,
            u"Name"_s,
            u"Application Name"_s,
            u"Executable Path"_s,
            u"Default Queue"_s,
            u"Input File Filter"_s,
            u"Output File Filter"_s,
            u"Environment Variables"_s,
            u"Generic Command Line"_s};
}

QStringList Taskmill_Listings::JobTypeRow(const Taskmill_JobType &jobType)
{
    QString environment = jobType.EnvironmentVariables;
    environment.replace("\n"_L1, " ; "_L1);
    return {QString::number(jobType.JobTypeID),
            jobType.Name,
            jobType.ApplicationName,
            jobType.ExecutablePath,
            jobType.DefaultQueue,
            jobType.InputFileFilter,
            jobType.OutputFileFilter,
            environment,
            jobType.GenericCommandLine};
}

QStringList Taskmill_Listings::ProcessHeaders()
{
    return {u"User"_s,   u"Process ID"_s, u"Parent Process ID"_s, u"App Name"_s,
            u"Status"_s, u"App Path"_s,   u"Command Line"_s};
}

QStringList Taskmill_Listings::ProcessRow(const Taskmill_ProcessRecord &process)
{
    return {process.User,           process.ProcessId,      process.ParentProcessId, process.Name,
            process.ExecutionState, process.ExecutablePath, process.CommandLine};
}

namespace {
/// Of all listings, what a user of a narrow terminal misses least first.
QStringList LeftOutFirst()
{
    return {u"Executable Path"_s,    u"Environment Variables"_s,
            u"Output File Filter"_s, u"Application Name"_s,
            u"App Path"_s,           u"Parent Process ID"_s,
            u"Submitted"_s,          u"Queue"_s,
            u"Command Line"_s,       u"Started"_s,
            u"Default Queue"_s,      u"Input File Filter"_s};
}
} // namespace

QString Taskmill_Listings::Text(const QString &heading, const QString &emptyText, const QStringList &headers,
                                const QList<QStringList> &rows, int width)
{
    if (rows.isEmpty())
        return emptyText;
    return heading + Taskmill_FittedTextTable(headers, rows, width, LeftOutFirst()) + u'\n';
}
