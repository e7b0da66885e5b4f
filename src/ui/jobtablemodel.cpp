// SPDX-License-Identifier: MIT
#include "ui/jobtablemodel.h"

#include "manager/timetext.h"
#include "ui/statusicon.h"
#include "widgets/tablesortproxy.h"

#include <algorithm>

Taskmill_JobTableModel::Taskmill_JobTableModel(const Taskmill_Columns<Taskmill_JobRecord> &columns,
                                               QObject *parent)
    : QAbstractTableModel{parent}
    , m_columns{columns}
    , m_headers{columns.Headers()}
    , m_jobIDColumn{columns.IndexOf(&Taskmill_JobRecord::JobID)}
    , m_statusColumn{columns.IndexOf(&Taskmill_JobRecord::Status)}
{
}

void Taskmill_JobTableModel::FinishNewLayout(const KilnUtil_RowRanges &gone)
{
    QList<int>
        rowsNow; // of the rows before, as views may hold a place in each of them; -1 for one that is gone
    rowsNow.resize(RowCount() + KilnUtil_CountOf(gone));
    for (const KilnUtil_RowRange &range : gone)
        std::fill_n(rowsNow.begin() + range.First, range.Count(), -1);
    int row = 0;
    for (int &now : rowsNow) {
        if (now == 0)
            now = row++;
    }
    const QModelIndexList before = persistentIndexList();
    QModelIndexList after;
    after.reserve(before.size());
    for (const QModelIndex &old : before) {
        const int now = rowsNow[old.row()];
        after.append(now < 0 ? QModelIndex{} : createIndex(now, old.column()));
    }
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged();
}

int Taskmill_JobTableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(RowCount());
}

int Taskmill_JobTableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_headers.size());
}

QVariant Taskmill_JobTableModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= RowCount())
        return {};
    switch (role) {
    case Qt::DisplayRole:
        if (index.column() == m_jobIDColumn)
            return JobIDOfRow(index.row());
        return TextOf(index.row(), index.column());
    case KilnUtil_TableSortProxy::SortRole:
        return SortValueOf(index.row(), index.column());
    case Qt::DecorationRole:
        return index.column() == m_statusColumn ? Taskmill_StatusIcon(StatusOfRow(index.row())) : QVariant{};
    case Qt::ToolTipRole:
        return index.column() == m_statusColumn ? ProgressOf(index.row()) : QVariant{};
    case Qt::TextAlignmentRole:
        return QVariant{Qt::AlignLeft | Qt::AlignVCenter};
    case KilnUtil_TableSortProxy::PositionRole:
        return index.row();
    default:
        return {};
    }
}

QVariant Taskmill_JobTableModel::ProgressOf(qsizetype row) const
{
    if (!m_progressText || StatusOfRow(row) != Taskmill_JobStatus::Running)
        return {};
    const QString text = m_progressText(JobIDOfRow(row));
    return text.isEmpty() ? QVariant{} : text;
}

QVariant Taskmill_JobTableModel::SortValueOf(qsizetype row, int column) const
{
    if (column == m_jobIDColumn)
        return JobIDOfRow(row);
    const std::optional<Taskmill_JobTime> time = TimeOf(row, column);
    return time ? QVariant{Taskmill_TimeTextOrder(*time)} : QVariant{TextOf(row, column)};
}

QVariant Taskmill_JobTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole)
        return m_headers.value(section);
    return QAbstractTableModel::headerData(section, orientation, role);
}
