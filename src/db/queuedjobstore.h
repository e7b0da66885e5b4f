// SPDX-License-Identifier: MIT
#pragma once

#include "db/jobtablestore.h"

/// The jobs of one queue: the records of LongJobsQueue, ShortJobsQueue or QueuelessJobs. Taskmill_Database
/// documents the operations.
class Taskmill_QueuedJobStore final : public Taskmill_JobTableStore
{
public:
    Taskmill_QueuedJobStore(Taskmill_Database &database, Taskmill_Table table, const QString &keyColumn,
                            const QString &queueName);

    bool Insert(const Taskmill_JobRecord &job, bool forceNew, qint32 *outID = nullptr);
    bool Delete(qint32 jobID);
    /// Inside a transaction: the job runs from now on. Nothing for a job that the table does not hold.
    bool RecordStart(qint32 jobID);
    /// In the order of the table; see Taskmill_InWaitingOrder().
    [[nodiscard]] QList<Taskmill_JobRecord> GetAll();
    /// Inside a transaction: gives the rows the numbers of these jobs, which are those of GetAll(), in its
    /// order.
    bool SetNumbers(const QList<Taskmill_JobRecord> &jobs);

private:
    bool DeleteRows(qint32 jobID);

    const QString m_queueName;
};
