#pragma once

#include "ui/menudriver.h"

#include <QApplication>
#include <QDialog>
#include <QTableView>
#include <QTimer>

#include <functional>

/// Calls the function with the next dialog, from its event loop. Without a dialog the test does not end.
inline void WhenDialogIsOpen(const std::function<void(QDialog &dialog)> &act)
{
    QTimer::singleShot(0, qApp, [act] {
        if (auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget()))
            act(*dialog);
        else
            WhenDialogIsOpen(act);
    });
}

/// The texts of a column, from the top.
inline QStringList ColumnTexts(const QTableView &table, int column)
{
    QStringList texts;
    for (int row = 0; row < table.model()->rowCount(); ++row)
        texts += table.model()->index(row, column).data().toString();
    return texts;
}

/// Clicks with the right button at a place of the table and chooses the entry of that text; returns the
/// entries, as MenuDriver tells them.
inline QStringList ChooseFromMenu(const QTableView &table, const QPoint &place, const QString &entry)
{
    MenuDriver menu;
    menu.RightClick(table.viewport(), place, entry);
    return menu.entries;
}

/// The same on the row whose cell in that column has that text.
inline QStringList ChooseFromMenu(QTableView &table, int column, const QString &text, const QString &entry)
{
    const auto row = static_cast<int>(ColumnTexts(table, column).indexOf(text));
    const QModelIndex cell = table.model()->index(row, column);
    table.scrollTo(cell);
    return ChooseFromMenu(table, table.visualRect(cell).center(), entry);
}
