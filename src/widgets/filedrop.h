// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

class QDropEvent;
class QMimeData;
class QPainter;
class QRect;
class QWidget;

/// What widgets that take files of other programs have in common.
class KilnUtil_FileDrop
{
public:
    /// Files and directories of this computer, as absolute paths.
    [[nodiscard]] static QStringList LocalPaths(const QMimeData &data);
    /// Answers the other program: accepts the event, and returns true, when it brings local files that may
    /// stay where they are; ignores it otherwise.
    static bool Answer(QDropEvent *event);

    /// Around the area onto which files would fall.
    static void PaintFrame(QPainter &painter, const QWidget &widget, const QRect &area);
    /// Across the widget, where rows would fall.
    static void PaintLine(QPainter &painter, const QWidget &widget, int y);
    /// In place of rows.
    static void PaintEmptyText(QPainter &painter, const QWidget &widget, const QRect &area,
                               const QString &text);
};
