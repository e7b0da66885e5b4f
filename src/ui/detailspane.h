// SPDX-License-Identifier: MIT
#pragma once

#include "ui/shownjob.h"

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>

class QLabel;
class QStackedLayout;
class QTabWidget;
class Taskmill_DetailsPage;
class Taskmill_DetailsSwitch;
class Taskmill_JobResults;

/// Shows the job of a table's current row, on four pages. It follows the table some ten times a second at
/// most, and while it is seen.
class Taskmill_DetailsPane final : public QWidget
{
    Q_OBJECT

public:
    /// All of them outlive this. A job that leaves the tab for the one of the ended jobs stays shown until
    /// another row is chosen.
    Taskmill_DetailsPane(QWidget *parent, const Taskmill_TabWithJobs &tab, const Taskmill_TabWithJobs &ended,
                         Taskmill_JobResults &results, Taskmill_DetailsSwitch &detailsSwitch);

    /// The job that is shown; nothing when there is none.
    [[nodiscard]] const std::optional<Taskmill_ShownJob> &Job() const { return m_job; }
    [[nodiscard]] QTabWidget &Pages() const { return *m_pages; }
    /// What the Tab key reaches: the tabs, what the pages hold, and the button that hides the details.
    [[nodiscard]] QWidgetList TabOrder() const;

public Q_SLOTS:
    /// The current row, or what is known of its job, is another.
    void UpdateSoonSlot();
    void UpdateSlot();

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void AddPage(Taskmill_DetailsPage *page, const QString &label);
    void MakePages(Taskmill_JobResults &results);
    void FollowTable();
    void PageChangedSlot();
    [[nodiscard]] Taskmill_DetailsPage *CurrentPage() const;
    [[nodiscard]] std::optional<Taskmill_ShownJob> JobToShow() const;
    void ViewOutput() const;

    const Taskmill_TabWithJobs &m_tab;
    const Taskmill_TabWithJobs &m_ended;
    Taskmill_DetailsSwitch &m_switch;
    QStackedLayout *m_layout;
    QLabel *m_empty;
    QTabWidget *m_pages;
    QList<Taskmill_DetailsPage *> m_parts; ///< of it
    std::optional<Taskmill_ShownJob> m_job;
    QTimer m_soon;
    QTimer m_clock; ///< while the job runs
    QElapsedTimer m_sinceUpdate;
};
