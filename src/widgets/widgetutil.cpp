// SPDX-License-Identifier: MIT
#include "widgets/widgetutil.h"

#include "kilnutil/registry.h"

#include <QFileDialog>

#include <algorithm>

namespace {
constexpr int leastDistanceToEdge = 10; // pixels
}

void KilnUtil_WidgetUtil::MatchMinimumWidths(const QList<QWidget *> &widgets)
{
    int widest = 0;
    for (const QWidget *widget : widgets)
        widest = std::max(widest, widget->sizeHint().width());
    for (QWidget *widget : widgets)
        widget->setMinimumWidth(widest);
}

void KilnUtil_WidgetUtil::CentreOn(QWidget *window, const QRect &available)
{
    // Before it is shown for the first time a window has no frame, so that it must not count the next time.
    QRect place = window->isVisible() ? window->frameGeometry() : window->geometry();
    const QPoint before = place.topLeft();
    place.moveCenter(available.center());
    place.moveTopLeft({std::max(place.left(), available.left() + leastDistanceToEdge),
                       std::max(place.top(), available.top() + leastDistanceToEdge)});
    window->setGeometry(window->geometry().translated(place.topLeft() - before));
}

bool KilnUtil_WidgetUtil::CanBeInFrontOf(const QWidget *window)
{
    return window && window->isVisible() && !window->isMinimized();
}

void KilnUtil_WidgetUtil::LoadWindowSettings(QWidget *window, const QString &group, const QString &name)
{
    QString geometry;
    if (KilnUtil_Registry::GetAppUserData(group, name, geometry))
        window->restoreGeometry(QByteArray::fromBase64(geometry.toLatin1()));
}

void KilnUtil_WidgetUtil::SaveWindowSettings(QWidget *window, const QString &group, const QString &name)
{
    KilnUtil_Registry::PutAppUserData(group, name, QString::fromLatin1(window->saveGeometry().toBase64()));
}

void KilnUtil_WidgetUtil::PrepQFileDialog(QFileDialog *dialog, const QString &directory,
                                          const QStringList &nameFilters)
{
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    dialog->setFileMode(QFileDialog::ExistingFiles);
    dialog->setDirectory(directory);
    dialog->setNameFilters(nameFilters);
}
