// SPDX-License-Identifier: MIT
#include "ui/openfilesdialog.h"

#include <QDir>
#include <QFileInfo>
#include <QMenu>
#include <QPushButton>

#include <array>

using namespace Qt::Literals::StringLiterals;

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

void Taskmill_OpenFilesDialog::FillRecentMenus()
{
    FillPathMenu(*m_recentDirs, m_recent.Directories());
    FillPathMenu(*m_recentFiles, m_recent.Files());
    m_recentLists->menu()->clear();
    const QList<QStringList> &lists = m_recent.FileLists();
    for (int i = 0; i < lists.size(); ++i)
        m_recentLists->menu()->addAction(EntryText(i, ListText(lists[i])))->setData(lists[i]);
    m_recentLists->setEnabled(!lists.isEmpty());
}

void Taskmill_OpenFilesDialog::RecentDirSlot(QAction *action)
{
    Browse(action->data().toString());
}

void Taskmill_OpenFilesDialog::FilePathRecentSlot(QAction *action)
{
    AddFiles({action->data().toString()});
}

void Taskmill_OpenFilesDialog::FilePathListRecentSlot(QAction *action)
{
    AddFiles(action->data().toStringList());
}

void Taskmill_OpenFilesDialog::UpdateFileListActionsMenuSlot()
{
    QMenu &menu = *m_actions->menu();
    menu.clear();
    QMenu *selected = menu.addMenu(u"Selected Items"_s);
    AddOperations(*selected, false);
    selected->setEnabled(m_list->SelectedCount() > 0);
    QMenu *all = menu.addMenu(u"All Items"_s);
    AddOperations(*all, true);
    all->setEnabled(m_list->topLevelItemCount() > 0);
}

void Taskmill_OpenFilesDialog::FileListActionSlot(QAction *action)
{
    bool isCode = false;
    const int code = action->data().toInt(&isCode);
    // The submenus themselves carry none.
    if (!isCode)
        return;
    m_list->Apply(static_cast<Operation>(code / 2), code % 2 == 1);
    UpdateStates();
}

void Taskmill_OpenFilesDialog::ClearSelectedFilePathsSlot()
{
    m_list->Apply(Operation::Clear, false);
    UpdateStates();
}

void Taskmill_OpenFilesDialog::ContextMenuSlot(const QPoint &position)
{
    m_actions->menu()->popup(m_list->viewport()->mapToGlobal(position));
}
