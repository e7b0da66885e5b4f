#include "app/session.h"

#include "console/console.h"
#include "console/consoleprompt.h"
#include "jobs/runmode.h"
#include "kilnutil/computerdata.h"
#include "ui/appwindow.h"

#include <QApplication>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

Taskmill_Session::Taskmill_Session(Taskmill_SessionOptions options)
    : m_options{std::move(options)}
    , m_manager{m_notifier}
    , m_window{Taskmill_IsGuiMode() ? std::make_unique<Taskmill_AppWindow>(m_manager) : nullptr}
    , m_dispatcher{m_manager, *this}
    , m_server{m_dispatcher}
{
    if (m_window)
        connect(m_window.get(), &Taskmill_AppWindow::ExitSignal, this, &Taskmill_Session::ExitSlot);
}

Taskmill_Session::~Taskmill_Session()
{
    ShutDown();
    m_console.reset();
    Taskmill_SetConsolePrinter({});
}

bool Taskmill_Session::Initialise()
{
    if (m_window)
        m_window->Prepare();
    if (!m_manager.OpenStartUpProject(m_options.StartUpFile))
        return false;
    if (m_window)
        m_window->ShowTrayIcon();
    m_server.Listen(Taskmill_IsGuiMode() ? KilnUtil_ComputerData::TaskmillGUIPortNumber()
                                         : KilnUtil_ComputerData::TaskmillConsolePortNumber());
    return true;
}

void Taskmill_Session::Show()
{
    if (m_window)
        m_window->Show();
    else
        StartConsole();
}

void Taskmill_Session::StartConsole()
{
    if (m_console)
        return;
    const QString notice =
        m_manager.Project().FilePath().isEmpty()
            ? QString{}
            : u"The queues of an opened project are paused: \"unpause long jobs\" and \"unpause short jobs\" resume them."_s;
    m_console = std::make_unique<Taskmill_Console>(m_options.Banner, m_options.NoEventLoop,
                                                   Taskmill_ConsoleContext{.Manager = m_manager,
                                                                           .Notice = notice,
                                                                           .Exit =
                                                                               [this] {
                                                                                   ExitSlot();
                                                                               }},
                                                   Taskmill_MakeConsoleTerminal());
    Taskmill_SetConsolePrinter(
        [console = m_console.get()](const QString &text) { console->Terminal().Post(text); });
    if (m_options.NoEventLoop)
        m_console->RunSlot();
    else
        QTimer::singleShot(0, m_console.get(), &Taskmill_Console::RunSlot);
}

void Taskmill_Session::ShowInFront()
{
    if (m_window)
        m_window->SystemTrayShowWindowSlot();
}

void Taskmill_Session::PutAway()
{
    if (m_window)
        m_window->SystemTrayHideWindowSlot();
}

bool Taskmill_Session::IsUserBusy() const
{
    return QApplication::activeModalWidget() || QApplication::activePopupWidget();
}

void Taskmill_Session::ExitSlot()
{
    if (m_manager.IsShutDown())
        return;
    ShutDown();
    EndEventLoop();
}

void Taskmill_Session::QuitAtOnceSlot()
{
    if (!m_manager.IsShutDown())
        m_manager.Project().SaveUnattended();
    ShutDown();
    EndEventLoop();
}

void Taskmill_Session::EndEventLoop()
{
    if (m_options.NoEventLoop && m_options.ExitWithoutEventLoop)
        m_options.ExitWithoutEventLoop();
    else
        QCoreApplication::exit(0);
}

void Taskmill_Session::ShutDown()
{
    if (m_manager.IsShutDown())
        return;
    m_server.Close();
    m_manager.ShutDown();
    if (m_window)
        m_window->ShutDown();
    if (m_console)
        m_console->QuitSlot();
}
