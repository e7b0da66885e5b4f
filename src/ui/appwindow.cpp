// SPDX-License-Identifier: MIT
#include "ui/appwindow.h"

#include "jobs/queuelessjobslist.h"
#include "kilnutil/error.h"
#include "kilnutil/registry.h"
#include "manager/changedfiledialogue.h"
#include "manager/closingdialogue.h"
#include "manager/exitdialogue.h"
#include "manager/heldjobsdialogue.h"
#include "manager/manager.h"
#include "manager/version.h"
#include "ui/programicon.h"
#include "ui/trayicon.h"
#include "widgets/widgetutil.h"

#include <QApplication>
#include <QEvent>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QSessionManager>
#include <QSysInfo>
#include <QTabWidget>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Such as "64-bit Linux".
QString PlatformText()
{
    const QString kernel = QSysInfo::kernelType();
    return QString::number(QSysInfo::WordSize) + u"-bit "_s +
           (kernel == "winnt"_L1 ? u"Windows"_s : kernel.left(1).toUpper() + kernel.mid(1));
}
} // namespace

Taskmill_AppWindow::Taskmill_AppWindow(Taskmill_Manager &manager)
    : m_manager{manager}
    , m_longJobs{PageOf(Taskmill_Page::LongJobs), manager}
    , m_shortJobs{PageOf(Taskmill_Page::ShortJobs), manager}
    , m_queuelessJobs{PageOf(Taskmill_Page::QueuelessJobs), manager}
    , m_runningJobs{PageOf(Taskmill_Page::RunningJobs), manager.RunningJobs(), manager.Destinations()}
    , m_finishedJobs{PageOf(Taskmill_Page::FinishedJobs), manager.FinishedJobs()}
    , m_jobTypes{PageOf(Taskmill_Page::JobTypes), manager.JobTypes()}
    , m_openFilesDialog{manager.Store(), &m_window}
{
    manager.Submitter().SetSubmitDialog(&m_openFilesDialog);
    FillWindow();
    ConnectWindow();
}

Taskmill_AppWindow::~Taskmill_AppWindow()
{
    m_manager.Submitter().SetSubmitDialog(nullptr);
}

void Taskmill_AppWindow::FillWindow()
{
    Fill(Taskmill_Page::LongJobs, m_longJobs);
    Fill(Taskmill_Page::ShortJobs, m_shortJobs);
    Fill(Taskmill_Page::QueuelessJobs, m_queuelessJobs);
    m_window.SetContent(Taskmill_Page::RunningJobs, m_runningJobs.Frame());
    m_window.SetContent(Taskmill_Page::FinishedJobs, m_finishedJobs.Frame());
    m_window.SetContent(Taskmill_Page::JobTypes, m_jobTypes.Frame());
}

void Taskmill_AppWindow::Fill(Taskmill_Page page, Taskmill_QueueTab &tab)
{
    m_window.SetContent(page, tab.Frame());
    connect(&tab, &Taskmill_QueueTab::PausedChangedSignal, &m_window,
            [this, page](bool paused) { m_window.ShowPaused(page, paused); });
    connect(&tab, &Taskmill_QueueTab::FilesDroppedSignal, this,
            [this](const QStringList &files, Taskmill_Destination destination) {
                m_manager.Submitter().SubmitFiles(files, destination, -1);
            });
}

void Taskmill_AppWindow::ConnectWindow()
{
    connect(&m_window.SubmitJobsButton(), &QPushButton::clicked, this, &Taskmill_AppWindow::NewJobsSlot);
    connect(&m_window.HideButton(), &QPushButton::clicked, this, &Taskmill_AppWindow::OkaySlot);
    connect(&m_window.ExitButton(), &QPushButton::clicked, this, &Taskmill_AppWindow::SystemTrayQuitSlot);
    connect(&m_window.AboutButton(), &QPushButton::clicked, this, &Taskmill_AppWindow::AboutSlot);
    connect(&m_window.Tabs(), &QTabWidget::currentChanged, this, &Taskmill_AppWindow::CurrentTabChangedSlot);
    m_window.installEventFilter(this);
    // The user logs out or shuts the computer down.
    connect(qGuiApp, &QGuiApplication::commitDataRequest, this,
            [this] { m_manager.Project().SaveUnattended(); });
    connect(&m_manager.Project(), &Taskmill_Project::StateChangedSignal, this,
            &Taskmill_AppWindow::UpdateWindowTitle);
}

void Taskmill_AppWindow::Prepare()
{
    const QIcon icon = Taskmill_ProgramIcon();
    QApplication::setWindowIcon(icon);
    m_window.setWindowIcon(icon);
    m_window.setWindowTitle(Taskmill_VersionText());
}

/// The key that decides is another than the one that is read.
void Taskmill_AppWindow::RestoreToolBars()
{
    if (KilnUtil_Registry::HasUnversionedValue(u"Main_Window/ToolBar_State_0"_s))
        m_window.restoreState(KilnUtil_Registry::Value(u"/Main_Window/ToolBar_State_0"_s).toByteArray());
}

void Taskmill_AppWindow::ShowTrayIcon()
{
    RestoreToolBars();
    UpdateWindowTitle();
    m_trayIcon = std::make_unique<Taskmill_TrayIcon>(m_window.windowIcon(), m_window.windowTitle());
    connect(m_trayIcon.get(), &Taskmill_TrayIcon::ShowSignal, this,
            &Taskmill_AppWindow::SystemTrayShowWindowSlot);
    connect(m_trayIcon.get(), &Taskmill_TrayIcon::HideSignal, this,
            &Taskmill_AppWindow::SystemTrayHideWindowSlot);
    connect(m_trayIcon.get(), &Taskmill_TrayIcon::ExitSignal, this, &Taskmill_AppWindow::SystemTrayQuitSlot);
}

void Taskmill_AppWindow::Show(uint)
{
    m_window.show();
    m_window.PutInMiddleOfScreen();
    m_window.raise();
}

void Taskmill_AppWindow::Show()
{
    Show(Qt::WindowMaximized | Qt::WindowActive);
}

void Taskmill_AppWindow::SpeakAtStart()
{
    const QStringList notices = m_manager.NoticesAtStart(true);
    if (!notices.isEmpty())
        KilnUtil_Error::UserPrompt().ShowInformation(
            m_manager.Project().IsRecovered() ? u"Project Recovered"_s : u"Project Not Saved"_s,
            notices.join(u"\n\n"_s));
    if (m_manager.IsShutDown())
        return;
    Taskmill_ChangedFileDialogue changedFile{m_manager.Project()};
    Taskmill_AskThroughPrompt(changedFile);
    if (m_manager.IsShutDown())
        return;
    Taskmill_HeldJobsDialogue heldJobs{*m_manager.Destinations().Queueless().List()};
    Taskmill_AskThroughPrompt(heldJobs);
}

void Taskmill_AppWindow::UpdateWindowTitle()
{
    m_window.setWindowTitle(m_manager.Project().WindowTitle());
    if (m_trayIcon)
        m_trayIcon->SetToolTip(m_window.windowTitle());
}

void Taskmill_AppWindow::CurrentTabChangedSlot(int tab)
{
    switch (static_cast<Taskmill_Page>(tab)) {
    case Taskmill_Page::LongJobs:
        m_longJobs.FillTable();
        break;
    case Taskmill_Page::ShortJobs:
        m_shortJobs.FillTable();
        break;
    case Taskmill_Page::QueuelessJobs:
        m_queuelessJobs.FillTable();
        break;
    case Taskmill_Page::RunningJobs:
        m_runningJobs.RefreshSlot();
        break;
    case Taskmill_Page::FinishedJobs:
        m_finishedJobs.FillTable();
        break;
    case Taskmill_Page::JobTypes:
        m_jobTypes.FillTable();
        break;
    }
}

void Taskmill_AppWindow::NewJobsSlot()
{
    m_manager.Submitter().SubmitFiles({}, Taskmill_Destination::JobTypeDefault, -1);
}

void Taskmill_AppWindow::AboutSlot()
{
    KilnUtil_Error::UserPrompt().ShowInformation(
        u"About TaskmillGUI"_s, Taskmill_VersionText() + u"     ("_s + PlatformText() +
                                    u")\n\nRuns calculations one after another, for weeks if need be."_s);
}

void Taskmill_AppWindow::OkaySlot()
{
    if (Taskmill_TrayIcon::IsInReach())
        m_window.hide();
    else
        m_window.showMinimized();
}

void Taskmill_AppWindow::UpdateMenusSlot() {}

void Taskmill_AppWindow::SystemTrayShowWindowSlot()
{
    m_window.ShowInFront();
}

void Taskmill_AppWindow::SystemTrayHideWindowSlot()
{
    m_window.hide();
}

void Taskmill_AppWindow::SystemTrayQuitSlot()
{
    if (!KilnUtil_WidgetUtil::CanBeInFrontOf(&m_window))
        m_window.ShowInFront();
    // The tray's menu works while a question is open.
    if (m_askingToExit) {
        m_window.ShowInFront();
        return;
    }
    const QScopedValueRollback asking{m_askingToExit, true};
    using JobsGoOn = Taskmill_ExitDialogue::JobsGoOn;
    Taskmill_ExitDialogue exit{m_manager.Destinations(),
                               m_manager.IsToAskWhetherJobsGoOn() ? JobsGoOn::AsChosen : JobsGoOn::No};
    Taskmill_AskThroughPrompt(exit);
    if (!exit.IsConfirmed())
        return;
    if (exit.HasChoice())
        Taskmill_RememberJobsGoOn(exit.DoJobsGoOn());
    LeaveProgram(exit.DoJobsGoOn() ? Taskmill_Ending::AskedToKeep : Taskmill_Ending::AskedToEnd);
}

void Taskmill_AppWindow::ExitSlot()
{
    LeaveProgram(Taskmill_Ending::AskedToEnd);
}

void Taskmill_AppWindow::LeaveProgram(Taskmill_Ending ending)
{
    if (m_manager.IsShutDown())
        return;
    Taskmill_ClosingDialogue closing{m_manager.Project()};
    Taskmill_AskThroughPrompt(closing);
    if (!closing.MayClose())
        return;
    m_manager.SetEnding(ending);
    Q_EMIT ExitSignal();
}

bool Taskmill_AppWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != &m_window || m_manager.IsShutDown())
        return QObject::eventFilter(watched, event);
    if (event->type() == QEvent::Show && !event->spontaneous())
        CurrentTabChangedSlot(m_window.Tabs().currentIndex());
    if (event->type() != QEvent::Close)
        return QObject::eventFilter(watched, event);
    OkaySlot();
    event->ignore();
    return true;
}

void Taskmill_AppWindow::ShutDown()
{
    QApplication::closeAllWindows();
    if (m_trayIcon)
        m_trayIcon->Hide();
}
