// SPDX-License-Identifier: MIT
#include "ui/openfilesdialog.h"

#include "jobs/jobstore.h"
#include "kilnutil/error.h"
#include "widgets/widgetutil.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QTabWidget>
#include <QTimer>
#include <QWindow>

using namespace Qt::Literals::StringLiterals;

namespace {
void SelectValue(QComboBox &box, int value)
{
    if (const int index = box.findData(value); index >= 0)
        box.setCurrentIndex(index);
}
} // namespace

Taskmill_OpenFilesDialog::Taskmill_OpenFilesDialog(Taskmill_JobStore &store, QWidget *mainWindow)
    : m_store{store}
    , m_mainWindow{mainWindow}
{
}

std::optional<Taskmill_SubmitChoice> Taskmill_OpenFilesDialog::AskForJobs(const QString &caption,
                                                                          const Taskmill_SubmitChoice &preset)
{
    if (isVisible())
        return std::nullopt;
    if (!m_list)
        Build();
    Prepare(caption);
    PresetFiles(preset);
    PresetChoice(preset);
    AllowSortingSlot();
    UpdateStates();
    const bool isEmpty = m_list->topLevelItemCount() == 0;
    (isEmpty ? static_cast<QWidget *>(m_addFiles) : m_list)->setFocus();
    // As soon as it is shown.
    QTimer::singleShot(0, this, [this, browse = isEmpty && m_startWithBrowser->isChecked()] {
        raise();
        activateWindow();
        if (browse)
            FilePathBrowseSlot();
    });
    const bool accepted = exec() == QDialog::Accepted;
    // It is still there when the program quits.
    hide();
    if (!accepted)
        return std::nullopt;
    return Taskmill_SubmitChoice{.Files = m_list->CheckedPaths(),
                                 .Destination =
                                     static_cast<Taskmill_Destination>(m_destQueue->currentData().toInt()),
                                 .JobTypeID = m_openAs->currentData().toInt()};
}

void Taskmill_OpenFilesDialog::Prepare(const QString &caption)
{
    if (m_mainWindow)
        setWindowIcon(m_mainWindow->windowIcon());
    m_caption->setText(caption);
    m_pages->setCurrentIndex(0);
    FillOpenAs();
    LoadOptions();
    m_recent.Load();
    FillRecentMenus();
    Place();
}

void Taskmill_OpenFilesDialog::Place()
{
    const bool inFront = KilnUtil_WidgetUtil::CanBeInFrontOf(m_mainWindow);
    create();
    windowHandle()->setTransientParent(inFront ? m_mainWindow->windowHandle() : nullptr);

    // Another window, such as the manual, need not wait for it.
    setWindowModality(inFront ? Qt::WindowModal : Qt::ApplicationModal);
    const QRect available = (inFront ? m_mainWindow->screen() : screen())->availableGeometry();
    resize(sizeHint().boundedTo(available.size() * 9 / 10));
    KilnUtil_WidgetUtil::CentreOn(this, available);
}

void Taskmill_OpenFilesDialog::PresetFiles(const Taskmill_SubmitChoice &preset)
{
    // The first file is the first that was given.
    m_list->SetSorting(false);
    if (!preset.Files.isEmpty() || !m_retainFileList->isChecked())
        m_list->Apply(Taskmill_OpenFilesList::Operation::Clear, true);
    // A directory comes from the user, who has dropped it, or as the one input file of a request.
    m_list->AddFiles(preset.Files, m_allowDuplicates->isChecked(),
                     preset.CheckAll ? Taskmill_OpenFilesList::Directories::StandForTheirFiles
                                     : Taskmill_OpenFilesList::Directories::AreFiles);
    if (preset.Files.isEmpty() || m_list->topLevelItemCount() == 0)
        return;
    m_list->setCurrentItem(m_list->topLevelItem(0));
    if (!preset.CheckAll)
        m_list->CheckFirstOnly();
}

void Taskmill_OpenFilesDialog::PresetChoice(const Taskmill_SubmitChoice &preset)
{
    // What the caller leaves open is as it was the last time only when the user wants that.
    if (preset.JobTypeID >= 0)
        SelectValue(*m_openAs, preset.JobTypeID);
    else if (!m_retainSettings->isChecked())
        m_openAs->setCurrentIndex(0);
    if (preset.Destination != Taskmill_Destination::JobTypeDefault)
        SelectValue(*m_destQueue, static_cast<int>(preset.Destination));
    else if (!m_retainSettings->isChecked())
        m_destQueue->setCurrentIndex(0);
}

void Taskmill_OpenFilesDialog::FillOpenAs()
{
    const QString byExtension = u"Auto"_s;
    const QList<Taskmill_JobType> jobTypes = m_store.GetJobTypes();
    const QStringList names = Taskmill_DistinctNames(jobTypes, byExtension);
    m_openAs->clear();
    m_openAs->addItem(byExtension, -1);
    for (qsizetype i = 0; i < jobTypes.size(); ++i)
        m_openAs->addItem(names[i], jobTypes[i].JobTypeID);
}

void Taskmill_OpenFilesDialog::accept()
{
    m_fileOpenData.SortColumn = m_list->header()->sortIndicatorSection();
    m_fileOpenData.SortDescending = m_list->header()->sortIndicatorOrder() == Qt::DescendingOrder;
    SaveOptions();
    Taskmill_OpenFilesRecent::Remember(m_list->CheckedPaths());
    QDialog::accept();
}

void Taskmill_OpenFilesDialog::UpdateStates()
{
    const int checked = m_list->CheckedCount();
    m_count->setText(CountText(checked));
    m_explanation->setText(Explanation());
    m_submit->setEnabled(checked > 0);
}

QString Taskmill_OpenFilesDialog::CountText(int checked) const
{
    if (m_list->topLevelItemCount() == 0)
        return u"No files:"_s;
    const QString text = u"%1 of %2 files:"_s.arg(checked).arg(m_list->topLevelItemCount());
    const int selected = m_list->SelectedCount();
    return selected < 2 ? u"Submitting "_s + text : u"%1 selected, submitting "_s.arg(selected) + text;
}

QString Taskmill_OpenFilesDialog::Explanation() const
{
    // "Auto" is always there.
    if (m_openAs->count() == 1)
        return u"There is no job type yet, so no file can become a job: add one on the tab \"Job Types\"."_s;
    const QString type = m_openAs->currentData().toInt() < 0
                             ? u"The extension of each file decides its job type."_s
                             : u"All files become jobs of the type \"%1\"."_s.arg(m_openAs->currentText());
    const QString queue = m_destQueue->currentData().toInt() == 0
                              ? u"Each job goes to the default queue of its type."_s
                              : u"All jobs go to \"%1\"."_s.arg(m_destQueue->currentText());
    return type + u' ' + queue;
}

void Taskmill_OpenFilesDialog::AddFiles(const QStringList &paths,
                                        Taskmill_OpenFilesList::Directories directories)
{
    if (m_list->AddFiles(paths, m_allowDuplicates->isChecked(), directories))
        m_list->setFocus();
    UpdateStates();
}

void Taskmill_OpenFilesDialog::Browse(const QString &directory)
{
    KilnUtil_OpenFilesOptions options{.Title = u"Select Files"_s,
                                      .Directory = directory,
                                      .NameFilters = {u"All Files (*.*)"_s},
                                      .NameFilter = 0,
                                      .UseNativeBrowser = m_nativeBrowser->isChecked(),
                                      .SettingsGroup = u"Open Files"_s};
    QList<int> jobTypeIDs{-1};
    for (const Taskmill_JobType &jobType : m_store.GetJobTypes()) {
        const QString filter = jobType.InputFileFilter.trimmed();
        if (!filter.contains("*."_L1))
            continue;
        if (jobType.JobTypeID == m_lastAddFileType)
            options.NameFilter = static_cast<int>(qMax(options.NameFilters.indexOf(filter), qsizetype{0}));
        if (options.NameFilters.contains(filter))
            continue;
        if (jobType.JobTypeID == m_lastAddFileType)
            options.NameFilter = static_cast<int>(options.NameFilters.size());
        options.NameFilters.append(filter);
        jobTypeIDs.append(jobType.JobTypeID);
    }
    const KilnUtil_OpenFilesAnswer answer = KilnUtil_Error::UserPrompt().AskOpenFileNames(options);
    if (answer.Files.isEmpty())
        return;
    m_lastAddFileType = jobTypeIDs.value(answer.NameFilter, -1);
    m_fileOpenData.Directory = QFileInfo{answer.Files.first()}.absolutePath();
    AddFiles(answer.Files);
}

void Taskmill_OpenFilesDialog::FilePathBrowseSlot()
{
    const bool hasDirectory =
        !m_fileOpenData.Directory.isEmpty() && QFileInfo{m_fileOpenData.Directory}.isDir();
    Browse(hasDirectory ? m_fileOpenData.Directory : QDir::currentPath());
}

void Taskmill_OpenFilesDialog::ItemsDroppedSlot(const QStringList &paths)
{
    AddFiles(paths, Taskmill_OpenFilesList::Directories::StandForTheirFiles);
}

void Taskmill_OpenFilesDialog::ItemsMovedSlot()
{
    m_list->scrollToItem(m_list->currentItem());
}

void Taskmill_OpenFilesDialog::ItemSelectionChangedSlot()
{
    UpdateStates();
}

void Taskmill_OpenFilesDialog::ItemEditorClosedSlot()
{
    UpdateStates();
}

void Taskmill_OpenFilesDialog::ItemChangedSlot(QTreeWidgetItem *, int)
{
    UpdateStates();
}

void Taskmill_OpenFilesDialog::AllowSortingSlot()
{
    m_list->SetSorting(m_sorting->isChecked());
}

void Taskmill_OpenFilesDialog::OpenAsSlot(int)
{
    // Files of that type are what the user looks for next.
    m_lastAddFileType = m_openAs->currentData().toInt();
    UpdateStates();
}

void Taskmill_OpenFilesDialog::DestQueueSlot(int)
{
    UpdateStates();
}

void Taskmill_OpenFilesDialog::FileListDetailSlot(int level)
{
    m_list->SetDetail(level);
}
