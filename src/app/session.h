// SPDX-License-Identifier: MIT
#pragma once

#include "manager/manager.h"
#include "requests/frontend.h"
#include "requests/notificationsender.h"
#include "requests/requestdispatcher.h"
#include "requests/requestserver.h"

#include <QObject>

#include <functional>
#include <memory>

class QWidget;
class Taskmill_AppWindow;
class Taskmill_Console;

/// What start-up hands to the session.
struct Taskmill_SessionOptions
{
    QString StartUpFile; ///< project file named on the command line; may be empty
    QString Banner;      ///< printed when a console starts
    bool NoEventLoop = false;
    bool Unattended = false;  ///< nobody is to be asked anything at the start
    bool SubmitsJobs = false; ///< the window opens its dialog for that
    bool PutAway = false;     ///< the window is not shown until somebody asks for it
    /// Ends the process at once where there is no event loop to quit; called when everything is shut down.
    std::function<void(int status)> ExitWithoutEventLoop;
};

/// One run of the program: the manager, the server that takes requests for it, and the front end of the run
/// mode, which is the window or the console.
class Taskmill_Session final : public QObject, private Taskmill_FrontEnd
{
    Q_OBJECT

public:
    /// The exit status when the project could not be saved to its own file and nobody could be asked.
    static constexpr int ExitStatusWithoutSaving = 4;

    explicit Taskmill_Session(Taskmill_SessionOptions options);
    ~Taskmill_Session() override;
    Q_DISABLE_COPY_MOVE(Taskmill_Session)

    /// Opens the start-up file or a new project, shows the tray icon and starts the server. False when no
    /// project could be had.
    [[nodiscard]] bool Initialise();
    /// Shows the main window or starts the console.
    void Show();

    [[nodiscard]] Taskmill_Manager &Manager() { return m_manager; }
    /// nullptr in console modes.
    [[nodiscard]] Taskmill_AppWindow *AppWindow() const { return m_window.get(); }

    /// Ends all jobs that are not to go on, closes the project and the front end; without effect the second
    /// time.
    void ShutDown() { ShutDown(Taskmill_Manager::End::InOrder); }
    /// Saves a project that has a file and ends what is not to go on, when the process is about to end out of
    /// turn. No window is touched.
    void SaveBeforeAbruptEnd() { m_manager.SaveBeforeAbruptEnd(); }

public Q_SLOTS:
    /// Ends the program; what was to be asked has been asked.
    void ExitSlot();
    /// Quits without a question, as on a signal: a project that has a file is saved first. When it could not
    /// be saved to it, the exit status says so.
    void QuitAtOnce(Taskmill_Ending ending);

private:
    static void ShowRefusedRequest(const QString &reason);
    [[nodiscard]] bool HasWindow() const override { return m_window != nullptr; }
    void ShowInFront() override;
    void ShowJob(int jobID) override;
    void ChooseFiles() override;
    void PutAway() override;
    void OfferProject(const QString &path) override;
    [[nodiscard]] bool IsUserBusy() const override;
    void QuitLater(bool keepsJobs) override;

    void ShutDown(Taskmill_Manager::End end);
    void StartConsole();
    void SpeakAtStart();
    void EndEventLoop(int status);

    const Taskmill_SessionOptions m_options;
    Taskmill_NotificationSender m_notifier;
    Taskmill_Manager m_manager;
    std::unique_ptr<Taskmill_AppWindow> m_window;
    std::unique_ptr<Taskmill_Console> m_console;
    Taskmill_RequestDispatcher m_dispatcher;
    Taskmill_RequestServer m_server;
    bool m_hasSpokenAtStart = false;
};
