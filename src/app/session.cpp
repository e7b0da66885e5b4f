// SPDX-License-Identifier: MIT
#include "app/session.h"

#include "console/console.h"
#include "console/consoleprompt.h"
#include "jobs/clusterrun.h"
#include "jobs/runmode.h"
#include "kilnutil/error.h"
#include "kilnutil/filesys.h"
#include "kilnutil/logging.h"
#include "kilnutil/statefolder.h"
#include "processes/runkeepers.h"
#include "ui/appwindow.h"

#include <QApplication>
#include <QTimer>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
/// The keepers whose program stands beside this one; nullptr when there are none.
std::unique_ptr<KilnUtil_RunKeepers> MakeKeepers()
{
    const QString name = KilnUtil_RunKeepers::ProgramName();
    if (name.isEmpty())
        return nullptr;
    const QStringList folders = KilnUtil_MachineFolderPaths();
    const auto folder = std::ranges::find_if(folders, KilnUtil_MakeMachineFolder);
    if (folder == folders.end())
        return nullptr;
    // An earlier start may have had to use another one.
    QStringList others;
    for (const QString &other : folders) {
        if (other != *folder && KilnUtil_IsMachineFolder(other))
            others += KilnUtil_RunKeepers::FolderIn(other);
    }
    return KilnUtil_RunKeepers::Make(KilnUtil_FileSys::m_appDirPath + u'/' + name,
                                     KilnUtil_RunKeepers::FolderIn(*folder), others);
}
} // namespace

Taskmill_Session::Taskmill_Session(Taskmill_SessionOptions options)
    : m_options{std::move(options)}
    , m_notifier{{.AdmitsUnknown =
                      [this] {
                          return m_server.AdmitsUnknown();
                      }}}
    , m_manager{m_notifier,
                Taskmill_IsGuiMode() ? Taskmill_ReadOnlyProjects::Refuse : Taskmill_ReadOnlyProjects::Open,
                MakeKeepers()}
    , m_window{Taskmill_IsGuiMode() ? std::make_unique<Taskmill_AppWindow>(m_manager) : nullptr}
    , m_dispatcher{m_manager, *this}
    , m_server{m_dispatcher}
{
    Taskmill_RepeatCancellations();
    connect(&m_server, &Taskmill_RequestServer::FirstRefusedSignal, this,
            &Taskmill_Session::ShowRefusedRequest);
    if (m_window)
        connect(m_window.get(), &Taskmill_AppWindow::ExitSignal, this, &Taskmill_Session::ExitSlot);
}

Taskmill_Session::~Taskmill_Session()
{
    ShutDown();
    Taskmill_SetConsolePrinter({});
    // The project is closed: the end is not to wait for a drive that does not answer.
    if (m_console && !m_console->End()) {
        qCWarning(Taskmill_AppLog, "The console is held up, and is left behind");
        (void)m_console.release();
    }
    m_console.reset();
}

bool Taskmill_Session::Initialise()
{
    if (m_window)
        m_window->Prepare();
    if (!m_manager.OpenStartUpProject(m_options.StartUpFile))
        return false;
    if (m_window)
        m_window->ShowTrayIcon();
    m_server.Listen(Taskmill_ServerPort());
    return true;
}

void Taskmill_Session::Show()
{
    if (!m_window) {
        StartConsole();
        return;
    }
    if (m_options.PutAway)
        m_window->BeginPutAway();
    else
        m_window->Show();
    // Asks from the event loop, so that requests are served while a question is open.
    if (!std::exchange(m_hasSpokenAtStart, true))
        QTimer::singleShot(0, this, &Taskmill_Session::SpeakAtStart);
    if (m_options.SubmitsJobs)
        m_window->ChooseFiles();
}

void Taskmill_Session::SpeakAtStart()
{
    if (!m_options.Unattended) {
        m_window->SpeakAtStart();
        return;
    }
    const QStringList notices = m_manager.NoticesAtStart(false);
    for (const QString &notice : notices)
        qCWarning(Taskmill_AppLog, "%ls", qUtf16Printable(notice));
}

void Taskmill_Session::StartConsole()
{
    if (m_console)
        return;
    auto terminal = Taskmill_MakeConsoleTerminal();
    const bool asksAtStart = !m_options.Unattended && terminal->IsInteractive();
    QStringList notices = m_manager.NoticesAtStart(asksAtStart);
    const auto queues = m_manager.Destinations().Queues();
    if (!m_manager.Project().FilePath().isEmpty() &&
        std::ranges::all_of(queues, &Taskmill_JobQueue::IsPaused))
        notices.prepend(
            u"The queues of an opened project are paused: \"unpause long jobs\" and \"unpause short jobs\" resume them."_s);
    Taskmill_ConsoleContext context{
        .Manager = m_manager, .Notices = notices, .AsksAtStart = asksAtStart, .Exit = [this] {
            ExitSlot();
        }};
    m_console = std::make_unique<Taskmill_Console>(m_options.Banner, m_options.NoEventLoop,
                                                   std::move(context), std::move(terminal));
    Taskmill_SetConsolePrinter(
        [console = m_console.get()](const QString &text) { console->Terminal().Post(text); });
    QObject::connect(&m_manager.JobWatch(), &Taskmill_JobWatch::NoProgressSignal, m_console.get(),
                     [console = m_console.get()](int jobID, const QString &name, int minutes) {
                         console->Terminal().Post(
                             u"\n<Taskmill> Job %1, %2: no progress for %3 min.\n\n"_s.arg(
                                 QString::number(jobID), name, QString::number(minutes)));
                     });
    if (m_options.NoEventLoop)
        m_console->RunSlot();
    else
        QTimer::singleShot(0, m_console.get(), &Taskmill_Console::RunSlot);
}

void Taskmill_Session::ShowRefusedRequest(const QString &reason)
{
    KilnUtil_Error::UserPrompt().ShowNotice(
        u"Request Refused"_s,
        u"A request to submit a job, or to show or hide the window, was refused: "_s + reason +
            u".\n\nRequests of taskmillctl, and of programs that wait for the answer or send the manager's "
            u"key, "
            "are accepted. To accept all requests, start Taskmill with the environment variable "
            "TASKMILL_ACCEPT_UNKNOWN=1. Further refused requests are in the debug log only."_s);
}

void Taskmill_Session::ShowInFront()
{
    if (m_window)
        m_window->SystemTrayShowWindowSlot();
}

void Taskmill_Session::ShowJob(int jobID)
{
    if (m_window)
        m_window->ShowJob(jobID);
}

void Taskmill_Session::ChooseFiles()
{
    if (m_window)
        m_window->ChooseFiles();
}

void Taskmill_Session::PutAway()
{
    if (m_window)
        m_window->SystemTrayHideWindowSlot();
}

void Taskmill_Session::OfferProject(const QString &path)
{
    if (m_window)
        m_window->OfferProject(path);
}

bool Taskmill_Session::IsUserBusy() const
{
    return QApplication::activeModalWidget() || QApplication::activePopupWidget();
}

void Taskmill_Session::QuitLater(bool keepsJobs)
{
    const Taskmill_Ending ending = keepsJobs ? Taskmill_Ending::AskedToKeep : Taskmill_Ending::AskedToEnd;
    QMetaObject::invokeMethod(
        this, [this, ending] { QuitAtOnce(ending); }, Qt::QueuedConnection);
}

void Taskmill_Session::ExitSlot()
{
    if (m_manager.IsShutDown())
        return;
    ShutDown();
    EndEventLoop(0);
}

void Taskmill_Session::QuitAtOnce(Taskmill_Ending ending)
{
    // An end that is under way goes on as it began.
    if (m_manager.IsShutDown())
        return;
    m_manager.SetEnding(ending);
    const bool saved = m_manager.Project().SaveUnattended();
    ShutDown(Taskmill_Manager::End::Unattended);
    EndEventLoop(saved ? 0 : ExitStatusWithoutSaving);
}

void Taskmill_Session::EndEventLoop(int status)
{
    if (m_options.NoEventLoop && m_options.ExitWithoutEventLoop)
        m_options.ExitWithoutEventLoop(status);
    else
        QCoreApplication::exit(status);
}

void Taskmill_Session::ShutDown(Taskmill_Manager::End end)
{
    if (m_manager.IsShutDown())
        return;
    m_server.Close();
    // The shutdown runs event loops, in which nothing is to be submitted any more.
    if (m_console)
        m_console->TakeNoMoreCommands();
    m_manager.ShutDown(end);
    if (m_window)
        m_window->ShutDown();
    if (m_console)
        m_console->QuitSlot();
}
