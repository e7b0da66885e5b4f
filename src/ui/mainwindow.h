// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QMainWindow>
#include <QMap>

#include <array>

class QBoxLayout;
class QMenu;
class QPushButton;
class QTabWidget;

/// The tabs, in their order.
enum class Taskmill_Page
{
    LongJobs,
    ShortJobs,
    QueuelessJobs,
    RunningJobs,
    FinishedJobs,
    JobTypes
};

/// The menus above the tabs, in their order.
enum class Taskmill_WindowMenu
{
    Project,
    Jobs,
    Queue,
    View,
    Help
};

/// The frame of the window: the menus, the pages of the tabs, still empty, and the button row below them.
/// What the controls do is connected by their user.
class Taskmill_MainWindow final : public QMainWindow
{
    Q_OBJECT

public:
    Taskmill_MainWindow();

    /// The parent of a page's content.
    [[nodiscard]] QWidget *PageOf(Taskmill_Page page) const;
    /// Puts the content into its page, which must be its parent.
    void SetContent(Taskmill_Page page, QWidget *content) const;
    /// Marks the tab of a queue that is paused.
    void ShowPaused(Taskmill_Page page, bool paused);
    /// Shows behind the tab's label how many jobs it has, and the explanation as its tool tip, which is also
    /// what a screen reader says: the name of the tab stays the label.
    void ShowCount(Taskmill_Page page, qsizetype count, const QString &explanation);

    /// At first they are empty but for the tabs in "View".
    [[nodiscard]] QMenu &Menu(Taskmill_WindowMenu menu) const
    {
        return *m_menus.at(static_cast<size_t>(menu));
    }
    [[nodiscard]] QTabWidget &Tabs() const { return *m_tabs; }
    [[nodiscard]] QPushButton &SubmitJobsButton() const { return *m_submitJobs; }
    [[nodiscard]] QPushButton &HideButton() const { return *m_hide; }
    [[nodiscard]] QPushButton &ExitButton() const { return *m_exit; }
    [[nodiscard]] QPushButton &AboutButton() const { return *m_about; }

    /// Half the width and height of the screen, though wide enough for the tabs, in its middle with its
    /// frame. To be called when the window is shown.
    void PutInMiddleOfScreen();
    /// Brings a hidden or minimised window to the front.
    void ShowInFront();

protected:
    bool event(QEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    class TabStyle;

    void UpdateToolTip(Taskmill_Page page);
    void FitTabs();
    [[nodiscard]] int WidthOfTabs() const;
    [[nodiscard]] int RoomForCounts() const;
    void MakePages();
    void MakeMenus();
    void MakeTabEntries();
    [[nodiscard]] QBoxLayout *MakeButtonRow();
    [[nodiscard]] QPushButton *MakeButton(const QString &text, const QString &toolTip, Qt::Key mnemonic);

    std::array<QMenu *, 5> m_menus{};
    QTabWidget *m_tabs;
    TabStyle *m_tabStyle;
    QPushButton *m_submitJobs = nullptr;
    QPushButton *m_hide = nullptr;
    QPushButton *m_exit = nullptr;
    QPushButton *m_help = nullptr;
    QPushButton *m_about = nullptr;
    QList<Taskmill_Page> m_paused;
    QMap<Taskmill_Page, QString> m_explanations; ///< of the counts
    QSize m_sizeToCentre; ///< until the window manager has put a frame around a window of that size
};
