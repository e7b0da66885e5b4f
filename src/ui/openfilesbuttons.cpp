// SPDX-License-Identifier: MIT
#include "ui/openfilesbuttons.h"

#include "ui/openfilescontrols.h"
#include "ui/openfileslist.h"

#include <QDir>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QMenu>
#include <QPushButton>
#include <QShortcut>

using namespace Qt::Literals::StringLiterals;
using namespace Taskmill_OpenFilesControls;

namespace {
using Operation = Taskmill_OpenFilesList::Operation;

constexpr int longestMenuText = 80; // characters
constexpr int namesOfAList = 3;

/// A path or a list of names as it may stand in a menu, with a digit to press for the first nine.
QString EntryText(int position, const QString &text)
{
    QString shown = text;
    if (shown.size() > longestMenuText)
        shown = shown.left(longestMenuText / 3) + u'\u2026' + shown.right(longestMenuText * 2 / 3);
    shown.replace(u'&', u"&&"_s);
    return position < 9 ? u"&%1  "_s.arg(position + 1) + shown : shown;
}

void FillPathMenu(QPushButton &button, const QStringList &paths)
{
    button.menu()->clear();
    for (int i = 0; i < paths.size(); ++i)
        button.menu()->addAction(EntryText(i, QDir::toNativeSeparators(paths[i])))->setData(paths[i]);
    button.setEnabled(!paths.isEmpty());
}

QString ListText(const QStringList &files)
{
    QStringList names;
    for (const QString &file : files.first(qMin(files.size(), qsizetype{namesOfAList})))
        names.append(QFileInfo{file}.fileName());
    return u"%1 files: "_s.arg(files.size()) + names.join(u", "_s) +
           (files.size() > namesOfAList ? u", \u2026"_s : QString{});
}

void AddOperations(QMenu &menu, bool allItems)
{
    const auto add = [&menu, allItems](const QString &text, Operation operation) {
        menu.addAction(text)->setData(static_cast<int>(operation) * 2 + (allItems ? 1 : 0));
    };
    add(u"Clear"_s, Operation::Clear);
    menu.addSeparator();
    add(u"Check"_s, Operation::Check);
    add(u"Uncheck"_s, Operation::Uncheck);
    add(u"Toggle"_s, Operation::Toggle);
}
} // namespace

Taskmill_OpenFilesButtons::Taskmill_OpenFilesButtons(Taskmill_OpenFilesList &list, QWidget *parent)
    : QWidget{parent}
    , m_list{list}
{
    MakeButtons();
    auto *adding = new QHBoxLayout;
    adding->setSpacing(0);
    adding->addWidget(m_addFiles);
    adding->addWidget(m_recentDirs);
    auto *row = new QHBoxLayout{this};
    row->setContentsMargins({});
    row->addLayout(adding);
    for (QPushButton *button : {m_recentFiles, m_recentLists, m_actions})
        row->addWidget(button);
    row->addStretch(1);
    row->addWidget(MakeHelpButton(u"taskmill/openfiles_adv_filelist"_s));

    auto *clear = new QShortcut{QKeySequence{Qt::Key_Delete}, &m_list};
    clear->setContext(Qt::WidgetShortcut);
    connect(clear, &QShortcut::activated, this, &Taskmill_OpenFilesButtons::ClearSelectedFilePathsSlot);
    connect(&m_list, &QWidget::customContextMenuRequested, this, &Taskmill_OpenFilesButtons::ContextMenuSlot);
}

void Taskmill_OpenFilesButtons::MakeButtons()
{
    m_addFiles = new QPushButton{u"  Add Files...  "_s};
    m_addFiles->setAccessibleName(m_addFiles->text().trimmed());
    m_addFiles->setAutoDefault(false);
    SetKey(*m_addFiles, u"Alt+A"_s, u"Look for files"_s);
    connect(m_addFiles, &QPushButton::clicked, this, &Taskmill_OpenFilesButtons::BrowseSignal);
    m_recentDirs = MakeMenuButton({}, &Taskmill_OpenFilesButtons::RecentDirSlot);
    m_recentDirs->setAccessibleName(u"Add files of a recent directory"_s);
    SetKey(*m_recentDirs, u"Alt+Y"_s, u"Look for files in a directory used recently"_s);
    // Nothing but the arrow.
    m_recentDirs->setFixedWidth(2 * fontMetrics().height());
    m_recentFiles = MakeMenuButton(u"Add Recent File"_s, &Taskmill_OpenFilesButtons::FilePathRecentSlot);
    SetKey(*m_recentFiles, u"Alt+N"_s, u"Add a file submitted recently"_s);
    m_recentLists =
        MakeMenuButton(u"Add Recent File List"_s, &Taskmill_OpenFilesButtons::FilePathListRecentSlot);
    SetKey(*m_recentLists, u"Alt+L"_s, u"Add all files of a submission"_s);
    m_actions = MakeMenuButton(u"Actions"_s, &Taskmill_OpenFilesButtons::FileListActionSlot);
    SetKey(*m_actions, u"Alt+C"_s, u"Take files out of the list, or change their check marks"_s);
    connect(m_actions->menu(), &QMenu::aboutToShow, this,
            &Taskmill_OpenFilesButtons::UpdateFileListActionsMenuSlot);
}

QPushButton *
Taskmill_OpenFilesButtons::MakeMenuButton(const QString &text,
                                          void (Taskmill_OpenFilesButtons::*slot)(QAction *)) const
{
    auto *button = new QPushButton{text};
    button->setAutoDefault(false);
    button->setMenu(new QMenu{button});
    GiveRoom(*button);
    connect(button->menu(), &QMenu::triggered, this, slot);
    return button;
}

void Taskmill_OpenFilesButtons::FocusOnAddFiles()
{
    m_addFiles->setFocus();
}

void Taskmill_OpenFilesButtons::LoadRecent()
{
    m_recent.Load([this] { FillRecentMenus(); });
}

void Taskmill_OpenFilesButtons::FillRecentMenus()
{
    FillPathMenu(*m_recentDirs, m_recent.Directories());
    FillPathMenu(*m_recentFiles, m_recent.Files());
    m_recentLists->menu()->clear();
    const QList<QStringList> &lists = m_recent.FileLists();
    for (int i = 0; i < lists.size(); ++i)
        m_recentLists->menu()->addAction(EntryText(i, ListText(lists[i])))->setData(lists[i]);
    m_recentLists->setEnabled(!lists.isEmpty());
}

void Taskmill_OpenFilesButtons::RecentDirSlot(QAction *action)
{
    Q_EMIT BrowseInSignal(action->data().toString());
}

void Taskmill_OpenFilesButtons::FilePathRecentSlot(QAction *action)
{
    Q_EMIT FilesChosenSignal({action->data().toString()});
}

void Taskmill_OpenFilesButtons::FilePathListRecentSlot(QAction *action)
{
    Q_EMIT FilesChosenSignal(action->data().toStringList());
}

void Taskmill_OpenFilesButtons::UpdateFileListActionsMenuSlot()
{
    QMenu &menu = *m_actions->menu();
    menu.clear();
    QMenu *selected = menu.addMenu(u"Selected Items"_s);
    AddOperations(*selected, false);
    selected->setEnabled(m_list.SelectedCount() > 0);
    QMenu *all = menu.addMenu(u"All Items"_s);
    AddOperations(*all, true);
    all->setEnabled(m_list.topLevelItemCount() > 0);
}

void Taskmill_OpenFilesButtons::FileListActionSlot(QAction *action)
{
    bool isCode = false;
    const int code = action->data().toInt(&isCode);
    // The submenus themselves carry none.
    if (!isCode)
        return;
    m_list.Apply(static_cast<Operation>(code / 2), code % 2 == 1);
    Q_EMIT ListChangedSignal();
}

void Taskmill_OpenFilesButtons::ClearSelectedFilePathsSlot()
{
    m_list.Apply(Operation::Clear, false);
    Q_EMIT ListChangedSignal();
}

void Taskmill_OpenFilesButtons::ContextMenuSlot(const QPoint &position)
{
    m_actions->menu()->popup(m_list.viewport()->mapToGlobal(position));
}
