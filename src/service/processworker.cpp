#include "service/processworker.h"

#include "service/runningjobs.h"

bool Taskmill_KillProcess(Taskmill_ProcessInspector &inspector, const Taskmill_ProcessRecord &process,
                          Taskmill_Kill kill)
{
    const QString &name = process.Name;
    const int processID = process.ProcessIdNumber();
    const int parentID = process.ParentProcessIdNumber();
    switch (kill) {
    case Taskmill_Kill::Process:
        return inspector.Terminate(process);
    case Taskmill_Kill::ProcessGroup:
        return false;
    case Taskmill_Kill::Children:
        return inspector.TerminateTree(name, processID);
    case Taskmill_Kill::ProcessAndChildren:
        return inspector.TerminateTree(name, processID) && inspector.Terminate(process);
    case Taskmill_Kill::ProcessAndParent:
        return processID >= 0 && inspector.Terminate(name, parentID) && inspector.Terminate(process);
    case Taskmill_Kill::ProcessChildrenAndParent:
        if (!inspector.TerminateTree(name, processID))
            return false;
        return parentID < 0 || (inspector.Terminate(name, parentID) && inspector.Terminate(process));
    }
    return false;
}

Taskmill_ProcessWorker::Taskmill_ProcessWorker(Taskmill_ProcessInspector &inspector)
    : m_inspector{inspector}
    , m_context{new QObject}
{
    m_thread.setObjectName(QStringLiteral("processes"));
    m_context->moveToThread(&m_thread);
    connect(&m_thread, &QThread::finished, m_context, &QObject::deleteLater);
    m_thread.start();
}

Taskmill_ProcessWorker::~Taskmill_ProcessWorker()
{
    m_thread.requestInterruption();
    // Behind the work that waits: a process that the user wanted to be ended is.
    Run([this] { m_thread.quit(); });
    m_thread.wait();
}

void Taskmill_ProcessWorker::Run(const std::function<void()> &work)
{
    QMetaObject::invokeMethod(m_context, work, Qt::QueuedConnection);
}

void Taskmill_ProcessWorker::List(const std::optional<QStringList> &executables)
{
    Run([this, executables] {
        if (QThread::currentThread()->isInterruptionRequested())
            return;
        QList<Taskmill_ProcessRecord> processes = m_inspector.ListProcesses();
        if (executables)
            processes = Taskmill_ProcessesOfJobTypes(processes, *executables);
        QMetaObject::invokeMethod(
            this, [this, processes] { Q_EMIT ListedSignal(processes); }, Qt::QueuedConnection);
    });
}

void Taskmill_ProcessWorker::Kill(const Taskmill_ProcessRecord &process, Taskmill_Kill kill)
{
    Run([this, process, kill] { Taskmill_KillProcess(m_inspector, process, kill); });
}
