// SPDX-License-Identifier: MIT
#pragma once

#include "manager/finishedscan.h"
#include "manager/jobfilter.h"

/// Finds which finished jobs a filter shows.
class Taskmill_FinishedMatches final : public Taskmill_FinishedScan::Work
{
public:
    Taskmill_FinishedMatches(Taskmill_JobFilter filter, qsizetype count)
        : m_filter{std::move(filter)}
        , m_matches(count, false)
    {
    }

    void Take(qsizetype position, const Taskmill_JobRecord &job) override
    {
        m_matches[position] = m_filter.Matches(job);
    }

    /// For each job of the list, whether the filter shows it.
    [[nodiscard]] const QList<bool> &Matches() const { return m_matches; }

private:
    const Taskmill_JobFilter m_filter;
    QList<bool> m_matches;
};
