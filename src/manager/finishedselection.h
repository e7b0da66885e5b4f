// SPDX-License-Identifier: MIT
#pragma once

#include <QList>

class Taskmill_FinishedJobs;
struct Taskmill_JobRecord;

/// Some of the finished jobs, maybe all of a million, in an order of their own. They are found again while
/// others come and go.
class Taskmill_FinishedSelection
{
public:
    /// Those at these positions now. The list outlives this.
    Taskmill_FinishedSelection(const Taskmill_FinishedJobs &jobs, QList<int> positions);

    [[nodiscard]] qsizetype Count() const { return m_jobIDs.size(); }
    /// nullptr when it has gone. It stays until another one is asked for.
    [[nodiscard]] const Taskmill_JobRecord *At(qsizetype place);
    /// Where those that are still there stand now.
    [[nodiscard]] QList<int> Positions();

private:
    void FindAgain();

    const Taskmill_FinishedJobs &m_jobs;
    QList<int> m_jobIDs;
    QList<int> m_positions; ///< -1 for one that has gone
    int m_generation;       ///< of the list in which these are the positions
};
