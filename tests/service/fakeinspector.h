#pragma once

#include "jobs/processinspector.h"

/// Lists the processes that it is told of, and remembers which ones it was to end.
class FakeInspector final : public Taskmill_ProcessInspector
{
public:
    /// Of these fields only the shown ones are listed.
    QList<Taskmill_ProcessRecord> Processes;
    /// Of every process now; nothing when it cannot be asked.
    std::optional<QString> CreationDate;
    std::optional<int> Parent;
    QString Ended; ///< such as "of 5, 5, " for the children of the process 5 and then the process

protected:
    QString ListingText() override
    {
        QByteArray listing;
        for (const Taskmill_ProcessRecord &process : Processes) {
            const auto append = [&listing](const char *key, const QString &value) {
                Taskmill_AppendProcessLine(listing, key, value.toUtf8());
            };
            append("CommandLine", process.CommandLine);
            append("ExecutablePath", process.ExecutablePath);
            append("ExecutionState", process.ExecutionState);
            append("Name", process.Name);
            append("ParentProcessId", process.ParentProcessId);
            append("ProcessId", process.ProcessId);
        }
        return QString::fromUtf8(listing);
    }
    void EndProcess(int processID) override { Ended += QStringLiteral("%1, ").arg(processID); }
    void EndChildren(int processID) override { Ended += QStringLiteral("of %1, ").arg(processID); }
    std::optional<QString> CreationDateNow(int) override { return CreationDate; }
    std::optional<int> ParentNow(int) override { return Parent; }
};
