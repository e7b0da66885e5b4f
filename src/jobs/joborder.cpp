// SPDX-License-Identifier: MIT
#include "jobs/joborder.h"

#include "jobs/jobrecord.h"

#include <QString>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {
struct Word
{
    QLatin1StringView text;
    Taskmill_Move move;
};

constexpr std::array words{Word{"up"_L1, Taskmill_Move::Up}, Word{"down"_L1, Taskmill_Move::Down},
                           Word{"top"_L1, Taskmill_Move::Top}, Word{"bottom"_L1, Taskmill_Move::Bottom}};

/// The places from the first on, or from the last.
QList<qsizetype> Places(qsizetype count, bool fromLast)
{
    QList<qsizetype> places(count);
    for (qsizetype place = 0; place < count; ++place)
        places[place] = fromLast ? count - 1 - place : place;
    return places;
}

/// Each marked one goes past the one before it that is not.
void MoveOneOn(QList<qsizetype> &places, const QList<bool> &isMarked)
{
    for (qsizetype at = 1; at < places.size(); ++at) {
        if (isMarked[places[at]] && !isMarked[places[at - 1]])
            places.swapItemsAt(at, at - 1);
    }
}

/// Gives those from the first up to the end, which is not included, numbers between those of their
/// neighbours.
void NumberBetween(QList<qint64> &numbers, qsizetype first, qsizetype end)
{
    const qint64 count = end - first;
    const bool isFirst = first == 0;
    const bool isLast = end == numbers.size();
    qint64 step = isLast ? Taskmill_OrderNumber::StepAtEnd : Taskmill_OrderNumber::Step;
    if (!isFirst && !isLast)
        step = (numbers[end] - numbers[first - 1]) / (count + 1);
    const qint64 behind = isLast ? 0 : numbers[end];
    qint64 number = isFirst ? behind - step * (count + 1) : numbers[first - 1];
    for (qsizetype place = first; place < end; ++place)
        numbers[place] = number += step;
}
} // namespace

std::optional<Taskmill_Move> Taskmill_MoveFromWord(const QString &word)
{
    const auto *const found = std::ranges::find_if(
        words, [&word](const Word &one) { return word.compare(one.text, Qt::CaseInsensitive) == 0; });
    return found == words.end() ? std::nullopt : std::optional{found->move};
}

QList<qsizetype> Taskmill_MovedPlaces(const QList<bool> &isMarked, Taskmill_Move move)
{
    const bool goesDown = move == Taskmill_Move::Down || move == Taskmill_Move::Bottom;
    QList<qsizetype> places = Places(isMarked.size(), goesDown);
    if (move == Taskmill_Move::Up || move == Taskmill_Move::Down)
        MoveOneOn(places, isMarked);
    else
        std::stable_partition(places.begin(), places.end(),
                              [&isMarked](qsizetype place) { return isMarked[place]; });
    if (goesDown)
        std::ranges::reverse(places);
    return places;
}

QList<qsizetype> Taskmill_PlacesBefore(const QList<bool> &isMarked, qsizetype before)
{
    QList<qsizetype> places = Places(isMarked.size(), false);
    const auto middle = places.begin() + std::clamp<qsizetype>(before, 0, places.size());
    std::stable_partition(places.begin(), middle, [&isMarked](qsizetype place) { return !isMarked[place]; });
    std::stable_partition(middle, places.end(), [&isMarked](qsizetype place) { return isMarked[place]; });
    return places;
}

QList<qint64> Taskmill_OrderNumber::Renumbered(QList<qint64> numbers, const QList<bool> &isMoved)
{
    const qsizetype count = numbers.size();
    for (qsizetype first = 0; first < count; ++first) {
        const auto isBehind = [&](qsizetype place, qint64 distance) {
            return first == 0 || numbers[place] - numbers[first - 1] > distance;
        };
        if (!isMoved[first] && isBehind(first, 0))
            continue;
        // Those that are to be numbered, and as many behind them as there is little room for otherwise: the
        // more are numbered anew, the more room they get, so that it is long until the next time.
        qsizetype end = first + 1;
        const auto lacksRoom = [&] {
            const qint64 wanted = end - first + 1;
            return isMoved[end] || !isBehind(end, 4 * wanted * wanted);
        };
        while (end < count && lacksRoom())
            ++end;
        NumberBetween(numbers, first, end);
        first = end - 1;
    }
    return numbers;
}

QList<Taskmill_JobRecord> Taskmill_InWaitingOrder(QList<Taskmill_JobRecord> jobs)
{
    // As long as none was moved the order is that of the table.
    if (std::ranges::any_of(jobs, [](const Taskmill_JobRecord &job) { return job.Place.has_value(); }))
        std::ranges::stable_sort(jobs, {}, &Taskmill_JobRecord::OrderNumber);
    return jobs;
}
