// SPDX-License-Identifier: MIT
#pragma once

#include "support/testmanager.h"

#include <QDialog>
#include <QTableView>

#include <functional>

/// A manager with its project, and a window in which one of the pages can be opened.
struct PagePlace
{
    TestManager manager;
    QWidget window;

    PagePlace();
    Q_DISABLE_COPY_MOVE(PagePlace)
    /// Shows the window with its pages, one above the other.
    void Show();
};

/// Calls the function once with the next dialog, from its event loop. Without a dialog the test does not end.
void WhenDialogIsOpen(const std::function<void(QDialog &dialog)> &act);

/// The texts of a column, from the top.
[[nodiscard]] QStringList ColumnTexts(const QTableView &table, int column);

/// Clicks with the right button at a place of the table, calls `whileOpen` and presses on the entry of that
/// text with the mouse; an empty text dismisses the menu. Returns the entries, "(...)" around disabled ones.
QStringList ChooseFromMenu(const QTableView &table, const QPoint &place, const QString &entry,
                           const std::function<void()> &whileOpen = {}, Qt::KeyboardModifiers modifiers = {});
/// The same on the row whose cell in that column has that text.
QStringList ChooseFromMenu(QTableView &table, int column, const QString &text, const QString &entry,
                           const std::function<void()> &whileOpen = {});

/// The captions of the viewers that are open in the window, which are then closed.
[[nodiscard]] QStringList TakeViewerCaptions(const QWidget &window);
