// SPDX-License-Identifier: MIT
#pragma once

#include "db/tablestore.h"
#include "jobs/jobnotification.h"

#include <QHash>
#include <QList>

/// A long output that is still with the run of a finished job, whose row holds none: it is brought over
/// before anybody else reads the rows.
struct Taskmill_LeftOutput
{
    QString Run;  ///< as Taskmill_JobRecord::Run
    QString Said; ///< stands behind it
};

/// What a working copy knows beside its project: the tables whose names begin with "WorkingCopy". They never
/// reach a project file.
///
/// The writing operations are no changes of the project. Each is a transaction, or part of the one that is
/// under way.
class Taskmill_WorkingCopyStore final : public Taskmill_TableStore
{
public:
    using Taskmill_TableStore::Taskmill_TableStore;

    void Forget() override;

    /// Makes the tables anew, empty: the content is that of a project that was opened or made just now.
    bool Begin();
    /// Whether the tables are there. Without them the writing operations do nothing and succeed, since the
    /// content is no working copy.
    [[nodiscard]] bool Exists();

    bool Set(const QString &name, const QString &value);
    /// Empty when it was never set.
    [[nodiscard]] QString Value(const QString &name);

    /// Changes of the project since the last SetUnchanged() or Begin(), one for each transaction.
    [[nodiscard]] int Changes();
    bool SetUnchanged();
    /// Inside a transaction.
    bool CountChange();

    /// By the keys of the finished jobs' rows. The two that write belong to a transaction.
    [[nodiscard]] QHash<qint64, Taskmill_LeftOutput> LeftOutputs();
    bool AddLeftOutput(qint64 key, const Taskmill_LeftOutput &output);
    bool RemoveLeftOutput(qint64 key);

    /// The jobs that were started and whose end is not recorded, with their runs; see
    /// Taskmill_JobRecord::Run. The two that write belong to a transaction.
    [[nodiscard]] QHash<qint32, QString> Runs();
    bool AddRun(qint32 jobID, const QString &run);
    bool RemoveRun(qint32 jobID);
    bool RemoveAllRuns();

    /// Makes what an earlier version has not: the table of notifications, and the column of the runs.
    bool CompleteTables();
    /// Those that are not delivered, the oldest first.
    [[nodiscard]] QList<Taskmill_Notification> Notifications();
    /// Its key is that of no other.
    bool AddNotification(const Taskmill_Notification &notification);
    bool RemoveNotification(qint64 key);
    bool SetMessage(qint64 key, const QByteArray &message);

private:
    std::optional<bool> m_exists; ///< nothing while it has to be looked up
};
