// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobrecord.h"
#include "manager/columns.h"
#include "manager/jobfilter.h"
#include "widgets/rowranges.h"
#include "widgets/rowsource.h"

#include <QAbstractTableModel>
#include <QList>
#include <QStringList>

#include <functional>
#include <optional>

/// What the tables of jobs have in common: their columns, the mark beside the status, the role that leads
/// from a cell to its row, the filter, and one way to take rows out.
class Taskmill_JobTableModel : public QAbstractTableModel, public KilnUtil_RowSource
{
    Q_OBJECT

public:
    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    /// What the tool tip of a running job's status says; nothing is shown for an empty text.
    void SetProgressText(std::function<QString(int jobID)> text) { m_progressText = std::move(text); }
    /// The view is to be asked to show it, see KilnUtil_TableSortProxy::FilterChanged().
    void SetFilter(const Taskmill_JobFilter &filter) { m_filter = filter; }
    [[nodiscard]] const Taskmill_JobFilter &Filter() const { return m_filter; }
    [[nodiscard]] bool HasFilter() const override { return !m_filter.ShowsAll(); }
    [[nodiscard]] bool IsWanted(int row) const override;

protected:
    /// The columns outlive the model.
    Taskmill_JobTableModel(const Taskmill_Columns<Taskmill_JobRecord> &columns, QObject *parent);

    [[nodiscard]] const Taskmill_Columns<Taskmill_JobRecord> &Columns() const { return m_columns; }

    [[nodiscard]] virtual qsizetype RowCount() const = 0;
    [[nodiscard]] virtual int JobIDOfRow(qsizetype row) const = 0;
    [[nodiscard]] virtual Taskmill_JobStatus StatusOfRow(qsizetype row) const = 0;
    [[nodiscard]] virtual QString TextOf(qsizetype row, int column) const = 0;
    /// See Taskmill_Columns::SortNumber().
    [[nodiscard]] virtual std::optional<qint64> SortNumberOf(qsizetype row, int column) const = 0;
    /// As the job is now; nullptr when it has gone. It stays until another one is asked for.
    [[nodiscard]] virtual const Taskmill_JobRecord *RecordOf(qsizetype row) const = 0;

    /// Takes rows out of the list behind the table. A view takes so many removals one by one in good time;
    /// beyond, a new layout is reported.
    template <typename T>
    void TakeOut(const KilnUtil_RowRanges &gone, QList<T> &rows)
    {
        if (!KilnUtil_AreReportedSingly(gone.size(), rows.size())) {
            SetLeavingRows(gone);
            Q_EMIT layoutAboutToBeChanged();
            KilnUtil_RemoveRows(rows, gone);
            FinishNewLayout(gone);
            SetLeavingRows({});
            return;
        }
        for (const KilnUtil_RowRange &range : gone) {
            beginRemoveRows({}, range.First, range.Last);
            rows.remove(range.First, range.Count());
            endRemoveRows();
        }
    }

private:
    [[nodiscard]] QVariant SortValueOf(qsizetype row, int column) const;
    [[nodiscard]] QString RunningText(qsizetype row) const;
    /// Of the status or the result, in words, what the mark says by its colour; nothing for other columns.
    [[nodiscard]] QString ExplanationOf(qsizetype row, int column) const;
    [[nodiscard]] QVariant ExplanationData(const QModelIndex &index, int role) const;
    [[nodiscard]] QVariant MarkOf(qsizetype row) const;
    /// Leads the places that views hold to where their rows are now.
    void FinishNewLayout(const KilnUtil_RowRanges &gone);

    const Taskmill_Columns<Taskmill_JobRecord> &m_columns;
    const QStringList m_headers;
    const int m_jobIDColumn;
    const int m_statusColumn;
    std::function<QString(int jobID)> m_progressText;
    const int m_resultColumn;
    const int m_waitColumn; ///< -1 where no job waits
    Taskmill_JobFilter m_filter;
};
