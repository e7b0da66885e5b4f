// SPDX-License-Identifier: MIT
#include "jobs/jobnotification.h"

#include "jobs/jobrecord.h"
#include "jobs/runmode.h"

#include <QDateTime>
#include <QStringList>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr QByteArrayView resultKey = "\njobresult=";

QByteArray ResultLine(const Taskmill_JobResult &result)
{
    const std::string_view verdict = Taskmill_VerdictText(result.Verdict);
    return resultKey.toByteArray().append(verdict.data(), static_cast<qsizetype>(verdict.size()));
}
} // namespace

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
    QByteArray message = lines.join(u'\n').toUtf8();
    if (job.ClientResult)
        message += ResultLine(job.Result);
    return message;
}

bool Taskmill_SaysResult(const QByteArray &message)
{
    return message.contains(resultKey);
}

void Taskmill_SetResult(QByteArray &message, const Taskmill_JobResult &result)
{
    if (const qsizetype begin = message.lastIndexOf(resultKey); begin >= 0)
        message.replace(begin, message.size() - begin, ResultLine(result));
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
