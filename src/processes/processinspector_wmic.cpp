// SPDX-License-Identifier: MIT
#include "processes/processinspector_wmic.h"

#include "kilnutil/logging.h"
#include "kilnutil/standardstreams.h"

#include <QDeadlineTimer>
#include <QProcess>
#include <QThread>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr qint64 msBetweenLooksAtTheThread = 100;

bool IsGivenUp(bool mayBeGivenUp)
{
    return mayBeGivenUp && QThread::currentThread()->isInterruptionRequested();
}

/// Whether the tool ran and has ended.
bool WaitForEnd(QProcess &tool, std::chrono::milliseconds timeLimit, bool mayBeGivenUp)
{
    const QDeadlineTimer deadline{timeLimit};
    while (tool.state() != QProcess::NotRunning && !deadline.hasExpired()) {
        if (IsGivenUp(mayBeGivenUp))
            return false;
        tool.waitForFinished(static_cast<int>(std::min(deadline.remainingTime(), msBetweenLooksAtTheThread)));
    }
    return tool.state() == QProcess::NotRunning && tool.error() != QProcess::FailedToStart;
}
} // namespace

Taskmill_WmicProcessInspector::Taskmill_WmicProcessInspector(std::chrono::milliseconds timeLimit)
    : m_timeLimit{timeLimit}
{
}

QString Taskmill_WmicProcessInspector::ListingText()
{
    return List(false);
}

QString Taskmill_WmicProcessInspector::InterruptibleListingText()
{
    return List(true);
}

QString Taskmill_WmicProcessInspector::List(bool mayBeGivenUp) const
{
    return RunTool(
        {u"process"_s, u"get"_s,
         u"Caption,CommandLine,CreationDate,CSName,ExecutablePath,ExecutionState,Handle,KernelModeTime,Name,"
         "ParentProcessId,Priority,PrivatePageCount,ProcessId,ThreadCount,UserModeTime,VirtualSize,"
         "WorkingSetSize"_s,
         u"/format:list"_s},
        mayBeGivenUp);
}

void Taskmill_WmicProcessInspector::EndProcess(int processID)
{
    RunTool({u"process"_s, u"where"_s, u"ProcessId=%1"_s.arg(processID), u"call"_s, u"terminate"_s}, false);
}

void Taskmill_WmicProcessInspector::EndChildren(int processID)
{
    RunTool({u"process"_s, u"where"_s, u"ParentProcessId=%1"_s.arg(processID), u"call"_s, u"terminate"_s},
            false);
}

QString Taskmill_WmicProcessInspector::RunTool(const QStringList &arguments, bool mayBeGivenUp) const
{
    QProcess tool;
    // The tool waits for input that never ends when it is given a pipe.
    tool.setStandardInputFile(QProcess::nullDevice());
    tool.start(u"wmic"_s, arguments);
    if (!WaitForEnd(tool, m_timeLimit, mayBeGivenUp)) {
        if (!IsGivenUp(mayBeGivenUp))
            qCWarning(Taskmill_ProcessesLog, "wmic: %ls", qUtf16Printable(tool.errorString()));
        tool.kill();
        tool.waitForFinished(1000);
    }
    return KilnUtil_StandardStreams::TextOfTool(tool.readAllStandardOutput());
}
