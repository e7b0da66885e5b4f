// SPDX-License-Identifier: MIT
#include "ui/finishedjobsmodel.h"

#include "manager/finishedjobs.h"
#include "manager/listings.h"

Taskmill_FinishedJobsModel::Taskmill_FinishedJobsModel(const Taskmill_FinishedJobs &jobs, QObject *parent)
    : Taskmill_JobTableModel{Taskmill_Listings::FinishedJobs(), parent}
    , m_jobs{jobs}
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
    const KilnUtil_RowRanges gone = KilnUtil_RowsGone(
        m_jobIDs.size(), [this](qsizetype row) { return m_jobIDs[row]; }, jobs.size(),
        [&jobs](qsizetype position) { return jobs[position].JobID; });
    TakeOut(gone, m_jobIDs);
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

Taskmill_JobStatus Taskmill_FinishedJobsModel::StatusOfRow(qsizetype row) const
{
    return row < m_jobs.Jobs().size() ? m_jobs.Jobs()[row].Status : Taskmill_JobStatus::Unknown;
}

QString Taskmill_FinishedJobsModel::TextOf(qsizetype row, int column) const
{
    return row < m_jobs.Jobs().size() ? Columns().Text(m_jobs.Jobs()[row], column) : QString{};
}

std::optional<Taskmill_JobTime> Taskmill_FinishedJobsModel::TimeOf(qsizetype row, int column) const
{
    Taskmill_JobTime Taskmill_JobRecord::*time = Columns().TimeOf(column);
    if (!time || row >= m_jobs.Jobs().size())
        return std::nullopt;
    return m_jobs.Jobs()[row].*time;
}
