#pragma once

#include "db/databasejobstore.h"
#include "jobs/jobtypelist.h"
#include "kilnutil/idmanager.h"
#include "service/finishedjobs.h"
#include "service/jobsubmitter.h"
#include "service/project.h"
#include "service/queueowner.h"
#include "service/requestserver.h"
#include "service/runningjobs.h"

#include <QMainWindow>

#include <functional>
#include <memory>

class Taskmill_Console;
class Taskmill_ConsolePrompt;
class Taskmill_ProcessInspector;

/// What start-up hands to the window.
struct Taskmill_AppWindowOptions
{
    QString StartUpFile; ///< project file named on the command line; may be empty
    QString Banner;      ///< printed when a console starts
    bool NoEventLoop = false;
    /// Ends the process at once where there is no event loop to quit; called when everything is shut down.
    std::function<void()> ExitWithoutEventLoop;
};

/// The manager's hub, made in every run mode: it owns the project, the jobs and the server, and in graphical
/// modes the main window.
class Taskmill_AppWindow : public QObject, private Taskmill_RequestHandler
{
    Q_OBJECT

public:
    explicit Taskmill_AppWindow(Taskmill_AppWindowOptions options);
    ~Taskmill_AppWindow() override;

    /// Opens the start-up file or a new project and starts the server. False when no project could be had.
    [[nodiscard]] bool Initialise();

    /// nullptr in console modes.
    [[nodiscard]] QMainWindow *MainWindow() const { return m_window.get(); }

    /// Ends all jobs and closes the project; without effect the second time.
    void ShutDown();

public Q_SLOTS:
    /// Shows the main window or starts the console; the state plays no part.
    void Show(uint state);
    void Show();
    /// Ends the program after asking whether to save the project, which the console has asked already.
    void ExitSlot();
    /// Quits without a question, as on a signal: a project that has a file is saved first.
    void QuitAtOnceSlot();
    void SystemTrayShowWindowSlot();
    void SystemTrayHideWindowSlot();

    /// Closing the main window quits.
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QByteArray HandleRequest(const Taskmill_RequestMessage &request) override;
    void ShowWindow();
    void StartConsole();
    void UpdateWindowTitle();
    void EndEventLoop();
    [[nodiscard]] Taskmill_JobTabs Tabs();

    const Taskmill_AppWindowOptions m_options;
    Taskmill_DatabaseJobStore m_store;
    const std::unique_ptr<Taskmill_ProcessInspector> m_inspector;
    Taskmill_JobTypeList m_jobTypes;
    KilnUtil_IDManager m_jobNumbers;
    Taskmill_FinishedJobs m_finishedJobs;
    Taskmill_LongJobsOwner m_longJobs;
    Taskmill_ShortJobsOwner m_shortJobs;
    Taskmill_QueuelessJobsOwner m_queuelessJobs;
    Taskmill_Project m_project;
    Taskmill_JobSubmitter m_submitter;
    Taskmill_RunningJobs m_runningJobs;
    Taskmill_RequestServer m_server;
    std::unique_ptr<QMainWindow> m_window;
    std::unique_ptr<Taskmill_Console> m_console;
    bool m_quitting = false;
};
