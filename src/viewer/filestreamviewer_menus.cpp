// SPDX-License-Identifier: MIT
#include "viewer/filestreamviewer.h"
#include "viewer/textview.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>

// What the user can do in the window, with menus, keys and the context menu of the text.

using namespace Qt::Literals::StringLiterals;

void KilnUtil_FileStreamViewer::MakeMenus()
{
    QMenu *file = menuBar()->addMenu(u"&File"_s);
    QAction *save = file->addAction(u"&Save a Copy As..."_s, this, &KilnUtil_FileStreamViewer::SaveCopySlot);
    save->setShortcut(QKeySequence::Save);
    file->addSeparator();
    file->addAction(u"&Close"_s, this, &QWidget::close)->setShortcut(Qt::CTRL | Qt::Key_W);

    QMenu *edit = menuBar()->addMenu(u"&Edit"_s);
    QAction *copy = edit->addAction(u"&Copy"_s, this, &KilnUtil_FileStreamViewer::CopySlot);
    copy->setShortcut(QKeySequence::Copy);
    copy->setEnabled(false);
    connect(m_view, &KilnUtil_TextView::SelectionChangedSignal, copy,
            [this, copy] { copy->setEnabled(m_view->HasSelection()); });
    QAction *selectAll = edit->addAction(u"Select &All"_s, m_view, &KilnUtil_TextView::SelectAll);
    selectAll->setShortcut(QKeySequence::SelectAll);
    edit->addSeparator();
    QAction *find = edit->addAction(u"&Find..."_s, this, &KilnUtil_FileStreamViewer::ShowFindBarSlot);
    find->setShortcut(QKeySequence::Find);
    edit->addAction(u"Find &Next"_s, this, &KilnUtil_FileStreamViewer::FindNextSlot)->setShortcut(Qt::Key_F3);
    edit->addAction(u"Find &Previous"_s, this, &KilnUtil_FileStreamViewer::FindPreviousSlot)
        ->setShortcut(Qt::SHIFT | Qt::Key_F3);

    QMenu *go = menuBar()->addMenu(u"&Go"_s);
    go->addAction(u"To the &Beginning"_s, m_view, &KilnUtil_TextView::ScrollToBeginSlot)
        ->setShortcut(Qt::CTRL | Qt::Key_Home);
    go->addAction(m_interval > 0 ? u"To the &End, and Follow"_s : u"To the &End"_s, m_view,
                  &KilnUtil_TextView::ScrollToEndSlot)
        ->setShortcut(Qt::CTRL | Qt::Key_End);

    m_view->addActions({copy, selectAll, find, save});
    m_view->setContextMenuPolicy(Qt::ActionsContextMenu);

    auto *stop = new QAction{this};
    stop->setShortcut(Qt::Key_Escape);
    connect(stop, &QAction::triggered, this, &KilnUtil_FileStreamViewer::StopSlot);
    addAction(stop);
}
