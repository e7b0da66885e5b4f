// SPDX-License-Identifier: MIT
#pragma once

#include "db/databaseschema.h"
#include "db/jobrowreader.h"
#include "db/tablestore.h"
#include "jobs/jobrecord.h"

#include <QList>
#include <QMultiHash>

/// Base of the classes that write and read one of the four job tables: what the tables have in common.
class Taskmill_JobTableStore : public Taskmill_TableStore
{
public:
    Taskmill_JobTableStore(Taskmill_Database &database, Taskmill_Table table, const QString &keyColumn);

    void Forget() override;
    /// The keys alone, which a failed transaction may have left wrong.
    virtual void ForgetKeys() { m_keys.reset(); }

    [[nodiscard]] const QString &TableName() const { return m_tableName; }
    /// Takes those out of the set that the table has.
    virtual void TakeOutContained(QSet<qint32> &jobIDs);
    /// -1 when the table holds none.
    [[nodiscard]] virtual qint32 LargestJobID();

protected:
    using KeysOfJobs = QMultiHash<qint32, qint32>;

    [[nodiscard]] Taskmill_RecordFields StartFields(const Taskmill_JobRecord &job) const;
    // The columns that all four job tables share, in front of Finished and behind it.
    static void AddLeadingFields(Taskmill_RecordFields &fields, const Taskmill_JobRecord &job);
    static void AddClientFields(Taskmill_RecordFields &fields, const Taskmill_JobRecord &job);
    static void AddTrailingFields(Taskmill_RecordFields &fields, const Taskmill_JobRecord &job);

    /// Also writes what the table has no column for.
    bool InsertJob(const Taskmill_RecordFields &fields, const Taskmill_JobRecord &job, bool forceNew,
                   qint32 *outID);
    /// Inside a transaction: what no table has a column for, of the jobs that are in no table any more.
    bool RemoveFieldsOfGoneJobs(const QList<qint32> &jobIDs);
    [[nodiscard]] const QString &KeyColumn() const { return m_keyColumn; }
    /// The table's keys of each job number.
    [[nodiscard]] KeysOfJobs &Keys();

    [[nodiscard]] Taskmill_JobTypesByID JobTypesByID() const;
    /// The names of the columns that are read, in the order of the table.
    [[nodiscard]] QStringList ColumnsToRead() const;
    /// The columns as they stand behind SELECT. Every row of a table that has no column for the queue gets
    /// its name.
    [[nodiscard]] QList<Taskmill_JobRecord> ReadJobs(const QString &columns, const QString &queueName = {});

private:
    const QString m_tableName;
    const QString m_keyColumn;
    /// The rows of each job number, once they were asked for: no table has an index on the number.
    std::optional<KeysOfJobs> m_keys;
};
