// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/joborder.h"

#include <QList>

#include <utility>

class KilnUtil_MovableRowsTable;
class QAction;
class Taskmill_QueueOwner;
class Taskmill_TabMenu;

/// How the user moves the jobs of a queue that wait: entries of the menu, keys, and rows that are dragged.
class Taskmill_OrderEntries
{
public:
    /// Both outlive this.
    Taskmill_OrderEntries(KilnUtil_MovableRowsTable &table, Taskmill_QueueOwner &owner);

    /// Adds the entries for the jobs in these rows.
    void Add(Taskmill_TabMenu &menu, const QList<int> &jobIDs);
    /// Does what was chosen; false when it is not one of these.
    bool Act(const QAction &chosen, const QList<int> &jobIDs) const;

    /// See KilnUtil_MovableRowsTable::MoveKeyPressedSignal().
    [[nodiscard]] static Taskmill_Move MoveOfKey(int key);
    /// The rows show afterwards what was done, unless the user has sorted them by something else.
    void Move(const QList<int> &jobIDs, Taskmill_Move move) const;
    void MoveBefore(const QList<int> &jobIDs, int beforeJobID) const;
    /// Empty when rows can be dragged to another place in the queue.
    [[nodiscard]] QString WhyRowsStay() const;

private:
    [[nodiscard]] bool IsAnyWaiting(const QList<int> &jobIDs) const;
    void ShowOrder() const;

    KilnUtil_MovableRowsTable &m_table;
    Taskmill_QueueOwner &m_owner;
    QList<std::pair<const QAction *, Taskmill_Move>> m_moves; ///< of the menu that was shown last
    const QAction *m_showOrder = nullptr;
};
