// SPDX-License-Identifier: MIT
#pragma once

#include "ui/finishedjobsmodel.h"
#include "ui/pageframe.h"
#include "ui/shownjob.h"
#include "ui/tabmenu.h"

class KilnUtil_FileThread;
class KilnUtil_TableWidget;
class QAction;
class QPoint;
class Taskmill_FilterBar;
class Taskmill_FinishedJobs;
class Taskmill_FinishedSelection;
class Taskmill_JobSubmitter;
class Taskmill_TableFiller;
struct Taskmill_JobRecord;

/// The finished-jobs tab.
class Taskmill_FinishedJobsWidget final : public QObject,
                                          public Taskmill_TabWithMenu,
                                          public Taskmill_TabWithJobs
{
    Q_OBJECT

public:
    /// The list and the submitter outlive this; without a submitter no job runs again. Makes the page as a
    /// child of the parent.
    Taskmill_FinishedJobsWidget(QWidget *parent, Taskmill_FinishedJobs &finishedJobs,
                                Taskmill_JobSubmitter *submitter = nullptr);

    [[nodiscard]] QFrame *Frame() const { return m_frame; }
    [[nodiscard]] KilnUtil_TableWidget *Table() const { return m_table; }

    /// Brings the table up to date at once.
    void FillTable();
    /// Selects these jobs, as far as they are there, and shows the first of them. A filter that hides one is
    /// closed.
    void SelectJobs(const QList<int> &jobIDs);
    void FillMenu(Taskmill_TabMenu &menu) override;
    [[nodiscard]] QString HelpId() const override;
    void FillColumnsMenu(QMenu &menu) override;
    [[nodiscard]] bool HasFilter() const override { return true; }
    void OpenFilter() override;

    [[nodiscard]] std::optional<Taskmill_ShownJob> CurrentJob() const override;
    [[nodiscard]] std::optional<Taskmill_ShownJob> JobOfNumber(int jobID) const override;
    [[nodiscard]] KilnUtil_TableWidget &JobTable() const override { return *m_table; }
    [[nodiscard]] QFrame *Page() const override { return m_frame; }
    void ViewOutput(const Taskmill_ShownJob &job) const override;

public Q_SLOTS:
    void CellDoubleClickedSlot(int row, int column);
    void ContextMenuSlot(const QPoint &position);
    /// The Delete key: removes the selected jobs after a question, as the menu does.
    void RemoveSlot();
    /// The list has changed: brings the table up to date, soon when jobs have only been added.
    void JobsChangedSlot();

private:
    struct Entries;

    void BuildTable();
    /// See Taskmill_FinishedJobs::JobAt(); nullptr when there is no such job.
    [[nodiscard]] const Taskmill_JobRecord *JobAt(qsizetype position) const;
    [[nodiscard]] std::optional<Taskmill_ShownJob> ShownJobAt(qsizetype position) const;
    /// The positions are those that the menu is about.
    void AddEntries(Taskmill_TabMenu &menu, const QList<int> &positions);
    void Remove(const QList<int> &positions);
    void RunAgain(const Taskmill_FinishedSelection &jobs);
    void Export();
    void ShowLog(const Taskmill_JobRecord &job) const;
    void View(const Entries &entries, const QAction &chosen, int jobID);

    Taskmill_FinishedJobs &m_jobs;
    Taskmill_JobSubmitter *const m_submitter;
    Taskmill_PageFrame m_frame;
    KilnUtil_FileThread *m_logReader;
    KilnUtil_TableWidget *m_table = nullptr;
    Taskmill_FinishedJobsModel *m_model = nullptr;
    Taskmill_FilterBar *m_filter = nullptr;
    Taskmill_TableFiller *m_filler = nullptr;
    int m_shownGeneration = 0;
};
