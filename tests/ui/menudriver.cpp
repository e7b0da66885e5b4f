#include "ui/menudriver.h"

#include "kilnutil/filestreamviewer.h"
#include "kilnutil/textview.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QMenu>
#include <QTest>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace {
QString Described(const QAction *action)
{
    if (action->isSeparator())
        return u"-"_s;
    return action->isEnabled() ? action->text() : u'(' + action->text() + u')';
}
} // namespace

void MenuDriver::Run(const std::function<void()> &open, const QString &chosen,
                     const std::function<void()> &whileOpen)
{
    entries.clear();
    QTimer poll;
    poll.setInterval(1);
    QObject::connect(&poll, &QTimer::timeout, &poll, [&] {
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        if (!menu || !menu->isVisible())
            return;
        poll.stop();
        if (whileOpen)
            whileOpen();
        const QList<QAction *> actions = menu->actions();
        for (QAction *action : actions) {
            entries.append(Described(action));
            if (!chosen.isEmpty() && action->text() == chosen)
                menu->setActiveAction(action);
        }
        const QAction *active = menu->activeAction();
        if (active && active->text() == chosen)
            QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(menu->activeAction()).center());
        if (QApplication::activePopupWidget() == menu)
            QTest::keyClick(menu, Qt::Key_Escape);
    });
    poll.start();
    open();
}

void MenuDriver::RightClick(QWidget *viewport, const QPoint &place, const QString &chosen)
{
    Run(
        [&] {
            QTest::mouseClick(viewport, Qt::RightButton, {}, place);
            QContextMenuEvent event{QContextMenuEvent::Mouse, place, viewport->mapToGlobal(place)};
            QApplication::sendEvent(viewport, &event);
        },
        chosen);
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
