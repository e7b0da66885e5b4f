// SPDX-License-Identifier: MIT
#pragma once

#include "db/finishedjobreader.h"
#include "db/jobtablestore.h"

#include <QList>

#include <memory>
#include <optional>

/// What is kept in memory of each row of the finished jobs.
struct Taskmill_FinishedRow
{
    qint64 Key = -1; ///< of the table
    qint32 JobID = 0;
};

/// The finished jobs. There may be a million of them: their records are read when they are needed.
class Taskmill_FinishedJobStore final : public Taskmill_JobTableStore
{
public:
    explicit Taskmill_FinishedJobStore(Taskmill_Database &database);

    void Forget() override;
    void ForgetKeys() override;

    bool Insert(const Taskmill_JobRecord &job, bool forceNew, qint32 *outID);
    /// By job number.
    bool DeleteAll(const QList<qint32> &jobIDs);
    /// By the table's keys, which are in rising order, in one transaction.
    bool DeleteRows(const QList<qint64> &keys);

    /// All rows in table order. What was read is remembered, with the job types of that time.
    [[nodiscard]] QList<Taskmill_FinishedRow> Rows();
    void TakeOutContained(QSet<qint32> &jobIDs) override;
    [[nodiscard]] qint32 LargestJobID() override;

    /// The whole records, in table order.
    [[nodiscard]] QList<Taskmill_JobRecord> GetAll();
    [[nodiscard]] QList<Taskmill_JobRecord> GetAllWithoutOutputs();
    /// One without its output; nothing when there is no such row.
    [[nodiscard]] std::optional<Taskmill_JobRecord> Get(qint64 key);
    [[nodiscard]] QString GetOutput(qint64 key);
    [[nodiscard]] std::function<QByteArray()> ReaderOfOutput(qint64 key);
    bool SetOutput(qint64 key, const QString &output);
    /// What reads many; see there.
    [[nodiscard]] std::unique_ptr<Taskmill_FinishedJobReader> MakeReader(Taskmill_FinishedJobReading reading);

private:
    void Load();
    [[nodiscard]] QStringList ColumnsWithoutOutput() const;
    /// Of the table in SQLite every row has a number, whatever its columns are.
    [[nodiscard]] QString RowKeyColumn() const;
    /// Takes these out of what is remembered and returns the numbers of their jobs.
    QList<qint32> TakeOut(const QList<qint64> &keys);

    std::optional<QList<Taskmill_FinishedRow>> m_rows; ///< nothing while they have to be read
    std::optional<qint32> m_largestJobID;              ///< of these, when that is known
    Taskmill_JobTypesByID m_jobTypes;                  ///< when the rows were read
    std::unique_ptr<Taskmill_FinishedJobReader> m_single;
};
