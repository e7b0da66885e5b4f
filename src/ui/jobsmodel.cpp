// SPDX-License-Identifier: MIT
#include "ui/jobsmodel.h"

#include "jobs/jobcontainer.h"
#include "manager/listings.h"
#include "widgets/tablesortproxy.h"

namespace {
constexpr int submittedColumn = 6;
constexpr int startedColumn = 7;
} // namespace

bool Taskmill_JobsModel::Row::Shows(const Taskmill_JobRecord &job) const
{
    return status == job.Status && submitted == job.Submitted && started == job.Started;
}

Taskmill_JobsModel::Taskmill_JobsModel(const Taskmill_JobContainer &jobs, QObject *parent)
    : Taskmill_JobTableModel{Taskmill_Listings::QueueHeaders(), parent}
    , m_jobs{jobs}
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
    TakeOut(gone, m_rows);
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

QString Taskmill_JobsModel::TextOf(qsizetype position, int column) const
{
    const Row &row = m_rows[position];
    if (row.texts.isEmpty()) {
        const Taskmill_Job *job = m_jobs.FindByJobID(row.jobID);
        if (!job)
            return {};
        row.texts = Taskmill_Listings::QueueRow(job->Record());
    }
    return row.texts[column];
}

std::optional<Taskmill_JobTime> Taskmill_JobsModel::TimeOf(qsizetype position, int column) const
{
    switch (column) {
    case submittedColumn:
        return m_rows[position].submitted;
    case startedColumn:
        return m_rows[position].started;
    default:
        return std::nullopt;
    }
}
