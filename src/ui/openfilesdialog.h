// SPDX-License-Identifier: MIT
#pragma once

#include "manager/submitdialog.h"
#include "ui/openfileslist.h"
#include "ui/openfilesrecent.h"
#include "widgets/fileopendata.h"

#include <QDialog>
#include <QPointer>

class Taskmill_JobStore;
class QCheckBox;
class QComboBox;
class QLabel;
class QLayout;
class QPushButton;
class QTabWidget;
class QTreeWidgetItem;

/// The Submit Jobs dialog: the user collects input files and chooses what to submit them as and where. One
/// object for the whole program; its widgets are made at the first use.
class Taskmill_OpenFilesDialog : public QDialog, public Taskmill_SubmitDialog
{
    Q_OBJECT

public:
    /// The store, which has the job types, outlives the dialog. The dialog takes the icon of the main window
    /// and stays in front of it while it is visible; nullptr for none.
    Taskmill_OpenFilesDialog(Taskmill_JobStore &store, QWidget *mainWindow);

    /// Nothing also while the dialog is open already, or when the program quits before the user answers.
    std::optional<Taskmill_SubmitChoice> AskForJobs(const QString &caption,
                                                    const Taskmill_SubmitChoice &preset) override;

public Q_SLOTS:
    /// Keeps the options and what was submitted for the next time.
    void accept() override;

private Q_SLOTS:
    void FilePathBrowseSlot();
    void RecentDirSlot(QAction *action);
    void FilePathRecentSlot(QAction *action);
    void FilePathListRecentSlot(QAction *action);
    void UpdateFileListActionsMenuSlot();
    void FileListActionSlot(QAction *action);
    void ClearSelectedFilePathsSlot();
    void ContextMenuSlot(const QPoint &position);
    void ItemsDroppedSlot(const QStringList &paths);
    void ItemsMovedSlot();
    void ItemSelectionChangedSlot();
    void ItemEditorClosedSlot();
    void ItemChangedSlot(QTreeWidgetItem *item, int column);
    void AllowSortingSlot();
    void OpenAsSlot(int index);
    void DestQueueSlot(int index);
    void FileListDetailSlot(int level);
    void DefaultOptionsSlot();

private:
    void Build();
    [[nodiscard]] QWidget *MakeFileListPage();
    [[nodiscard]] QLayout *MakeHeadingRow();
    [[nodiscard]] QLayout *MakeFileButtonRow();
    [[nodiscard]] QLayout *MakeChoiceRow();
    [[nodiscard]] QWidget *MakeOptionsPage();
    [[nodiscard]] QLayout *MakeButtonRow();
    void ConnectList();
    [[nodiscard]] QPushButton *MakeMenuButton(const QString &text,
                                              void (Taskmill_OpenFilesDialog::*slot)(QAction *)) const;
    void MakeShortcuts();

    void Prepare(const QString &caption);
    void Place();
    void PresetFiles(const Taskmill_SubmitChoice &preset);
    void PresetChoice(const Taskmill_SubmitChoice &preset);

    void LoadOptions();
    void SaveOptions() const;
    void ApplyFileOpenData();
    void FillOpenAs();
    void FillRecentMenus();
    void Browse(const QString &directory);
    void
    AddFiles(const QStringList &paths,
             Taskmill_OpenFilesList::Directories directories = Taskmill_OpenFilesList::Directories::AreFiles);
    void UpdateStates();
    [[nodiscard]] QString CountText(int checked) const;
    [[nodiscard]] QString Explanation() const;

    Taskmill_JobStore &m_store;
    const QPointer<QWidget> m_mainWindow;
    Taskmill_OpenFilesRecent m_recent;
    KilnUtil_FileOpenData m_fileOpenData;
    int m_lastAddFileType = -1; ///< number of the job type whose files are browsed for; negative: all files

    QTabWidget *m_pages = nullptr;
    QLabel *m_caption = nullptr;
    QLabel *m_count = nullptr;
    QLabel *m_explanation = nullptr;          ///< of what is chosen for job type and queue
    Taskmill_OpenFilesList *m_list = nullptr; ///< nullptr before the first use
    QPushButton *m_addFiles = nullptr;
    QPushButton *m_recentDirs = nullptr;
    QPushButton *m_recentFiles = nullptr;
    QPushButton *m_recentLists = nullptr;
    QPushButton *m_actions = nullptr;
    QCheckBox *m_sorting = nullptr;
    QCheckBox *m_retainFileList = nullptr;
    QComboBox *m_openAs = nullptr;
    QComboBox *m_destQueue = nullptr;
    QCheckBox *m_nativeBrowser = nullptr;
    QCheckBox *m_startWithBrowser = nullptr;
    QComboBox *m_detail = nullptr;
    QCheckBox *m_allowDuplicates = nullptr;
    QCheckBox *m_retainSettings = nullptr;
    QPushButton *m_submit = nullptr;
};
