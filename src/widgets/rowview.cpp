// SPDX-License-Identifier: MIT
#include "widgets/rowview.h"

#include <QAbstractItemView>
#include <QContextMenuEvent>

int KilnUtil_RowView::RowHeight(const QFontMetrics &metrics)
{
    return metrics.height() * 3 / 2;
}

void KilnUtil_RowView::CopySelectionColours(QWidget &view)
{
    QPalette colours;
    bool differ = false;
    for (QPalette::ColorRole role : {QPalette::Highlight, QPalette::HighlightedText}) {
        const QBrush &active = view.palette().brush(QPalette::Active, role);
        differ = differ || view.palette().brush(QPalette::Inactive, role) != active;
        colours.setBrush(QPalette::Inactive, role, active);
    }
    // Sets these two colours alone: the others go on following the desktop.
    if (differ)
        view.setPalette(colours);
}

bool KilnUtil_RowView::TakeMenuKey(QAbstractItemView &view, const QEvent &event)
{
    if (event.type() != QEvent::ContextMenu || view.contextMenuPolicy() != Qt::CustomContextMenu ||
        static_cast<const QContextMenuEvent &>(event).reason() != QContextMenuEvent::Keyboard)
        return false;
    if (view.currentIndex().isValid())
        view.scrollTo(view.currentIndex());
    const QRect cell = view.visualRect(view.currentIndex()) & view.viewport()->rect();
    Q_EMIT view.customContextMenuRequested(cell.isEmpty() ? QPoint{} : cell.center());
    return true;
}
