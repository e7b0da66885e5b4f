// SPDX-License-Identifier: MIT
#include "ui/appwindow.h"

#include "help/helpdialog.h"
#include "jobs/queuelessjobslist.h"
#include "kilnutil/error.h"
#include "kilnutil/registry.h"
#include "manager/budget.h"
#include "manager/changedfiledialogue.h"
#include "manager/closingdialogue.h"
#include "manager/exitdialogue.h"
#include "manager/heldjobsdialogue.h"
#include "manager/jobresults.h"
#include "manager/manager.h"
#include "manager/queueestimate.h"
#include "manager/recentprojects.h"
#include "manager/version.h"
#include "ui/detailssplitter.h"
#include "ui/detailsswitch.h"
#include "ui/jobnews.h"
#include "ui/loginstart.h"
#include "ui/programicon.h"
#include "ui/programsoffer.h"
#include "ui/progresspage.h"
#include "ui/projectmenu.h"
#include "ui/projectoffer.h"
#include "ui/settingsdialog.h"
#include "ui/statusline.h"
#include "ui/tabmenus.h"
#include "ui/trayicon.h"
#include "widgets/widgetutil.h"

#include <QActionGroup>
#include <QApplication>
#include <QEvent>
#include <QMenu>
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
    , m_finishedJobs{PageOf(Taskmill_Page::FinishedJobs), manager.FinishedJobs(), &manager.Submitter()}
    , m_jobTypes{PageOf(Taskmill_Page::JobTypes), manager.JobTypes()}
    , m_detailsSwitch{new Taskmill_DetailsSwitch{&m_window}}
    , m_openFilesDialog{manager.Store(), &m_window}
    , m_summary{manager.Destinations(), manager.FinishedJobs()}
    , m_tray{m_window, manager.FinishedJobs(), m_summary}
    , m_statusLine{new Taskmill_StatusLine{&m_window}}
{
    m_window.setStatusBar(m_statusLine);
    manager.Submitter().SetSubmitDialog(&m_openFilesDialog);
    FillWindow();
    FillMenus();
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
    PutIn(Taskmill_Page::FinishedJobs, m_finishedJobs);
    m_window.SetContent(Taskmill_Page::JobTypes, m_jobTypes.Frame());
}

void Taskmill_AppWindow::Fill(Taskmill_Page page, Taskmill_QueueTab &tab)
{
    PutIn(page, tab);
    tab.SetProgressText([this](int jobID) { return ProgressOf(jobID); });
    connect(&tab, &Taskmill_QueueTab::PausedChangedSignal, &m_window,
            [this, page](bool paused) { m_window.ShowPaused(page, paused); });
    connect(&tab, &Taskmill_QueueTab::FilesDroppedSignal, this,
            [this](const QStringList &files, Taskmill_Destination destination) {
                m_manager.Submitter().SubmitFiles(files, destination, -1);
            });
}

void Taskmill_AppWindow::PutIn(Taskmill_Page page, const Taskmill_TabWithJobs &tab)
{
    m_window.SetContent(page, new Taskmill_DetailsSplitter{PageOf(page), tab, m_finishedJobs,
                                                           m_manager.Results(), *m_detailsSwitch});
}

QString Taskmill_AppWindow::ProgressOf(int jobID) const
{
    const Taskmill_ResultState state = m_manager.Results().StateOf(jobID);
    return state ? Taskmill_ProgressText(*state) : QString{};
}

void Taskmill_AppWindow::FillMenus()
{
    m_projectMenu =
        new Taskmill_ProjectMenu{m_window.Menu(Taskmill_WindowMenu::Project), m_manager.Project()};
    connect(m_projectMenu, &Taskmill_ProjectMenu::ExitSignal, this, &Taskmill_AppWindow::SystemTrayQuitSlot);
    connect(m_projectMenu, &Taskmill_ProjectMenu::SettingsSignal, this, &Taskmill_AppWindow::SettingsSlot);
    connect(m_projectMenu, &Taskmill_ProjectMenu::ProjectOpenedSignal, this,
            [this] { SpeakOfProject(m_manager.Project().Notices()); });

    QMenu &jobs = m_window.Menu(Taskmill_WindowMenu::Jobs);
    jobs.addAction(u"&Submit Jobs..."_s, this, &Taskmill_AppWindow::NewJobsSlot);
    m_tabMenus = new Taskmill_TabMenus{jobs, m_window.Menu(Taskmill_WindowMenu::Queue), this};
    m_tabMenus->ShowThoseOf(m_longJobs, true);

    FillViewMenu();

    QMenu &help = m_window.Menu(Taskmill_WindowMenu::Help);
    KilnUtil_HelpDialog::Global().ConnectAction(
        help.addAction(u"&Manual"_s, QKeySequence{QKeySequence::HelpContents}), u"taskmill/introduction"_s,
        false);
    help.addAction(u"This &Tab"_s, QKeySequence{Qt::SHIFT | Qt::Key_F1}, this,
                   [this] { KilnUtil_HelpDialog::Global().ShowPage(CurrentTab().HelpId()); });
    help.addAction(u"&About"_s, this, &Taskmill_AppWindow::AboutSlot);
}

void Taskmill_AppWindow::FillViewMenu()
{
    QMenu &view = m_window.Menu(Taskmill_WindowMenu::View);
    view.addSeparator();
    view.addAction(&m_detailsSwitch->Entry());
    m_filterEntry = view.addAction(u"&Filter"_s, QKeySequence{QKeySequence::Find}, this,
                                   [this] { CurrentTab().OpenFilter(); });
    QMenu *columns = view.addMenu(u"&Columns"_s);
    connect(columns, &QMenu::aboutToShow, this, [this, columns] {
        columns->clear();
        CurrentTab().FillColumnsMenu(*columns);
    });
    view.addSeparator();
    QMenu *notifications = view.addMenu(u"Desktop &Notifications"_s);
    auto *choices = new QActionGroup{notifications};
    for (const auto &[text, announced] :
         {std::pair{u"&Off"_s, Taskmill_Announced::Nothing},
          std::pair{u"&Failures Only"_s, Taskmill_Announced::Failures},
          std::pair{u"&All Jobs That End"_s, Taskmill_Announced::Everything}}) {
        QAction *choice = notifications->addAction(
            text, this, [announced = announced] { Taskmill_RememberAnnounced(announced); });
        choice->setCheckable(true);
        choice->setActionGroup(choices);
        connect(notifications, &QMenu::aboutToShow, choice, [choice, announced = announced] {
            choice->setChecked(announced == Taskmill_RememberedAnnounced());
        });
    }
    view.addAction(u"&Hide Window"_s, this, &Taskmill_AppWindow::OkaySlot);
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
    connect(&m_summary, &Taskmill_JobSummary::ChangedSignal, this, &Taskmill_AppWindow::ShowCounts);
    connect(&m_tray, &Taskmill_TrayPresence::ShowWindowSignal, this,
            &Taskmill_AppWindow::SystemTrayShowWindowSlot);
    connect(&m_tray, &Taskmill_TrayPresence::HideWindowSignal, this,
            &Taskmill_AppWindow::SystemTrayHideWindowSlot);
    connect(&m_tray, &Taskmill_TrayPresence::ExitSignal, this, &Taskmill_AppWindow::SystemTrayQuitSlot);
    connect(&m_manager.JobWatch(), &Taskmill_JobWatch::NoProgressSignal, &m_tray,
            &Taskmill_TrayPresence::NoProgressSlot);
    connect(&m_tray, &Taskmill_TrayPresence::ShowJobsSignal, this, &Taskmill_AppWindow::ShowFinishedJobs);
}

void Taskmill_AppWindow::ShowCounts()
{
    const Taskmill_JobCounts &counts = m_summary.Counts();
    for (const Taskmill_Page page :
         {Taskmill_Page::LongJobs, Taskmill_Page::ShortJobs, Taskmill_Page::QueuelessJobs}) {
        const Taskmill_JobCounts::Queue &queue = counts.queues.at(static_cast<size_t>(page));
        m_window.ShowCount(page, queue.running + queue.waiting,
                           Taskmill_CountsText(queue.running, queue.waiting) + EstimateOf(page));
    }
    m_window.ShowCount(Taskmill_Page::FinishedJobs, counts.finished,
                       counts.finished == 1 ? u"1 job"_s : u"%1 jobs"_s.arg(counts.finished));
    m_statusLine->ShowCounts(counts);
}

/// Behind the counts of a queue. It changes slowly, and is not found anew with each change.
QString Taskmill_AppWindow::EstimateOf(Taskmill_Page page)
{
    constexpr qint64 msecsKept = 10'000;
    if (!m_estimateAge.isValid() || m_estimateAge.hasExpired(msecsKept)) {
        m_estimateAge.start();
        const auto queues = m_manager.Destinations().Queues();
        for (std::size_t number = 0; number < queues.size(); ++number)
            m_estimates.at(number) = Taskmill_EstimateOf(*queues.at(number), Taskmill_JobTime::Now());
    }
    const auto number = static_cast<std::size_t>(page);
    const QString estimate = number < m_estimates.size() ? m_estimates.at(number) : QString{};
    return estimate.isEmpty() ? estimate : u"; "_s + estimate;
}

void Taskmill_AppWindow::ShowFinishedJobs(const QList<int> &jobIDs)
{
    m_window.Tabs().setCurrentIndex(static_cast<int>(Taskmill_Page::FinishedJobs));
    m_finishedJobs.SelectJobs(jobIDs);
}

void Taskmill_AppWindow::OfferProject(const QString &path)
{
    m_window.ShowInFront();
    const auto offer = [this, path] {
        // Of several that come at once the first is asked about.
        if (!QApplication::activeModalWidget())
            m_projectMenu->OfferFile(path);
    };
    QTimer::singleShot(0, this, offer);
}

void Taskmill_AppWindow::ChooseFiles()
{
    m_window.ShowInFront();
    const auto choose = [this] {
        if (!QApplication::activeModalWidget())
            NewJobsSlot();
    };
    QTimer::singleShot(0, this, choose);
}

void Taskmill_AppWindow::ShowJob(int jobID)
{
    m_window.ShowInFront();
    if (m_manager.FinishedJobs().PositionOf(jobID) >= 0) {
        ShowFinishedJobs({jobID});
        return;
    }
    for (const auto &[page, tab] :
         {std::pair<Taskmill_Page, Taskmill_QueueTab *>{Taskmill_Page::LongJobs, &m_longJobs},
          {Taskmill_Page::ShortJobs, &m_shortJobs},
          {Taskmill_Page::QueuelessJobs, &m_queuelessJobs}}) {
        if (tab->ChooseJob(jobID))
            m_window.Tabs().setCurrentIndex(static_cast<int>(page));
    }
}

void Taskmill_AppWindow::Prepare()
{
    const QIcon icon = Taskmill_ProgramIcon();
    QApplication::setWindowIcon(icon);
    m_window.setWindowIcon(icon);
    m_window.setWindowTitle(Taskmill_VersionText());
}

/// Restores the tool bars when a setting without the major version says that there are any; the state itself
/// is stored behind the version.
void Taskmill_AppWindow::RestoreToolBars()
{
    if (KilnUtil_Registry::HasUnversionedValue(u"Main_Window/ToolBar_State_0"_s))
        m_window.restoreState(KilnUtil_Registry::Value(u"/Main_Window/ToolBar_State_0"_s).toByteArray());
}

void Taskmill_AppWindow::ShowTrayIcon()
{
    RestoreToolBars();
    UpdateWindowTitle();
    m_tray.Show();
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
    OfferLastProject();
    OfferPrograms();
    SpeakOfProject(m_manager.NoticesAtStart(true));
}

void Taskmill_AppWindow::OfferLastProject()
{
    const QString last = Taskmill_RecentProjects().value(0);
    const Taskmill_Project &project = m_manager.Project();
    if (last.isEmpty() || !project.FilePath().isEmpty() || project.HasUnsavedChanges())
        return;
    m_offer = new Taskmill_ProjectOffer{m_longJobs.JobTable(), last};
    connect(m_offer, &QPushButton::clicked, m_projectMenu, [this, last] { m_projectMenu->OpenFile(last); });
    // The user has begun something else.
    connect(&m_manager.Project(), &Taskmill_Project::StateChangedSignal, m_offer, [this] {
        m_offer->hide();
        m_offer->deleteLater();
    });
}

void Taskmill_AppWindow::OfferPrograms()
{
    for (KilnUtil_TableWidget *table :
         std::initializer_list<KilnUtil_TableWidget *>{&m_jobTypes.Table(), &m_longJobs.Table()}) {
        // In its place stands the project that has job types already.
        if (m_offer && table == &m_longJobs.Table())
            continue;
        auto *offer = new Taskmill_ProgramsOffer{*table, m_manager.JobTypes()};
        connect(&m_manager.Project(), &Taskmill_Project::StateChangedSignal, offer,
                &Taskmill_ProgramsOffer::UpdateSlot);
        offer->UpdateSlot();
    }
}

void Taskmill_AppWindow::SpeakOfProject(const QStringList &notices)
{
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
    Taskmill_HeldJobsDialogue heldJobs{m_manager.Destinations()};
    Taskmill_AskThroughPrompt(heldJobs);
}

void Taskmill_AppWindow::UpdateWindowTitle()
{
    const Taskmill_Project &project = m_manager.Project();
    m_window.setWindowTitle(project.WindowTitle());
    m_statusLine->ShowSaved(!project.FilePath().isEmpty(), project.HasUnsavedChanges());
    m_tray.UpdateSlot();
}

Taskmill_TabWithMenu &Taskmill_AppWindow::TabOf(Taskmill_Page page)
{
    const std::array<Taskmill_TabWithMenu *, 6> tabs{&m_longJobs,    &m_shortJobs,    &m_queuelessJobs,
                                                     &m_runningJobs, &m_finishedJobs, &m_jobTypes};
    return *tabs.at(static_cast<size_t>(page));
}

Taskmill_TabWithMenu &Taskmill_AppWindow::CurrentTab()
{
    return TabOf(static_cast<Taskmill_Page>(m_window.Tabs().currentIndex()));
}

void Taskmill_AppWindow::CurrentTabChangedSlot(int tab)
{
    const auto page = static_cast<Taskmill_Page>(tab);
    m_filterEntry->setEnabled(TabOf(page).HasFilter());
    m_detailsSwitch->Entry().setEnabled(page != Taskmill_Page::RunningJobs &&
                                        page != Taskmill_Page::JobTypes);
    m_tabMenus->ShowThoseOf(TabOf(page), page == Taskmill_Page::LongJobs || page == Taskmill_Page::ShortJobs);
    switch (page) {
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
        m_tray.UpdateSlot();
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

void Taskmill_AppWindow::SettingsSlot()
{
    // The program may end while the dialog is open.
    const QPointer<Taskmill_SettingsDialog> dialog = new Taskmill_SettingsDialog{&m_window};
    dialog->Load(m_manager.Destinations().Budget().Limits());
    Taskmill_StartRules &rules = m_manager.StartRules();
    dialog->LoadScheduling(rules.QuietHours(), rules.HaveJobsLowPriority());
    dialog->LoadLoginStart(Taskmill_IsStartedAtLogin());
    const bool isAccepted = dialog->exec() == QDialog::Accepted;
    if (!dialog)
        return;
    if (isAccepted) {
        Taskmill_SetBudget(m_manager.Destinations().Budget(), dialog->Budget());
        rules.SetJobsLowPriority(dialog->HasLowPriority());
        if (rules.QuietHours() != dialog->QuietHours())
            rules.SetQuietHours(dialog->QuietHours());
        if (Taskmill_IsStartedAtLogin() != dialog->StartsAtLogin())
            Taskmill_SetStartedAtLogin(dialog->StartsAtLogin());
    }
    delete dialog;
}

void Taskmill_AppWindow::OkaySlot()
{
    if (!Taskmill_TrayIcon::IsInReach()) {
        m_window.showMinimized();
        return;
    }
    m_window.hide();
    m_tray.ExplainOnce();
}

void Taskmill_AppWindow::BeginPutAway()
{
    // Not every window manager takes a window that begins minimised.
    if (!Taskmill_TrayIcon::IsInReach())
        Show();
    OkaySlot();
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
    if (event->type() == QEvent::Resize && m_window.isVisible())
        m_detailsSwitch->SuggestFor(m_window.height());
    if (event->type() == QEvent::Show && !event->spontaneous())
        CurrentTabChangedSlot(m_window.Tabs().currentIndex());
    if (event->type() == QEvent::WindowActivate)
        m_tray.UpdateSlot();
    if (event->type() != QEvent::Close)
        return QObject::eventFilter(watched, event);
    OkaySlot();
    event->ignore();
    return true;
}

void Taskmill_AppWindow::ShutDown()
{
    QApplication::closeAllWindows();
    m_tray.Hide();
}
