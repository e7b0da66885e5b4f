// SPDX-License-Identifier: MIT
#include "jobs/jobnotification.h"

#include "jobs/jobrecord.h"
#include "jobs/runmode.h"

#include <QDateTime>
#include <QStringList>

using namespace Qt::Literals::StringLiterals;

bool Taskmill_WantsNotification(const Taskmill_JobRecord &job, const QString &serverName)
{
    return job.ClientNotification && !job.ClientAddress.isEmpty() && !job.ClientName.isEmpty() &&
           !job.ClientAppName.isEmpty() && job.ClientAppName != serverName;
}

QByteArray Taskmill_JobFinishedMessage(const Taskmill_JobRecord &job, const QString &serverName)
{
    QStringList lines{
        u"servername="_s + serverName,
        u"clientname="_s + job.ClientName,
        u"clientappname="_s + job.ClientAppName,
        u"clientaddress="_s + job.ClientAddress,
        u"clientport="_s + QString::number(job.ClientPort),
        u"clientuid="_s + QString::number(job.ClientUID),
        u"clientgid="_s + QString::number(job.ClientGID),
        u"action=jobfinished"_s,
        u"jobstatus="_s + Taskmill_JobStatusText(job.Status).toLower(),
        u"jobexitcode="_s + QString::number(job.ExitCode.value_or(0)),
        u"jobclass="_s + job.JobClass.toLower(),
        u"jobtypename="_s + job.JobType.Name.toLower(),
        u"jobqueue="_s + job.QueueName.toLower(),
        u"jobinputfile="_s + job.InputFilePath,
        u"jobinputfile2="_s + job.InputFilePath2,
        u"jobstandardinputfile="_s + job.StandardInputFile,
        u"joboutputfile="_s + job.OutputFile,
        u"jobstandardoutputfile="_s + job.StandardOutputFile,
    };
    if (!job.CheckpointFile.isEmpty())
        lines += u"jobchkfile="_s + job.CheckpointFile;
    if (!job.CheckpointFile2.isEmpty())
        lines += u"jobchkfile1="_s + job.CheckpointFile2;
    return lines.join(u'\n').toUtf8();
}

std::optional<Taskmill_Notification> Taskmill_NotificationOf(const Taskmill_JobRecord &job)
{
    const QString serverName = Taskmill_ServerName();
    if (!Taskmill_WantsNotification(job, serverName))
        return std::nullopt;
    return Taskmill_Notification{.JobID = job.JobID,
                                 .Address = job.ClientAddress,
                                 .Port = job.ClientPort,
                                 .Message = Taskmill_JobFinishedMessage(job, serverName),
                                 .EndMs = job.EndMs > 0 ? job.EndMs : QDateTime::currentMSecsSinceEpoch()};
}
