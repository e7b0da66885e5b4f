#pragma once

#include "db/databasejobstore.h"
#include "jobs/jobtypelist.h"
#include "kilnutil/idmanager.h"
#include "service/jobsubmitter.h"
#include "service/project.h"
#include "service/requestserver.h"
#include "service/runningjobs.h"
#include "ui/finishedjobswidget.h"
#include "ui/mainwindow.h"
#include "ui/queuewidgets.h"

#include <functional>
#include <memory>

class Taskmill_Console;
class Taskmill_ConsolePrompt;
class Taskmill_JobTypesWidget;
class Taskmill_OpenFilesDialog;
class Taskmill_ProcessInspector;
class Taskmill_RunningJobsWidget;
class Taskmill_TrayIcon;

/// What start-up hands to the window.
struct Taskmill_AppWindowOptions
{
    QString StartUpFile; ///< project file named on the command line; may be empty
    QString Banner;      ///< printed when a console starts
    bool NoEventLoop = false;
    bool Unattended = false; ///< nobody is to be asked anything at the start
    /// Ends the process at once where there is no event loop to quit; called when everything is shut down.
    std::function<void(int status)> ExitWithoutEventLoop;
};

/// The manager's hub, made in every run mode: it owns the project, the jobs and the server, and in graphical
/// modes the main window with its tabs and the tray icon.
class Taskmill_AppWindow : public QObject, private Taskmill_RequestHandler
{
    Q_OBJECT

public:
    /// The exit status when the project could not be saved to its own file and nobody could be asked.
    static constexpr int ExitStatusWithoutSaving = 4;

    explicit Taskmill_AppWindow(Taskmill_AppWindowOptions options);
    ~Taskmill_AppWindow() override;
    Q_DISABLE_COPY_MOVE(Taskmill_AppWindow)

    /// Opens the start-up file or a new project, shows the tray icon and starts the server. False when no
    /// project could be had.
    [[nodiscard]] bool Initialise();

    /// nullptr in console modes.
    [[nodiscard]] Taskmill_MainWindow *MainWindow() const { return m_window.get(); }

    /// Ends all jobs, closes the project and all windows; without effect the second time.
    void ShutDown();
    /// Saves a project that has a file and ends what runs, when the process is about to end out of turn. No
    /// window is touched.
    void SaveBeforeAbruptEnd();

public Q_SLOTS:
    /// Shows the main window or starts the console; the state plays no part.
    void Show(uint state);
    void Show();
    /// Ends the program after asking whether it is to end.
    void SystemTrayQuitSlot();
    void AboutSlot();
    /// Brings the tab that has come to the front up to date.
    void CurrentTabChangedSlot(int tab);
    /// Ends the program after asking whether to save the project, which the console has asked already.
    void ExitSlot();
    /// Lets the user choose files and submits them.
    void NewJobsSlot();
    /// Puts the window away to where it can be brought back from.
    void OkaySlot();
    /// Does nothing: there are no menus.
    void UpdateMenusSlot();
    void SystemTrayShowWindowSlot();
    void SystemTrayHideWindowSlot();
    /// Quits without a question, as on a signal: a project that has a file is saved first. When it could not
    /// be saved to it, the exit status says so.
    void QuitAtOnceSlot();

    /// Closing the main window only puts it away; shown again, it is up to date.
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QByteArray HandleRequest(const Taskmill_RequestMessage &request) override;
    [[nodiscard]] bool CanHandleNow(const Taskmill_RequestMessage &request) const override;

    void FillWindow();
    void Fill(Taskmill_Page page, Taskmill_QueueTab &tab);
    void ConnectWindow();
    [[nodiscard]] bool OpenStartUpProject();
    void RestoreToolBars();
    void ShowTrayIcon();
    void StartConsole();
    void UpdateWindowTitle();
    void EndEventLoop(int status);
    [[nodiscard]] QStringList NoticesAtStart(bool asksAboutJobs) const;
    void SpeakAtStart();
    [[nodiscard]] QWidget *PageOf(Taskmill_Page page) const;
    [[nodiscard]] Taskmill_JobTabs Tabs();

    const Taskmill_AppWindowOptions m_options;
    /// Before the tabs, whose pages are in it.
    const std::unique_ptr<Taskmill_MainWindow> m_window;
    Taskmill_DatabaseJobStore m_store;
    const std::shared_ptr<Taskmill_ProcessInspector> m_inspector;
    Taskmill_JobTypeList m_jobTypes;
    KilnUtil_IDManager m_jobNumbers;
    Taskmill_FinishedJobsWidget m_finishedJobs;
    Taskmill_LongJobsQueueWidget m_longJobs;
    Taskmill_ShortJobsQueueWidget m_shortJobs;
    Taskmill_QueuelessJobsWidget m_queuelessJobs;
    Taskmill_Project m_project;
    Taskmill_JobSubmitter m_submitter;
    Taskmill_RunningJobs m_runningJobs;
    Taskmill_RequestServer m_server;
    std::unique_ptr<Taskmill_RunningJobsWidget> m_runningJobsTab;
    std::unique_ptr<Taskmill_JobTypesWidget> m_jobTypesTab;
    std::unique_ptr<Taskmill_OpenFilesDialog> m_openFilesDialog;
    std::unique_ptr<Taskmill_TrayIcon> m_trayIcon;
    std::unique_ptr<Taskmill_Console> m_console;
    bool m_hasSpokenAtStart = false;
    bool m_askingToExit = false;
    bool m_quitting = false;
};
