// SPDX-License-Identifier: MIT
#pragma once

#include "processes/processinspector.h"

#include <QMutex>
#include <QSemaphore>

#include <utility>

/// Lists the processes that it is given, ends none and remembers what it was asked to do.
class RecordingInspector final : public Taskmill_ProcessInspector
{
public:
    struct Process
    {
        int id;
        int parent;
        QString name;
        QString path;
    };
    QList<Process> processes; ///< not to be changed while a listing may run
    QSemaphore gate{1000};    ///< every listing takes one
    /// When every process began, and its parent, when that is asked again.
    QString creationDateNow = QStringLiteral("1999");
    int parentNow = 100;

    explicit RecordingInspector(const QList<Process> &listed = {})
        : processes{listed}
    {
    }
    /// Since the last time, such as "list,end 7,children of 7".
    [[nodiscard]] QString TakeCalls()
    {
        const QMutexLocker lock{&m_mutex};
        return std::exchange(m_calls, {}).join(u',');
    }

protected:
    QString ListingText() override
    {
        Record(QStringLiteral("list"));
        gate.acquire();
        QByteArray listing;
        for (const Process &process : processes) {
            Taskmill_AppendProcessLine(listing, "CommandLine", "the command line");
            Taskmill_AppendProcessLine(listing, "ExecutionState", "sleeping");
            Taskmill_AppendProcessLine(listing, "ProcessId", QByteArray::number(process.id));
            Taskmill_AppendProcessLine(listing, "ParentProcessId", QByteArray::number(process.parent));
            Taskmill_AppendProcessLine(listing, "CreationDate", "1999");
            Taskmill_AppendProcessLine(listing, "Name", process.name.toUtf8());
            Taskmill_AppendProcessLine(listing, "ExecutablePath", process.path.toUtf8());
        }
        return QString::fromUtf8(listing);
    }
    void EndProcess(int processID) override { Record(QStringLiteral("end %1").arg(processID)); }
    void EndChildren(int processID) override { Record(QStringLiteral("children of %1").arg(processID)); }
    std::optional<QString> CreationDateNow(int) override { return creationDateNow; }
    std::optional<int> ParentNow(int) override { return parentNow; }

private:
    void Record(const QString &call)
    {
        const QMutexLocker lock{&m_mutex};
        m_calls += call;
    }

    QMutex m_mutex;
    QStringList m_calls;
};
