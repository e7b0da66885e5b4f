// SPDX-License-Identifier: MIT
#pragma once

#include <QMenu>
#include <QString>

#include <functional>

class QAbstractItemView;
class QPoint;

/// The menu that a tab offers for its rows. The context menu of its table shows all of it, the menu bar shows
/// the entries about jobs and those about the queue apart. It lives for one showing.
class Taskmill_TabMenu
{
public:
    /// Runs after the menu has gone: whatever was looked up before may be gone, too.
    using Act = std::function<void(const QAction &entry)>;

    /// Adds its entries to these menus, which own them.
    Taskmill_TabMenu(QMenu &jobs, QMenu &queue);
    virtual ~Taskmill_TabMenu() = default;
    Q_DISABLE_COPY_MOVE(Taskmill_TabMenu)

    /// About jobs, or whatever the rows of the tab are.
    QAction *AddEntry(const QString &text, bool enabled = true);
    /// About the queue as a whole.
    QAction *AddQueueEntry(const QString &text);
    /// The entries that follow, about jobs, stand in a menu of that name, until the next text, or an empty
    /// one.
    void SetSubmenu(const QString &text);
    /// Behind the last entry.
    void AddSeparator() { m_last->addSeparator(); }
    /// The entry "Help", which opens that page of the manual by itself. The menu bar has its own.
    virtual void AddHelp(const QString &helpId) = 0;

    void WhenChosen(Act act) { m_act = std::move(act); }
    /// The entry may be one of another menu, "Help", or none at all.
    void Choose(const QAction *entry) const;

protected:
    [[nodiscard]] QMenu &LastMenu() const { return *m_last; }

private:
    QMenu &m_jobs;
    QMenu &m_queue;
    QMenu *m_last;
    QMenu *m_submenu = nullptr;
    QList<const QAction *> m_entries;
    Act m_act;
};

/// A tab that has such a menu, and a table.
class Taskmill_TabWithMenu
{
public:
    Taskmill_TabWithMenu() = default;
    virtual ~Taskmill_TabWithMenu() = default;
    Q_DISABLE_COPY_MOVE(Taskmill_TabWithMenu)

    /// Adds what can be done with the current and the selected rows now.
    virtual void FillMenu(Taskmill_TabMenu &menu) = 0;
    /// Of its page of the manual.
    [[nodiscard]] virtual QString HelpId() const = 0;
    /// Adds what shows and hides the columns of the table.
    virtual void FillColumnsMenu(QMenu &menu) = 0;
    /// The line in which the user says which rows are shown; without effect in a tab that has none.
    [[nodiscard]] virtual bool HasFilter() const { return false; }
    virtual void OpenFilter() {}
};
