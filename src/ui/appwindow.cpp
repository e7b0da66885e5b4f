#include "ui/appwindow.h"

#include "jobs/processinspector.h"
#include "jobs/runmode.h"
#include "kilnutil/computerdata.h"
#include "kilnutil/registry.h"
#include "service/console.h"
#include "service/consoleprompt.h"
#include "service/recentprojects.h"
#include "service/version.h"

#include <QCoreApplication>
#include <QDir>
#include <QEvent>
#include <QFileInfo>
#include <QIcon>
#include <QScreen>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int leastDistanceToEdge = 10; // pixels
}

Taskmill_AppWindow::Taskmill_AppWindow(Taskmill_AppWindowOptions options)
    : m_options{std::move(options)}
    , m_inspector{Taskmill_MakeProcessInspector()}
    , m_jobTypes{m_store}
    , m_longJobs{m_store, m_finishedJobs, *m_inspector}
    , m_shortJobs{m_store, m_finishedJobs, *m_inspector}
    , m_queuelessJobs{m_finishedJobs, *m_inspector}
    , m_project{m_jobTypes, m_jobNumbers, Tabs()}
    , m_submitter{m_store, m_jobNumbers, Tabs()}
    , m_runningJobs{*m_inspector, m_jobTypes}
    , m_server{*this}
{
    connect(&m_project, &Taskmill_Project::StateChangedSignal, this, &Taskmill_AppWindow::UpdateWindowTitle);
    if (Taskmill_IsGuiMode()) {
        m_window = std::make_unique<QMainWindow>();
        m_window->setWindowTitle(Taskmill_VersionText());
        m_window->setWindowIcon(QIcon{u":/taskmillgui"_s});
        m_window->installEventFilter(this);
    }
}

Taskmill_AppWindow::~Taskmill_AppWindow()
{
    ShutDown();
}

Taskmill_JobTabs Taskmill_AppWindow::Tabs()
{
    return {m_finishedJobs, m_longJobs, m_shortJobs, m_queuelessJobs};
}

bool Taskmill_AppWindow::Initialise()
{
    const QString lastDirectory = KilnUtil_Registry::Value(u"/Files/Last_Directory_Path"_s).toString();
    const QString startUpFile =
        m_options.StartUpFile.isEmpty() ? QString{} : QFileInfo{m_options.StartUpFile}.absoluteFilePath();
    if (!lastDirectory.isEmpty() && QFileInfo{lastDirectory}.isDir())
        QDir::setCurrent(lastDirectory);

    Taskmill_DropMissingRecentProjects();
    if (!startUpFile.isEmpty()) {
        if (!m_project.OpenProject(startUpFile))
            return false;
    } else if (!m_project.NewProject()) {
        return false;
    }
    m_server.Listen(Taskmill_IsGuiMode() ? KilnUtil_ComputerData::TaskmillGUIPortNumber()
                                         : KilnUtil_ComputerData::TaskmillConsolePortNumber());
    return true;
}

void Taskmill_AppWindow::Show(uint)
{
    if (m_window)
        ShowWindow();
    else
        StartConsole();
}

void Taskmill_AppWindow::Show()
{
    Show(Qt::WindowMaximized | Qt::WindowActive);
}

void Taskmill_AppWindow::ShowWindow()
{
    m_window->show();
    const QRect available = m_window->screen()->availableGeometry();
    m_window->resize((available.width() + 1) / 2, (available.height() + 1) / 2);
    m_window->raise();
    QRect frame = m_window->frameGeometry();
    frame.moveCenter(available.center());
    m_window->move(qMax(frame.left(), available.left() + leastDistanceToEdge),
                   qMax(frame.top(), available.top() + leastDistanceToEdge));
}

void Taskmill_AppWindow::StartConsole()
{
    if (m_console)
        return;
    const QString notice =
        m_project.FilePath().isEmpty()
            ? QString{}
            : u"The queues of an opened project are paused: \"unpause long jobs\" and \"unpause short jobs\" resume them."_s;
    m_console = std::make_unique<Taskmill_Console>(m_options.Banner, m_options.NoEventLoop,
                                                   Taskmill_ConsoleContext{.Tabs = Tabs(),
                                                                           .RunningJobs = m_runningJobs,
                                                                           .JobTypes = m_jobTypes,
                                                                           .Submitter = m_submitter,
                                                                           .Project = m_project,
                                                                           .Notice = notice,
                                                                           .Exit =
                                                                               [this] {
                                                                                   ExitSlot();
                                                                               }},
                                                   Taskmill_MakeConsoleTerminal());
    Taskmill_SetConsolePrinter([this](const QString &text) { m_console->Terminal().Print(text); });
    if (m_options.NoEventLoop)
        m_console->RunSlot();
    else
        QTimer::singleShot(0, m_console.get(), &Taskmill_Console::RunSlot);
}

void Taskmill_AppWindow::UpdateWindowTitle()
{
    if (m_window)
        m_window->setWindowTitle(m_project.WindowTitle());
}

void Taskmill_AppWindow::SystemTrayShowWindowSlot()
{
    if (!m_window)
        return;
    m_window->setWindowState((m_window->windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    m_window->showNormal();
    m_window->raise();
    m_window->activateWindow();
}

void Taskmill_AppWindow::SystemTrayHideWindowSlot()
{
    if (m_window)
        m_window->hide();
}

void Taskmill_AppWindow::ExitSlot()
{
    if (Taskmill_IsGuiMode() && m_project.AskToSave() == Taskmill_Project::SaveAnswer::Cancel)
        return;
    ShutDown();
    EndEventLoop();
}

void Taskmill_AppWindow::QuitAtOnceSlot()
{
    if (!m_quitting)
        m_project.SaveUnattended();
    ShutDown();
    EndEventLoop();
}

void Taskmill_AppWindow::EndEventLoop()
{
    if (m_options.NoEventLoop && m_options.ExitWithoutEventLoop)
        m_options.ExitWithoutEventLoop();
    else
        QCoreApplication::exit(0);
}

bool Taskmill_AppWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != m_window.get() || event->type() != QEvent::Close || m_quitting)
        return QObject::eventFilter(watched, event);
    ExitSlot();
    // The window stays when the user has changed his mind.
    if (!m_quitting)
        event->ignore();
    return true;
}

void Taskmill_AppWindow::ShutDown()
{
    if (std::exchange(m_quitting, true))
        return;
    m_server.Close();
    m_project.CloseProject();
    if (m_console) {
        Taskmill_SetConsolePrinter({});
        m_console->QuitSlot();
    }
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
    return Taskmill_AcceptedReply.toByteArray() + numbers.join(' ') + '\n';
}
