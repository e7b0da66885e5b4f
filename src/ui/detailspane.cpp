// SPDX-License-Identifier: MIT
#include "ui/detailspane.h"

#include "ui/detailsswitch.h"
#include "ui/generalpage.h"
#include "ui/inputpage.h"
#include "ui/jobviewers.h"
#include "ui/outputpage.h"
#include "ui/progresspage.h"
#include "widgets/tablewidget.h"

#include <QLabel>
#include <QStackedLayout>
#include <QTabBar>
#include <QTabWidget>
#include <QToolButton>

#include <algorithm>
#include <iterator>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int leastPauseMs = 100;
constexpr int clockMs = 1000;
} // namespace

Taskmill_DetailsPane::Taskmill_DetailsPane(QWidget *parent, const Taskmill_TabWithJobs &tab,
                                           const Taskmill_TabWithJobs &ended, Taskmill_JobResults &results,
                                           Taskmill_DetailsSwitch &detailsSwitch)
    : QWidget{parent}
    , m_tab{tab}
    , m_ended{ended}
    , m_switch{detailsSwitch}
    , m_layout{new QStackedLayout{this}}
    , m_empty{new QLabel{u"Choose a job to see its details."_s, this}}
    , m_pages{new QTabWidget{this}}
{
    m_empty->setAlignment(Qt::AlignCenter);
    m_empty->setForegroundRole(QPalette::PlaceholderText);
    m_layout->addWidget(m_empty);
    m_layout->addWidget(m_pages);
    MakePages(results);
    m_soon.setSingleShot(true);
    connect(&m_soon, &QTimer::timeout, this, &Taskmill_DetailsPane::UpdateSlot);
    m_clock.setInterval(clockMs);
    connect(&m_clock, &QTimer::timeout, this, &Taskmill_DetailsPane::UpdateSlot);
    FollowTable();
}

void Taskmill_DetailsPane::AddPage(Taskmill_DetailsPage *page, const QString &label)
{
    m_parts.append(page);
    m_pages->tabBar()->setAccessibleTabName(m_pages->addTab(page, label), label);
}

void Taskmill_DetailsPane::MakePages(Taskmill_JobResults &results)
{
    m_pages->setAccessibleName(u"Details"_s);
    m_pages->setDocumentMode(true);
    auto *output = new Taskmill_OutputPage{m_pages};
    auto *input = new Taskmill_InputPage{m_pages};
    AddPage(new Taskmill_GeneralPage{m_pages}, u"General"_s);
    AddPage(output, u"Output"_s);
    AddPage(new Taskmill_ProgressPage{m_pages, results}, u"Progress"_s);
    AddPage(input, u"Input"_s);
    connect(output, &Taskmill_TextPage::ViewSignal, this, &Taskmill_DetailsPane::ViewOutput);
    connect(input, &Taskmill_TextPage::ViewSignal, this, [this] {
        if (m_job)
            Taskmill_JobViewers::ShowInputFile(*this, m_job->Record.Name, m_job->Record.InputFilePath);
    });
    m_pages->setCurrentIndex(m_switch.Page());
    connect(m_pages, &QTabWidget::currentChanged, this, &Taskmill_DetailsPane::PageChangedSlot);

    auto *hide = new QToolButton{m_pages};
    hide->setText(u"×"_s);
    hide->setAutoRaise(true);
    hide->setAccessibleName(u"Hide Details"_s);
    hide->setToolTip(u"Hide the details (F4)"_s);
    connect(hide, &QToolButton::clicked, this, [this] { m_switch.SetOn(false); });
    m_pages->setCornerWidget(hide);
}

void Taskmill_DetailsPane::FollowTable()
{
    const KilnUtil_TableWidget &table = m_tab.JobTable();
    connect(table.selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            &Taskmill_DetailsPane::UpdateSoonSlot);
    const QAbstractItemModel *model = table.model();
    connect(model, &QAbstractItemModel::dataChanged, this, &Taskmill_DetailsPane::UpdateSoonSlot);
    connect(model, &QAbstractItemModel::rowsRemoved, this, &Taskmill_DetailsPane::UpdateSoonSlot);
    connect(model, &QAbstractItemModel::layoutChanged, this, &Taskmill_DetailsPane::UpdateSoonSlot);
    connect(model, &QAbstractItemModel::modelReset, this, &Taskmill_DetailsPane::UpdateSoonSlot);
}

/// At once when nothing was shown just before: a key that is held down comes more often.
void Taskmill_DetailsPane::UpdateSoonSlot()
{
    if (!isVisible() || m_soon.isActive())
        return;
    const qint64 since = m_sinceUpdate.isValid() ? m_sinceUpdate.elapsed() : leastPauseMs;
    m_soon.start(static_cast<int>(qBound(qint64{0}, leastPauseMs - since, qint64{leastPauseMs})));
}

QWidgetList Taskmill_DetailsPane::TabOrder() const
{
    QWidgetList order{m_pages->tabBar()};
    for (const Taskmill_DetailsPage *page : m_parts) {
        const auto widgets = page->findChildren<QWidget *>();
        std::ranges::copy_if(widgets, std::back_inserter(order), [](const QWidget *widget) {
            return (widget->focusPolicy() & Qt::TabFocus) != 0 && !widget->focusProxy();
        });
    }
    order.append(m_pages->cornerWidget());
    return order;
}

Taskmill_DetailsPage *Taskmill_DetailsPane::CurrentPage() const
{
    return m_parts[m_pages->currentIndex()];
}

std::optional<Taskmill_ShownJob> Taskmill_DetailsPane::JobToShow() const
{
    std::optional<Taskmill_ShownJob> job = m_tab.CurrentJob();
    // A filter may have taken an ended job out of the table.
    if (job || !m_job || &m_tab == &m_ended)
        return job;
    // It may have left a table that does not know it yet.
    job = m_ended.JobOfNumber(m_job->Record.JobID);
    return job && m_job->Is(job->Record) ? job : std::nullopt;
}

void Taskmill_DetailsPane::ViewOutput() const
{
    if (m_job)
        (m_job->Record.IsFinished() ? m_ended : m_tab).ViewOutput(*m_job);
}

void Taskmill_DetailsPane::UpdateSlot()
{
    if (!isVisible())
        return;
    m_soon.stop();
    m_job = JobToShow();
    m_layout->setCurrentWidget(m_job ? static_cast<QWidget *>(m_pages) : m_empty);
    if (m_job)
        CurrentPage()->ShowJob(*m_job);
    else
        CurrentPage()->Rest();
    if (!m_job || !m_job->IsRunning())
        m_clock.stop();
    else if (!m_clock.isActive())
        m_clock.start();
    m_sinceUpdate.start();
}

void Taskmill_DetailsPane::PageChangedSlot()
{
    for (int page = 0; page < m_pages->count(); ++page) {
        if (page != m_pages->currentIndex())
            m_parts[page]->Rest();
    }
    m_switch.SetPage(m_pages->currentIndex());
    UpdateSlot();
}

void Taskmill_DetailsPane::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    // Another tab's details may have been on another page.
    m_pages->setCurrentIndex(m_switch.Page());
    UpdateSlot();
}

void Taskmill_DetailsPane::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    m_soon.stop();
    m_clock.stop();
    CurrentPage()->Rest();
}
