// SPDX-License-Identifier: MIT
#include "help/helpdialog.h"
#include "ui/openfilesdialog.h"
#include "widgets/widgetutil.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QShortcut>
#include <QTabWidget>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int charactersOfAChoice = 18;

/// A key without a mark in the text, which the tool tip shows.
void SetKey(QAbstractButton &button, const QKeySequence &key, const QString &toolTip)
{
    button.setShortcut(key);
    button.setToolTip(u"%1 (%2)"_s.arg(toolTip, key.toString(QKeySequence::NativeText)));
}

/// Styles leave little room beside a long text or before an arrow.
void GiveRoom(QPushButton &button)
{
    button.setMinimumWidth(button.sizeHint().width() + button.fontMetrics().height());
}

QPushButton *MakeHelpButton(const QString &helpId)
{
    auto *button = new QPushButton{u"&Help"_s};
    button->setAutoDefault(false);
    KilnUtil_HelpDialog::Global().ConnectButton(button, helpId);
    return button;
}

/// The text belongs to the box, also for who only hears it.
QLabel *MakeLabel(const QString &text, QComboBox *box)
{
    auto *label = new QLabel{text};
    label->setAccessibleName(text.trimmed());
    label->setBuddy(box);
    box->setAccessibleName(text.trimmed().chopped(1));
    return label;
}
} // namespace

void Taskmill_OpenFilesDialog::Build()
{
    setWindowTitle(u"Submit Jobs"_s);
    m_pages = new QTabWidget;
    m_pages->addTab(MakeFileListPage(), u"&File List"_s);
    m_pages->addTab(MakeOptionsPage(), u"&UI Options"_s);
    auto *layout = new QVBoxLayout{this};
    layout->addWidget(m_pages, 1);
    layout->addLayout(MakeButtonRow());
    ConnectList();
    MakeShortcuts();
}

QWidget *Taskmill_OpenFilesDialog::MakeFileListPage()
{
    auto *page = new QWidget;
    m_caption = new QLabel;
    m_caption->setTextFormat(Qt::PlainText);
    QFont bold = m_caption->font();
    bold.setBold(true);
    m_caption->setFont(bold);
    m_list = new Taskmill_OpenFilesList;

    auto *layout = new QVBoxLayout{page};
    layout->addWidget(m_caption);
    layout->addLayout(MakeHeadingRow());
    layout->addWidget(m_list, 1);
    layout->addLayout(MakeFileButtonRow());
    layout->addLayout(MakeChoiceRow());
    m_explanation = new QLabel;
    m_explanation->setTextFormat(Qt::PlainText);
    m_explanation->setWordWrap(true);
    layout->addWidget(m_explanation);
    return page;
}

QLayout *Taskmill_OpenFilesDialog::MakeHeadingRow()
{
    m_count = new QLabel;
    m_sorting = new QCheckBox{u"Sorting"_s};
    SetKey(*m_sorting, u"Alt+O"_s, u"A click on a heading sorts the list; without it, rows can be dragged"_s);
    m_retainFileList = new QCheckBox{u"Retain File List"_s};
    SetKey(*m_retainFileList, u"Alt+E"_s, u"The list is still there the next time"_s);
    connect(m_sorting, &QCheckBox::toggled, this, &Taskmill_OpenFilesDialog::AllowSortingSlot);

    auto *row = new QHBoxLayout;
    row->addWidget(m_count, 1);
    row->addWidget(m_sorting);
    row->addWidget(m_retainFileList);
    return row;
}

QPushButton *Taskmill_OpenFilesDialog::MakeMenuButton(const QString &text,
                                                      void (Taskmill_OpenFilesDialog::*slot)(QAction *)) const
{
    auto *button = new QPushButton{text};
    button->setAutoDefault(false);
    button->setMenu(new QMenu{button});
    GiveRoom(*button);
    connect(button->menu(), &QMenu::triggered, this, slot);
    return button;
}

QLayout *Taskmill_OpenFilesDialog::MakeFileButtonRow()
{
    m_addFiles = new QPushButton{u"  Add Files...  "_s};
    m_addFiles->setAccessibleName(m_addFiles->text().trimmed());
    m_addFiles->setAutoDefault(false);
    SetKey(*m_addFiles, u"Alt+A"_s, u"Look for files"_s);
    connect(m_addFiles, &QPushButton::clicked, this, &Taskmill_OpenFilesDialog::FilePathBrowseSlot);
    m_recentDirs = MakeMenuButton({}, &Taskmill_OpenFilesDialog::RecentDirSlot);
    m_recentDirs->setAccessibleName(u"Add files of a recent directory"_s);
    SetKey(*m_recentDirs, u"Alt+Y"_s, u"Look for files in a directory used recently"_s);
    // Nothing but the arrow.
    m_recentDirs->setFixedWidth(2 * fontMetrics().height());
    m_recentFiles = MakeMenuButton(u"Add Recent File"_s, &Taskmill_OpenFilesDialog::FilePathRecentSlot);
    SetKey(*m_recentFiles, u"Alt+N"_s, u"Add a file submitted recently"_s);
    m_recentLists =
        MakeMenuButton(u"Add Recent File List"_s, &Taskmill_OpenFilesDialog::FilePathListRecentSlot);
    SetKey(*m_recentLists, u"Alt+L"_s, u"Add all files of a submission"_s);
    m_actions = MakeMenuButton(u"Actions"_s, &Taskmill_OpenFilesDialog::FileListActionSlot);
    SetKey(*m_actions, u"Alt+C"_s, u"Take files out of the list, or change their check marks"_s);
    connect(m_actions->menu(), &QMenu::aboutToShow, this,
            &Taskmill_OpenFilesDialog::UpdateFileListActionsMenuSlot);

    auto *adding = new QHBoxLayout;
    adding->setSpacing(0);
    adding->addWidget(m_addFiles);
    adding->addWidget(m_recentDirs);
    auto *row = new QHBoxLayout;
    row->addLayout(adding);
    for (QPushButton *button : {m_recentFiles, m_recentLists, m_actions})
        row->addWidget(button);
    row->addStretch(1);
    row->addWidget(MakeHelpButton(u"taskmill/openfiles_adv_filelist"_s));
    return row;
}

QLayout *Taskmill_OpenFilesDialog::MakeChoiceRow()
{
    m_openAs = new QComboBox;
    m_destQueue = new QComboBox;
    m_destQueue->addItem(u"Auto"_s, static_cast<int>(Taskmill_Destination::JobTypeDefault));
    m_destQueue->addItem(u"Long Jobs Queue"_s, static_cast<int>(Taskmill_Destination::Long));
    m_destQueue->addItem(u"Short Jobs Queue"_s, static_cast<int>(Taskmill_Destination::Short));
    m_destQueue->addItem(u"Queueless Jobs"_s, static_cast<int>(Taskmill_Destination::Queueless));
    auto *row = new QHBoxLayout;
    const auto add = [row](const QString &text, QComboBox *box) {
        // The name of a job type may be as long as it likes.
        box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        box->setMinimumContentsLength(charactersOfAChoice);
        row->addWidget(MakeLabel(text, box));
        row->addWidget(box);
    };
    add(u"Submit as:  "_s, m_openAs);
    row->addSpacing(2 * fontMetrics().height());
    add(u"Target:  "_s, m_destQueue);
    row->addStretch(1);
    KilnUtil_WidgetUtil::MatchMinimumWidths({m_openAs, m_destQueue});
    connect(m_openAs, &QComboBox::activated, this, &Taskmill_OpenFilesDialog::OpenAsSlot);
    connect(m_destQueue, &QComboBox::activated, this, &Taskmill_OpenFilesDialog::DestQueueSlot);
    return row;
}

QWidget *Taskmill_OpenFilesDialog::MakeOptionsPage()
{
    m_nativeBrowser = new QCheckBox{u"Use Native File Browser"_s};
    SetKey(*m_nativeBrowser, u"Alt+N"_s, u"The file dialog of the desktop instead of the program's own"_s);
    m_startWithBrowser = new QCheckBox{u"Start with File Browser if Initial File List is Empty"_s};
    SetKey(*m_startWithBrowser, u"Alt+B"_s, u"Look for files as soon as the dialog opens without any"_s);
    m_allowDuplicates = new QCheckBox{u"Allow Duplicate Files"_s};
    SetKey(*m_allowDuplicates, u"Alt+L"_s, u"A file may be in the list more than once"_s);
    m_detail = new QComboBox;
    m_detail->addItems({u"Low"_s, u"Medium"_s, u"High"_s});
    connect(m_detail, &QComboBox::activated, this, &Taskmill_OpenFilesDialog::FileListDetailSlot);

    auto *detail = new QHBoxLayout;
    detail->addWidget(MakeLabel(u"File List Detail:  "_s, m_detail));
    detail->addWidget(m_detail);
    detail->addStretch(1);
    auto *help = new QHBoxLayout;
    help->addStretch(1);
    help->addWidget(MakeHelpButton(u"taskmill/openfiles_adv_ui"_s));

    auto *group = new QGroupBox{u"UI Options"_s};
    auto *layout = new QVBoxLayout{group};
    layout->addWidget(m_nativeBrowser);
    layout->addWidget(m_startWithBrowser);
    layout->addLayout(detail);
    layout->addWidget(m_allowDuplicates);
    layout->addLayout(help);
    auto *page = new QWidget;
    auto *pageLayout = new QVBoxLayout{page};
    pageLayout->addWidget(group);
    pageLayout->addStretch(1);
    return page;
}

QLayout *Taskmill_OpenFilesDialog::MakeButtonRow()
{
    auto *defaults = new QPushButton{u"Default Settings"_s};
    defaults->setAutoDefault(false);
    GiveRoom(*defaults);
    SetKey(*defaults, u"Alt+D"_s, u"Set all options back, also those of the other page"_s);
    m_retainSettings = new QCheckBox{u"Retain Settings"_s};
    SetKey(*m_retainSettings, u"Alt+R"_s, u"Choose this job type and queue again the next time"_s);
    m_submit = new QPushButton{u"Submit"_s};
    m_submit->setDefault(true);
    SetKey(*m_submit, u"Alt+S"_s, u"Make a job of each checked file"_s);
    auto *cancel = new QPushButton{u"Cancel"_s};
    KilnUtil_WidgetUtil::MatchMinimumWidths({m_submit, cancel});
    connect(defaults, &QPushButton::clicked, this, &Taskmill_OpenFilesDialog::DefaultOptionsSlot);
    connect(m_submit, &QPushButton::clicked, this, &Taskmill_OpenFilesDialog::accept);
    connect(cancel, &QPushButton::clicked, this, &Taskmill_OpenFilesDialog::reject);

    auto *row = new QHBoxLayout;
    row->addWidget(defaults);
    row->addWidget(m_retainSettings);
    row->addStretch(1);
    row->addWidget(m_submit);
    row->addWidget(cancel);
    return row;
}

void Taskmill_OpenFilesDialog::ConnectList()
{
    connect(m_list, &KilnUtil_TreeWidget::DropSignal, this, &Taskmill_OpenFilesDialog::ItemsDroppedSlot);
    connect(m_list, &KilnUtil_TreeWidget::ItemsMovedSignal, this, &Taskmill_OpenFilesDialog::ItemsMovedSlot);
    connect(m_list, &QTreeWidget::itemSelectionChanged, this,
            &Taskmill_OpenFilesDialog::ItemSelectionChangedSlot);
    connect(m_list, &KilnUtil_TreeWidget::ItemEditorClosedSignal, this,
            &Taskmill_OpenFilesDialog::ItemEditorClosedSlot);
    connect(m_list, &QTreeWidget::itemChanged, this, &Taskmill_OpenFilesDialog::ItemChangedSlot);
    connect(m_list, &QWidget::customContextMenuRequested, this, &Taskmill_OpenFilesDialog::ContextMenuSlot);
}

void Taskmill_OpenFilesDialog::MakeShortcuts()
{
    auto *clear = new QShortcut{QKeySequence{Qt::Key_Delete}, m_list};
    clear->setContext(Qt::WidgetShortcut);
    connect(clear, &QShortcut::activated, this, &Taskmill_OpenFilesDialog::ClearSelectedFilePathsSlot);
    const auto focusOn = [this](const QKeySequence &key, QComboBox *box) {
        auto *shortcut = new QShortcut{key, box->parentWidget()};
        shortcut->setContext(Qt::WindowShortcut);
        box->setToolTip(key.toString(QKeySequence::NativeText));
        connect(shortcut, &QShortcut::activated, box, [box] { box->setFocus(Qt::ShortcutFocusReason); });
    };
    focusOn(u"Alt+J"_s, m_openAs);
    focusOn(u"Alt+T"_s, m_destQueue);
    focusOn(u"Alt+I"_s, m_detail);
}
