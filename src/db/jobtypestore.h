// SPDX-License-Identifier: MIT
#pragma once

#include "db/tablestore.h"
#include "jobs/jobtype.h"

#include <QList>

/// The records of the table JobTypes. Taskmill_Database documents the operations.
class Taskmill_JobTypeStore final : public Taskmill_TableStore
{
public:
    using Taskmill_TableStore::Taskmill_TableStore;

    void Forget() override;

    /// Whether Update() would store other texts than these: its statement holds them as they are, and doubled
    /// quotes would be stored as single ones.
    [[nodiscard]] static bool HasQuotes(const Taskmill_JobType &jobType);

    bool Insert(const Taskmill_JobType &jobType, bool forceNew, qint32 *outID = nullptr);
    bool Update(qint32 jobTypeID, const Taskmill_JobType &jobType);
    bool Delete(qint32 jobTypeID);
    [[nodiscard]] Taskmill_JobType Get(qint32 jobTypeID);
    [[nodiscard]] QList<Taskmill_JobType> GetAll();

private:
    bool StoreFields(qint32 jobTypeID, const Taskmill_JobType &jobType);

    std::optional<QList<Taskmill_JobType>> m_jobTypes; ///< nothing while they have to be read
};
