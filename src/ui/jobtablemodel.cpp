// SPDX-License-Identifier: MIT
#include "ui/jobtablemodel.h"

#include "manager/measuretext.h"
#include "ui/statusicon.h"
#include "widgets/tablesortproxy.h"

#include <QTextDocument>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

Taskmill_JobTableModel::Taskmill_JobTableModel(const Taskmill_Columns<Taskmill_JobRecord> &columns,
                                               QObject *parent)
    : QAbstractTableModel{parent}
    , m_columns{columns}
    , m_headers{columns.Headers()}
    , m_jobIDColumn{columns.IndexOf(&Taskmill_JobRecord::JobID)}
    , m_statusColumn{columns.IndexOf(&Taskmill_JobRecord::Status)}
    , m_resultColumn{columns.WithHeader(u"Result"_s)}
    , m_waitColumn{columns.WithHeader(u"Waits Because"_s)}
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
        return index.column() == m_statusColumn ? MarkOf(index.row()) : QVariant{};
    case Qt::ToolTipRole:
    case Qt::AccessibleDescriptionRole:
        return ExplanationData(index, role);
    case Qt::TextAlignmentRole:
        return QVariant{Qt::AlignLeft | Qt::AlignVCenter};
    case KilnUtil_TableSortProxy::PositionRole:
        return index.row();
    default:
        return {};
    }
}

QVariant Taskmill_JobTableModel::SortValueOf(qsizetype row, int column) const
{
    if (column == m_jobIDColumn)
        return JobIDOfRow(row);
    const std::optional<qint64> number = SortNumberOf(row, column);
    return number ? QVariant{*number} : QVariant{TextOf(row, column)};
}

bool Taskmill_JobTableModel::IsWanted(int row) const
{
    const Taskmill_JobRecord *job = HasFilter() ? RecordOf(row) : nullptr;
    return !job || m_filter.Matches(*job);
}

QVariant Taskmill_JobTableModel::MarkOf(qsizetype row) const
{
    const Taskmill_JobStatus status = StatusOfRow(row);
    const Taskmill_JobRecord *job = Taskmill_IsFinalStatus(status) ? RecordOf(row) : nullptr;
    return Taskmill_StatusIcon(status, job ? job->Result.Verdict : Taskmill_Verdict::None);
}

/// How far it is, and whether it does not get on.
QString Taskmill_JobTableModel::RunningText(qsizetype row) const
{
    QStringList lines{m_progressText(JobIDOfRow(row))};
    if (const Taskmill_JobRecord *job = RecordOf(row))
        lines += job->WhyItWaits();
    lines.removeAll(QString{});
    return lines.join(u'\n');
}

QString Taskmill_JobTableModel::ExplanationOf(qsizetype row, int column) const
{
    if (column == m_statusColumn && m_progressText && StatusOfRow(row) == Taskmill_JobStatus::Running)
        return RunningText(row);
    // It may be longer than its column is wide.
    if ((column == m_statusColumn || column == m_waitColumn) &&
        StatusOfRow(row) == Taskmill_JobStatus::Pending) {
        const Taskmill_JobRecord *waiting = RecordOf(row);
        return waiting ? waiting->WhyItWaits() : QString{};
    }
    const bool isAboutResult = column == m_statusColumn || column == m_resultColumn;
    const Taskmill_JobRecord *job = isAboutResult ? RecordOf(row) : nullptr;
    if (!job || !job->Result.IsOfKnownProgram())
        return {};
    const Taskmill_JobResult &result = job->Result;
    const QString text = u"%1: %2"_s.arg(u"%1 %2"_s.arg(result.Program, result.Version).trimmed(),
                                         Taskmill_ResultText(result));
    return result.Message.isEmpty() ? text : text + u'\n' + result.Message;
}

QVariant Taskmill_JobTableModel::ExplanationData(const QModelIndex &index, int role) const
{
    const QString explanation = ExplanationOf(index.row(), index.column());
    if (explanation.isEmpty())
        return {};
    // As rich text, which is broken into lines.
    return role == Qt::ToolTipRole ? Qt::convertFromPlainText(explanation) : explanation;
}

QVariant Taskmill_JobTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole)
        return m_headers.value(section);
    return QAbstractTableModel::headerData(section, orientation, role);
}
