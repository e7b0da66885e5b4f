// SPDX-License-Identifier: MIT
#include "widgets/filedrop.h"

#include "widgets/contrast.h"

#include <QDropEvent>
#include <QMimeData>
#include <QPainter>
#include <QUrl>
#include <QWidget>

namespace {
constexpr int frameWidth = 3;
}

QStringList KilnUtil_FileDrop::LocalPaths(const QMimeData &data)
{
    QStringList paths;
    for (const QUrl &url : data.urls()) {
        if (url.isLocalFile())
            paths.append(url.toLocalFile());
    }
    return paths;
}

bool KilnUtil_FileDrop::Answer(QDropEvent *event)
{
    // Never as a move: the other program would delete its files.
    const bool canCopy = event->possibleActions().testFlag(Qt::CopyAction);
    const bool canLink = event->possibleActions().testFlag(Qt::LinkAction);
    if ((!canCopy && !canLink) || LocalPaths(*event->mimeData()).isEmpty()) {
        event->ignore();
        return false;
    }
    event->setDropAction(canCopy ? Qt::CopyAction : Qt::LinkAction);
    event->accept();
    return true;
}

void KilnUtil_FileDrop::PaintFrame(QPainter &painter, const QWidget &widget, const QRect &area)
{
    constexpr int inset = frameWidth / 2;
    painter.setPen(QPen{widget.palette().color(QPalette::Active, QPalette::Highlight), frameWidth});
    painter.drawRect(area.adjusted(inset, inset, -inset - 1, -inset - 1));
}

void KilnUtil_FileDrop::PaintLine(QPainter &painter, const QWidget &widget, int y)
{
    painter.setPen(QPen{widget.palette().color(QPalette::Active, QPalette::Highlight), frameWidth});
    painter.drawLine(0, y, widget.width(), y);
}

void KilnUtil_FileDrop::PaintEmptyText(QPainter &painter, const QWidget &widget, const QRect &area,
                                       const QString &text)
{
    const int margin = widget.fontMetrics().height();
    painter.setPen(KilnUtil_Contrast::PlaceholderColour(widget.palette()));
    painter.drawText(area.adjusted(margin, margin, -margin, -margin), Qt::AlignCenter | Qt::TextWordWrap,
                     text);
}
