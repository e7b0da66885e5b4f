// SPDX-License-Identifier: MIT
#pragma once

class QAbstractItemView;
class QEvent;
class QFontMetrics;
class QWidget;

/// What tables and lists of whole rows have in common.
class KilnUtil_RowView
{
public:
    /// In pixels, with some air between the rows.
    [[nodiscard]] static int RowHeight(const QFontMetrics &metrics);
    /// Lets the selection stay to be seen when the keyboard is elsewhere. To be called again when the colours
    /// of the desktop change.
    static void CopySelectionColours(QWidget &view);
    /// Answers the menu key with customContextMenuRequested() at the current row, in coordinates of the
    /// viewport as after a click. False for any other event.
    [[nodiscard]] static bool TakeMenuKey(QAbstractItemView &view, const QEvent &event);
};
