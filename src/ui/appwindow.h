// SPDX-License-Identifier: MIT
#pragma once

#include "manager/jobsgoon.h"
#include "ui/finishedjobswidget.h"
#include "ui/jobsummary.h"
#include "ui/jobtypeswidget.h"
#include "ui/mainwindow.h"
#include "ui/openfilesdialog.h"
#include "ui/queuewidgets.h"
#include "ui/runningjobswidget.h"
#include "ui/traypresence.h"

#include <QElapsedTimer>
#include <QPointer>

#include <array>

class Taskmill_DetailsSwitch;
class Taskmill_Manager;
class Taskmill_ProjectMenu;
class Taskmill_ProgramsOffer;
class Taskmill_ProjectOffer;
class Taskmill_StatusLine;
class Taskmill_TabMenus;

/// The window as a front end of the manager: the main window with its tabs, the dialog that submits files,
/// and the tray icon.
class Taskmill_AppWindow final : public QObject
{
    Q_OBJECT

public:
    /// The manager outlives the window.
    explicit Taskmill_AppWindow(Taskmill_Manager &manager);
    ~Taskmill_AppWindow() override;
    Q_DISABLE_COPY_MOVE(Taskmill_AppWindow)

    [[nodiscard]] Taskmill_MainWindow &MainWindow() { return m_window; }

    /// Gives the window its icon and its title.
    void Prepare();
    /// Restores the tool bars and shows the tray icon, when a project is open.
    void ShowTrayIcon();
    /// Puts the window away before it was ever shown.
    void BeginPutAway();
    /// Brings the window to the front, with the job chosen in its list, if it is in one.
    void ShowJob(int jobID);
    /// Brings it to the front and asks, from the event loop, whether this project is to be opened.
    void OfferProject(const QString &path);
    /// Brings it to the front and opens, from the event loop, the dialog that submits jobs.
    void ChooseFiles();
    /// Says what the user must know when the program has started, and asks about the jobs that ran when the
    /// project was closed.
    void SpeakAtStart();
    /// Closes all windows and hides the tray icon, when the manager is shut down.
    void ShutDown();

public Q_SLOTS:
    /// Shows the main window; the state plays no part.
    void Show(uint state);
    void Show();
    /// Ends the program after asking whether it is to end.
    void SystemTrayQuitSlot();
    void AboutSlot();
    /// Brings the tab that has come to the front up to date.
    void CurrentTabChangedSlot(int tab);
    /// Ends the program after asking whether to save the project.
    void ExitSlot();
    /// Lets the user choose files and submits them.
    void NewJobsSlot();
    /// Lets the user change the settings.
    void SettingsSlot();
    /// Puts the window away to where it can be brought back from.
    void OkaySlot();
    /// Does nothing: the menus bring themselves up to date.
    void UpdateMenusSlot();
    void SystemTrayShowWindowSlot();
    void SystemTrayHideWindowSlot();

    /// Closing the main window only puts it away; shown again, it is up to date.
    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    /// The user ends the program, and the project has been saved if it is to be.
    void ExitSignal();

private:
    /// Asks whether to save, and ends the program unless the user thinks better of it.
    void LeaveProgram(Taskmill_Ending ending);
    void FillWindow();
    void FillMenus();
    void Fill(Taskmill_Page page, Taskmill_QueueTab &tab);
    /// Puts the tab's table, and the details of its jobs beneath, into their page.
    void PutIn(Taskmill_Page page, const Taskmill_TabWithJobs &tab);
    [[nodiscard]] QString ProgressOf(int jobID) const;
    void ConnectWindow();
    void RestoreToolBars();
    void UpdateWindowTitle();
    void ShowCounts();
    [[nodiscard]] QString EstimateOf(Taskmill_Page page);
    void FillViewMenu();
    void ShowFinishedJobs(const QList<int> &jobIDs);
    /// Offers the project of the last time when none was named.
    void OfferLastProject();
    /// Where there is no job type yet, offers those of the programs that are installed.
    void OfferPrograms();
    /// What the user must know of the project that has just been opened, and what must be decided of it.
    void SpeakOfProject(const QStringList &notices);
    [[nodiscard]] Taskmill_TabWithMenu &TabOf(Taskmill_Page page);
    [[nodiscard]] Taskmill_TabWithMenu &CurrentTab();
    [[nodiscard]] QWidget *PageOf(Taskmill_Page page) const { return m_window.PageOf(page); }

    Taskmill_Manager &m_manager;
    /// Before the tabs, whose pages are in it.
    Taskmill_MainWindow m_window;
    Taskmill_LongJobsQueueWidget m_longJobs;
    Taskmill_ShortJobsQueueWidget m_shortJobs;
    Taskmill_QueuelessJobsWidget m_queuelessJobs;
    Taskmill_RunningJobsWidget m_runningJobs;
    Taskmill_FinishedJobsWidget m_finishedJobs;
    Taskmill_JobTypesWidget m_jobTypes;
    Taskmill_DetailsSwitch *const m_detailsSwitch;
    Taskmill_OpenFilesDialog m_openFilesDialog;
    Taskmill_JobSummary m_summary;
    Taskmill_TrayPresence m_tray;
    Taskmill_StatusLine *const m_statusLine;
    std::array<QString, 2> m_estimates; ///< of the two queues
    QElapsedTimer m_estimateAge;
    Taskmill_ProjectMenu *m_projectMenu = nullptr;
    Taskmill_TabMenus *m_tabMenus = nullptr;
    QAction *m_filterEntry = nullptr;
    QPointer<Taskmill_ProjectOffer> m_offer;
    bool m_askingToExit = false;
};
