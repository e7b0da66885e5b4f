#pragma once

#include "jobs/processinspector.h"

/// Lists the processes that it is told of, and ends none.
class FakeInspector final : public Taskmill_ProcessInspector
{
public:
    /// Of these fields only the shown ones are listed.
    QList<Taskmill_ProcessRecord> Processes;

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
    void EndProcess(int) override {}
    void EndChildren(int) override {}
};
