// SPDX-License-Identifier: MIT
#include "ui/queuetab.h"

#include "jobs/job.h"
#include "jobs/jobqueue.h"
#include "jobs/queuelessjobslist.h"
#include "kilnutil/error.h"
#include "manager/exportdialogue.h"
#include "manager/jobexport.h"
#include "manager/listings.h"
#include "manager/queueowner.h"
#include "processes/process.h"
#include "ui/contextmenu.h"
#include "ui/elapsedticker.h"
#include "ui/filterbar.h"
#include "ui/holdentries.h"
#include "ui/jobentries.h"
#include "ui/jobsmodel.h"
#include "ui/jobviewers.h"
#include "ui/orderentries.h"
#include "ui/queuepausedbar.h"
#include "ui/tablefiller.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

/// The entries of the menu that has been shown; the last two are absent where there is no limit.
struct Taskmill_QueueTab::Entries
{
    const QAction *remove = nullptr;
    QAction *showInputFile = nullptr;
    QAction *streamOutputFile = nullptr;
    QAction *showLog = nullptr;
    QAction *streamLog = nullptr;
    const QAction *limit = nullptr;
    const QAction *pause = nullptr;
    const QAction *runAgain = nullptr; ///< there only

    Entries(Taskmill_TabMenu &menu, bool hasSelection, bool hasCurrentJob)
        : remove{menu.AddEntry(u"Remove"_s, hasSelection)}
        , showInputFile{menu.AddEntry(u"Show Input File"_s, hasCurrentJob)}
        , streamOutputFile{menu.AddEntry(u"Stream Output File"_s, hasCurrentJob)}
        , showLog{menu.AddEntry(u"Show stdout and stderr"_s, hasCurrentJob)}
        , streamLog{menu.AddEntry(u"Stream stdout and stderr"_s, hasCurrentJob)}
    {
        menu.AddSeparator();
    }

    void AddThoseOf(const Taskmill_JobQueue &queue, Taskmill_TabMenu &menu)
    {
        limit = menu.AddQueueEntry(
            u"Maximum Number of Running Jobs Allowed (Currently %1)..."_s.arg(queue.MaxRunningJobs()));
        menu.AddSeparator();
        pause = menu.AddQueueEntry(queue.IsPaused() ? u"Unpause Queue"_s : u"Pause Queue"_s);
        menu.AddSeparator();
    }

    void AddRunAgain(bool anyHeld, Taskmill_TabMenu &menu)
    {
        runAgain = menu.AddEntry(u"Run &Again"_s, anyHeld);
        menu.AddSeparator();
    }

    /// Nothing that would show nothing can be chosen.
    void Refine(const Taskmill_Job &job, QObject &page) const
    {
        Taskmill_JobViewers::DisableWithoutFile(page, {{showInputFile, job.Record().InputFilePath},
                                                       {streamOutputFile, job.Record().OutputFilePath()}});
        if (!job.HasOutput()) {
            showLog->setEnabled(false);
            streamLog->setEnabled(false);
        }
    }
};

Taskmill_QueueTab::Taskmill_QueueTab(QWidget *parent, Taskmill_Destinations &destinations,
                                     Taskmill_QueueOwner &owner, const QString &name, QString helpId)
    : m_destinations{destinations}
    , m_owner{owner}
    , m_helpId{std::move(helpId)}
    , m_queue{owner.Queue()}
    , m_frame{parent}
    , m_model{new Taskmill_JobsModel{owner.Jobs(), this}}
{
    BuildPage(name);
    FillTable();
    connect(&owner, &Taskmill_QueueOwner::JobsChangedSignal, this, &Taskmill_QueueTab::JobsChangedSlot);
}

Taskmill_QueueTab::~Taskmill_QueueTab() = default;

void Taskmill_QueueTab::BuildPage(const QString &name)
{
    m_table = new KilnUtil_MovableRowsTable{m_frame};
    auto *layout = m_frame.MakeLayout();
    m_filter = new Taskmill_FilterBar{
        *m_table, *m_model,
        u"No job is here.\nDrop input files to submit them, or press \"Submit Jobs...\"."_s, m_frame};
    layout->addWidget(m_filter);
    layout->addWidget(m_table);
    if (m_queue) {
        // Beneath the table, whose rows stay under the pointer when it goes.
        m_pausedBar = new Taskmill_QueuePausedBar{m_frame};
        m_pausedBar->Say(Taskmill_QueueRest::None);
        connect(m_pausedBar, &Taskmill_QueuePausedBar::UnpauseSignal, this, [this] { SetPaused(false); });
        layout->addWidget(m_pausedBar);
    }
    m_frame->setFocusProxy(m_table);
    m_ticker = new Taskmill_ElapsedTicker{m_frame, *m_table, *m_model};
    m_filler = new Taskmill_TableFiller{m_frame, [this] {
                                            m_table->ChangeRows([this] { m_model->Refresh(); });
                                            m_ticker->Check();
                                            UpdatePaused();
                                        }};
    BuildTable(name);
}

void Taskmill_QueueTab::BuildTable(const QString &name)
{
    m_table->setAccessibleName(m_owner.ListName());
    m_table->SetAcceptsFiles(true);
    m_table->SetSourceModel(m_model);
    const auto &columns = Taskmill_Listings::QueueTable();
    m_table->SetColumnHints(columns.Widths());
    m_table->SetColumnsAtFirst(columns.HiddenColumns(), columns.MovedColumns());
    m_table->SetElasticColumns(columns.LeastWidths());
    m_table->RememberColumns(name);
    connect(m_table, &KilnUtil_TableWidget::cellDoubleClicked, this,
            &Taskmill_QueueTab::CellDoubleClickedSlot);
    connect(m_table, &QWidget::customContextMenuRequested, this, &Taskmill_QueueTab::ContextMenuSlot);
    connect(m_table, &KilnUtil_TableWidget::DropSignal, this, &Taskmill_QueueTab::FilesDroppedSlot);
    connect(m_table, &KilnUtil_TableWidget::RemoveRequestedSignal, this, &Taskmill_QueueTab::RemoveSlot);
    if (m_queue)
        LetRowsBeMoved();
}

void Taskmill_QueueTab::LetRowsBeMoved()
{
    m_order = std::make_unique<Taskmill_OrderEntries>(*m_table, m_owner);
    m_table->SetMovesRows([this] { return m_order->WhyRowsStay(); });
    connect(m_table, &KilnUtil_MovableRowsTable::RowsMovedSignal, this, [this](int before) {
        const int beforeJobID = m_model->JobIDAt(m_table->PositionAt(before));
        m_order->MoveBefore(JobIDsOfRows(m_table->SelectedRows()), beforeJobID);
        FillTable();
    });
    connect(m_table, &KilnUtil_MovableRowsTable::MoveKeyPressedSignal, this, [this](int key) {
        FillTable();
        m_order->Move(JobIDsOfRows(m_table->SelectedRows()), Taskmill_OrderEntries::MoveOfKey(key));
        FillTable();
        m_table->scrollTo(m_table->currentIndex());
    });
}

void Taskmill_QueueTab::FillTable()
{
    if (m_frame)
        m_filler->FillNow();
}

void Taskmill_QueueTab::JobsChangedSlot()
{
    if (!m_frame)
        return;
    UpdatePaused();
    m_filler->FillSoon();
}

void Taskmill_QueueTab::UpdatePaused()
{
    if (!m_queue)
        return;
    Taskmill_QueueRest rest = Taskmill_QueueRest::None;
    if (m_queue->IsPaused())
        rest = Taskmill_QueueRest::Paused;
    else if (!m_queue->MayStartAny())
        rest = Taskmill_QueueRest::Quiet;
    else if (m_queue->IsToPause())
        rest = Taskmill_QueueRest::ToPause;
    const Taskmill_QueueRest before = std::exchange(m_shownRest, rest);
    if (before == rest)
        return;
    m_pausedBar->Say(rest);
    if ((before == Taskmill_QueueRest::Paused) != (rest == Taskmill_QueueRest::Paused))
        Q_EMIT PausedChangedSignal(m_queue->IsPaused());
}

void Taskmill_QueueTab::SetPaused(bool paused)
{
    m_queue->SetPaused(paused);
    FillTable();
}

KilnUtil_TableWidget &Taskmill_QueueTab::JobTable() const
{
    return *m_table;
}

Taskmill_Job *Taskmill_QueueTab::JobOf(int jobID) const
{
    return jobID == -1 ? nullptr : m_owner.Jobs().FindByJobID(jobID);
}

const Taskmill_JobRecord *Taskmill_QueueTab::RecordOf(int jobID) const
{
    const Taskmill_Job *job = JobOf(jobID);
    return job ? &job->Record() : nullptr;
}

QList<int> Taskmill_QueueTab::JobIDsOfRows(const QList<int> &rows) const
{
    QList<int> positions;
    for (const int row : rows)
        positions.append(m_table->PositionAt(row));
    return m_model->JobIDsAt(positions);
}

bool Taskmill_QueueTab::AnyHeld(const QList<int> &jobIDs) const
{
    return std::ranges::any_of(jobIDs, [this](int jobID) {
        const Taskmill_Job *job = JobOf(jobID);
        return job && job->IsHeld();
    });
}

void Taskmill_QueueTab::ContextMenuSlot(const QPoint &position)
{
    // Where the pointer is at the click; the rows may move at once.
    const QPersistentModelIndex clicked = m_table->ClickedCell(position);
    FillTable();
    Taskmill_ContextMenu menu{*m_table};
    AddEntries(menu, JobIDsOfRows(m_table->SelectedRowsWith(clicked)));
    menu.Run(position);
}

void Taskmill_QueueTab::FillColumnsMenu(QMenu &menu)
{
    m_table->FillColumnsMenu(menu);
}

void Taskmill_QueueTab::OpenFilter()
{
    m_filter->Open();
}

void Taskmill_QueueTab::FillMenu(Taskmill_TabMenu &menu)
{
    FillTable();
    AddEntries(menu, JobIDsOfRows(m_table->SelectedRows()));
}

void Taskmill_QueueTab::AddEntries(Taskmill_TabMenu &menu, const QList<int> &selection)
{
    // By number, as the list may change while the menu is open.
    const int currentJobID = m_model->JobIDAt(m_table->CurrentPosition());
    const Taskmill_Job *currentJob = JobOf(currentJobID);
    Entries entries{menu, !selection.isEmpty(), currentJob != nullptr};
    if (m_queue)
        entries.AddThoseOf(*m_queue, menu);
    if (m_owner.List() || AnyHeld(selection))
        entries.AddRunAgain(AnyHeld(selection), menu);
    menu.AddHelp(m_helpId);
    if (currentJob)
        entries.Refine(*currentJob, *m_frame);
    menu.AddSeparator();
    const Taskmill_JobEntries jobEntries{
        menu, {.count = selection.size(), .at = [this, selection](qsizetype place) {
                   return RecordOf(selection[place]);
               }}};
    const QAction *exporting = menu.AddEntry(u"&Export..."_s, m_table->model()->rowCount() > 0);
    menu.AddSeparator();
    if (m_order)
        m_order->Add(menu, selection);
    const Taskmill_HoldEntries hold{menu, m_destinations, selection};
    menu.AddSeparator();
    QAction *pauseLater =
        m_queue ? menu.AddQueueEntry(u"Pause &When the Current Jobs Have Ended"_s) : nullptr;
    if (pauseLater)
        pauseLater->setEnabled(!m_queue->IsPaused() && !m_queue->IsToPause());
    menu.WhenChosen([this, entries, jobEntries, exporting, hold, pauseLater, selection,
                     currentJobID](const QAction &chosen) {
        if (&chosen == exporting)
            Export();
        else if (&chosen == pauseLater)
            m_queue->PauseWhenJobsHaveEnded();
        else if (hold.Act(chosen, *m_frame) || (m_order && m_order->Act(chosen, selection)))
            FillTable();
        else if (!jobEntries.Act(chosen))
            Act(entries, chosen, selection, currentJobID);
        FillTable();
    });
}

void Taskmill_QueueTab::Act(const Entries &entries, const QAction &chosen, const QList<int> &selection,
                            int currentJobID)
{
    if (&chosen == entries.remove)
        m_owner.RemoveSelectedJobs(selection);
    else if (&chosen == entries.limit)
        AskForLimit();
    else if (&chosen == entries.pause)
        SetPaused(!m_queue->IsPaused());
    else if (entries.runAgain && &chosen == entries.runAgain)
        m_owner.Jobs().Release(selection);
    else if (const Taskmill_Job *job = JobOf(currentJobID))
        View(entries, chosen, *job);
}

void Taskmill_QueueTab::View(const Entries &entries, const QAction &chosen, const Taskmill_Job &job)
{
    const Taskmill_JobRecord &record = job.Record();
    if (&chosen == entries.showInputFile)
        Taskmill_JobViewers::ShowInputFile(*m_frame, record.Name, record.InputFilePath);
    else if (&chosen == entries.streamOutputFile)
        Taskmill_JobViewers::StreamOutputFile(*m_frame, record.OutputFilePath(), job.Process());
    else if (&chosen == entries.showLog)
        Taskmill_JobViewers::ShowLog(*m_frame, record.Name, job.OutputNow(), record.Result);
    else if (&chosen == entries.streamLog && job.Process())
        Taskmill_JobViewers::StreamLog(*m_frame, record.Name, *job.Process());
}

/// The selected jobs or, when there are none, those that are shown.
void Taskmill_QueueTab::Export()
{
    const QList<int> rows = m_table->SelectedRows();
    const QList<int> jobIDs = JobIDsOfRows(rows.isEmpty() ? m_table->AllRows() : rows);
    Taskmill_ExportDialogue dialogue{jobIDs.size()};
    Taskmill_AskThroughPrompt(dialogue);
    if (dialogue.File().isEmpty())
        return;
    Taskmill_JobExport::Begin(
        dialogue.File(), jobIDs.size(), [this, jobIDs](qsizetype place) { return RecordOf(jobIDs[place]); },
        this);
}

void Taskmill_QueueTab::AskForLimit()
{
    const std::optional<int> limit = KilnUtil_Error::UserPrompt().AskNumber(
        u"Maximum Number of Running Jobs Allowed"_s,
        u"Enter Maximum Number of Running Jobs Allowed at a Time for the "_s + m_owner.ListName(),
        m_queue->MaxRunningJobs(), 1);
    const std::optional<QString> problem = limit && *limit > 0 ? m_owner.SetLimit(*limit) : std::nullopt;
    if (problem)
        KilnUtil_Error::ReportError(u"Maximum Number of Running Jobs Allowed"_s, *problem);
}

void Taskmill_QueueTab::RemoveSlot()
{
    FillTable();
    m_owner.RemoveSelectedJobs(JobIDsOfRows(m_table->SelectedRows()));
    FillTable();
}

void Taskmill_QueueTab::CellDoubleClickedSlot(int row, int column)
{
    const QModelIndex current = m_table->currentIndex();
    if (current.row() != row || current.column() != column)
        return;
    const Taskmill_Job *job = JobOf(m_model->JobIDAt(m_table->PositionAt(row)));
    if (!job)
        return;
    const Taskmill_JobRecord &record = job->Record();
    const bool isRunning = record.Status == Taskmill_JobStatus::Running;
    const bool hasOnlyOutputText = record.OutputFilePath().isEmpty();
    const auto showInput = [this, name = record.Name, path = record.InputFilePath] {
        Taskmill_JobViewers::ShowInputFile(*m_frame, name, path);
    };
    if (isRunning && !hasOnlyOutputText)
        Taskmill_JobViewers::StreamOutputFile(*m_frame, record.OutputFilePath(), job->Process(), showInput);
    else if (isRunning && job->Process())
        Taskmill_JobViewers::StreamLog(*m_frame, record.Name, *job->Process());
    else if (hasOnlyOutputText && job->HasOutput())
        Taskmill_JobViewers::ShowLog(*m_frame, record.Name, job->OutputNow(), record.Result);
    else
        showInput();
}

void Taskmill_QueueTab::FilesDroppedSlot(const QStringList &filePaths)
{
    Q_EMIT FilesDroppedSignal(filePaths, m_owner.Destination());
}

std::optional<Taskmill_ShownJob> Taskmill_QueueTab::CurrentJob() const
{
    const Taskmill_Job *job = m_frame ? JobOf(m_model->JobIDAt(m_table->CurrentPosition())) : nullptr;
    return job ? std::optional{Taskmill_ShownJob{.Record = job->Record(), .Process = job->Process()}}
               : std::nullopt;
}

void Taskmill_QueueTab::ViewOutput(const Taskmill_ShownJob &job) const
{
    const auto streamLog = [this, name = job.Record.Name, process = job.Process] {
        if (process)
            Taskmill_JobViewers::StreamLog(*m_frame, name, *process);
    };
    Taskmill_JobViewers::StreamOutputFile(*m_frame, job.Record.OutputFilePath(), job.Process, streamLog);
}

void Taskmill_QueueTab::SetProgressText(const std::function<QString(int jobID)> &text)
{
    m_model->SetProgressText(text);
}

bool Taskmill_QueueTab::ChooseJob(int jobID)
{
    FillTable();
    if (!JobOf(jobID))
        return false;
    if (ChooseShownJob(jobID))
        return true;
    m_filter->Close();
    return ChooseShownJob(jobID);
}

bool Taskmill_QueueTab::ChooseShownJob(int jobID)
{
    for (int row = 0; row < m_table->model()->rowCount(); ++row) {
        if (m_model->JobIDAt(m_table->PositionAt(row)) != jobID)
            continue;
        m_table->selectRow(row);
        m_table->scrollTo(m_table->model()->index(row, 0));
        m_table->setFocus();
        return true;
    }
    return false;
}
