#pragma once

#include "ctl/ctlstatus.h"
#include "ctl/managerfinder.h"
#include "ctl/notificationlistener.h"
#include "ctl/requestsender.h"
#include "ctl/submitoptions.h"

#include <QTimer>

/// Submits the files one after another, prints what became of each and, when asked to, waits for the end of
/// the jobs.
class Taskmill_Submission : public QObject
{
    Q_OBJECT

public:
    /// How often a manager that is waited for is looked after, in ms.
    static constexpr int ProbeMs = 2000;

    Taskmill_Submission(Taskmill_SubmitOptions options, const Taskmill_ManagerAddress &manager);

    /// Runs an event loop of its own until the last thing is printed.
    [[nodiscard]] Taskmill_CtlStatus Run();

Q_SIGNALS:
    void FinishedSignal();

private Q_SLOTS:
    void AnsweredSlot(const Taskmill_RequestAnswer &answer);
    void FailedSlot(const QString &reason);
    void NotifiedSlot(const Taskmill_Notification &notification);
    void ProbeSlot();

private:
    /// The request of one file.
    struct Request
    {
        qsizetype Accepted = 0; ///< number of jobs
        qsizetype Notified = 0; ///< may run ahead: an end can be told before the answer has arrived
    };

    void SendNext();
    [[nodiscard]] QByteArray Message() const;
    [[nodiscard]] QString ClientAppName(qsizetype index) const;
    void PrintNotification(qsizetype index, const Taskmill_Notification &notification) const;
    void FinishWhenDone();
    void Finish(Taskmill_CtlStatus status);
    void Note(Taskmill_CtlStatus status) { m_status = qMax(m_status, status); }

    const Taskmill_SubmitOptions m_options;
    const Taskmill_ManagerAddress m_manager;
    Taskmill_RequestSender m_sender;
    Taskmill_NotificationListener m_listener;
    QTimer m_probeTimer;
    int m_failedProbes = 0;
    QList<Request> m_requests; ///< of the files so far; the last one may be without an answer yet
    qsizetype m_answered = 0;
    Taskmill_CtlStatus m_status = Taskmill_CtlStatus::Success;
};
