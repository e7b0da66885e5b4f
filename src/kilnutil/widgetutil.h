#pragma once

#include <QList>
#include <QStringList>

class QFileDialog;
class QWidget;

/// Helpers for windows and what stands in them.
class KilnUtil_WidgetUtil
{
public:
    /// Makes them all as wide as the widest needs to be.
    static void MatchMinimumWidths(const QList<QWidget *> &widgets);

    /// Size and place of a window, kept in the user's data under that group and name. Without any that could
    /// be read, the window stays as it is.
    static void LoadWindowSettings(QWidget *window, const QString &group, const QString &name);
    static void SaveWindowSettings(QWidget *window, const QString &group, const QString &name);

    /// Lets it ask for files that exist, beginning in that directory.
    static void PrepQFileDialog(QFileDialog *dialog, const QString &directory,
                                const QStringList &nameFilters);
};
