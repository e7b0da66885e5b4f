// SPDX-License-Identifier: MIT
#include "ui/openfileslistpage.h"

#include "jobs/jobstore.h"
#include "kilnutil/error.h"
#include "manager/submitdialog.h"
#include "ui/openfilesbuttons.h"
#include "ui/openfileschoices.h"
#include "ui/openfilescontrols.h"
#include "ui/openfilesoptionspage.h"
#include "ui/openfilesrecent.h"
#include "ui/openfilessettings.h"

#include <QCheckBox>
#include <QDir>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>

using namespace Qt::Literals::StringLiterals;
using namespace Taskmill_OpenFilesControls;

namespace {
namespace Settings = Taskmill_OpenFilesSettings;

const QString sortingKey = u"Sorting"_s;
const QString fileOpenDataKey = u"File Open Options"_s;
const QString lastAddFileTypeKey = u"Last Add File Type"_s;
} // namespace

Taskmill_OpenFilesListPage::Taskmill_OpenFilesListPage(Taskmill_JobStore &store,
                                                       Taskmill_OpenFilesOptionsPage &options,
                                                       QWidget *parent)
    : QWidget{parent}
    , m_store{store}
    , m_options{options}
    , m_caption{new QLabel}
    , m_count{new QLabel}
    , m_sorting{new QCheckBox{u"Sorting"_s}}
    , m_retainFileList{new QCheckBox{u"Retain File List"_s}}
    , m_list{new Taskmill_OpenFilesList}
    , m_buttons{new Taskmill_OpenFilesButtons{*m_list}}
    , m_choices{new Taskmill_OpenFilesChoices}
    , m_explanation{new QLabel}
{
    m_caption->setTextFormat(Qt::PlainText);
    QFont bold = m_caption->font();
    bold.setBold(true);
    m_caption->setFont(bold);
    m_explanation->setTextFormat(Qt::PlainText);
    m_explanation->setWordWrap(true);

    auto *layout = new QVBoxLayout{this};
    layout->addWidget(m_caption);
    layout->addLayout(MakeHeadingRow());
    layout->addWidget(m_list, 1);
    layout->addWidget(m_buttons);
    layout->addWidget(m_choices);
    layout->addWidget(m_explanation);
    Connect();
    connect(&options, &Taskmill_OpenFilesOptionsPage::DetailSignal, m_list,
            &Taskmill_OpenFilesList::SetDetail);
}

QLayout *Taskmill_OpenFilesListPage::MakeHeadingRow()
{
    SetKey(*m_sorting, u"Alt+O"_s, u"A click on a heading sorts the list; without it, rows can be dragged"_s);
    SetKey(*m_retainFileList, u"Alt+E"_s, u"The list is still there the next time"_s);

    auto *row = new QHBoxLayout;
    row->addWidget(m_count, 1);
    row->addWidget(m_sorting);
    row->addWidget(m_retainFileList);
    return row;
}

void Taskmill_OpenFilesListPage::Connect()
{
    using Page = Taskmill_OpenFilesListPage;
    connect(m_sorting, &QCheckBox::toggled, this, &Page::AllowSortingSlot);
    connect(m_list, &KilnUtil_TreeWidget::DropSignal, this, &Page::ItemsDroppedSlot);
    connect(m_list, &KilnUtil_TreeWidget::ItemsMovedSignal, this, &Page::ItemsMovedSlot);
    connect(m_list, &QTreeWidget::itemSelectionChanged, this, &Page::ItemSelectionChangedSlot);
    connect(m_list, &KilnUtil_TreeWidget::ItemEditorClosedSignal, this, &Page::ItemEditorClosedSlot);
    connect(m_list, &QTreeWidget::itemChanged, this, &Page::ItemChangedSlot);

    connect(m_buttons, &Taskmill_OpenFilesButtons::BrowseSignal, this, &Page::FilePathBrowseSlot);
    connect(m_buttons, &Taskmill_OpenFilesButtons::BrowseInSignal, this, &Page::Browse);
    connect(m_buttons, &Taskmill_OpenFilesButtons::FilesChosenSignal, this,
            [this](const QStringList &paths) { AddFiles(paths); });
    connect(m_buttons, &Taskmill_OpenFilesButtons::ListChangedSignal, this, &Page::UpdateStates);
    // Files of that type are what the user looks for next.
    connect(m_choices, &Taskmill_OpenFilesChoices::JobTypeSignal, this,
            [this](int jobTypeID) { m_lastAddFileType = jobTypeID; });
    connect(m_choices, &Taskmill_OpenFilesChoices::ChangedSignal, this, &Page::UpdateStates);
}

void Taskmill_OpenFilesListPage::Prepare(const QString &caption)
{
    m_caption->setText(caption);
    m_choices->Fill(m_store);
    m_choices->Load();
    Settings::Load(*m_sorting, sortingKey, false);
    m_fileOpenData = KilnUtil_FileOpenData::FromText(Settings::Text(fileOpenDataKey));
    m_lastAddFileType = Settings::Number(lastAddFileTypeKey).value_or(-1);
    ApplyFileOpenData();
    m_buttons->LoadRecent();
}

void Taskmill_OpenFilesListPage::PresetFiles(const Taskmill_SubmitChoice &preset)
{
    // The first file is the first that was given.
    m_list->SetSorting(false);
    if (!preset.Files.isEmpty() || !m_retainFileList->isChecked())
        m_list->Apply(Taskmill_OpenFilesList::Operation::Clear, true);
    // A directory comes from the user, who has dropped it, or as the one input file of a request.
    m_list->AddFiles(preset.Files, m_options.AllowsDuplicates(),
                     preset.CheckAll ? Taskmill_OpenFilesList::Directories::StandForTheirFiles
                                     : Taskmill_OpenFilesList::Directories::AreFiles);
    for (const auto &[path, needs] : preset.Needs.asKeyValueRange())
        m_list->SetNeeds(path, needs);
    if (preset.Files.isEmpty() || m_list->topLevelItemCount() == 0)
        return;
    m_list->setCurrentItem(m_list->topLevelItem(0));
    if (!preset.CheckAll)
        m_list->CheckFirstOnly();
}

void Taskmill_OpenFilesListPage::PresetChoice(const Taskmill_SubmitChoice &preset, bool retain)
{
    m_choices->Preset(preset, retain);
    AllowSortingSlot();
    UpdateStates();
}

void Taskmill_OpenFilesListPage::Store()
{
    m_fileOpenData.SortColumn = m_list->header()->sortIndicatorSection();
    m_fileOpenData.SortDescending = m_list->header()->sortIndicatorOrder() == Qt::DescendingOrder;
    m_choices->Store();
    Settings::Store(*m_sorting, sortingKey);
    Settings::StoreText(fileOpenDataKey, m_fileOpenData.ToText());
    Settings::StoreNumber(lastAddFileTypeKey, m_lastAddFileType);
    Taskmill_OpenFilesRecent::Remember(m_list->CheckedPaths());
}

void Taskmill_OpenFilesListPage::SetDefaults()
{
    m_fileOpenData = {};
    ApplyFileOpenData();
    m_retainFileList->setChecked(false);
    m_lastAddFileType = -1;
    m_choices->SetDefaults();
    m_sorting->setChecked(false);
    AllowSortingSlot();
    UpdateStates();
}

void Taskmill_OpenFilesListPage::ApplyFileOpenData()
{
    const bool known =
        m_fileOpenData.SortColumn >= 0 && m_fileOpenData.SortColumn < Taskmill_OpenFilesList::ColumnCount;
    m_list->header()->setSortIndicator(known ? m_fileOpenData.SortColumn : 0, m_fileOpenData.SortDescending
                                                                                  ? Qt::DescendingOrder
                                                                                  : Qt::AscendingOrder);
}

void Taskmill_OpenFilesListPage::FocusOnFirst()
{
    if (IsEmpty())
        m_buttons->FocusOnAddFiles();
    else
        m_list->setFocus();
}

bool Taskmill_OpenFilesListPage::IsEmpty() const
{
    return m_list->topLevelItemCount() == 0;
}

Taskmill_SubmitChoice Taskmill_OpenFilesListPage::Choice() const
{
    return {.Files = m_list->CheckedPaths(),
            .Destination = m_choices->Destination(),
            .JobTypeID = m_choices->JobTypeID(),
            .Needs = m_list->CheckedNeeds()};
}

void Taskmill_OpenFilesListPage::UpdateStates()
{
    const int checked = m_list->CheckedCount();
    m_count->setText(CountText(checked));
    m_explanation->setText(m_choices->Explanation());
    Q_EMIT CheckedSignal(checked);
}

QString Taskmill_OpenFilesListPage::CountText(int checked) const
{
    if (m_list->topLevelItemCount() == 0)
        return u"No files:"_s;
    const QString text = u"%1 of %2 files:"_s.arg(checked).arg(m_list->topLevelItemCount());
    const int selected = m_list->SelectedCount();
    return selected < 2 ? u"Submitting "_s + text : u"%1 selected, submitting "_s.arg(selected) + text;
}

void Taskmill_OpenFilesListPage::AddFiles(const QStringList &paths,
                                          Taskmill_OpenFilesList::Directories directories)
{
    if (m_list->AddFiles(paths, m_options.AllowsDuplicates(), directories))
        m_list->setFocus();
    UpdateStates();
}

void Taskmill_OpenFilesListPage::Browse(const QString &directory)
{
    KilnUtil_OpenFilesOptions options{.Title = u"Select Files"_s,
                                      .Directory = directory,
                                      .NameFilters = {u"All Files (*.*)"_s},
                                      .NameFilter = 0,
                                      .UseNativeBrowser = m_options.UsesNativeBrowser(),
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

void Taskmill_OpenFilesListPage::FilePathBrowseSlot()
{
    const bool hasDirectory =
        !m_fileOpenData.Directory.isEmpty() && QFileInfo{m_fileOpenData.Directory}.isDir();
    Browse(hasDirectory ? m_fileOpenData.Directory : QDir::currentPath());
}

void Taskmill_OpenFilesListPage::ItemsDroppedSlot(const QStringList &paths)
{
    AddFiles(paths, Taskmill_OpenFilesList::Directories::StandForTheirFiles);
}

void Taskmill_OpenFilesListPage::ItemsMovedSlot()
{
    m_list->scrollToItem(m_list->currentItem());
}

void Taskmill_OpenFilesListPage::ItemSelectionChangedSlot()
{
    UpdateStates();
}

void Taskmill_OpenFilesListPage::ItemEditorClosedSlot()
{
    UpdateStates();
}

void Taskmill_OpenFilesListPage::ItemChangedSlot(QTreeWidgetItem *, int)
{
    UpdateStates();
}

void Taskmill_OpenFilesListPage::AllowSortingSlot()
{
    m_list->SetSorting(m_sorting->isChecked());
}
