#pragma once

#include "service/queueowner.h"
#include "ui/queuetab.h"

#include <memory>

/// The three queue tabs: each owns its jobs and, in graphical modes, the page that shows them. The parent of
/// the page plays no part in console modes.
class Taskmill_LongJobsQueueWidget final : public Taskmill_LongJobsOwner
{
    Q_OBJECT

public:
    Taskmill_LongJobsQueueWidget(QWidget *parent, Taskmill_JobStore &store,
                                 Taskmill_FinishedJobs &finishedJobs, Taskmill_ProcessInspector &inspector);

    /// nullptr in console modes.
    [[nodiscard]] Taskmill_QueueTab *Tab() const { return m_tab.get(); }

private:
    std::unique_ptr<Taskmill_QueueTab> m_tab;
};

class Taskmill_ShortJobsQueueWidget final : public Taskmill_ShortJobsOwner
{
    Q_OBJECT

public:
    Taskmill_ShortJobsQueueWidget(QWidget *parent, Taskmill_JobStore &store,
                                  Taskmill_FinishedJobs &finishedJobs, Taskmill_ProcessInspector &inspector);

    /// nullptr in console modes.
    [[nodiscard]] Taskmill_QueueTab *Tab() const { return m_tab.get(); }

private:
    std::unique_ptr<Taskmill_QueueTab> m_tab;
};

class Taskmill_QueuelessJobsWidget final : public Taskmill_QueuelessJobsOwner
{
    Q_OBJECT

public:
    Taskmill_QueuelessJobsWidget(QWidget *parent, Taskmill_FinishedJobs &finishedJobs,
                                 Taskmill_ProcessInspector &inspector);

    /// nullptr in console modes.
    [[nodiscard]] Taskmill_QueueTab *Tab() const { return m_tab.get(); }

private:
    std::unique_ptr<Taskmill_QueueTab> m_tab;
};
