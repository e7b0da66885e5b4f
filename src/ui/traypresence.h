// SPDX-License-Identifier: MIT
#pragma once

#include "ui/jobnews.h"

#include <QObject>

#include <memory>

class Taskmill_JobSummary;
class Taskmill_MainWindow;
class Taskmill_TrayIcon;

/// What the desktop shows of the program beside its window: the icon in the tray, with a badge and the counts
/// in its tool tip, and messages about jobs that have ended.
class Taskmill_TrayPresence final : public QObject
{
    Q_OBJECT

public:
    /// All of them outlive this.
    Taskmill_TrayPresence(Taskmill_MainWindow &window, Taskmill_FinishedJobs &finishedJobs,
                          const Taskmill_JobSummary &summary);
    ~Taskmill_TrayPresence() override;
    Q_DISABLE_COPY_MOVE(Taskmill_TrayPresence)

    /// Shows the icon, that of the window.
    void Show();
    /// For good.
    void Hide();
    /// Says in a message, once for all times, that putting the window away does not end the program.
    void ExplainOnce();

public Q_SLOTS:
    /// Follows the title of the window and the counts, and what the user has seen: failures count until the
    /// tab of the finished jobs is in the window that the user works with.
    void UpdateSlot();
    /// Says in a message, unless the user wants none, that a running job does not get on.
    void NoProgressSlot(int jobID, const QString &name, int minutes);

Q_SIGNALS:
    void ShowWindowSignal();
    void HideWindowSignal();
    void ExitSignal();
    /// The user has clicked a message about these jobs.
    void ShowJobsSignal(const QList<int> &jobIDs);

private:
    void ShowMessage(const QString &title, const QString &text, bool isAboutJobs);
    void MessageClicked();

    Taskmill_MainWindow &m_window;
    const Taskmill_JobSummary &m_summary;
    Taskmill_JobNews m_news;
    std::unique_ptr<Taskmill_TrayIcon> m_icon;
    bool m_isAboutJobs = false; ///< the last message
};
