#include "ctl/submission.h"

#include "ctl/output.h"
#include "kilnutil/computerdata.h"
#include "service/instanceprobe.h"
#include "service/requestmessage.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

Taskmill_Submission::Taskmill_Submission(Taskmill_SubmitOptions options,
                                         const Taskmill_ManagerAddress &manager)
    : m_options{std::move(options)}
    , m_manager{manager}
    , m_sender{manager.Port}
{
    connect(&m_sender, &Taskmill_RequestSender::AnsweredSignal, this, &Taskmill_Submission::AnsweredSlot);
    connect(&m_sender, &Taskmill_RequestSender::FailedSignal, this, &Taskmill_Submission::FailedSlot);
    connect(&m_listener, &Taskmill_NotificationListener::NotifiedSignal, this,
            &Taskmill_Submission::NotifiedSlot);
    connect(&m_probeTimer, &QTimer::timeout, this, &Taskmill_Submission::ProbeSlot);
}

Taskmill_CtlStatus Taskmill_Submission::Run()
{
    if (m_options.Wait && !m_listener.Listen()) {
        Taskmill_PrintError(u"no port is free to wait on; nothing was submitted"_s);
        return Taskmill_CtlStatus::NoManager;
    }
    QEventLoop loop;
    connect(this, &Taskmill_Submission::FinishedSignal, &loop, &QEventLoop::quit, Qt::QueuedConnection);
    SendNext();
    loop.exec();
    return m_status;
}

void Taskmill_Submission::SendNext()
{
    m_requests.append(Request{});
    m_sender.Send(Message());
}

QString Taskmill_Submission::ClientAppName(qsizetype index) const
{
    // The notification holds no job number; this name tells to which request it belongs.
    return u"taskmillctl-%1-%2"_s.arg(QCoreApplication::applicationPid()).arg(index + 1);
}

QByteArray Taskmill_Submission::Message() const
{
    const qsizetype index = m_requests.size() - 1;
    QStringList lines{
        u"clientname=taskmillctl"_s,
        u"clientappname="_s + ClientAppName(index),
        u"clientuid="_s + QString::number(KilnUtil_ComputerData::UID()),
        u"clientgid="_s + QString::number(KilnUtil_ComputerData::GID()),
    };
    if (m_options.Wait) {
        lines += u"clientaddress=127.0.0.1"_s;
        lines += u"clientport="_s + QString::number(m_listener.Port());
        lines += u"clientnotification=1"_s;
    }
    lines += u"action=submitjob"_s;
    lines += m_options.Lines;
    lines += u"jobinputfile="_s + m_options.Files[index].Path + u'\n';
    return lines.join(u'\n').toUtf8() + Taskmill_ReplyRequestLine.toByteArray();
}

void Taskmill_Submission::AnsweredSlot(const Taskmill_RequestAnswer &answer)
{
    const Taskmill_SubmitOptions::InputFile &file = m_options.Files[m_answered];
    m_requests[m_answered].Accepted = answer.JobIDs.size();
    ++m_answered;
    QJsonObject result{{u"file"_s, file.Path}};
    if (answer.JobIDs.isEmpty()) {
        Note(Taskmill_CtlStatus::Refused);
        result.insert(u"refused"_s, answer.Refusal);
        if (!m_options.Json)
            Taskmill_PrintError(u"%1 was refused: %2"_s.arg(file.Given, answer.Refusal));
    }
    QJsonArray jobIDs;
    for (const int jobID : answer.JobIDs) {
        jobIDs.append(jobID);
        if (!m_options.Json)
            Taskmill_PrintLine(u"Job %1: %2"_s.arg(jobID).arg(file.Given));
    }
    if (!jobIDs.isEmpty())
        result.insert(u"accepted"_s, jobIDs);
    if (m_options.Json)
        Taskmill_PrintJson(result);

    if (m_answered < m_options.Files.size()) {
        SendNext();
        return;
    }
    if (m_options.Wait)
        m_probeTimer.start(ProbeMs);
    FinishWhenDone();
}

void Taskmill_Submission::FailedSlot(const QString &reason)
{
    Taskmill_PrintError(u"%1: %2"_s.arg(m_options.Files[m_answered].Given, reason));
    for (const auto &file : m_options.Files.sliced(m_answered + 1))
        Taskmill_PrintError(u"%1 was not submitted"_s.arg(file.Given));
    Finish(Taskmill_CtlStatus::NoManager);
}

void Taskmill_Submission::NotifiedSlot(const Taskmill_Notification &notification)
{
    const QString clientAppName = notification.Value("clientappname"_L1);
    for (qsizetype index = 0; index < m_requests.size(); ++index) {
        if (ClientAppName(index) != clientAppName)
            continue;
        ++m_requests[index].Notified;
        if (notification.Value("jobstatus"_L1) != "completed"_L1)
            Note(Taskmill_CtlStatus::JobNotCompleted);
        PrintNotification(index, notification);
        FinishWhenDone();
        return;
    }
}

void Taskmill_Submission::PrintNotification(qsizetype index, const Taskmill_Notification &notification) const
{
    QJsonObject values;
    QString text;
    for (const auto &[key, value] : notification.Lines) {
        values.insert(key, value);
        text += key + u'=' + value + u'\n';
    }
    if (m_options.Json)
        Taskmill_PrintJson(
            QJsonObject{{u"file"_s, m_options.Files[index].Path}, {u"notification"_s, values}});
    else
        Taskmill_PrintLine(text);
}

void Taskmill_Submission::ProbeSlot()
{
    if (Taskmill_IsManagerRunning(m_manager.Gui, m_manager.Port)) {
        m_failedProbes = 0;
        return;
    }
    // A manager that ends tells of the jobs it kills at the last moment: what it sent is read before the
    // second probe.
    if (++m_failedProbes < 2)
        return;
    Taskmill_PrintError(u"the manager has ended before all jobs have"_s);
    Finish(Taskmill_CtlStatus::NoManager);
}

void Taskmill_Submission::FinishWhenDone()
{
    const bool allEnded = !m_options.Wait || std::ranges::all_of(m_requests, [](const Request &request) {
        return request.Notified >= request.Accepted;
    });
    if (m_answered == m_options.Files.size() && allEnded)
        Finish(Taskmill_CtlStatus::Success);
}

void Taskmill_Submission::Finish(Taskmill_CtlStatus status)
{
    Note(status);
    m_probeTimer.stop();
    Q_EMIT FinishedSignal();
}
