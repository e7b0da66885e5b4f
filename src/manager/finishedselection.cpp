// SPDX-License-Identifier: MIT
#include "manager/finishedselection.h"

#include "manager/finishedjobs.h"

#include <QHash>

#include <utility>

Taskmill_FinishedSelection::Taskmill_FinishedSelection(const Taskmill_FinishedJobs &jobs,
                                                       QList<int> positions)
    : m_jobs{jobs}
    , m_positions{std::move(positions)}
    , m_generation{jobs.Generation()}
{
    m_jobIDs.reserve(m_positions.size());
    for (const int position : std::as_const(m_positions))
        m_jobIDs.append(jobs.JobIDAt(position));
}

const Taskmill_JobRecord *Taskmill_FinishedSelection::At(qsizetype place)
{
    if (m_generation != m_jobs.Generation())
        FindAgain();
    const int position = m_positions[place];
    return position < 0 ? nullptr : &m_jobs.JobAt(position);
}

QList<int> Taskmill_FinishedSelection::Positions()
{
    if (m_generation != m_jobs.Generation())
        FindAgain();
    QList<int> positions = m_positions;
    positions.removeAll(-1);
    return positions;
}

void Taskmill_FinishedSelection::FindAgain()
{
    m_generation = m_jobs.Generation();
    QHash<int, int> positions;
    for (int position = 0; position < m_jobs.Count(); ++position)
        positions.insert(m_jobs.JobIDAt(position), position);
    for (qsizetype place = 0; place < m_jobIDs.size(); ++place)
        m_positions[place] = positions.value(m_jobIDs[place], -1);
}
