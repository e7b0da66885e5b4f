// SPDX-License-Identifier: MIT
#include "db/jobrowreader.h"

#include "db/database.h"

#include <QSqlQuery>

#include <utility>

Taskmill_JobRowReader::Taskmill_JobRowReader(Taskmill_Database &database, const QSqlQuery &query)
    : m_database{database}
    , m_query{query}
    , m_record{query.record()}
{
}

Taskmill_JobRecord Taskmill_JobRowReader::Read(const QString &queueName)
{
    Taskmill_JobRecord job;
    job.JobClass = Text(m_jobClass);
    job.Name = Text(m_name);
    job.ClientName = Text(m_clientName);
    job.ClientAppName = Text(m_clientAppName);
    job.ClientAddress = Text(m_clientAddress);
    job.ClientPort = Value(m_clientPort).toInt();
    job.ClientUID = Value(m_clientUID).toInt();
    job.ClientGID = Value(m_clientGID).toInt();
    job.ClientNotification = Value(m_clientNotification).toInt() != 0;
    job.JobType = JobType();
    job.RecordedCommandLine = Text(m_commandLine);
    job.QueueName = m_queueID < 0 ? queueName : Taskmill_QueueNameFromKey(Value(m_queueID).toInt());
    job.InputFilePath = Text(m_inputFilePath);
    job.InputFilePath2 = Text(m_inputFilePath2);
    job.Status = Taskmill_JobStatusFromText(Text(m_status));
    job.StdOutAndStdErr = Text(m_stdOutAndStdErr);
    job.Submitted = Taskmill_JobTime::FromIsoText(Text(m_submitted));
    job.Started = Taskmill_JobTime::FromIsoText(Text(m_started));
    job.Finished = Taskmill_JobTime::FromIsoText(Text(m_finished));
    job.JobID = Value(m_jobID).toInt();
    job.DeriveOutputFile();
    return job;
}

QVariant Taskmill_JobRowReader::Value(int column) const
{
    return column < 0 ? QVariant{} : m_query.value(column);
}

QString Taskmill_JobRowReader::Text(int column)
{
    // Most texts are those of the row before: such rows share them.
    if (column < 0)
        return {};
    QString text = m_query.value(column).toString();
    QString &before = m_before[column];
    if (before != text)
        before = std::move(text);
    return before;
}

Taskmill_JobType Taskmill_JobRowReader::JobType()
{
    const qint32 jobTypeID = Value(m_jobTypeID).toInt();
    auto known = m_jobTypes.constFind(jobTypeID);
    if (known == m_jobTypes.constEnd())
        known = m_jobTypes.insert(jobTypeID, m_database.GetJobType(jobTypeID));
    Taskmill_JobType jobType = *known;
    // What ran, where it is asked for. Of a job type that was deleted nothing else is known, and with
    // this the job can at least be recorded again.
    if (const QString executable = Text(m_executablePath); !executable.isEmpty()) {
        jobType.ApplicationName = Text(m_applicationName);
        jobType.ExecutablePath = executable;
    }
    if (jobType.IsEmpty()) {
        jobType.JobTypeID = jobTypeID;
        jobType.GenericCommandLine = Text(m_commandLine);
    }
    return jobType;
}
