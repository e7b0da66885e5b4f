// SPDX-License-Identifier: MIT
#include "ui/jobsmodel.h"

#include "jobs/jobcontainer.h"
#include "manager/listings.h"
#include "manager/timetext.h"
#include "widgets/tablesortproxy.h"

#include <QHash>

#include <algorithm>
#include <limits>
#include <utility>

using namespace Qt::Literals::StringLiterals;

Taskmill_JobsModel::Taskmill_JobsModel(const Taskmill_JobContainer &jobs, QObject *parent)
    : Taskmill_JobTableModel{Taskmill_Listings::QueueTable(), parent}
    , m_jobs{jobs}
    , m_elapsedColumn{Columns().WithHeader(u"Elapsed"_s)}
{
    for (int column = 0; column < Columns().Count(); ++column) {
        if (Columns().TimeOf(column))
            m_timeColumns.append(column);
    }
}

/// As the job is now.
Taskmill_JobsModel::Row Taskmill_JobsModel::RowOf(const Taskmill_JobRecord &job) const
{
    Row row{.jobID = job.JobID, .status = job.Status, .times = {}, .waitReason = job.WaitReason, .texts = {}};
    for (const int column : m_timeColumns)
        row.times.append(job.*Columns().TimeOf(column));
    return row;
}

void Taskmill_JobsModel::Refresh()
{
    RemoveMissingRows();
    AppendNewRows();
    UpdateRows();
}

void Taskmill_JobsModel::TakeNewOrder()
{
    // Where each job stands in the list. A project may hold a number twice: then each has its own place.
    const QList<Taskmill_Job *> &jobs = m_jobs.Jobs();
    QHash<int, QList<int>> places;
    for (int place = 0; place < jobs.size(); ++place)
        places[jobs[place]->JobID()].append(place);
    QList<std::pair<int, int>> order; // of each row its place, and the row; those that go stand last
    for (int row = 0; row < m_rows.size(); ++row) {
        const auto found = places.find(m_rows[row].jobID);
        const bool isThere = found != places.end() && !found->isEmpty();
        order.append({isThere ? found->takeFirst() : std::numeric_limits<int>::max(), row});
    }
    if (std::ranges::is_sorted(order))
        return;
    Q_EMIT layoutAboutToBeChanged();
    std::ranges::sort(order);
    QList<Row> rows;
    QList<int> rowsNow(m_rows.size());
    for (const auto &[place, row] : std::as_const(order)) {
        rowsNow[row] = static_cast<int>(rows.size());
        rows.append(m_rows[row]);
    }
    m_rows.swap(rows);
    const QModelIndexList before = persistentIndexList();
    QModelIndexList after;
    for (const QModelIndex &old : before)
        after.append(createIndex(rowsNow[old.row()], old.column()));
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged();
}

void Taskmill_JobsModel::RemoveMissingRows()
{
    const QList<Taskmill_Job *> &jobs = m_jobs.Jobs();
    const auto rowsGone = [this, &jobs] {
        return KilnUtil_RowsGone(
            m_rows.size(), [this](qsizetype row) { return m_rows[row].jobID; }, jobs.size(),
            [&jobs](qsizetype position) { return jobs[position]->JobID(); });
    };
    const auto isStillThere = [this](const KilnUtil_RowRange &range) {
        return m_jobs.FindByJobID(m_rows[range.First].jobID) || m_jobs.FindByJobID(m_rows[range.Last].jobID);
    };
    KilnUtil_RowRanges gone = rowsGone();
    // Rows in another order only seem to be gone.
    if (std::ranges::any_of(gone, isStillThere)) {
        TakeNewOrder();
        gone = rowsGone();
    }
    TakeOut(gone, m_rows);
}

void Taskmill_JobsModel::AppendNewRows()
{
    const int count = m_jobs.Count();
    if (m_rows.size() == count)
        return;
    beginInsertRows({}, static_cast<int>(m_rows.size()), count - 1);
    m_rows.reserve(count);
    while (m_rows.size() < count)
        m_rows.append(RowOf(m_jobs.JobAt(static_cast<int>(m_rows.size()))->Record()));
    endInsertRows();
}

void Taskmill_JobsModel::UpdateRows()
{
    for (int position = 0; position < m_rows.size(); ++position) {
        const Row now = RowOf(m_jobs.JobAt(position)->Record());
        if (m_rows[position].ShowsTheSameAs(now))
            continue;
        m_rows[position] = now;
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

QString Taskmill_JobsModel::TextOf(qsizetype position, int column) const
{
    const Row &row = m_rows[position];
    if (column == m_elapsedColumn && row.status == Taskmill_JobStatus::Running) {
        const Taskmill_JobRecord *job = RecordOf(position);
        return job ? Columns().Text(*job, column) : QString{};
    }
    if (row.texts.isEmpty()) {
        const Taskmill_JobRecord *job = RecordOf(position);
        if (!job)
            return {};
        row.texts = Columns().Row(*job);
    }
    return row.texts[column];
}

std::optional<qint64> Taskmill_JobsModel::SortNumberOf(qsizetype position, int column) const
{
    const qsizetype time = m_timeColumns.indexOf(column);
    if (time >= 0)
        return Taskmill_TimeTextOrder(m_rows[position].times[time]);
    const Taskmill_JobRecord *job = Columns().IsQuantity(column) ? RecordOf(position) : nullptr;
    return job ? Columns().SortNumber(*job, column) : std::nullopt;
}

const Taskmill_JobRecord *Taskmill_JobsModel::RecordOf(qsizetype position) const
{
    const Taskmill_Job *job = m_jobs.FindByJobID(m_rows[position].jobID);
    return job ? &job->Record() : nullptr;
}

bool Taskmill_JobsModel::ShowsRunningJobs() const
{
    return std::ranges::find(m_rows, Taskmill_JobStatus::Running, &Row::status) != m_rows.end();
}

/// All of them go on alike, so that their order stays.
void Taskmill_JobsModel::UpdateElapsed()
{
    const KilnUtil_RowRanges running = KilnUtil_RowsWhere(
        m_rows.size(), [this](int row) { return m_rows[row].status == Taskmill_JobStatus::Running; });
    for (const KilnUtil_RowRange &range : running)
        Q_EMIT dataChanged(index(range.First, m_elapsedColumn), index(range.Last, m_elapsedColumn),
                           {Qt::DisplayRole});
}
