// SPDX-License-Identifier: MIT
#pragma once

#include <QList>

class QAction;
class QWidget;
class Taskmill_Destinations;
class Taskmill_TabMenu;
struct Taskmill_JobRecord;

/// The entries of a tab's menu that hold jobs and release them.
class Taskmill_HoldEntries
{
public:
    /// Adds them, each as far as it can be chosen for these jobs. The destinations outlive this.
    Taskmill_HoldEntries(Taskmill_TabMenu &menu, Taskmill_Destinations &destinations,
                         const QList<int> &jobIDs);

    /// Does what was chosen; false when it is not one of these.
    bool Act(const QAction &chosen, QWidget &parent) const;

private:
    [[nodiscard]] const Taskmill_JobRecord *Waiting(int jobID) const;
    void AskWhen(QWidget &parent) const;

    Taskmill_Destinations &m_destinations;
    QList<int> m_jobIDs; ///< those that wait
    QAction *m_hold;
    QAction *m_release;
    QAction *m_later;
};
