// SPDX-License-Identifier: MIT
#pragma once

#include "manager/finishedscan.h"
#include "manager/sortvalues.h"

struct Taskmill_FinishedJobReading;

/// Finds where each finished job stands in the order of a column of the table.
class Taskmill_FinishedRanking final : public Taskmill_FinishedScan::Work
{
public:
    Taskmill_FinishedRanking(int column, qsizetype count);

    /// What the column is made of.
    [[nodiscard]] static Taskmill_FinishedJobReading WhatIsRead(int column);

    void Take(qsizetype position, const Taskmill_JobRecord &job) override;
    void Finish() override { m_ranks = m_values.Ranks(); }

    /// Of each job a number that is smaller, equal or larger as its value in the column is.
    [[nodiscard]] const QList<quint32> &Ranks() const { return m_ranks; }

private:
    const int m_column;
    Taskmill_SortValues m_values;
    QList<quint32> m_ranks;
};
