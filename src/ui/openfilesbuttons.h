// SPDX-License-Identifier: MIT
#pragma once

#include "ui/openfilesrecent.h"

#include <QWidget>

class Taskmill_OpenFilesList;
class QAction;
class QPushButton;

/// The buttons below the file list of the Submit Jobs dialog, which add files to it, offer what was submitted
/// recently, and change the list.
class Taskmill_OpenFilesButtons : public QWidget
{
    Q_OBJECT

public:
    /// The list outlives the buttons; its context menu and its Delete key do what the button "Actions" does.
    explicit Taskmill_OpenFilesButtons(Taskmill_OpenFilesList &list, QWidget *parent = nullptr);

    /// Reads again what was submitted recently.
    void LoadRecent();
    void FocusOnAddFiles();

Q_SIGNALS:
    void BrowseSignal();
    void BrowseInSignal(const QString &directory);
    void FilesChosenSignal(const QStringList &paths);
    /// Rows were taken out of the list, or their check marks changed.
    void ListChangedSignal();

private Q_SLOTS:
    void RecentDirSlot(QAction *action);
    void FilePathRecentSlot(QAction *action);
    void FilePathListRecentSlot(QAction *action);
    void UpdateFileListActionsMenuSlot();
    void FileListActionSlot(QAction *action);
    void ClearSelectedFilePathsSlot();
    void ContextMenuSlot(const QPoint &position);

private:
    void FillRecentMenus();
    void MakeButtons();
    [[nodiscard]] QPushButton *MakeMenuButton(const QString &text,
                                              void (Taskmill_OpenFilesButtons::*slot)(QAction *)) const;

    Taskmill_OpenFilesList &m_list;
    Taskmill_OpenFilesRecent m_recent;
    QPushButton *m_addFiles = nullptr;
    QPushButton *m_recentDirs = nullptr;
    QPushButton *m_recentFiles = nullptr;
    QPushButton *m_recentLists = nullptr;
    QPushButton *m_actions = nullptr;
};
