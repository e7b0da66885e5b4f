#include "ui/jobsmodel.h"

#include "jobs/jobcontainer.h"
#include "kilnutil/tablesortproxy.h"
#include "service/listings.h"
#include "ui/rowranges.h"
#include "ui/statusicon.h"

namespace {
constexpr int jobIDColumn = 0;
constexpr int statusColumn = 2;
} // namespace

bool Taskmill_JobsModel::Row::Shows(const Taskmill_JobRecord &job) const
{
    return status == job.Status && submitted == job.Submitted && started == job.Started;
}

Taskmill_JobsModel::Taskmill_JobsModel(const Taskmill_JobContainer &jobs, QObject *parent)
    : QAbstractTableModel{parent}
    , m_jobs{jobs}
    , m_headers{Taskmill_Listings::QueueHeaders()}
{
}

void Taskmill_JobsModel::Refresh()
{
    RemoveMissingRows();
    AppendNewRows();
    UpdateRows();
}

void Taskmill_JobsModel::RemoveMissingRows()
{
    const QList<Taskmill_Job *> &jobs = m_jobs.Jobs();
    const Taskmill_RowRanges gone = Taskmill_RowsGone(
        m_rows.size(), [this](qsizetype row) { return m_rows[row].jobID; }, jobs.size(),
        [&jobs](qsizetype position) { return jobs[position]->JobID(); });
    if (gone.size() > Taskmill_MostRangesRemoved) {
        beginResetModel();
        m_rows.clear();
        endResetModel();
        return;
    }
    for (const Taskmill_RowRange &range : gone) {
        beginRemoveRows({}, range.First, range.Last);
        m_rows.remove(range.First, range.Last - range.First + 1);
        endRemoveRows();
    }
}

void Taskmill_JobsModel::AppendNewRows()
{
    const int count = m_jobs.Count();
    if (m_rows.size() == count)
        return;
    beginInsertRows({}, static_cast<int>(m_rows.size()), count - 1);
    m_rows.reserve(count);
    while (m_rows.size() < count) {
        const Taskmill_JobRecord &job = m_jobs.JobAt(static_cast<int>(m_rows.size()))->Record();
        m_rows.append({.jobID = job.JobID,
                       .status = job.Status,
                       .submitted = job.Submitted,
                       .started = job.Started,
                       .texts = {}});
    }
    endInsertRows();
}

void Taskmill_JobsModel::UpdateRows()
{
    for (int position = 0; position < m_rows.size(); ++position) {
        const Taskmill_JobRecord &job = m_jobs.JobAt(position)->Record();
        Row &row = m_rows[position];
        if (row.Shows(job))
            continue;
        row = {.jobID = job.JobID,
               .status = job.Status,
               .submitted = job.Submitted,
               .started = job.Started,
               .texts = {}};
        Q_EMIT dataChanged(index(position, 0), index(position, columnCount() - 1),
                           {Qt::DisplayRole, Qt::DecorationRole, KilnUtil_TableSortProxy::SortRole});
    }
}

int Taskmill_JobsModel::JobIDAt(int position) const
{
    return position >= 0 && position < m_rows.size() ? m_rows[position].jobID : -1;
}

QList<int> Taskmill_JobsModel::JobIDsAt(const QList<int> &positions) const
{
    QList<int> jobIDs;
    for (const int position : positions) {
        jobIDs.append(JobIDAt(position));
        if (jobIDs.last() == -1)
            return {};
    }
    return jobIDs;
}

int Taskmill_JobsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int Taskmill_JobsModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_headers.size());
}

const QStringList &Taskmill_JobsModel::TextsOf(const Row &row) const
{
    static const QStringList noTexts{{}, {}, {}, {}, {}, {}, {}, {}};
    if (!row.texts.isEmpty())
        return row.texts;
    const Taskmill_Job *job = m_jobs.FindByJobID(row.jobID);
    if (!job)
        return noTexts;
    row.texts = Taskmill_Listings::QueueRow(job->Record());
    return row.texts;
}

QVariant Taskmill_JobsModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    const Row &row = m_rows[index.row()];
    switch (role) {
    case Qt::DisplayRole:
    case KilnUtil_TableSortProxy::SortRole:
        if (index.column() == jobIDColumn)
            return row.jobID;
        return TextsOf(row)[index.column()];
    case Qt::DecorationRole:
        return index.column() == statusColumn ? Taskmill_StatusIcon(row.status) : QVariant{};
    case Qt::TextAlignmentRole:
        return QVariant{Qt::AlignLeft | Qt::AlignVCenter};
    case KilnUtil_TableSortProxy::PositionRole:
        return index.row();
    default:
        return {};
    }
}

QVariant Taskmill_JobsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole)
        return m_headers.value(section);
    return QAbstractTableModel::headerData(section, orientation, role);
}
