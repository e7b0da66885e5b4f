// SPDX-License-Identifier: MIT
#pragma once

#include "db/jobtablestore.h"

/// The records of the table FinishedJobs. Taskmill_Database documents the operations.
class Taskmill_FinishedJobStore final : public Taskmill_JobTableStore
{
public:
    explicit Taskmill_FinishedJobStore(Taskmill_Database &database);

    bool Insert(const Taskmill_JobRecord &job, bool forceNew, qint32 *outID = nullptr);
    bool DeleteAll(const QList<qint32> &jobIDs);
    [[nodiscard]] QList<Taskmill_JobRecord> GetAll(std::optional<int> longestOutput = {});
    [[nodiscard]] QString GetOutput(qint32 jobID);

private:
    bool DeleteRowsOf(const QList<qint32> &jobIDs);
};
