// SPDX-License-Identifier: MIT
#include "ui/runningjobswidget.h"

#include "manager/destinations.h"
#include "manager/listings.h"
#include "manager/processkill.h"
#include "manager/runningjobs.h"
#include "ui/contextmenu.h"
#include "ui/rowsmodel.h"
#include "widgets/tablewidget.h"

#include <QCheckBox>
#include <QEvent>
#include <QFrame>
#include <QLabel>
#include <QPushButton>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString helpId = u"taskmill/runningjobs"_s;
constexpr int shortReadingMs = 150;

struct KillEntry
{
    QLatin1StringView text;
    Taskmill_Kill kill;
};
constexpr std::array<KillEntry, 6> killEntries{{
    {"Kill Process"_L1, Taskmill_Kill::Process},
    {"Kill Process Group"_L1, Taskmill_Kill::ProcessGroup},
    {"Kill Child Processes"_L1, Taskmill_Kill::Children},
    {"Kill Process and Child Processes"_L1, Taskmill_Kill::ProcessAndChildren},
    {"Kill Process and Parent Process"_L1, Taskmill_Kill::ProcessAndParent},
    {"Kill Process, Child Processes and Parent Process"_L1, Taskmill_Kill::ProcessChildrenAndParent},
}};
} // namespace

Taskmill_RunningJobsWidget::Taskmill_RunningJobsWidget(QWidget *parent, Taskmill_RunningJobs &runningJobs,
                                                       Taskmill_Destinations &destinations)
    : m_runningJobs{runningJobs}
    , m_destinations{destinations}
    , m_columns{Taskmill_Listings::Processes()}
    , m_idColumn{m_columns.IndexOf(
          Taskmill_Column<Taskmill_ProcessRecord>::NumberText{&Taskmill_ProcessRecord::ProcessId})}
    , m_frame{parent}
{
    BuildPage();
    m_readingTimer.setSingleShot(true);
    m_readingTimer.setInterval(shortReadingMs);
    connect(&m_readingTimer, &QTimer::timeout, m_reading, [this] {
        m_readAt->hide();
        m_reading->show();
    });
    connect(&m_runningJobs, &Taskmill_RunningJobs::RefreshedSignal, this,
            &Taskmill_RunningJobsWidget::RefreshedSlot);
    RefreshSlot();
}

void Taskmill_RunningJobsWidget::BuildPage()
{
    auto *layout = m_frame.MakeLayout();
    layout->addLayout(MakeControls());
    BuildTable();
    layout->addWidget(m_table);
    m_frame->setFocusProxy(m_table);
}

QBoxLayout *Taskmill_RunningJobsWidget::MakeControls()
{
    m_refresh = new QPushButton{u"Refresh"_s, m_frame};
    m_refresh->setShortcut(QKeySequence::Refresh);
    m_refresh->setToolTip(
        u"Read the processes anew (%1)"_s.arg(m_refresh->shortcut().toString(QKeySequence::NativeText)));
    m_reading = new QLabel{u"Reading..."_s, m_frame};
    m_reading->setForegroundRole(QPalette::PlaceholderText);
    m_reading->hide();
    m_readAt = new QLabel{m_frame};
    m_readAt->setForegroundRole(QPalette::PlaceholderText);
    m_onlyKnown = new QCheckBox{u"Only Show Known Job Types"_s, m_frame};
    m_onlyKnown->setToolTip(u"Show only processes whose program is the executable of a job type"_s);
    m_onlyKnown->setChecked(m_runningJobs.OnlyShowsKnownJobTypes());
    connect(m_refresh, &QPushButton::clicked, this, &Taskmill_RunningJobsWidget::RefreshSlot);
    connect(m_onlyKnown, &QCheckBox::clicked, this,
            &Taskmill_RunningJobsWidget::OnlyShowJobsOfKnownJobTypesSlot);

    auto *row = new QHBoxLayout;
    row->addWidget(m_refresh);
    row->addWidget(m_reading);
    row->addWidget(m_readAt);
    row->addStretch();
    row->addWidget(m_onlyKnown);
    return row;
}

void Taskmill_RunningJobsWidget::BuildTable()
{
    m_model = new Taskmill_RowsModel{m_columns.Headers(), m_idColumn, m_columns.NumberColumns(), this};
    m_table = new KilnUtil_TableWidget{m_frame};
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setAccessibleName(u"Running Jobs"_s);
    m_table->SetSourceModel(m_model);
    m_table->sortByColumn(m_idColumn, Qt::AscendingOrder);
    m_table->SetColumnHints(m_columns.Widths());
    m_table->RememberColumns(u"Running_Jobs"_s);
    connect(m_table, &QWidget::customContextMenuRequested, this,
            &Taskmill_RunningJobsWidget::ContextMenuSlot);
    connect(m_table, &KilnUtil_TableWidget::RemoveRequestedSignal, this,
            &Taskmill_RunningJobsWidget::RemoveSlot);
}

void Taskmill_RunningJobsWidget::RefreshSlot()
{
    if (!m_frame)
        return;
    m_runningJobs.RefreshInBackground();
    if (!m_readingTimer.isActive())
        m_readingTimer.start();
    UpdateEmptyText();
}

void Taskmill_RunningJobsWidget::OnlyShowJobsOfKnownJobTypesSlot()
{
    if (!m_frame)
        return;
    m_runningJobs.SetOnlyShowKnownJobTypes(m_onlyKnown->isChecked());
    RefreshSlot();
}

void Taskmill_RunningJobsWidget::RefreshedSlot()
{
    if (!m_frame)
        return;
    QList<QStringList> rows;
    rows.reserve(m_runningJobs.Processes().size());
    for (const Taskmill_ProcessRecord &process : m_runningJobs.Processes())
        rows.append(m_columns.Row(process));
    m_table->ChangeRows([this, &rows] { m_model->SetRows(rows); });
    m_model->SetExplanations(JobTexts());
    UpdateEmptyText();
    m_readAt->setText(u"Read at %1"_s.arg(QTime::currentTime().toString(u"hh:mm"_s)));
    if (m_runningJobs.IsReading())
        return;
    m_readingTimer.stop();
    m_reading->hide();
    m_readAt->show();
}

QHash<QString, QString> Taskmill_RunningJobsWidget::JobTexts() const
{
    QHash<QString, QString> texts;
    for (const Taskmill_ProcessRecord &process : m_runningJobs.Processes()) {
        const std::optional<Job> job = JobOf(process);
        if (const Taskmill_Job *found = job ? job->owner.Jobs().FindByJobID(job->jobID) : nullptr)
            texts.insert(process.ProcessId, u"Job %1, %2"_s.arg(job->jobID).arg(found->Record().Name));
    }
    return texts;
}

void Taskmill_RunningJobsWidget::UpdateEmptyText()
{
    if (m_runningJobs.IsReading())
        m_table->SetEmptyText(u"Reading the processes..."_s);
    else if (m_onlyKnown->isChecked())
        m_table->SetEmptyText(u"No program of a known job type is running.\nUncheck \"Only Show Known Job "
                              "Types\" to see all processes."_s);
    else
        m_table->SetEmptyText(u"The system does not say which processes are running."_s);
}

/// By its number, never by the row: the table is sorted.
std::optional<Taskmill_ProcessRecord> Taskmill_RunningJobsWidget::CurrentProcess() const
{
    if (!m_frame || !m_table->currentIndex().isValid())
        return std::nullopt;
    const QString processID = m_table->currentIndex().siblingAtColumn(m_idColumn).data().toString();
    const QList<Taskmill_ProcessRecord> &processes = m_runningJobs.Processes();
    const auto found = std::ranges::find(processes, processID, &Taskmill_ProcessRecord::ProcessId);
    return found == processes.end() ? std::nullopt : std::optional{*found};
}

std::optional<Taskmill_RunningJobsWidget::Job>
Taskmill_RunningJobsWidget::JobToRemove(const Taskmill_ProcessRecord &process) const
{
    return m_runningJobs.OnlyShowsKnownJobTypes() ? JobOf(process) : std::nullopt;
}

std::optional<Taskmill_RunningJobsWidget::Job>
Taskmill_RunningJobsWidget::JobOf(const Taskmill_ProcessRecord &process) const
{
    if (process.ProcessIdNumber() <= 0)
        return std::nullopt;
    for (Taskmill_QueueOwner *owner : m_destinations.All()) {
        if (const int jobID = owner->Jobs().FindJobByProcessID(process.ProcessIdNumber()); jobID != -1)
            return Job{*owner, jobID};
    }
    return std::nullopt;
}

void Taskmill_RunningJobsWidget::ContextMenuSlot(const QPoint &position)
{
    Taskmill_ContextMenu menu{*m_table};
    FillMenu(menu);
    menu.Run(position);
}

void Taskmill_RunningJobsWidget::FillColumnsMenu(QMenu &menu)
{
    m_table->FillColumnsMenu(menu);
}

QString Taskmill_RunningJobsWidget::HelpId() const
{
    return helpId;
}

void Taskmill_RunningJobsWidget::FillMenu(Taskmill_TabMenu &menu)
{
    const std::optional<Taskmill_ProcessRecord> process = CurrentProcess();
    if (!process)
        return;
    if (const std::optional<Job> job = JobToRemove(*process))
        OfferToRemove(*job, menu);
    else
        OfferToKill(*process, menu);
}

void Taskmill_RunningJobsWidget::OfferToRemove(const Job &job, Taskmill_TabMenu &menu)
{
    menu.AddEntry(u"Remove"_s);
    menu.WhenChosen([this, job](const QAction &) {
        job.owner.RemoveJob(job.jobID);
        RefreshSlot();
    });
}

void Taskmill_RunningJobsWidget::OfferToKill(const Taskmill_ProcessRecord &process, Taskmill_TabMenu &menu)
{
    std::array<const QAction *, killEntries.size()> entries{};
    for (size_t index = 0; index < entries.size(); ++index)
        entries[index] = menu.AddEntry(killEntries[index].text);
    menu.AddSeparator();
    menu.AddHelp(helpId);
    menu.WhenChosen([this, process, entries](const QAction &chosen) {
        const auto entry = std::ranges::find(entries, &chosen);
        m_runningJobs.KillInBackground(process,
                                       killEntries[static_cast<size_t>(entry - entries.begin())].kill);
        RefreshSlot();
    });
}

void Taskmill_RunningJobsWidget::RemoveSlot()
{
    const std::optional<Taskmill_ProcessRecord> process = CurrentProcess();
    const std::optional<Job> job = process ? JobToRemove(*process) : std::nullopt;
    if (!job)
        return;
    job->owner.RemoveJob(job->jobID);
    RefreshSlot();
}
