#include "service/listings.h"

#include "service/texttable.h"
#include "service/timetext.h"

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

QStringList Taskmill_Listings::FinishedRow(const Taskmill_JobRecord &job)
{
    QStringList row = QueueRow(job);
    row.insert(4, job.QueueName);
    row.append(Taskmill_TimeText(job.Finished));
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

QString Taskmill_Listings::Text(const QString &heading, const QString &emptyText, const QStringList &headers,
                                const QList<QStringList> &rows)
{
    if (rows.isEmpty())
        return emptyText;
    return heading + Taskmill_TextTable(headers, rows) + u'\n';
}
