// SPDX-License-Identifier: MIT
#include "ui/uidriver.h"

#include "jobs/runmode.h"
#include "viewer/filestreamviewer.h"
#include "viewer/textview.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QFrame>
#include <QMenu>
#include <QTest>
#include <QTimer>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

PagePlace::PagePlace()
{
    Taskmill_SetRunMode(Taskmill_RunMode::Gui);
    manager.NewProject();
}

void PagePlace::Show()
{
    const auto pages = window.findChildren<QFrame *>(Qt::FindDirectChildrenOnly);
    for (int number = 0; number < pages.size(); ++number)
        pages[number]->setGeometry(0, 400 * number, 900, 400);
    window.resize(900, static_cast<int>(400 * pages.size()));
    window.show();
    if (!QTest::qWaitForWindowActive(&window))
        qFatal("the window does not come");
}

void WhenDialogIsOpen(const std::function<void(QDialog &dialog)> &act)
{
    QTimer::singleShot(0, qApp, [act] {
        if (auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget()))
            act(*dialog);
        else
            WhenDialogIsOpen(act);
    });
}

QStringList ColumnTexts(const QTableView &table, int column)
{
    QStringList texts;
    for (int row = 0; row < table.model()->rowCount(); ++row)
        texts += table.model()->index(row, column).data().toString();
    return texts;
}

QStringList ChooseFromMenu(const QTableView &table, const QPoint &place, const QString &entry,
                           const std::function<void()> &whileOpen, Qt::KeyboardModifiers modifiers)
{
    QStringList entries;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &poll, [&] {
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        if (!menu || !menu->isVisible())
            return;
        poll.stop();
        if (whileOpen)
            whileOpen();
        const QList<QAction *> actions = menu->actions();
        for (const QAction *action : actions)
            entries += action->isEnabled() ? action->text() : u'(' + action->text() + u')';
        const auto chosen = std::ranges::find(actions, entry, &QAction::text);
        if (!entry.isEmpty() && chosen != actions.end()) {
            menu->setActiveAction(*chosen);
            QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(*chosen).center());
        }
        if (QApplication::activePopupWidget() == menu)
            QTest::keyClick(menu, Qt::Key_Escape);
    });
    poll.start(1);
    // What is left over of a window that was closed just now would close the menu, too.
    QCoreApplication::processEvents();
    QTest::mouseClick(table.viewport(), Qt::RightButton, modifiers, place);
    QContextMenuEvent event{QContextMenuEvent::Mouse, place, table.viewport()->mapToGlobal(place)};
    QApplication::sendEvent(table.viewport(), &event);
    return entries;
}

QStringList ChooseFromMenu(QTableView &table, int column, const QString &text, const QString &entry,
                           const std::function<void()> &whileOpen)
{
    const auto row = static_cast<int>(ColumnTexts(table, column).indexOf(text));
    const QModelIndex cell = table.model()->index(row, column);
    table.scrollTo(cell);
    return ChooseFromMenu(table, table.visualRect(cell).center(), entry, whileOpen);
}

QStringList TakeViewerCaptions(const QWidget &window)
{
    QStringList captions;
    const auto viewers = window.findChildren<KilnUtil_FileStreamViewer *>();
    for (KilnUtil_FileStreamViewer *viewer : viewers) {
        captions.append(viewer->View().accessibleName());
        delete viewer;
    }
    return captions;
}
