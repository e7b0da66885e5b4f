// SPDX-License-Identifier: MIT
#pragma once

#include <QList>

#include <algorithm>

/// Consecutive rows of a table, the last one included.
struct KilnUtil_RowRange
{
    int First;
    int Last;

    [[nodiscard]] int Count() const { return Last - First + 1; }
};
using KilnUtil_RowRanges = QList<KilnUtil_RowRange>;

/// Whether so many changes of a table are reported to its views one by one. Beyond, a new layout is: each
/// change costs a walk through all rows.
[[nodiscard]] inline bool KilnUtil_AreReportedSingly(qsizetype changes, qsizetype rows)
{
    constexpr qsizetype mostChanges = 100;
    constexpr qsizetype mostSteps = 10'000'000;
    return changes <= mostChanges && (changes <= 1 || changes * rows <= mostSteps);
}

/// Rows in rising order as ranges from the bottom, so that they can be removed one after another.
[[nodiscard]] inline KilnUtil_RowRanges KilnUtil_RangesOf(const QList<int> &rows)
{
    KilnUtil_RowRanges ranges;
    for (const int row : rows) {
        if (!ranges.isEmpty() && ranges.last().Last == row - 1)
            ranges.last().Last = row;
        else
            ranges.append({row, row});
    }
    std::ranges::reverse(ranges);
    return ranges;
}

/// Those of the first so many rows for which the function, called for each of them in turn, says so; from the
/// bottom.
template <typename Predicate>
[[nodiscard]] KilnUtil_RowRanges KilnUtil_RowsWhere(qsizetype count, Predicate isWanted)
{
    QList<int> rows;
    for (int row = 0; row < count; ++row) {
        if (isWanted(row))
            rows.append(row);
    }
    return KilnUtil_RangesOf(rows);
}

/// The rows whose record has left its list, from the bottom. Such a list changes by removals anywhere and by
/// additions at its end, so the rows that stay are found in one walk through both. The functions give the
/// number that a row shows, and the number at a position of the list.
template <typename ShownID, typename ListedID>
[[nodiscard]] KilnUtil_RowRanges KilnUtil_RowsGone(qsizetype rows, ShownID shownID, qsizetype count,
                                                   ListedID listedID)
{
    qsizetype position = 0;
    return KilnUtil_RowsWhere(rows, [&](int row) {
        const bool isThere = position < count && shownID(row) == listedID(position);
        if (isThere)
            ++position;
        return !isThere;
    });
}

/// How many rows they are.
[[nodiscard]] inline qsizetype KilnUtil_CountOf(const KilnUtil_RowRanges &ranges)
{
    qsizetype count = 0;
    for (const KilnUtil_RowRange &range : ranges)
        count += range.Count();
    return count;
}

/// Removes the rows in one walk through the list.
template <typename T>
void KilnUtil_RemoveRows(QList<T> &rows, const KilnUtil_RowRanges &ranges)
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
