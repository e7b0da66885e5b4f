// SPDX-License-Identifier: MIT
#include "app/startup.h"

#include "app/app.h"
#include "app/debuglog.h"
#include "app/platform.h"
#include "app/secondstart.h"
#include "app/session.h"
#include "app/starterror.h"
#include "app/startoptions.h"
#include "console/consoleprompt.h"
#include "kilnutil/computerdata.h"
#include "kilnutil/error.h"
#include "kilnutil/filesys.h"
#include "kilnutil/logging.h"
#include "kilnutil/openfileslimit.h"
#include "kilnutil/registry.h"
#include "kilnutil/standardstreams.h"
#include "kilnutil/threadstart.h"
#include "manager/version.h"
#include "processes/process.h"
#include "ui/appwindow.h"
#include "ui/programicon.h"
#include "widgets/outputwindow.h"
#include "widgets/widgetprompt.h"
#include "wire/instanceprobe.h"

#include <QDir>
#include <QFileInfo>
#include <QIcon>
#include <QProcess>
#include <QThread>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int exitFailure = 1;
constexpr int exitMissingFile = 2;
constexpr int exitUsageShown = 3;
constexpr unsigned long detachedCopyWaitMs = 500;
constexpr int makersApplicationID = 6;

/// argv as Qt wants it: a copy that lives as long as the application, to which options can be added.
class Arguments
{
public:
    Arguments(int argc, char **argv)
        : m_pointers{argv, argv + argc}
    {
        for (int index = 0; index < argc; ++index)
            m_texts += QString::fromLocal8Bit(argv[index]);
        m_texts.removeAll(QString{});
    }

    [[nodiscard]] const QStringList &Texts() const { return m_texts; }

    /// Hands the platforms to Qt as an option, as the jobs would inherit an environment variable.
    void UsePlatforms(const QByteArray &names)
    {
        m_platformNames = names;
        m_pointers.push_back(m_platformOption.data());
        m_pointers.push_back(m_platformNames.data());
    }

    [[nodiscard]] int &Count()
    {
        m_count = static_cast<int>(m_pointers.size());
        m_pointers.push_back(nullptr);
        return m_count;
    }
    [[nodiscard]] char **Values() { return m_pointers.data(); }

private:
    std::vector<char *> m_pointers;
    std::array<char, 10> m_platformOption{"-platform"};
    QByteArray m_platformNames;
    QStringList m_texts;
    int m_count = 0;
};

/// Modes 1, 3 and 5 make sure that a manager serves the console port too. False when that fails.
bool EnsureConsoleManager(const QString &executable)
{
    const Taskmill_RunMode mode = Taskmill_CurrentRunMode();
    if (mode != Taskmill_RunMode::Gui1 && mode != Taskmill_RunMode::Console3 &&
        mode != Taskmill_RunMode::Console5)
        return true;
    if (Taskmill_IsManagerRunning(false, KilnUtil_ComputerData::TaskmillConsolePortNumber()))
        return true;
    if (!QFileInfo::exists(executable))
        return true;
    const bool started =
        QProcess::startDetached(executable, {u"-nogui"_s, u"-newconsole"_s, u"-notreadonly"_s});
    QThread::msleep(detachedCopyWaitMs);
    return started;
}

/// False when the program is to be a console and cannot have one.
bool PrepareConsole()
{
    if (Taskmill_CurrentRunMode() == Taskmill_RunMode::Console && !Taskmill_Platform::AttachToParentConsole())
        Taskmill_SetRunMode(Taskmill_RunMode::NewConsole);
    if (Taskmill_CurrentRunMode() == Taskmill_RunMode::NewConsole && !Taskmill_Platform::OpenConsole())
        return false;
    if (Taskmill_IsConsoleMode())
        Taskmill_Platform::ReconnectStreams();
    return true;
}

void SetIdentity()
{
    KilnUtil_Registry::m_applicationID = makersApplicationID;
    KilnUtil_Registry::m_usesMakersPrograms = true;
    KilnUtil_Registry::SetAppData(Taskmill_ServerName(), Taskmill_MajorVersion, Taskmill_ShortVersion,
                                  Taskmill_FullVersion, u"TASKMILLPREFS_DIR"_s, u".taskmillprefs"_s);
    KilnUtil_Registry::m_debugLevel = Taskmill_DebugLog::Level();
    KilnUtil_Registry::m_hasSolvationOption = true;
    KilnUtil_Registry::m_isCurrentOperatingSystem = true;
}

void SetPaths()
{
    const QString directory = QCoreApplication::applicationDirPath();
    KilnUtil_FileSys::m_appDirPath = directory;
    // Our own directories come first; without those of Qt the database driver would not be found.
    QStringList libraryPaths{directory, directory + u"/plugins"_s};
    libraryPaths += QCoreApplication::libraryPaths();
    libraryPaths.removeDuplicates();
    QCoreApplication::setLibraryPaths(libraryPaths);

    KilnUtil_FileSys::m_appHelpDirPath = directory + u"/help"_s;
    for (const QString &name : {u"/taskmillmanual"_s, u"/vguimanual"_s, u"/help"_s}) {
        if (QFileInfo::exists(directory + name)) {
            KilnUtil_FileSys::m_appHelpDirPath = directory + name;
            break;
        }
    }
}

void ForgetPaths()
{
    KilnUtil_FileSys::m_appDirPath.clear();
    KilnUtil_FileSys::m_appHelpDirPath.clear();
}

/// The running session; nullptr when there is none.
Taskmill_Session *sessionAtExit = nullptr;

/// Qt ends the process like this when the display is gone.
void SaveAtExit()
{
    if (sessionAtExit)
        sessionAtExit->SaveBeforeAbruptEnd();
}

int PrintUsage()
{
    std::fputs(Taskmill_UsageText, stdout);
    return exitUsageShown;
}

int PrintVersion()
{
    if (Taskmill_Platform::AttachToParentConsole())
        Taskmill_Platform::ReconnectStreams();
    KilnUtil_StandardStreams::Write(stdout, u"taskmill "_s + Taskmill_FullVersion + u'\n');
    return 0;
}

void ComplainOfUnknownOptions(const QStringList &arguments)
{
    for (const QString &option : Taskmill_UnknownOptions(arguments))
        Taskmill_PrintStartError(u"unknown option %1, see taskmill -help"_s.arg(option));
}

/// The program from the application object on: the session, and the prompts that speak for it.
class Program
{
public:
    Program(Taskmill_App &application, const Taskmill_StartOptions &options, bool hasDisplay)
        : m_application{application}
        , m_options{options}
        , m_consolePrompt{hasDisplay ? &m_widgetPrompt : nullptr}
    {
        KilnUtil_Error::SetUserPrompt(
            Taskmill_IsGuiMode() ? static_cast<KilnUtil_UserPrompt *>(&m_widgetPrompt) : &m_consolePrompt);
        if (Taskmill_IsGuiMode()) {
            m_outputWindow =
                std::make_unique<KilnUtil_OutputWindow>(Taskmill_VersionText(), Taskmill_ProgramIcon());
        }
    }

    ~Program()
    {
        Taskmill_Platform::StopCallingOnTermination();
        Taskmill_DebugLog::TurnOff();
        m_outputWindow.reset();
        m_application.SetSession(nullptr);
        sessionAtExit = nullptr;
        m_session.reset();
        KilnUtil_Error::SetUserPrompt(nullptr);
    }
    Q_DISABLE_COPY_MOVE(Program)

    int Run(const QStringList &arguments)
    {
        const Taskmill_FileArgument file = Taskmill_FileArgument::Check(arguments, Taskmill_IsConsoleMode());
        if (file.Result == Taskmill_FileArgument::Outcome::ShowUsage)
            return ShowUsage();
        ComplainOfUnknownOptions(arguments);
        if (!file.MissingFile.isEmpty())
            Taskmill_PrintStartError(Taskmill_ProblemOfMissingFile(file.MissingFile));
        if (file.Result == Taskmill_FileArgument::Outcome::MissingFile)
            return exitMissingFile;

        const QString banner =
            Taskmill_VersionText() + u"\nJob manager for computational-chemistry programs"_s;
        m_session = std::make_unique<Taskmill_Session>(
            Taskmill_SessionOptions{.StartUpFile = file.StartUpFile,
                                    .Banner = banner,
                                    .NoEventLoop = m_options.NoEventLoop,
                                    .Unattended = m_options.Unattended,
                                    .ExitWithoutEventLoop = [](int status) {
                                        // The objects below are still at work on the stack, so none of them
                                        // is destroyed.
                                        Taskmill_DebugLog::TurnOff();
                                        std::exit(status);
                                    }});
        Taskmill_Platform::CallOnTermination([this](bool interrupted) {
            m_session->QuitAtOnce(interrupted ? Taskmill_Ending::Interrupted : Taskmill_Ending::Unasked);
        });
        if (!m_session->Initialise())
            return exitFailure;
        // Registered after the database driver's own clean-up at exit, and so called before it.
        sessionAtExit = m_session.get();
        static_cast<void>(std::atexit(SaveAtExit));
        if (Taskmill_AppWindow *window = m_session->AppWindow())
            m_widgetPrompt.SetParentWidget(&window->MainWindow());
        m_application.SetSession(m_session.get());
        m_session->Show();
        return QApplication::exec();
    }

private:
    int ShowUsage()
    {
        if (!m_outputWindow)
            return PrintUsage();
        m_outputWindow->AppendText(QString::fromLatin1(Taskmill_UsageText));
        m_outputWindow->Show();
        QObject::connect(m_outputWindow.get(), &KilnUtil_OutputWindow::ClosedSignal, &m_application,
                         [] { QCoreApplication::exit(exitUsageShown); });
        return QApplication::exec();
    }

    Taskmill_App &m_application;
    const Taskmill_StartOptions m_options;
    KilnUtil_WidgetPrompt m_widgetPrompt;
    Taskmill_ConsolePrompt m_consolePrompt;
    std::unique_ptr<KilnUtil_OutputWindow> m_outputWindow;
    std::unique_ptr<Taskmill_Session> m_session;
};

/// What becomes of a window that is asked for where there is no display.
int EndWithoutDisplay(const Taskmill_StartOptions &options, const QStringList &arguments)
{
    if (options.ShowsUsage)
        return PrintUsage();
    ComplainOfUnknownOptions(arguments);
    Taskmill_PrintStartError(u"there is no display for the window; start it with -console"_s);
    return exitFailure;
}

QStringList WithoutEmptyOnes(QStringList arguments)
{
    arguments.removeAll(QString{});
    return arguments;
}

int RunApplication(Arguments &arguments, const Taskmill_StartOptions &options, bool mayHaveDisplay)
{
    const bool platformIsOurChoice = !Taskmill_Platform::PlatformsToTry(arguments.Texts()).isEmpty();
    Taskmill_App application{arguments.Count(), arguments.Values()};
    // The display that the environment names may be out of reach.
    const bool hasDisplay =
        mayHaveDisplay && !(platformIsOurChoice && QGuiApplication::platformName() == "offscreen"_L1);
    if (!hasDisplay && Taskmill_IsGuiMode())
        return EndWithoutDisplay(options, arguments.Texts());
    QApplication::setQuitOnLastWindowClosed(false);
    SetPaths();
    Taskmill_DebugLog::TurnOn(QCoreApplication::arguments());
    SetIdentity();
    int status = 0;
    {
        Program program{application, options, hasDisplay};
        status = program.Run(WithoutEmptyOnes(QCoreApplication::arguments()));
    }
    ForgetPaths();
    return status;
}
} // namespace

int Taskmill_Run(int argc, char **argv)
{
    Taskmill_Platform::PrepareStandardStreams();
    KilnUtil_Logging::HideOwnCategories();
    // Jobs get the environment and the limits that the manager was started with.
    (void)KilnUtil_Process::StartEnvironment();
    KilnUtil_RaiseOpenFilesLimit();
    KilnUtil_KeepFilesForThreads();

    Arguments arguments{argc, argv};
    const Taskmill_StartOptions options = Taskmill_StartOptions::Parse(arguments.Texts());
    Taskmill_SetRunMode(options.Mode);
    if (options.ShowsVersion)
        return PrintVersion();
    const bool gui = Taskmill_IsGuiMode();
    const std::uint16_t port = gui ? KilnUtil_ComputerData::TaskmillGUIPortNumber()
                                   : KilnUtil_ComputerData::TaskmillConsolePortNumber();
    // Help is for everybody, and starts no second manager.
    if (!options.ShowsUsage && Taskmill_IsManagerRunning(gui, port)) {
        ComplainOfUnknownOptions(arguments.Texts());
        Taskmill_TurnToRunningManager(gui, port, Taskmill_FileNamed(arguments.Texts()));
        return 0;
    }
    if (!EnsureConsoleManager(Taskmill_Platform::ExecutablePath()) || !PrepareConsole())
        return exitFailure;

    const bool mayHaveDisplay = Taskmill_Platform::HasDisplay(arguments.Texts());
    if (!mayHaveDisplay && gui)
        return EndWithoutDisplay(options, arguments.Texts());
    if (!mayHaveDisplay)
        arguments.UsePlatforms("offscreen");
    else if (const QByteArray platforms = Taskmill_Platform::PlatformsToTry(arguments.Texts());
             !platforms.isEmpty())
        arguments.UsePlatforms(platforms);
    const int status = RunApplication(arguments, options, mayHaveDisplay);
    if (!gui)
        Taskmill_Platform::ReleaseConsole();
    return status;
}
