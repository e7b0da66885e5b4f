// SPDX-License-Identifier: MIT
#include "ui/finishedjobswidget.h"

#include "manager/finishedjobs.h"
#include "manager/finishedremovaldialogue.h"
#include "manager/listings.h"
#include "ui/contextmenu.h"
#include "ui/jobviewers.h"
#include "ui/tablefiller.h"
#include "widgets/tablewidget.h"

#include <QAbstractProxyModel>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString helpId = u"taskmill/finishedjobs"_s;
}

/// The entries of the menu that has been shown.
struct Taskmill_FinishedJobsWidget::Entries
{
    const QAction *remove;
    QAction *showInputFile;
    QAction *showOutputFile;
    QAction *showLog;

    explicit Entries(Taskmill_TabMenu &menu)
        : remove{menu.AddEntry(u"Remove"_s)}
        , showInputFile{menu.AddEntry(u"Show Input File"_s)}
        , showOutputFile{menu.AddEntry(u"Show Output File"_s)}
        , showLog{menu.AddEntry(u"Show stdout and stderr"_s)}
    {
        menu.AddSeparator();
        menu.AddHelp(helpId);
    }
};

Taskmill_FinishedJobsWidget::Taskmill_FinishedJobsWidget(QWidget *parent, Taskmill_FinishedJobs &finishedJobs)
    : m_jobs{finishedJobs}
    , m_frame{parent}
{
    BuildTable();
    FillTable();
    connect(&m_jobs, &Taskmill_FinishedJobs::JobsChangedSignal, this,
            &Taskmill_FinishedJobsWidget::JobsChangedSlot);
}

void Taskmill_FinishedJobsWidget::BuildTable()
{
    m_model = new Taskmill_FinishedJobsModel{m_jobs, this};
    m_table = new KilnUtil_TableWidget{m_frame};
    m_table->setAccessibleName(u"Finished Jobs"_s);
    m_table->SetEmptyText(u"No job has finished yet."_s);
    m_table->SetSourceModel(m_model);
    m_table->SetColumnHints(Taskmill_Listings::FinishedJobs().Widths());
    m_table->SetElasticColumns(Taskmill_Listings::FinishedJobs().LeastWidths());
    m_table->RememberColumns(u"Finished_Jobs"_s);
    connect(m_table, &KilnUtil_TableWidget::cellDoubleClicked, this,
            &Taskmill_FinishedJobsWidget::CellDoubleClickedSlot);
    connect(m_table, &QWidget::customContextMenuRequested, this,
            &Taskmill_FinishedJobsWidget::ContextMenuSlot);
    connect(m_table, &KilnUtil_TableWidget::RemoveRequestedSignal, this,
            &Taskmill_FinishedJobsWidget::RemoveSlot);

    auto *layout = m_frame.MakeLayout();
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
    for (int position = rows.rowCount() - 1; position >= 0 && !wanted.isEmpty(); --position) {
        if (position >= m_jobs.Count() || !wanted.remove(m_jobs.JobIDAt(position)))
            continue;
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
    Taskmill_ContextMenu menu{*m_table};
    FillMenu(menu);
    menu.Run(position);
}

QString Taskmill_FinishedJobsWidget::HelpId() const
{
    return helpId;
}

void Taskmill_FinishedJobsWidget::FillMenu(Taskmill_TabMenu &menu)
{
    FillTable();
    const Taskmill_JobRecord *job = JobAt(m_table->CurrentPosition());
    if (!job)
        return;
    const Entries entries{menu};
    entries.showInputFile->setEnabled(Taskmill_JobViewers::HasFile(job->InputFilePath));
    entries.showOutputFile->setEnabled(Taskmill_JobViewers::HasFile(job->OutputFilePath()));
    entries.showLog->setEnabled(m_jobs.HasOutput(*job));
    // By number, as the list may change while the menu is open.
    menu.WhenChosen([this, entries, jobID = job->JobID](const QAction &chosen) {
        if (&chosen == entries.remove)
            RemoveSlot();
        else
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
        Taskmill_JobViewers::ShowLog(*m_frame, job->Name, m_jobs.OutputOf(*job), job->Result);
    else if (&chosen == entries.showInputFile)
        Taskmill_JobViewers::ShowInputFile(*m_frame, job->Name, job->InputFilePath);
    else if (&chosen == entries.showOutputFile)
        Taskmill_JobViewers::ShowOutputFile(*m_frame, job->Name, job->OutputFilePath(), job->Result);
}

void Taskmill_FinishedJobsWidget::RemoveSlot()
{
    Taskmill_FinishedRemovalDialogue removal{m_jobs, m_table->PositionsOfSelectedRows()};
    Taskmill_AskThroughPrompt(removal);
    FillTable();
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
        Taskmill_JobViewers::ShowOutputFile(*m_frame, job->Name, job->OutputFilePath(), job->Result);
    else if (m_jobs.HasOutput(*job))
        Taskmill_JobViewers::ShowLog(*m_frame, job->Name, m_jobs.OutputOf(*job), job->Result);
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
                                 return m_jobs.OutputOf(record);
                             }};
}

void Taskmill_FinishedJobsWidget::ViewOutput(const Taskmill_ShownJob &job) const
{
    const Taskmill_JobRecord &record = job.Record;
    if (Taskmill_JobViewers::HasFile(record.OutputFilePath()))
        Taskmill_JobViewers::ShowOutputFile(*m_frame, record.Name, record.OutputFilePath(), record.Result);
    else
        Taskmill_JobViewers::ShowLog(*m_frame, record.Name, m_jobs.OutputOf(record), record.Result);
}
