// SPDX-License-Identifier: MIT
#pragma once

#include <QList>

#include <algorithm>

/// Consecutive rows of a table, the last one included.
struct Taskmill_RowRange
{
    int First;
    int Last;
};
using Taskmill_RowRanges = QList<Taskmill_RowRange>;

/// The rows whose record has left its list, from the bottom, so that they can be removed in turn. Such a list
/// changes by removals anywhere and by additions at its end, so the rows that stay are found in one walk
/// through both. The functions give the number that a row shows, and the number at a position of the list.
template <typename ShownID, typename ListedID>
[[nodiscard]] Taskmill_RowRanges Taskmill_RowsGone(qsizetype rows, ShownID shownID, qsizetype count,
                                                   ListedID listedID)
{
    Taskmill_RowRanges gone;
    qsizetype position = 0;
    for (qsizetype index = 0; index < rows; ++index) {
        const int row = static_cast<int>(index);
        if (position < count && shownID(index) == listedID(position))
            ++position;
        else if (!gone.isEmpty() && gone.last().Last == row - 1)
            gone.last().Last = row;
        else
            gone.append({row, row});
    }
    std::ranges::reverse(gone);
    return gone;
}

/// How many rows they are.
[[nodiscard]] inline qsizetype Taskmill_CountOf(const Taskmill_RowRanges &ranges)
{
    qsizetype count = 0;
    for (const Taskmill_RowRange &range : ranges)
        count += range.Last - range.First + 1;
    return count;
}

/// Removes the rows in one walk through the list.
template <typename T>
void Taskmill_RemoveRows(QList<T> &rows, const Taskmill_RowRanges &ranges)
{
    auto range = ranges.crbegin();
    int row = 0;
    rows.removeIf([&](const T &) {
        while (range != ranges.crend() && range->Last < row)
            ++range;
        const bool isGone = range != ranges.crend() && range->First <= row;
        ++row;
        return isGone;
    });
}
