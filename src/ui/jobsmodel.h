#pragma once

#include "jobs/jobrecord.h"

#include <QAbstractTableModel>
#include <QList>
#include <QStringList>

class Taskmill_JobContainer;

/// The rows of a queue tab. They are those of the last Refresh(): jobs may have come and gone since, so a row
/// leads to its job by the job's number only.
class Taskmill_JobsModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    /// The container outlives the model. Without rows until the first Refresh().
    Taskmill_JobsModel(const Taskmill_JobContainer &jobs, QObject *parent);

    /// Brings the rows up to date with the list and tells the views of what differs, no more: their selection
    /// and their place are kept.
    void Refresh();

    /// The number of the job in a row; -1 when there is no such row.
    [[nodiscard]] int JobIDAt(int position) const;
    /// Of several rows, in their order. Empty when one of them does not exist.
    [[nodiscard]] QList<int> JobIDsAt(const QList<int> &positions) const;

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    struct Row
    {
        int jobID = -1;
        Taskmill_JobStatus status = Taskmill_JobStatus::Unknown;
        QDateTime submitted;
        QDateTime started;
        /// Made when the row is first shown or sorted: most rows of a long queue never are.
        mutable QStringList texts;

        [[nodiscard]] bool Shows(const Taskmill_JobRecord &job) const;
    };

    void RemoveMissingRows();
    void AppendNewRows();
    void UpdateRows();
    [[nodiscard]] const QStringList &TextsOf(const Row &row) const;

    const Taskmill_JobContainer &m_jobs;
    const QStringList m_headers;
    QList<Row> m_rows;
};
