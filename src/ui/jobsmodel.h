// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobrecord.h"
#include "ui/jobtablemodel.h"

#include <QList>
#include <QStringList>
#include <QVarLengthArray>

class Taskmill_JobContainer;

/// The rows of a queue tab. They are those of the last Refresh(): jobs may have come and gone since, so a row
/// leads to its job by the job's number only.
class Taskmill_JobsModel final : public Taskmill_JobTableModel
{
    Q_OBJECT

public:
    /// The container outlives the model. Without rows until the first Refresh().
    Taskmill_JobsModel(const Taskmill_JobContainer &jobs, QObject *parent);

    /// Brings the rows up to date with the list and reports to the views what differs, no more: their
    /// selection and their place are kept.
    void Refresh();

    /// Whether a row shows a job that runs.
    [[nodiscard]] bool ShowsRunningJobs() const;
    /// Reports to the views that the times have gone on which such rows show.
    void UpdateElapsed();
    [[nodiscard]] int ElapsedColumn() const { return m_elapsedColumn; }

    /// The number of the job in a row; -1 when there is no such row.
    [[nodiscard]] int JobIDAt(int position) const;
    /// Of several rows, in their order. Empty when one of them does not exist.
    [[nodiscard]] QList<int> JobIDsAt(const QList<int> &positions) const;

protected:
    [[nodiscard]] qsizetype RowCount() const override { return m_rows.size(); }
    [[nodiscard]] int JobIDOfRow(qsizetype row) const override { return m_rows[row].jobID; }
    [[nodiscard]] Taskmill_JobStatus StatusOfRow(qsizetype row) const override { return m_rows[row].status; }
    [[nodiscard]] QString TextOf(qsizetype row, int column) const override;
    [[nodiscard]] std::optional<qint64> SortNumberOf(qsizetype row, int column) const override;
    [[nodiscard]] const Taskmill_JobRecord *RecordOf(qsizetype row) const override;

private:
    struct Row
    {
        int jobID = -1;
        Taskmill_JobStatus status = Taskmill_JobStatus::Unknown;
        QVarLengthArray<Taskmill_JobTime, 2> times; ///< of the columns that show one, in their order
        Taskmill_WaitReason waitReason;
        /// Made when the row is first shown or sorted: most rows of a long queue never are.
        mutable QStringList texts;

        /// Of the same job: nothing else of it changes while it waits and runs.
        [[nodiscard]] bool ShowsTheSameAs(const Row &other) const
        {
            return status == other.status && times == other.times && waitReason == other.waitReason;
        }
    };

    [[nodiscard]] Row RowOf(const Taskmill_JobRecord &job) const;
    /// Jobs were moved, or started out of their order.
    void TakeNewOrder();
    void RemoveMissingRows();
    void AppendNewRows();
    void UpdateRows();

    const Taskmill_JobContainer &m_jobs;
    QList<int> m_timeColumns;
    const int m_elapsedColumn;
    QList<Row> m_rows;
};
