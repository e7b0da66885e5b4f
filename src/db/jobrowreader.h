// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobrecord.h"

#include <QHash>

class Taskmill_RowCursor;

/// The job types of a project by their keys.
using Taskmill_JobTypesByID = QHash<qint32, Taskmill_JobType>;

/// Reads the rows of one job table. The positions of the columns are looked up once; a column that the table
/// does not have reads as empty.
class Taskmill_JobRowReader
{
public:
    /// The rows must outlive the reader.
    Taskmill_JobRowReader(Taskmill_JobTypesByID jobTypes, Taskmill_RowCursor &rows);

    /// Of the current row. The queue's name is for a table that has no column for it.
    [[nodiscard]] Taskmill_JobRecord Read(const QString &queueName);

private:
    [[nodiscard]] int Column(const QString &name) const;
    [[nodiscard]] Taskmill_JobType JobType();
    /// The record's derived output file. Deriving it anew each time is slow, and most jobs' files have the
    /// same endings as those of the job before.
    [[nodiscard]] QString DerivedOutputFile(const Taskmill_JobRecord &job);

    struct Ending
    {
        QString ofInput;
        QString filter;
        QString ofOutput;
    };

    const Taskmill_JobTypesByID m_jobTypes;
    Taskmill_RowCursor &m_rows;
    Ending m_endingBefore;
    const int m_name = Column(QStringLiteral("Name"));
    const int m_jobTypeID = Column(QStringLiteral("JobTypeID"));
    const int m_queueID = Column(QStringLiteral("QueueID"));
    const int m_applicationName = Column(QStringLiteral("ApplicationName"));
    const int m_executablePath = Column(QStringLiteral("ExecutablePath"));
    const int m_inputFilePath = Column(QStringLiteral("InputFilePath"));
    const int m_commandLine = Column(QStringLiteral("CommandLine"));
    const int m_status = Column(QStringLiteral("Status"));
    const int m_submitted = Column(QStringLiteral("Submitted"));
    const int m_started = Column(QStringLiteral("Started"));
    const int m_finished = Column(QStringLiteral("Finished"));
    const int m_jobID = Column(QStringLiteral("JobID"));
    const int m_clientName = Column(QStringLiteral("ClientName"));
    const int m_clientAppName = Column(QStringLiteral("ClientAppName"));
    const int m_clientAddress = Column(QStringLiteral("ClientAddress"));
    const int m_clientPort = Column(QStringLiteral("ClientPort"));
    const int m_clientUID = Column(QStringLiteral("ClientUID"));
    const int m_clientGID = Column(QStringLiteral("ClientGID"));
    const int m_stdOutAndStdErr = Column(QStringLiteral("StdOutAndStdErr"));
    const int m_inputFilePath2 = Column(QStringLiteral("InputFilePath2"));
    const int m_jobClass = Column(QStringLiteral("JobClass"));
    const int m_clientNotification = Column(QStringLiteral("ClientNotification"));
};
