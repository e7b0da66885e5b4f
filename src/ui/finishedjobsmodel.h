// SPDX-License-Identifier: MIT
#pragma once

#include "ui/jobtablemodel.h"

class Taskmill_FinishedJobs;

/// The rows of the finished-jobs tab. They are those of the last Refresh(), which is cheap when jobs have
/// only been added, however many there are.
class Taskmill_FinishedJobsModel final : public Taskmill_JobTableModel
{
    Q_OBJECT

public:
    /// The list outlives the model. Without rows until the first Refresh().
    Taskmill_FinishedJobsModel(Taskmill_FinishedJobs &jobs, QObject *parent);

    /// Brings the rows up to date with the list and reports to the views what differs, no more: their
    /// selection and their place are kept. Jobs that have been added may wait for that, removals may not: the
    /// rows show the list itself.
    void Refresh();
    /// The job is another one than the row has shown so far.
    void UpdateJob(int jobID);

    [[nodiscard]] bool HasManyRows() const override;
    [[nodiscard]] std::optional<Ranks> RanksAtOnce(int column) const override;
    void FindRanks(int column, const TakeRanks &take) override;
    void StopFindingRanks() override;
    void FindWanted(const TakeWanted &take) override;
    void StopFindingWanted() override;

protected:
    [[nodiscard]] qsizetype RowCount() const override { return m_jobIDs.size(); }
    [[nodiscard]] int JobIDOfRow(qsizetype row) const override { return m_jobIDs[row]; }
    [[nodiscard]] Taskmill_JobStatus StatusOfRow(qsizetype row) const override;
    [[nodiscard]] QString TextOf(qsizetype row, int column) const override;
    [[nodiscard]] std::optional<qint64> SortNumberOf(qsizetype row, int column) const override;
    [[nodiscard]] const Taskmill_JobRecord *RecordOf(qsizetype row) const override;

private:
    void RemoveMissingRows();
    void AppendNewRows();

    Taskmill_FinishedJobs &m_jobs;
    QList<int> m_jobIDs; ///< of the rows
    int m_generation;    ///< of the list, when the rows were made
};
