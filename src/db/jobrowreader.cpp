// SPDX-License-Identifier: MIT
#include "db/jobrowreader.h"

#include "db/rowcursor.h"

#include <utility>

Taskmill_JobRowReader::Taskmill_JobRowReader(Taskmill_JobTypesByID jobTypes, Taskmill_RowCursor &rows)
    : m_jobTypes{std::move(jobTypes)}
    , m_rows{rows}
{
}

int Taskmill_JobRowReader::Column(const QString &name) const
{
    return m_rows.Column(name);
}

Taskmill_JobRecord Taskmill_JobRowReader::Read(const QString &queueName)
{
    Taskmill_JobRecord job;
    job.JobClass = m_rows.Text(m_jobClass);
    job.Name = m_rows.Text(m_name);
    job.ClientName = m_rows.Text(m_clientName);
    job.ClientAppName = m_rows.Text(m_clientAppName);
    job.ClientAddress = m_rows.Text(m_clientAddress);
    job.ClientPort = m_rows.Integer(m_clientPort);
    job.ClientUID = m_rows.Integer(m_clientUID);
    job.ClientGID = m_rows.Integer(m_clientGID);
    job.ClientNotification = m_rows.Integer(m_clientNotification) != 0;
    job.JobType = JobType();
    job.RecordedCommandLine = m_rows.Text(m_commandLine);
    job.QueueName = m_queueID < 0 ? queueName : Taskmill_QueueNameFromKey(m_rows.Integer(m_queueID));
    job.InputFilePath = m_rows.Text(m_inputFilePath);
    job.InputFilePath2 = m_rows.Text(m_inputFilePath2);
    job.Status = Taskmill_JobStatusFromText(m_rows.Text(m_status));
    job.StdOutAndStdErr = m_rows.Text(m_stdOutAndStdErr);
    job.Submitted = m_rows.Time(m_submitted);
    job.Started = m_rows.Time(m_started);
    job.Finished = m_rows.Time(m_finished);
    job.JobID = m_rows.Integer(m_jobID);
    job.OutputFile = DerivedOutputFile(job);
    return job;
}

QString Taskmill_JobRowReader::DerivedOutputFile(const Taskmill_JobRecord &job)
{
    const qsizetype stem = job.InputFilePath.lastIndexOf(u'.');
    const QStringView suffix = stem < 0 ? QStringView{} : QStringView{job.InputFilePath}.sliced(stem);
    Ending &before = m_endingBefore;
    const bool isAsBefore = !suffix.isEmpty() && before.ofInput == suffix &&
                            before.filter == job.JobType.OutputFileFilter && !suffix.contains(u'/') &&
                            !job.InputFilePath.contains(u'\\');
    if (isAsBefore)
        return job.InputFilePath.first(stem) + before.ofOutput;
    QString file = job.DerivedOutputFile();
    if (stem >= 0 && file.startsWith(QStringView{job.InputFilePath}.first(stem)))
        before = {suffix.toString(), job.JobType.OutputFileFilter, file.sliced(stem)};
    return file;
}

Taskmill_JobType Taskmill_JobRowReader::JobType()
{
    const qint32 jobTypeID = m_rows.Integer(m_jobTypeID);
    Taskmill_JobType jobType = m_jobTypes.value(jobTypeID);
    // The row's own program, where its columns are read. Nothing else is known of a job type that was
    // deleted, and with this the job can at least be recorded again.
    if (const QString executable = m_rows.Text(m_executablePath); !executable.isEmpty()) {
        jobType.ApplicationName = m_rows.Text(m_applicationName);
        jobType.ExecutablePath = executable;
    }
    if (jobType.IsEmpty()) {
        jobType.JobTypeID = jobTypeID;
        jobType.GenericCommandLine = m_rows.Text(m_commandLine);
    }
    return jobType;
}
