// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QStringList>

class QFileDialog;
class QRect;
class QWidget;

/// Helpers for windows and what stands in them.
class KilnUtil_WidgetUtil
{
public:
    /// Makes them all as wide as the widest needs to be.
    static void MatchMinimumWidths(const QList<QWidget *> &widgets);

    /// Moves a window into the middle of the area, but not closer than 10 pixels to its left or top edge. The
    /// frame of a window counts as part of it once it is shown.
    static void CentreOn(QWidget *window, const QRect &available);

    /// Whether a dialog may stand in front of the window as part of it: a desktop hides both when the window
    /// is minimised. nullptr is no window.
    [[nodiscard]] static bool CanBeInFrontOf(const QWidget *window);

    /// Size and place of a window, kept in the user's data under that group and name. Without any that could
    /// be read, the window stays as it is.
    static void LoadWindowSettings(QWidget *window, const QString &group, const QString &name);
    static void SaveWindowSettings(QWidget *window, const QString &group, const QString &name);

    /// Lets it ask for files that exist, beginning in that directory.
    static void PrepQFileDialog(QFileDialog *dialog, const QString &directory,
                                const QStringList &nameFilters);
};
