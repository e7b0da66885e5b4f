#include "ui/appwindow.h"

#include "jobs/processinspector.h"
#include "jobs/runmode.h"
#include "kilnutil/computerdata.h"
#include "kilnutil/error.h"
#include "kilnutil/platform.h"
#include "kilnutil/registry.h"
#include "kilnutil/widgetutil.h"
#include "service/console.h"
#include "service/consoleprompt.h"
#include "service/recentprojects.h"
#include "service/spareproject.h"
#include "service/version.h"
#include "ui/jobtypeswidget.h"
#include "ui/openfilesdialog.h"
#include "ui/programicon.h"
#include "ui/runningjobswidget.h"
#include "ui/trayicon.h"

#include <QApplication>
#include <QDir>
#include <QEvent>
#include <QFileInfo>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QSessionManager>
#include <QSysInfo>
#include <QTabWidget>
#include <QTimer>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
using WarnMode = KilnUtil_Error::WarnMode;
using WarnAnswer = KilnUtil_Error::WarnAnswer;

/// Such as "64-bit Linux".
QString PlatformText()
{
    const QString kernel = QSysInfo::kernelType();
    return QString::number(QSysInfo::WordSize) + u"-bit "_s +
           (kernel == "winnt"_L1 ? u"Windows"_s : kernel.left(1).toUpper() + kernel.mid(1));
}

/// How many jobs run and wait, for who is about to end them.
QString JobCountsText(const Taskmill_JobTabs &tabs)
{
    using enum Taskmill_Destination;
    qsizetype running = 0;
    qsizetype waiting = 0;
    for (const Taskmill_Destination destination : {Long, Short, Queueless}) {
        const QList<Taskmill_Job *> &jobs = tabs.OwnerOf(destination)->Jobs().Jobs();
        running += std::ranges::count(jobs, Taskmill_JobStatus::Running, &Taskmill_Job::Status);
        waiting += std::ranges::count(jobs, Taskmill_JobStatus::Pending, &Taskmill_Job::Status);
    }
    const QString ends = running == 0   ? u"No job is running."_s
                         : running == 1 ? u"1 job is running and will be ended."_s
                                        : u"%1 jobs are running and will be ended."_s.arg(running);
    const QString waits = waiting == 0   ? u"No job is waiting."_s
                          : waiting == 1 ? u"1 job is waiting."_s
                                         : u"%1 jobs are waiting."_s.arg(waiting);
    return ends + u'\n' + waits;
}
} // namespace

Taskmill_AppWindow::Taskmill_AppWindow(Taskmill_AppWindowOptions options)
    : m_options{std::move(options)}
    , m_window{Taskmill_IsGuiMode() ? std::make_unique<Taskmill_MainWindow>() : nullptr}
    , m_inspector{Taskmill_MakeProcessInspector()}
    , m_jobTypes{m_store}
    , m_finishedJobs{PageOf(Taskmill_Page::FinishedJobs)}
    , m_longJobs{PageOf(Taskmill_Page::LongJobs), m_store, m_finishedJobs, *m_inspector}
    , m_shortJobs{PageOf(Taskmill_Page::ShortJobs), m_store, m_finishedJobs, *m_inspector}
    , m_queuelessJobs{PageOf(Taskmill_Page::QueuelessJobs), m_finishedJobs, *m_inspector}
    , m_project{m_jobTypes, m_jobNumbers, Tabs()}
    , m_submitter{m_store, m_jobNumbers, Tabs()}
    , m_runningJobs{*m_inspector, m_jobTypes}
    , m_server{*this}
{
    connect(&m_project, &Taskmill_Project::StateChangedSignal, this, &Taskmill_AppWindow::UpdateWindowTitle);
    connect(&m_server, &Taskmill_RequestServer::FirstRefusedSignal, this,
            &Taskmill_AppWindow::ShowRefusedRequest);
    if (!m_window)
        return;
    m_openFilesDialog = std::make_unique<Taskmill_OpenFilesDialog>(m_store, m_window.get());
    m_submitter.SetSubmitDialog(m_openFilesDialog.get());
    FillWindow();
    ConnectWindow();
}

QWidget *Taskmill_AppWindow::PageOf(Taskmill_Page page) const
{
    return m_window ? m_window->PageOf(page) : nullptr;
}

void Taskmill_AppWindow::FillWindow()
{
    m_runningJobsTab = std::make_unique<Taskmill_RunningJobsWidget>(PageOf(Taskmill_Page::RunningJobs),
                                                                    m_runningJobs, Tabs());
    m_jobTypesTab = std::make_unique<Taskmill_JobTypesWidget>(PageOf(Taskmill_Page::JobTypes), m_jobTypes);
    Fill(Taskmill_Page::LongJobs, *m_longJobs.Tab());
    Fill(Taskmill_Page::ShortJobs, *m_shortJobs.Tab());
    Fill(Taskmill_Page::QueuelessJobs, *m_queuelessJobs.Tab());
    m_window->SetContent(Taskmill_Page::RunningJobs, m_runningJobsTab->Frame());
    m_window->SetContent(Taskmill_Page::FinishedJobs, m_finishedJobs.Frame());
    m_window->SetContent(Taskmill_Page::JobTypes, m_jobTypesTab->Frame());
}

void Taskmill_AppWindow::Fill(Taskmill_Page page, Taskmill_QueueTab &tab)
{
    m_window->SetContent(page, tab.Frame());
    connect(&tab, &Taskmill_QueueTab::PausedChangedSignal, m_window.get(),
            [this, page](bool paused) { m_window->ShowPaused(page, paused); });
    connect(&tab, &Taskmill_QueueTab::FilesDroppedSignal, this,
            [this](const QStringList &files, Taskmill_Destination destination) {
                m_submitter.SubmitFiles(files, destination, -1);
            });
}

void Taskmill_AppWindow::ConnectWindow()
{
    connect(&m_window->SubmitJobsButton(), &QPushButton::clicked, this, &Taskmill_AppWindow::NewJobsSlot);
    connect(&m_window->HideButton(), &QPushButton::clicked, this, &Taskmill_AppWindow::OkaySlot);
    connect(&m_window->ExitButton(), &QPushButton::clicked, this, &Taskmill_AppWindow::SystemTrayQuitSlot);
    connect(&m_window->AboutButton(), &QPushButton::clicked, this, &Taskmill_AppWindow::AboutSlot);
    connect(&m_window->Tabs(), &QTabWidget::currentChanged, this, &Taskmill_AppWindow::CurrentTabChangedSlot);
    m_window->installEventFilter(this);
    // The user logs out or shuts the computer down.
    connect(qGuiApp, &QGuiApplication::commitDataRequest, this, [this] { m_project.SaveUnattended(); });
}

Taskmill_AppWindow::~Taskmill_AppWindow()
{
    ShutDown();
    m_console.reset();
    Taskmill_SetConsolePrinter({});
}

Taskmill_JobTabs Taskmill_AppWindow::Tabs()
{
    return {m_finishedJobs, m_longJobs, m_shortJobs, m_queuelessJobs};
}

bool Taskmill_AppWindow::Initialise()
{
    if (m_window) {
        const QIcon icon = Taskmill_ProgramIcon();
        QApplication::setWindowIcon(icon);
        m_window->setWindowIcon(icon);
        m_window->setWindowTitle(Taskmill_VersionText());
    }
    if (!OpenStartUpProject())
        return false;
    if (m_window) {
        RestoreToolBars();
        UpdateWindowTitle();
        ShowTrayIcon();
    }
    m_server.Listen(Taskmill_IsGuiMode() ? KilnUtil_ComputerData::TaskmillGUIPortNumber()
                                         : KilnUtil_ComputerData::TaskmillConsolePortNumber());
    return true;
}

bool Taskmill_AppWindow::OpenStartUpProject()
{
    const QString lastDirectory = KilnUtil_Registry::Value(u"/Files/Last_Directory_Path"_s).toString();
    const QString startUpFile =
        m_options.StartUpFile.isEmpty() ? QString{} : QFileInfo{m_options.StartUpFile}.absoluteFilePath();
    if (!lastDirectory.isEmpty() && QFileInfo{lastDirectory}.isDir())
        QDir::setCurrent(lastDirectory);
    Taskmill_DropMissingRecentProjects();
    return startUpFile.isEmpty() ? m_project.NewProject() : m_project.OpenProject(startUpFile);
}

/// The key that decides is another than the one that is read.
void Taskmill_AppWindow::RestoreToolBars()
{
    if (KilnUtil_Registry::HasUnversionedValue(u"Main_Window/ToolBar_State_0"_s))
        m_window->restoreState(KilnUtil_Registry::Value(u"/Main_Window/ToolBar_State_0"_s).toByteArray());
}

void Taskmill_AppWindow::ShowTrayIcon()
{
    m_trayIcon = std::make_unique<Taskmill_TrayIcon>(m_window->windowIcon(), m_window->windowTitle());
    connect(m_trayIcon.get(), &Taskmill_TrayIcon::ShowSignal, this,
            &Taskmill_AppWindow::SystemTrayShowWindowSlot);
    connect(m_trayIcon.get(), &Taskmill_TrayIcon::HideSignal, this,
            &Taskmill_AppWindow::SystemTrayHideWindowSlot);
    connect(m_trayIcon.get(), &Taskmill_TrayIcon::ExitSignal, this, &Taskmill_AppWindow::SystemTrayQuitSlot);
}

void Taskmill_AppWindow::Show(uint)
{
    if (!m_window) {
        StartConsole();
        return;
    }
    m_window->show();
    m_window->PutInMiddleOfScreen();
    m_window->raise();
    // With the event loop, so that requests are served while a question stands.
    if (!std::exchange(m_hasSpokenAtStart, true))
        QTimer::singleShot(0, this, &Taskmill_AppWindow::SpeakAtStart);
}

void Taskmill_AppWindow::Show()
{
    Show(Qt::WindowMaximized | Qt::WindowActive);
}

QStringList Taskmill_AppWindow::NoticesAtStart(bool asksAboutJobs) const
{
    QStringList notices;
    const QString heldJobs = asksAboutJobs ? QString{} : m_queuelessJobs.HeldJobsNotice();
    if (!heldJobs.isEmpty())
        notices += heldJobs;
    const QStringList spareProjects = Taskmill_SpareProjects();
    for (const QString &path : spareProjects) {
        if (path != m_project.FilePath())
            notices += Taskmill_SpareProjectNotice(path);
    }
    return notices;
}

void Taskmill_AppWindow::SpeakAtStart()
{
    if (m_options.Unattended) {
        const QStringList notices = NoticesAtStart(false);
        for (const QString &notice : notices)
            qWarning("%ls", qUtf16Printable(notice));
        return;
    }
    const QStringList notices = NoticesAtStart(true);
    if (!notices.isEmpty())
        KilnUtil_Error::UserPrompt().ShowInformation(u"Project Not Saved"_s, notices.join(u"\n\n"_s));
    const Taskmill_Question question = m_queuelessJobs.HeldJobsQuestion();
    if (m_quitting || question.text.isEmpty())
        return;
    const QList<int> jobIDs = m_queuelessJobs.Jobs().HeldJobIDs();
    const QString text =
        question.text +
        (jobIDs.size() == 1
             ? u"\n\nIf you choose No, it waits in the tab Queueless Jobs, whose menu runs or removes it."_s
             : u"\n\nIf you choose No, they wait in the tab Queueless Jobs, whose menu runs or removes them."_s);
    if (KilnUtil_Error::UserPrompt().AskQuestion(question.title, text, WarnMode::YesNo, WarnAnswer::No) ==
        WarnAnswer::Yes)
        m_queuelessJobs.Jobs().Release(jobIDs);
}

void Taskmill_AppWindow::StartConsole()
{
    if (m_console)
        return;
    auto terminal = Taskmill_MakeConsoleTerminal();
    const bool asksAtStart = !m_options.Unattended && terminal->IsInteractive();
    QStringList notices = NoticesAtStart(asksAtStart);
    if (!m_project.FilePath().isEmpty())
        notices.prepend(
            u"The queues of an opened project are paused: \"unpause long jobs\" and \"unpause short jobs\" resume them."_s);
    m_console = std::make_unique<Taskmill_Console>(m_options.Banner, m_options.NoEventLoop,
                                                   Taskmill_ConsoleContext{.Tabs = Tabs(),
                                                                           .RunningJobs = m_runningJobs,
                                                                           .JobTypes = m_jobTypes,
                                                                           .Submitter = m_submitter,
                                                                           .Project = m_project,
                                                                           .Notices = notices,
                                                                           .AsksAtStart = asksAtStart,
                                                                           .Exit =
                                                                               [this] {
                                                                                   ExitSlot();
                                                                               }},
                                                   std::move(terminal));
    Taskmill_SetConsolePrinter(
        [console = m_console.get()](const QString &text) { console->Terminal().Post(text); });
    if (m_options.NoEventLoop)
        m_console->RunSlot();
    else
        QTimer::singleShot(0, m_console.get(), &Taskmill_Console::RunSlot);
}

void Taskmill_AppWindow::UpdateWindowTitle()
{
    if (!m_window)
        return;
    m_window->setWindowTitle(m_project.WindowTitle());
    if (m_trayIcon)
        m_trayIcon->SetToolTip(m_window->windowTitle());
}

void Taskmill_AppWindow::CurrentTabChangedSlot(int tab)
{
    switch (static_cast<Taskmill_Page>(tab)) {
    case Taskmill_Page::LongJobs:
        m_longJobs.Tab()->FillTable();
        break;
    case Taskmill_Page::ShortJobs:
        m_shortJobs.Tab()->FillTable();
        break;
    case Taskmill_Page::QueuelessJobs:
        m_queuelessJobs.Tab()->FillTable();
        break;
    case Taskmill_Page::RunningJobs:
        m_runningJobsTab->RefreshSlot();
        break;
    case Taskmill_Page::FinishedJobs:
        m_finishedJobs.FillTable();
        break;
    case Taskmill_Page::JobTypes:
        m_jobTypesTab->FillTable();
        break;
    }
}

void Taskmill_AppWindow::NewJobsSlot()
{
    m_submitter.SubmitFiles({}, Taskmill_Destination::JobTypeDefault, -1);
}

void Taskmill_AppWindow::AboutSlot()
{
    KilnUtil_Error::UserPrompt().ShowInformation(
        u"About TaskmillGUI"_s, Taskmill_VersionText() + u"     ("_s + PlatformText() +
                                    u")\n\nRuns calculations one after another, for weeks if need be."_s);
}

void Taskmill_AppWindow::OkaySlot()
{
    if (!m_window)
        return;
    if (Taskmill_TrayIcon::IsInReach())
        m_window->hide();
    else
        m_window->showMinimized();
}

void Taskmill_AppWindow::UpdateMenusSlot() {}

void Taskmill_AppWindow::SystemTrayShowWindowSlot()
{
    if (m_window)
        m_window->ShowInFront();
}

void Taskmill_AppWindow::SystemTrayHideWindowSlot()
{
    if (m_window)
        m_window->hide();
}

void Taskmill_AppWindow::SystemTrayQuitSlot()
{
    if (!m_window) {
        ExitSlot();
        return;
    }
    if (!KilnUtil_WidgetUtil::CanBeInFrontOf(m_window.get()))
        m_window->ShowInFront();
    // The tray's menu works while a question is open.
    if (m_askingToExit) {
        m_window->ShowInFront();
        return;
    }
    const QScopedValueRollback asking{m_askingToExit, true};
    if (KilnUtil_Error::UserPrompt().ReportDetailedWarning(
            u"Exit Taskmill"_s, u"Are you sure you want to completely exit Taskmill?"_s,
            JobCountsText(Tabs()), WarnMode::YesNoCancel, WarnAnswer::No) == WarnAnswer::Yes)
        ExitSlot();
}

void Taskmill_AppWindow::ExitSlot()
{
    if (m_quitting || (m_window && m_project.AskToSave() == Taskmill_Project::SaveAnswer::Cancel))
        return;
    ShutDown();
    EndEventLoop(0);
}

void Taskmill_AppWindow::QuitAtOnceSlot()
{
    // An end that is under way goes on as it began.
    if (m_quitting)
        return;
    const bool saved = m_project.SaveUnattended();
    ShutDown();
    EndEventLoop(saved ? 0 : ExitStatusWithoutSaving);
}

void Taskmill_AppWindow::EndEventLoop(int status)
{
    if (m_options.NoEventLoop && m_options.ExitWithoutEventLoop)
        m_options.ExitWithoutEventLoop(status);
    else
        QCoreApplication::exit(status);
}

bool Taskmill_AppWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != m_window.get() || m_quitting)
        return QObject::eventFilter(watched, event);
    if (event->type() == QEvent::Show && !event->spontaneous())
        CurrentTabChangedSlot(m_window->Tabs().currentIndex());
    if (event->type() != QEvent::Close)
        return QObject::eventFilter(watched, event);
    OkaySlot();
    event->ignore();
    return true;
}

void Taskmill_AppWindow::ShutDown()
{
    if (std::exchange(m_quitting, true))
        return;
    m_server.Close();
    m_project.CloseProject();
    if (m_window)
        QApplication::closeAllWindows();
    if (m_trayIcon)
        m_trayIcon->Hide();
    if (m_console)
        m_console->QuitSlot();
}

/// A question that came up by itself would close a menu, or take the keys that are typed into a dialog.
bool Taskmill_AppWindow::CanHandleNow(const Taskmill_RequestMessage &request) const
{
    const bool userIsBusy = m_submitter.IsAsking() || QApplication::activeModalWidget() != nullptr ||
                            QApplication::activePopupWidget() != nullptr;
    return !userIsBusy || !m_submitter.WouldAsk(request);
}

void Taskmill_AppWindow::ShowRefusedRequest(const QString &reason)
{
    KilnUtil_Error::UserPrompt().ShowNotice(
        u"Request Refused"_s,
        u"A request to submit a job, or to show or hide the window, was refused: "_s + reason +
            u".\n\nRequests of taskmillctl, and of programs that wait for the answer or send the manager's "
            u"key, "
            "are accepted. To accept all requests, start Taskmill with the environment variable "
            "TASKMILL_ACCEPT_UNKNOWN=1. Further refused requests are in the debug log only."_s);
}

void Taskmill_AppWindow::SaveBeforeAbruptEnd()
{
    if (m_quitting)
        return;
    m_project.SaveUnattended();
    KilnUtil_Platform::KillRegisteredChildren();
}

QByteArray Taskmill_AppWindow::HandleRequest(const Taskmill_RequestMessage &request)
{
    const auto actionIs = [&request](QLatin1StringView action) {
        return request.Action.compare(action, Qt::CaseInsensitive) == 0;
    };
    if (actionIs("show"_L1)) {
        SystemTrayShowWindowSlot();
        return Taskmill_AcceptedReply.toByteArray() + '\n';
    }
    if (actionIs("hide"_L1)) {
        SystemTrayHideWindowSlot();
        return Taskmill_AcceptedReply.toByteArray() + '\n';
    }
    if (!actionIs("submitjob"_L1))
        return Taskmill_RefusedReply.toByteArray() + "there is no such action\n";

    const Taskmill_SubmitResult result = m_submitter.Submit(request);
    if (result.JobIDs.isEmpty()) {
        qInfo("Request refused: %ls", qUtf16Printable(result.Refusal));
        return Taskmill_RefusedReply.toByteArray() + result.Refusal.toUtf8() + '\n';
    }
    QByteArrayList numbers;
    for (const int jobID : result.JobIDs)
        numbers += QByteArray::number(jobID);
    return Taskmill_AcceptedReply.toByteArray() + numbers.join(' ') + '\n' + result.JobLines;
}
