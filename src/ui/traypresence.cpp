// SPDX-License-Identifier: MIT
#include "ui/traypresence.h"

#include "kilnutil/registry.h"
#include "ui/jobsummary.h"
#include "ui/mainwindow.h"
#include "ui/trayicon.h"

#include <QTabWidget>

using namespace Qt::Literals::StringLiterals;

Taskmill_TrayPresence::Taskmill_TrayPresence(Taskmill_MainWindow &window, Taskmill_FinishedJobs &finishedJobs,
                                             const Taskmill_JobSummary &summary)
    : m_window{window}
    , m_summary{summary}
    , m_news{finishedJobs}
{
    connect(&m_summary, &Taskmill_JobSummary::ChangedSignal, this, &Taskmill_TrayPresence::UpdateSlot);
    connect(&m_news, &Taskmill_JobNews::UnseenFailuresChangedSignal, this,
            &Taskmill_TrayPresence::UpdateSlot);
    connect(&m_news, &Taskmill_JobNews::NewsSignal, this,
            [this](const QString &title, const QString &text) { ShowMessage(title, text, true); });
}

Taskmill_TrayPresence::~Taskmill_TrayPresence() = default;

void Taskmill_TrayPresence::Show()
{
    m_icon = std::make_unique<Taskmill_TrayIcon>(m_window.windowIcon(), m_window.windowTitle());
    connect(m_icon.get(), &Taskmill_TrayIcon::ShowSignal, this, &Taskmill_TrayPresence::ShowWindowSignal);
    connect(m_icon.get(), &Taskmill_TrayIcon::HideSignal, this, &Taskmill_TrayPresence::HideWindowSignal);
    connect(m_icon.get(), &Taskmill_TrayIcon::ExitSignal, this, &Taskmill_TrayPresence::ExitSignal);
    connect(m_icon.get(), &Taskmill_TrayIcon::MessageClickedSignal, this,
            &Taskmill_TrayPresence::MessageClicked);
    UpdateSlot();
}

void Taskmill_TrayPresence::NoProgressSlot(int jobID, const QString &name, int minutes)
{
    constexpr qsizetype longestName = 100;
    if (Taskmill_RememberedAnnounced() != Taskmill_Announced::Nothing)
        ShowMessage(u"A Job Does Not Get On"_s,
                    u"Job %1, %2: no progress for %3 min"_s.arg(
                        QString::number(jobID), name.left(longestName), QString::number(minutes)),
                    false);
}

void Taskmill_TrayPresence::Hide()
{
    if (m_icon)
        m_icon->Hide();
}

void Taskmill_TrayPresence::UpdateSlot()
{
    if (m_window.isActiveWindow() &&
        m_window.Tabs().currentIndex() == static_cast<int>(Taskmill_Page::FinishedJobs))
        m_news.SeeFailures();
    if (!m_icon)
        return;
    const int running = m_summary.Counts().Running();
    const int failed = m_news.UnseenFailures();
    QString toolTip =
        m_window.windowTitle() + u'\n' + Taskmill_CountsText(running, m_summary.Counts().Waiting());
    if (failed > 0)
        toolTip += u"\n%1 failed since you looked at Finished Jobs"_s.arg(failed);
    m_icon->SetToolTip(toolTip);
    m_icon->SetBadge(running, failed);
}

void Taskmill_TrayPresence::ExplainOnce()
{
    const QString key = u"/General/Tray_Explained"_s;
    if (KilnUtil_Registry::Value(key).toBool())
        return;
    KilnUtil_Registry::SetValue(key, true);
    ShowMessage(u"Taskmill works on in the tray"_s,
                u"Jobs run on. Click the icon to show the window again."_s, false);
}

void Taskmill_TrayPresence::ShowMessage(const QString &title, const QString &text, bool isAboutJobs)
{
    if (!m_icon)
        return;
    m_isAboutJobs = isAboutJobs;
    m_icon->ShowMessage(title, text);
}

void Taskmill_TrayPresence::MessageClicked()
{
    Q_EMIT ShowWindowSignal();
    if (m_isAboutJobs)
        Q_EMIT ShowJobsSignal(m_news.AnnouncedJobs());
}
