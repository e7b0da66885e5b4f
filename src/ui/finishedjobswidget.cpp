// SPDX-License-Identifier: MIT
#include "ui/finishedjobswidget.h"

#include "kilnutil/filethread.h"
#include "manager/exportdialogue.h"
#include "manager/finishedjobs.h"
#include "manager/finishedremovaldialogue.h"
#include "manager/finishedselection.h"
#include "manager/jobexport.h"
#include "manager/listings.h"
#include "manager/runagaindialogue.h"
#include "ui/contextmenu.h"
#include "ui/filterbar.h"
#include "ui/jobentries.h"
#include "ui/jobviewers.h"
#include "ui/tablefiller.h"
#include "widgets/tablewidget.h"

#include <QAbstractProxyModel>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString helpId = u"taskmill/finishedjobs"_s;
const QString exportText = u"Export..."_s;
/// Of the event loop, for what as a rule is there at once.
constexpr std::chrono::milliseconds longestWait{8};
} // namespace

/// The entries of the menu that has been shown.
struct Taskmill_FinishedJobsWidget::Entries
{
    const QAction *remove;
    QAction *showInputFile;
    QAction *showOutputFile;
    QAction *showLog;
    QAction *runAgain;
    Taskmill_JobEntries ofJobs;
    const QAction *exporting;

    /// The last ones are about the jobs.
    Entries(Taskmill_TabMenu &menu, const std::shared_ptr<Taskmill_FinishedSelection> &jobs, bool canRunAgain)
        : remove{menu.AddEntry(u"Remove"_s)}
        , showInputFile{menu.AddEntry(u"Show Input File"_s)}
        , showOutputFile{menu.AddEntry(u"Show Output File"_s)}
        , showLog{menu.AddEntry(u"Show stdout and stderr"_s)}
        , runAgain{AddBehindHelp(menu, u"Run Again"_s,
                                 canRunAgain && jobs->Count() <= Taskmill_JobEntries::MostJobs)}
        , ofJobs{menu,
                 {.count = jobs->Count(),
                  .at =
                      [jobs](qsizetype place) {
                          return jobs->At(place);
                      }}}
        , exporting{menu.AddEntry(exportText)}
    {
    }

    static QAction *AddBehindHelp(Taskmill_TabMenu &menu, const QString &text, bool enabled)
    {
        menu.AddSeparator();
        menu.AddHelp(helpId);
        menu.AddSeparator();
        return menu.AddEntry(text, enabled);
    }
};

Taskmill_FinishedJobsWidget::Taskmill_FinishedJobsWidget(QWidget *parent, Taskmill_FinishedJobs &finishedJobs,
                                                         Taskmill_JobSubmitter *submitter)
    : m_jobs{finishedJobs}
    , m_submitter{submitter}
    , m_frame{parent}
    , m_logReader{new KilnUtil_FileThread{this}}
{
    BuildTable();
    FillTable();
    connect(&m_jobs, &Taskmill_FinishedJobs::JobsChangedSignal, this,
            &Taskmill_FinishedJobsWidget::JobsChangedSlot);
    connect(&m_jobs, &Taskmill_FinishedJobs::ResultKnownSignal, m_model,
            &Taskmill_FinishedJobsModel::UpdateJob);
}

void Taskmill_FinishedJobsWidget::BuildTable()
{
    m_model = new Taskmill_FinishedJobsModel{m_jobs, this};
    m_table = new KilnUtil_TableWidget{m_frame};
    m_table->setAccessibleName(u"Finished Jobs"_s);
    m_table->SetSourceModel(m_model);
    const auto &columns = Taskmill_Listings::FinishedJobsTable();
    m_table->SetColumnHints(columns.Widths());
    m_table->SetColumnsAtFirst(columns.HiddenColumns(), columns.MovedColumns());
    m_table->SetElasticColumns(columns.LeastWidths());
    m_table->RememberColumns(u"Finished_Jobs"_s);
    connect(m_table, &KilnUtil_TableWidget::cellDoubleClicked, this,
            &Taskmill_FinishedJobsWidget::CellDoubleClickedSlot);
    connect(m_table, &QWidget::customContextMenuRequested, this,
            &Taskmill_FinishedJobsWidget::ContextMenuSlot);
    connect(m_table, &KilnUtil_TableWidget::RemoveRequestedSignal, this,
            &Taskmill_FinishedJobsWidget::RemoveSlot);

    auto *layout = m_frame.MakeLayout();
    m_filter = new Taskmill_FilterBar{*m_table, *m_model, u"No job has finished yet."_s, m_frame};
    layout->addWidget(m_filter);
    layout->addWidget(m_table);
    m_frame->setFocusProxy(m_table);
    m_filler = new Taskmill_TableFiller{m_frame, [this] {
                                            m_shownGeneration = m_jobs.Generation();
                                            m_table->ChangeRows([this] { m_model->Refresh(); });
                                        }};
}

void Taskmill_FinishedJobsWidget::FillTable()
{
    if (m_frame)
        m_filler->FillNow();
}

void Taskmill_FinishedJobsWidget::SelectJobs(const QList<int> &jobIDs)
{
    FillTable();
    const auto &rows = *qobject_cast<const QAbstractProxyModel *>(m_table->model());
    QSet<int> wanted{jobIDs.begin(), jobIDs.end()};
    QItemSelection selection;
    QModelIndex first;
    // Those that have ended last stand at the end of the list.
    for (int position = m_model->rowCount() - 1; position >= 0 && !wanted.isEmpty(); --position) {
        if (position >= m_jobs.Count() || !wanted.remove(m_jobs.JobIDAt(position)))
            continue;
        if (!rows.mapFromSource(m_model->index(position, 0)).isValid()) {
            m_filter->Close();
            selection.clear();
            wanted = {jobIDs.begin(), jobIDs.end()};
            position = m_model->rowCount();
            continue;
        }
        const QModelIndex cell = rows.mapFromSource(m_model->index(position, 0));
        selection.select(cell, cell);
        if (!first.isValid() || cell.row() < first.row())
            first = cell;
    }
    m_table->selectionModel()->select(selection,
                                      QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    m_table->selectionModel()->setCurrentIndex(first, QItemSelectionModel::NoUpdate);
    m_table->scrollTo(first);
    m_table->setFocus();
}

void Taskmill_FinishedJobsWidget::JobsChangedSlot()
{
    if (!m_frame)
        return;
    if (m_shownGeneration != m_jobs.Generation())
        m_filler->FillNow();
    else
        m_filler->FillSoon();
}

const Taskmill_JobRecord *Taskmill_FinishedJobsWidget::JobAt(qsizetype position) const
{
    return position >= 0 && position < m_jobs.Count() ? &m_jobs.JobAt(position) : nullptr;
}

void Taskmill_FinishedJobsWidget::ContextMenuSlot(const QPoint &position)
{
    // Where the pointer is at the click; the rows may move at once.
    const QPersistentModelIndex clicked = m_table->ClickedCell(position);
    FillTable();
    if (!JobAt(m_table->CurrentPosition()))
        return;
    Taskmill_ContextMenu menu{*m_table};
    AddEntries(menu, m_table->PositionsOf(m_table->SelectedRowsWith(clicked)));
    menu.Run(position);
}

QString Taskmill_FinishedJobsWidget::HelpId() const
{
    return helpId;
}

void Taskmill_FinishedJobsWidget::FillMenu(Taskmill_TabMenu &menu)
{
    FillTable();
    AddEntries(menu, m_table->PositionsOfSelectedRows());
}

void Taskmill_FinishedJobsWidget::AddEntries(Taskmill_TabMenu &menu, const QList<int> &positions)
{
    const Taskmill_JobRecord *job = JobAt(m_table->CurrentPosition());
    if (!job && m_table->model()->rowCount() == 0)
        return;
    if (!job) {
        const QAction *exporting = menu.AddEntry(exportText);
        menu.WhenChosen([this, exporting](const QAction &chosen) {
            if (&chosen == exporting)
                Export();
        });
        return;
    }
    const auto selectedJobs = std::make_shared<Taskmill_FinishedSelection>(m_jobs, positions);
    const auto chosenJobs =
        positions.isEmpty()
            ? std::make_shared<Taskmill_FinishedSelection>(m_jobs, QList{m_table->CurrentPosition()})
            : selectedJobs;
    const Entries entries{menu, chosenJobs, m_submitter != nullptr};
    Taskmill_JobViewers::DisableWithoutFile(*m_frame, {{entries.showInputFile, job->InputFilePath},
                                                       {entries.showOutputFile, job->OutputFilePath()}});
    entries.showLog->setEnabled(m_jobs.HasOutput(*job));
    // By number, as the list may change while the menu is open.
    menu.WhenChosen([this, entries, selectedJobs, chosenJobs, jobID = job->JobID](const QAction &chosen) {
        if (&chosen == entries.remove)
            Remove(selectedJobs->Positions());
        else if (&chosen == entries.runAgain)
            RunAgain(*chosenJobs);
        else if (&chosen == entries.exporting)
            Export();
        else if (!entries.ofJobs.Act(chosen))
            View(entries, chosen, jobID);
        FillTable();
    });
}

void Taskmill_FinishedJobsWidget::View(const Entries &entries, const QAction &chosen, int jobID)
{
    const Taskmill_JobRecord *found = JobAt(m_jobs.PositionOf(jobID));
    if (!found)
        return;
    // A viewer may look at others.
    const Taskmill_JobRecord record = *found;
    const Taskmill_JobRecord *job = &record;
    if (&chosen == entries.showLog)
        ShowLog(*job);
    else if (&chosen == entries.showInputFile)
        Taskmill_JobViewers::ShowInputFile(*m_frame, job->Name, job->InputFilePath);
    else if (&chosen == entries.showOutputFile)
        Taskmill_JobViewers::ShowOutputFile(*m_frame, *job);
}

void Taskmill_FinishedJobsWidget::RemoveSlot()
{
    Remove(m_table->PositionsOfSelectedRows());
}

void Taskmill_FinishedJobsWidget::Remove(const QList<int> &positions)
{
    Taskmill_FinishedRemovalDialogue removal{m_jobs, positions};
    Taskmill_AskThroughPrompt(removal);
    FillTable();
}

void Taskmill_FinishedJobsWidget::FillColumnsMenu(QMenu &menu)
{
    m_table->FillColumnsMenu(menu);
}

void Taskmill_FinishedJobsWidget::OpenFilter()
{
    m_filter->Open();
}

void Taskmill_FinishedJobsWidget::RunAgain(const Taskmill_FinishedSelection &jobs)
{
    Taskmill_RunAgainDialogue dialogue{*m_submitter, jobs};
    Taskmill_AskThroughPrompt(dialogue);
}

/// The selected jobs or, when there are none, those that are shown.
void Taskmill_FinishedJobsWidget::Export()
{
    const QList<int> selected = m_table->PositionsOfSelectedRows();
    const auto jobs = std::make_shared<Taskmill_FinishedSelection>(
        m_jobs, selected.isEmpty() ? m_table->PositionsOf(m_table->AllRows()) : selected);
    Taskmill_ExportDialogue dialogue{jobs->Count()};
    Taskmill_AskThroughPrompt(dialogue);
    if (!dialogue.File().isEmpty())
        Taskmill_JobExport::Begin(
            dialogue.File(), jobs->Count(), [jobs](qsizetype place) { return jobs->At(place); }, this);
}

void Taskmill_FinishedJobsWidget::CellDoubleClickedSlot(int row, int column)
{
    const QModelIndex current = m_table->currentIndex();
    if (current.row() != row || current.column() != column)
        return;
    const Taskmill_JobRecord *found = JobAt(m_table->PositionAt(row));
    if (!found)
        return;
    const Taskmill_JobRecord record = *found;
    const Taskmill_JobRecord *job = &record;
    if (!job->OutputFilePath().isEmpty())
        Taskmill_JobViewers::ShowOutputFile(*m_frame, *job);
    else if (m_jobs.HasOutput(*job))
        ShowLog(*job);
}

std::optional<Taskmill_ShownJob> Taskmill_FinishedJobsWidget::CurrentJob() const
{
    return m_frame ? ShownJobAt(m_table->CurrentPosition()) : std::nullopt;
}

std::optional<Taskmill_ShownJob> Taskmill_FinishedJobsWidget::JobOfNumber(int jobID) const
{
    return ShownJobAt(m_jobs.PositionOf(jobID));
}

std::optional<Taskmill_ShownJob> Taskmill_FinishedJobsWidget::ShownJobAt(qsizetype position) const
{
    const Taskmill_JobRecord *job = JobAt(position);
    if (!job)
        return std::nullopt;
    return Taskmill_ShownJob{.Record = *job, .Process = {}, .Printed = [this, record = *job] {
                                 return m_jobs.ReaderOfOutput(record);
                             }};
}

void Taskmill_FinishedJobsWidget::ViewOutput(const Taskmill_ShownJob &job) const
{
    const Taskmill_JobRecord &record = job.Record;
    Taskmill_JobViewers::ShowOutputFile(*m_frame, record, [this, record] { ShowLog(record); });
}

/// It may be long.
void Taskmill_FinishedJobsWidget::ShowLog(const Taskmill_JobRecord &job) const
{
    m_logReader->Run([this, read = m_jobs.ReaderOfOutput(job), name = job.Name,
                      result = job.Result]() -> KilnUtil_FileThread::Deliver {
        return [this, name, result, text = QString::fromUtf8(read())] {
            Taskmill_JobViewers::ShowLog(*m_frame, name, text, result);
        };
    });
    m_logReader->Wait(longestWait);
}
