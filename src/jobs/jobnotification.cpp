#include "jobs/jobnotification.h"

#include "jobs/jobrecord.h"

#include <QDeadlineTimer>
#include <QHostAddress>
#include <QStringList>
#include <QTcpSocket>

#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace {
QHostAddress HostAddress(const QString &address)
{
    // QHostAddress reads addresses only, and never asks a name server.
    if (address.compare("localhost"_L1, Qt::CaseInsensitive) == 0)
        return QHostAddress{QHostAddress::LocalHost};
    return QHostAddress{address};
}
} // namespace

bool Taskmill_WantsNotification(const Taskmill_JobRecord &job, const QString &serverName)
{
    return job.ClientNotification && !job.ClientAddress.isEmpty() && !job.ClientName.isEmpty() &&
           !job.ClientAppName.isEmpty() && job.ClientAppName != serverName;
}

QByteArray Taskmill_JobFinishedMessage(const Taskmill_JobRecord &job, int exitCode, const QString &serverName)
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
        u"jobexitcode="_s + QString::number(exitCode),
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

bool Taskmill_SendMessage(const QString &address, int port, const QByteArray &message, int waitMs)
{
    const QHostAddress host = HostAddress(address);
    if (host.isNull() || port < 1 || port > std::numeric_limits<quint16>::max())
        return false;

    QTcpSocket socket;
    socket.connectToHost(host, static_cast<quint16>(port));
    if (!socket.waitForConnected(waitMs))
        return false;
    socket.write(message);
    // One limit for the whole message: a client that takes it byte by byte must not hold up the manager.
    const QDeadlineTimer deadline{waitMs};
    while (socket.bytesToWrite() > 0 &&
           socket.waitForBytesWritten(static_cast<int>(deadline.remainingTime()))) {
    }
    socket.close();
    return true;
}
