// SPDX-License-Identifier: MIT
#pragma once

#include "widgets/rowranges.h"

#include <QList>

#include <functional>
#include <optional>

/// What a source model of a KilnUtil_TableSortProxy may offer besides, so that a million rows can be shown:
/// nobody asks for the value of each then.
class KilnUtil_RowSource
{
public:
    /// Of each row a number that is smaller, equal or larger as its value in a column is. Rows that have come
    /// since they were asked for are not among them.
    using Ranks = QList<quint32>;
    using TakeRanks = std::function<void(const Ranks &ranks)>;

    virtual ~KilnUtil_RowSource() = default;

    /// Whether the rows are sorted by ranks. Few of them are asked themselves.
    [[nodiscard]] virtual bool HasManyRows() const { return false; }
    /// Those that take no time; nothing for a column that has to be read first.
    [[nodiscard]] virtual std::optional<Ranks> RanksAtOnce(int) const { return std::nullopt; }
    /// Finds them and gives them to the function later, unless others are asked for or rows are removed
    /// meanwhile.
    virtual void FindRanks(int, const TakeRanks &) {}
    virtual void StopFindingRanks() {}

    /// Whether some rows are not to be shown.
    [[nodiscard]] virtual bool HasFilter() const { return false; }
    [[nodiscard]] virtual bool IsWanted(int) const { return true; }
    /// Finds that for each of many rows and gives it to the function later, as ranks.
    using Wanted = QList<bool>;
    using TakeWanted = std::function<void(const Wanted &wanted)>;
    virtual void FindWanted(const TakeWanted &) {}
    virtual void StopFindingWanted() {}

    /// While the model changes its layout: the rows that leave it, from the bottom; the others keep their
    /// order. None when it is another change.
    [[nodiscard]] const KilnUtil_RowRanges &LeavingRows() const { return m_leavingRows; }

protected:
    void SetLeavingRows(const KilnUtil_RowRanges &rows) { m_leavingRows = rows; }

private:
    KilnUtil_RowRanges m_leavingRows;
};
