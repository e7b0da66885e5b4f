#include "ui/finishedjobsmodel.h"

#include "kilnutil/tablesortproxy.h"
#include "service/finishedjobs.h"
#include "service/listings.h"
#include "ui/rowranges.h"
#include "ui/statusicon.h"

namespace {
constexpr int jobIDColumn = 0;
constexpr int statusColumn = 2;
} // namespace

Taskmill_FinishedJobsModel::Taskmill_FinishedJobsModel(const Taskmill_FinishedJobs &jobs, QObject *parent)
    : QAbstractTableModel{parent}
    , m_jobs{jobs}
    , m_headers{Taskmill_Listings::FinishedHeaders()}
    , m_generation{jobs.Generation()}
{
}

void Taskmill_FinishedJobsModel::Refresh()
{
    if (m_generation != m_jobs.Generation()) {
        m_generation = m_jobs.Generation();
        RemoveMissingRows();
    }
    AppendNewRows();
}

void Taskmill_FinishedJobsModel::RemoveMissingRows()
{
    const QList<Taskmill_JobRecord> &jobs = m_jobs.Jobs();
    const Taskmill_RowRanges gone = Taskmill_RowsGone(
        m_jobIDs.size(), [this](qsizetype row) { return m_jobIDs[row]; }, jobs.size(),
        [&jobs](qsizetype position) { return jobs[position].JobID; });
    if (gone.size() > Taskmill_MostRangesRemoved) {
        beginResetModel();
        m_jobIDs.clear();
        endResetModel();
        return;
    }
    for (const Taskmill_RowRange &range : gone) {
        beginRemoveRows({}, range.First, range.Last);
        m_jobIDs.remove(range.First, range.Last - range.First + 1);
        endRemoveRows();
    }
}

void Taskmill_FinishedJobsModel::AppendNewRows()
{
    const QList<Taskmill_JobRecord> &jobs = m_jobs.Jobs();
    if (m_jobIDs.size() == jobs.size())
        return;
    beginInsertRows({}, static_cast<int>(m_jobIDs.size()), static_cast<int>(jobs.size()) - 1);
    m_jobIDs.reserve(jobs.size());
    while (m_jobIDs.size() < jobs.size())
        m_jobIDs.append(jobs[m_jobIDs.size()].JobID);
    endInsertRows();
}

int Taskmill_FinishedJobsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_jobIDs.size());
}

int Taskmill_FinishedJobsModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_headers.size());
}

QVariant Taskmill_FinishedJobsModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_jobs.Jobs().size())
        return {};
    const Taskmill_JobRecord &job = m_jobs.Jobs()[index.row()];
    switch (role) {
    case Qt::DisplayRole:
    case KilnUtil_TableSortProxy::SortRole:
        if (index.column() == jobIDColumn)
            return job.JobID;
        return Taskmill_Listings::FinishedCell(job, index.column());
    case Qt::DecorationRole:
        return index.column() == statusColumn ? Taskmill_StatusIcon(job.Status) : QVariant{};
    case Qt::TextAlignmentRole:
        return QVariant{Qt::AlignLeft | Qt::AlignVCenter};
    case KilnUtil_TableSortProxy::PositionRole:
        return index.row();
    default:
        return {};
    }
}

QVariant Taskmill_FinishedJobsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole)
        return m_headers.value(section);
    return QAbstractTableModel::headerData(section, orientation, role);
}
