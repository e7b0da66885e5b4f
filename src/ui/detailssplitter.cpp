// SPDX-License-Identifier: MIT
#include "ui/detailssplitter.h"

#include "ui/detailspane.h"
#include "ui/detailsswitch.h"
#include "ui/shownjob.h"
#include "widgets/tablewidget.h"

#include <QApplication>
#include <QFrame>
#include <QVBoxLayout>
#include <QtMath>

namespace {
constexpr int saveDelayMs = 500;
}

Taskmill_DetailsSplitter::Taskmill_DetailsSplitter(QWidget *parent, const Taskmill_TabWithJobs &tab,
                                                   const Taskmill_TabWithJobs &ended,
                                                   Taskmill_JobResults &results,
                                                   Taskmill_DetailsSwitch &detailsSwitch)
    : QSplitter{Qt::Vertical, parent}
    , m_tab{tab}
    , m_ended{ended}
    , m_results{results}
    , m_switch{detailsSwitch}
{
    setChildrenCollapsible(false);
    addWidget(tab.Page());
    setFocusProxy(tab.Page());
    m_saveTimer.setSingleShot(true);
    m_saveTimer.setInterval(saveDelayMs);
    connect(&m_saveTimer, &QTimer::timeout, this, [this] {
        if (m_pane && m_pane->isVisible() && height() > 0)
            m_switch.SetShare(static_cast<double>(sizes().last()) / height());
    });
    connect(this, &QSplitter::splitterMoved, &m_saveTimer, qOverload<>(&QTimer::start));
    connect(&m_switch, &Taskmill_DetailsSwitch::SwitchedSignal, this, &Taskmill_DetailsSplitter::ShowPane);
    ShowPane();
}

void Taskmill_DetailsSplitter::ShowPane()
{
    if (!m_switch.IsOn()) {
        if (m_pane)
            HidePane();
        return;
    }
    if (!m_pane)
        MakePane();
    m_pane->parentWidget()->show();
    ApplyShare();
}

void Taskmill_DetailsSplitter::HidePane()
{
    // The keys go on in the table.
    if (m_pane->isAncestorOf(QApplication::focusWidget()))
        m_tab.JobTable().setFocus();
    m_pane->parentWidget()->hide();
}

void Taskmill_DetailsSplitter::MakePane()
{
    // With the margins of the page above.
    auto *holder = new QFrame{this};
    auto *layout = new QVBoxLayout{holder};
    QMargins margins = layout->contentsMargins();
    margins.setTop(0);
    layout->setContentsMargins(margins);
    m_pane = new Taskmill_DetailsPane{holder, m_tab, m_ended, m_results, m_switch};
    layout->addWidget(m_pane);
    addWidget(holder);
    // The Tab key leads from the table to them, not from the last button of the window.
    QWidget *before = &m_tab.JobTable();
    const QWidgetList widgets = m_pane->TabOrder();
    for (QWidget *widget : widgets) {
        setTabOrder(before, widget);
        before = widget;
    }
}

void Taskmill_DetailsSplitter::ApplyShare()
{
    if (!m_pane || m_pane->parentWidget()->isHidden() || m_saveTimer.isActive())
        return;
    const int details = qRound(height() * m_switch.Share());
    setSizes({height() - details, details});
}

/// Another tab may have been given another share meanwhile.
void Taskmill_DetailsSplitter::showEvent(QShowEvent *event)
{
    QSplitter::showEvent(event);
    ApplyShare();
}

void Taskmill_DetailsSplitter::resizeEvent(QResizeEvent *event)
{
    QSplitter::resizeEvent(event);
    ApplyShare();
}
