// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/destination.h"
#include "ui/pageframe.h"
#include "ui/shownjob.h"
#include "ui/tabmenu.h"
#include "widgets/movablerowstable.h"

#include <QObject>

#include <memory>

class KilnUtil_TableWidget;
class QAction;
class QModelIndex;
class QPoint;
class Taskmill_Destinations;
class Taskmill_ElapsedTicker;
class Taskmill_FilterBar;
class Taskmill_Job;
class Taskmill_JobQueue;
class Taskmill_JobsModel;
class Taskmill_OrderEntries;
class Taskmill_QueueOwner;
class Taskmill_QueuelessJobsList;
enum class Taskmill_QueueRest;
class Taskmill_QueuePausedBar;
class Taskmill_TableFiller;
struct Taskmill_JobRecord;

/// The visible half of the three queue tabs: the page with the table of the jobs, and what its menu, double
/// clicks and drops do.
class Taskmill_QueueTab : public QObject, public Taskmill_TabWithMenu, public Taskmill_TabWithJobs
{
    Q_OBJECT

public:
    ~Taskmill_QueueTab() override;
    Q_DISABLE_COPY_MOVE(Taskmill_QueueTab)

    [[nodiscard]] QFrame *Frame() const { return m_frame; }
    [[nodiscard]] KilnUtil_MovableRowsTable &Table() const { return *m_table; }

    /// Brings the table up to date at once.
    void FillTable();
    void FillMenu(Taskmill_TabMenu &menu) override;
    [[nodiscard]] QString HelpId() const override { return m_helpId; }
    void FillColumnsMenu(QMenu &menu) override;
    [[nodiscard]] bool HasFilter() const override { return true; }
    void OpenFilter() override;

    [[nodiscard]] std::optional<Taskmill_ShownJob> CurrentJob() const override;
    [[nodiscard]] KilnUtil_TableWidget &JobTable() const override;
    [[nodiscard]] QFrame *Page() const override { return m_frame; }
    void ViewOutput(const Taskmill_ShownJob &job) const override;
    /// Makes the job's row the current one, and shows it. False when the tab does not have the job.
    bool ChooseJob(int jobID);
    /// What the tool tip of a running job's status says; see Taskmill_JobTableModel.
    void SetProgressText(const std::function<QString(int jobID)> &text);

public Q_SLOTS:
    void FilesDroppedSlot(const QStringList &filePaths);
    void CellDoubleClickedSlot(int row, int column);
    void ContextMenuSlot(const QPoint &position);
    /// The Delete key: removes the selected jobs.
    void RemoveSlot();
    /// The jobs have changed: brings the table up to date soon.
    void JobsChangedSlot();

Q_SIGNALS:
    /// Files to be submitted to this tab's queue.
    void FilesDroppedSignal(const QStringList &filePaths, Taskmill_Destination destination);
    void PausedChangedSignal(bool paused);

protected:
    /// The destinations, with the owner of the jobs, outlive this. Makes the page as a child of the parent.
    /// The columns are remembered under the name.
    Taskmill_QueueTab(QWidget *parent, Taskmill_Destinations &destinations, Taskmill_QueueOwner &owner,
                      const QString &name, QString helpId);

private:
    bool ChooseShownJob(int jobID);
    struct Entries;

    void BuildPage(const QString &name);
    void BuildTable(const QString &name);
    void UpdatePaused();
    void SetPaused(bool paused);
    [[nodiscard]] Taskmill_Job *JobOf(int jobID) const;
    [[nodiscard]] const Taskmill_JobRecord *RecordOf(int jobID) const;
    [[nodiscard]] QList<int> JobIDsOfRows(const QList<int> &rows) const;
    [[nodiscard]] bool AnyHeld(const QList<int> &jobIDs) const;
    void AddEntries(Taskmill_TabMenu &menu, const QList<int> &selection);
    void Act(const Entries &entries, const QAction &chosen, const QList<int> &selection, int currentJobID);
    void Export();
    void View(const Entries &entries, const QAction &chosen, const Taskmill_Job &job);
    void AskForLimit();
    void LetRowsBeMoved();

    Taskmill_Destinations &m_destinations;
    Taskmill_QueueOwner &m_owner;
    const QString m_helpId;
    Taskmill_JobQueue *const m_queue; ///< nullptr for the list that has no limit and no pause
    Taskmill_PageFrame m_frame;
    KilnUtil_MovableRowsTable *m_table = nullptr;
    Taskmill_QueuePausedBar *m_pausedBar = nullptr;
    Taskmill_JobsModel *m_model;
    std::unique_ptr<Taskmill_OrderEntries> m_order; ///< nullptr where jobs have no order
    Taskmill_FilterBar *m_filter = nullptr;
    Taskmill_ElapsedTicker *m_ticker = nullptr;
    Taskmill_TableFiller *m_filler = nullptr;
    Taskmill_QueueRest m_shownRest{};
};
