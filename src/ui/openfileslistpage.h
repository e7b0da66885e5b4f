// SPDX-License-Identifier: MIT
#pragma once

#include "ui/openfileslist.h"
#include "widgets/fileopendata.h"

#include <QWidget>

class Taskmill_JobStore;
class Taskmill_OpenFilesButtons;
class Taskmill_OpenFilesChoices;
class Taskmill_OpenFilesOptionsPage;
class QCheckBox;
class QLabel;
struct Taskmill_SubmitChoice;

/// The page "File List" of the Submit Jobs dialog: the input files, and what is to be made of them.
class Taskmill_OpenFilesListPage : public QWidget
{
    Q_OBJECT

public:
    /// Both outlive the page.
    Taskmill_OpenFilesListPage(Taskmill_JobStore &store, Taskmill_OpenFilesOptionsPage &options,
                               QWidget *parent = nullptr);

    /// Reads again what may have changed since the last time: the settings, job types and recent files.
    void Prepare(const QString &caption);
    void PresetFiles(const Taskmill_SubmitChoice &preset);
    /// What the preset leaves open is as it was the last time with `retain`.
    void PresetChoice(const Taskmill_SubmitChoice &preset, bool retain);
    /// To the user's settings, with the files as recent ones.
    void Store();
    void SetDefaults();

    void FocusOnFirst();
    [[nodiscard]] bool IsEmpty() const;
    /// The checked files, and what is chosen for them.
    [[nodiscard]] Taskmill_SubmitChoice Choice() const;

Q_SIGNALS:
    /// How many files are checked now.
    void CheckedSignal(int count);

public Q_SLOTS:
    void FilePathBrowseSlot();
    void AllowSortingSlot();

private Q_SLOTS:
    void ItemsDroppedSlot(const QStringList &paths);
    void ItemsMovedSlot();
    void ItemSelectionChangedSlot();
    void ItemEditorClosedSlot();
    void ItemChangedSlot(QTreeWidgetItem *item, int column);

private:
    void Connect();
    [[nodiscard]] QLayout *MakeHeadingRow();
    void ApplyFileOpenData();
    void Browse(const QString &directory);
    void
    AddFiles(const QStringList &paths,
             Taskmill_OpenFilesList::Directories directories = Taskmill_OpenFilesList::Directories::AreFiles);
    void UpdateStates();
    [[nodiscard]] QString CountText(int checked) const;

    Taskmill_JobStore &m_store;
    const Taskmill_OpenFilesOptionsPage &m_options;
    KilnUtil_FileOpenData m_fileOpenData;
    int m_lastAddFileType = -1; ///< number of the job type whose files are browsed for; negative: all files

    QLabel *m_caption;
    QLabel *m_count;
    QCheckBox *m_sorting;
    QCheckBox *m_retainFileList;
    Taskmill_OpenFilesList *m_list;
    Taskmill_OpenFilesButtons *m_buttons;
    Taskmill_OpenFilesChoices *m_choices;
    QLabel *m_explanation; ///< of what is chosen for job type and queue
};
