// SPDX-License-Identifier: MIT
#include "manager/processworker.h"

#include "kilnutil/logging.h"
#include "kilnutil/threadstart.h"
#include "manager/runningjobs.h"

#include <QDeadlineTimer>

bool Taskmill_KillProcess(Taskmill_ProcessInspector &inspector, const Taskmill_ProcessRecord &process,
                          Taskmill_Kill kill)
{
    if (!inspector.IsStillThere(process))
        return false;
    const auto endTree = [&] {
        return inspector.TerminateTree(process.Name, process.ProcessIdNumber());
    };
    switch (kill) {
    case Taskmill_Kill::Process:
        return inspector.Terminate(process);
    case Taskmill_Kill::ProcessGroup:
        return false;
    case Taskmill_Kill::Children:
        return endTree();
    case Taskmill_Kill::ProcessAndChildren:
        return endTree() && inspector.Terminate(process);
    case Taskmill_Kill::ProcessAndParent:
        return inspector.TerminateParent(process) && inspector.Terminate(process);
    case Taskmill_Kill::ProcessChildrenAndParent:
        if (!endTree())
            return false;
        return process.ParentProcessIdNumber() < 0 ||
               (inspector.TerminateParent(process) && inspector.Terminate(process));
    }
    return false;
}

/// The half of the worker that lives in the thread. It does not know the other one, which may be gone while
/// this waits for the system.
class Taskmill_ProcessThreadSide final : public QObject
{
    Q_OBJECT

public:
    explicit Taskmill_ProcessThreadSide(Taskmill_ProcessInspector &inspector)
        : m_inspector{inspector}
        , m_sharedInspector{inspector.weak_from_this().lock()}
    {
    }

    void List(const std::optional<QStringList> &executables)
    {
        if (QThread::currentThread()->isInterruptionRequested())
            return;
        QList<Taskmill_ProcessRecord> processes = m_inspector.ListProcessesUnlessInterrupted();
        if (executables)
            processes = Taskmill_ProcessesOfJobTypes(processes, *executables);
        Q_EMIT ListedSignal(processes);
    }

    void Kill(const Taskmill_ProcessRecord &process, Taskmill_Kill kill)
    {
        Taskmill_KillProcess(m_inspector, process, kill);
    }

Q_SIGNALS:
    void ListedSignal(const QList<Taskmill_ProcessRecord> &processes);

private:
    Taskmill_ProcessInspector &m_inspector;
    const std::shared_ptr<Taskmill_ProcessInspector> m_sharedInspector; ///< not deleted under the thread
};

Taskmill_ProcessWorker::Taskmill_ProcessWorker(Taskmill_ProcessInspector &inspector,
                                               std::chrono::milliseconds timeLimit)
    : m_timeLimit{timeLimit}
    , m_thread{std::make_unique<QThread>()}
    , m_threadSide{new Taskmill_ProcessThreadSide{inspector}}
{
    m_thread->setObjectName(QStringLiteral("processes"));
    m_threadSide->moveToThread(m_thread.get());
    connect(m_threadSide, &Taskmill_ProcessThreadSide::ListedSignal, this,
            &Taskmill_ProcessWorker::ListedSignal);
    connect(m_thread.get(), &QThread::finished, m_threadSide, &QObject::deleteLater);
    KilnUtil_StartThread(*m_thread);
}

Taskmill_ProcessWorker::~Taskmill_ProcessWorker()
{
    m_thread->requestInterruption();
    // Quits behind the work that still waits: a process that the user wanted to be ended is ended.
    Run([thread = m_thread.get()] { thread->quit(); });
    if (m_thread->wait(QDeadlineTimer{m_timeLimit}))
        return;
    // A listing can hang on a network drive that does not answer, and so would the program.
    qCWarning(Taskmill_ManagerLog,
              "Processes are still being listed or ended: the program does not wait for that");
    QThread *thread = m_thread.release();
    connect(thread, &QThread::finished, thread, &QObject::deleteLater);
}

void Taskmill_ProcessWorker::Run(const std::function<void()> &work)
{
    QMetaObject::invokeMethod(m_threadSide, work, Qt::QueuedConnection);
}

void Taskmill_ProcessWorker::List(const std::optional<QStringList> &executables)
{
    Run([side = m_threadSide, executables] { side->List(executables); });
}

void Taskmill_ProcessWorker::Kill(const Taskmill_ProcessRecord &process, Taskmill_Kill kill)
{
    Run([side = m_threadSide, process, kill] { side->Kill(process, kill); });
}

#include "processworker.moc"
