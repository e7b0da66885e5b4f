// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QtGlobal>

#include <optional>

struct Taskmill_JobRecord;

/// Where jobs of a queue are moved to among those that wait.
enum class Taskmill_Move
{
    Up,
    Down,
    Top,
    Bottom
};

/// The move of a word in commands and requests, such as "up", in any case.
[[nodiscard]] std::optional<Taskmill_Move> Taskmill_MoveFromWord(const QString &word);

/// Places of so many waiting jobs in their new order, each given as the place that it has now. Those marked
/// keep their order among each other; with Up and Down each goes past one that is not marked, unless it
/// stands at the end already, or behind another one that does.
[[nodiscard]] QList<qsizetype> Taskmill_MovedPlaces(const QList<bool> &isMarked, Taskmill_Move move);
/// The same, where the marked ones are to stand together before the one at that place; at the end for the
/// number of jobs.
[[nodiscard]] QList<qsizetype> Taskmill_PlacesBefore(const QList<bool> &isMarked, qsizetype before);

/// By what the waiting jobs of a queue are ordered, where some of them have been moved: a number for each,
/// which rises with the place. A job that was never moved has that of its job number.
class Taskmill_OrderNumber
{
public:
    /// Between the numbers of two jobs that were submitted one after the other.
    static constexpr qint64 Step = 1 << 20;
    /// Beyond the last job: there must be room for many before the next one is submitted.
    static constexpr qint64 StepAtEnd = 1 << 10;

    [[nodiscard]] static qint64 OfJobID(qint32 jobID) { return jobID * Step; }
    /// What the jobs of a new order get, from the first to the last: those that were moved, and as few others
    /// as it takes for the numbers to rise.
    [[nodiscard]] static QList<qint64> Renumbered(QList<qint64> numbers, const QList<bool> &isMoved);
};

/// The jobs of a queue, as its table has them, in the order in which they wait.
[[nodiscard]] QList<Taskmill_JobRecord> Taskmill_InWaitingOrder(QList<Taskmill_JobRecord> jobs);
