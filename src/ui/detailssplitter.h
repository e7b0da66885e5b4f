// SPDX-License-Identifier: MIT
#pragma once

#include <QPointer>
#include <QSplitter>
#include <QTimer>

class Taskmill_DetailsPane;
class Taskmill_DetailsSwitch;
class Taskmill_JobResults;
class Taskmill_TabWithJobs;

/// The content of a tab with a table of jobs: the tab's own page above, the details beneath while they are
/// switched on.
class Taskmill_DetailsSplitter final : public QSplitter
{
    Q_OBJECT

public:
    /// All of them outlive this, but not the tab's page, which becomes a part of it. See
    /// Taskmill_DetailsPane.
    Taskmill_DetailsSplitter(QWidget *parent, const Taskmill_TabWithJobs &tab,
                             const Taskmill_TabWithJobs &ended, Taskmill_JobResults &results,
                             Taskmill_DetailsSwitch &detailsSwitch);

    /// Null until they are first shown.
    [[nodiscard]] Taskmill_DetailsPane *Pane() const { return m_pane; }

protected:
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void ShowPane();
    void HidePane();
    void MakePane();
    void ApplyShare();

    const Taskmill_TabWithJobs &m_tab;
    const Taskmill_TabWithJobs &m_ended;
    Taskmill_JobResults &m_results;
    Taskmill_DetailsSwitch &m_switch;
    Taskmill_DetailsPane *m_pane = nullptr;
    QTimer m_saveTimer; ///< a drag changes the share many times
};
