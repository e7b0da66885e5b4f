// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QObject>

#include <memory>

class QAction;
class QMenu;
class Taskmill_TabMenu;
class Taskmill_TabWithMenu;

/// The menus "Jobs" and "Queue", which show what the context menu of the current tab offers.
class Taskmill_TabMenus final : public QObject
{
    Q_OBJECT

public:
    /// The menus belong to the window; what they hold already stays first. Each is filled when it opens.
    Taskmill_TabMenus(QMenu &jobs, QMenu &queue, QObject *parent);
    ~Taskmill_TabMenus() override;
    Q_DISABLE_COPY_MOVE(Taskmill_TabMenus)

    /// The tab that has come to the front, which outlives this; the second menu cannot be opened when it has
    /// nothing for it.
    void ShowThoseOf(Taskmill_TabWithMenu &tab, bool hasQueue);

private:
    class BarMenu;

    void Fill();
    static void AddKeys(const QMenu &menu);

    QMenu &m_jobs;
    QMenu &m_queue;
    const qsizetype m_ownEntries; ///< of the first menu
    Taskmill_TabWithMenu *m_tab = nullptr;
    std::unique_ptr<BarMenu> m_menu; ///< as it was filled last
};
