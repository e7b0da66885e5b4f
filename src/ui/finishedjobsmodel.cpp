// SPDX-License-Identifier: MIT
#include "ui/finishedjobsmodel.h"

#include "manager/finishedjobs.h"
#include "manager/listings.h"
#include "widgets/tablesortproxy.h"

#include <algorithm>

Taskmill_FinishedJobsModel::Taskmill_FinishedJobsModel(Taskmill_FinishedJobs &jobs, QObject *parent)
    : Taskmill_JobTableModel{Taskmill_Listings::FinishedJobsTable(), parent}
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

void Taskmill_FinishedJobsModel::UpdateJob(int jobID)
{
    // The search begins at the end, as the job is one of the newest. A job that has no row yet comes with its
    // result.
    const auto found = std::find(m_jobIDs.crbegin(), m_jobIDs.crend(), jobID);
    if (found == m_jobIDs.crend())
        return;
    const auto row = static_cast<int>(m_jobIDs.crend() - found) - 1;
    Q_EMIT dataChanged(index(row, 0), index(row, columnCount() - 1),
                       {Qt::DisplayRole, Qt::DecorationRole, Qt::ToolTipRole, Qt::AccessibleDescriptionRole,
                        KilnUtil_TableSortProxy::SortRole});
}

void Taskmill_FinishedJobsModel::RemoveMissingRows()
{
    const KilnUtil_RowRanges gone = KilnUtil_RowsGone(
        m_jobIDs.size(), [this](qsizetype row) { return m_jobIDs[row]; }, m_jobs.Count(),
        [this](qsizetype position) { return m_jobs.JobIDAt(position); });
    TakeOut(gone, m_jobIDs);
}

void Taskmill_FinishedJobsModel::AppendNewRows()
{
    const qsizetype count = m_jobs.Count();
    if (m_jobIDs.size() == count)
        return;
    beginInsertRows({}, static_cast<int>(m_jobIDs.size()), static_cast<int>(count) - 1);
    m_jobIDs.reserve(count);
    while (m_jobIDs.size() < count)
        m_jobIDs.append(m_jobs.JobIDAt(m_jobIDs.size()));
    endInsertRows();
}

bool Taskmill_FinishedJobsModel::HasManyRows() const
{
    return m_jobs.IsRanked();
}

std::optional<KilnUtil_RowSource::Ranks> Taskmill_FinishedJobsModel::RanksAtOnce(int column) const
{
    if (column != Columns().IndexOf(&Taskmill_JobRecord::JobID))
        return std::nullopt;
    constexpr quint32 signBit = 1U << 31;
    Ranks ranks(m_jobIDs.size());
    std::ranges::transform(m_jobIDs, ranks.begin(),
                           [](int jobID) { return static_cast<quint32>(jobID) ^ signBit; });
    return ranks;
}

void Taskmill_FinishedJobsModel::FindRanks(int column, const TakeRanks &take)
{
    m_jobs.Rank(column, take);
}

void Taskmill_FinishedJobsModel::StopFindingRanks()
{
    m_jobs.StopRanking();
}

void Taskmill_FinishedJobsModel::FindWanted(const TakeWanted &take)
{
    m_jobs.Match(Filter(), take);
}

void Taskmill_FinishedJobsModel::StopFindingWanted()
{
    m_jobs.StopMatching();
}

Taskmill_JobStatus Taskmill_FinishedJobsModel::StatusOfRow(qsizetype row) const
{
    return row < m_jobs.Count() ? m_jobs.JobAt(row).Status : Taskmill_JobStatus::Unknown;
}

QString Taskmill_FinishedJobsModel::TextOf(qsizetype row, int column) const
{
    return row < m_jobs.Count() ? Columns().Text(m_jobs.JobAt(row), column) : QString{};
}

std::optional<qint64> Taskmill_FinishedJobsModel::SortNumberOf(qsizetype row, int column) const
{
    if (row >= m_jobs.Count())
        return std::nullopt;
    return Columns().SortNumber(m_jobs.JobAt(row), column);
}

const Taskmill_JobRecord *Taskmill_FinishedJobsModel::RecordOf(qsizetype row) const
{
    return row < m_jobs.Count() ? &m_jobs.JobAt(row) : nullptr;
}
