// SPDX-License-Identifier: MIT
#pragma once

#include "db/addedfields.h"
#include "db/tablestore.h"

#include <span>

class Taskmill_JobTableStore;
struct Taskmill_JobRecord;
struct Taskmill_JobResult;

/// What no table of this database has a column for: the values of jobs and of the project, and those whose
/// owners are gone. The operations that write belong to a transaction, where nothing else is said.
class Taskmill_AddedFieldsStore final : public Taskmill_TableStore
{
public:
    using Taskmill_TableStore::Taskmill_TableStore;
    using Tables = std::span<Taskmill_JobTableStore *const>;

    void Forget() override;
    /// All of them, as they are now.
    [[nodiscard]] Taskmill_AddedFields &All();

    /// Empty when there is none. The connection must be open, and for the second one the tables be there; it
    /// is a transaction of its own and no change of the project.
    [[nodiscard]] QString OfProject(const QString &name);
    bool SetOfProject(const QString &name, const QString &value);

    /// Of these jobs: numbers with commas, or a statement.
    [[nodiscard]] QHash<qint32, Taskmill_AddedFields::Fields> OfJobs(const QString &jobIDs);
    bool SetOfJob(const Taskmill_JobRecord &job);
    bool SetRunOfJob(qint32 jobID, const QString &run);
    bool SetResultOfJob(qint32 jobID, const Taskmill_JobResult &result);

    /// Removes those of the jobs, of these, that are in no table any more.
    bool RemoveOfGoneJobs(const QList<qint32> &jobIDs, Tables tables);
    /// Removes all whose owners are gone, in a transaction of its own, which is no change of the project.
    void RemoveOrphans(Tables tables);

private:
    static void TakeOutContained(QSet<qint32> &jobIDs, Tables tables);

    Taskmill_AddedFields m_fields;
};
