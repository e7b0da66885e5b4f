#include "jobs/processinspector_wmic.h"

#include <QProcess>

using namespace Qt::Literals::StringLiterals;

Taskmill_WmicProcessInspector::Taskmill_WmicProcessInspector(std::chrono::milliseconds timeLimit)
    : m_timeLimit{timeLimit}
{
}

QString Taskmill_WmicProcessInspector::ListingText()
{
    return RunTool(
        {u"process"_s, u"get"_s,
         u"Caption,CommandLine,CreationDate,CSName,ExecutablePath,ExecutionState,Handle,KernelModeTime,Name,"
         "ParentProcessId,Priority,PrivatePageCount,ProcessId,ThreadCount,UserModeTime,VirtualSize,"
         "WorkingSetSize"_s,
         u"/format:list"_s});
}

void Taskmill_WmicProcessInspector::EndProcess(int processID)
{
    RunTool({u"process"_s, u"where"_s, u"ProcessId=%1"_s.arg(processID), u"call"_s, u"terminate"_s});
}

void Taskmill_WmicProcessInspector::EndChildren(int processID)
{
    RunTool({u"process"_s, u"where"_s, u"ParentProcessId=%1"_s.arg(processID), u"call"_s, u"terminate"_s});
}

QString Taskmill_WmicProcessInspector::RunTool(const QStringList &arguments) const
{
    QProcess tool;
    // The tool waits for input that never ends when it is given a pipe.
    tool.setStandardInputFile(QProcess::nullDevice());
    tool.start(u"wmic"_s, arguments);
    if (!tool.waitForFinished(static_cast<int>(m_timeLimit.count()))) {
        qWarning("wmic: %ls", qUtf16Printable(tool.errorString()));
        tool.kill();
        tool.waitForFinished(1000);
    }
    return QString::fromLocal8Bit(tool.readAllStandardOutput());
}
