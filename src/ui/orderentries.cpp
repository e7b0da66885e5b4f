// SPDX-License-Identifier: MIT
#include "ui/orderentries.h"

#include "kilnutil/error.h"
#include "manager/queueowner.h"
#include "ui/tabmenu.h"
#include "widgets/movablerowstable.h"
#include "widgets/rowsource.h"
#include "widgets/tablesortproxy.h"

#include <QHeaderView>
#include <QKeySequence>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {
struct Entry
{
    QLatin1StringView text;
    Taskmill_Move move;
    int key;
};

constexpr std::array entries{Entry{"&Up"_L1, Taskmill_Move::Up, Qt::Key_Up},
                             Entry{"&Down"_L1, Taskmill_Move::Down, Qt::Key_Down},
                             Entry{"To the &Top"_L1, Taskmill_Move::Top, Qt::Key_Home},
                             Entry{"To the &Bottom"_L1, Taskmill_Move::Bottom, Qt::Key_End}};

void Report(const std::optional<QString> &problem)
{
    if (problem)
        KilnUtil_Error::ReportError(u"Moving Jobs"_s, *problem);
}
} // namespace

Taskmill_OrderEntries::Taskmill_OrderEntries(KilnUtil_MovableRowsTable &table, Taskmill_QueueOwner &owner)
    : m_table{table}
    , m_owner{owner}
{
}

Taskmill_Move Taskmill_OrderEntries::MoveOfKey(int key)
{
    return std::ranges::find(entries, key, &Entry::key)->move;
}

bool Taskmill_OrderEntries::IsAnyWaiting(const QList<int> &jobIDs) const
{
    return std::ranges::any_of(jobIDs, [this](int jobID) {
        const Taskmill_Job *job = m_owner.Jobs().FindByJobID(jobID);
        return job && job->Status() == Taskmill_JobStatus::Pending;
    });
}

void Taskmill_OrderEntries::Add(Taskmill_TabMenu &menu, const QList<int> &jobIDs)
{
    m_moves.clear();
    const bool canMove = IsAnyWaiting(jobIDs);
    menu.SetSubmenu(u"Mo&ve"_s);
    for (const Entry &entry : entries) {
        QAction *action = menu.AddEntry(entry.text, canMove);
        // The keys are the table's, and are only shown here.
        action->setShortcut(QKeySequence{static_cast<int>(Qt::ALT) | entry.key});
        action->setShortcutContext(Qt::WidgetShortcut);
        m_moves.append({action, entry.move});
    }
    menu.AddSeparator();
    m_showOrder = menu.AddEntry(u"Show in the &Order of the Queue"_s, !m_table.IsInSourceOrder());
    menu.SetSubmenu({});
}

bool Taskmill_OrderEntries::Act(const QAction &chosen, const QList<int> &jobIDs) const
{
    if (&chosen == m_showOrder) {
        m_table.ShowSourceOrder();
        return true;
    }
    const auto move =
        std::ranges::find_if(m_moves, [&chosen](const auto &entry) { return entry.first == &chosen; });
    if (move == m_moves.end())
        return false;
    Move(jobIDs, move->second);
    return true;
}

void Taskmill_OrderEntries::Move(const QList<int> &jobIDs, Taskmill_Move move) const
{
    if (!IsAnyWaiting(jobIDs))
        return;
    Report(m_owner.Move(jobIDs, move));
    ShowOrder();
}

void Taskmill_OrderEntries::MoveBefore(const QList<int> &jobIDs, int beforeJobID) const
{
    Report(m_owner.MoveBefore(jobIDs, beforeJobID));
    ShowOrder();
}

/// Sorted by number, as at first, the rows stand in the order of the queue until the first move.
void Taskmill_OrderEntries::ShowOrder() const
{
    const QHeaderView &header = *m_table.horizontalHeader();
    if (header.sortIndicatorSection() == 0 && header.sortIndicatorOrder() == Qt::AscendingOrder)
        m_table.ShowSourceOrder();
}

QString Taskmill_OrderEntries::WhyRowsStay() const
{
    if (const auto *source = dynamic_cast<const KilnUtil_RowSource *>(m_table.Rows().sourceModel());
        source && source->HasFilter())
        return u"Jobs cannot be dragged while a filter hides some of them."_s;
    if (!m_table.IsInSourceOrder())
        return u"Jobs cannot be dragged while the table is sorted by a column. \"Show in the Order of the Queue\" in the menu Move changes that."_s;
    return {};
}
