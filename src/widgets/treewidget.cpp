// SPDX-License-Identifier: MIT
#include "widgets/treewidget.h"

#include "widgets/filedrop.h"
#include "widgets/rowview.h"

#include <QDropEvent>
#include <QHeaderView>
#include <QMimeData>
#include <QPainter>
#include <QStyledItemDelegate>

#include <functional>
#include <utility>

namespace {
/// Rows as high as those of the tables, with editors where the list has any.
class RowDelegate final : public QStyledItemDelegate
{
public:
    using Editable = std::function<bool(int column)>;
    using SetUp = std::function<void(QWidget &editor, int column)>;
    RowDelegate(Editable isEditable, SetUp setUp, QObject *parent)
        : QStyledItemDelegate{parent}
        , m_isEditable{std::move(isEditable)}
        , m_setUp{std::move(setUp)}
    {
    }

    [[nodiscard]] QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                                        const QModelIndex &index) const override
    {
        if (!m_isEditable(index.column()))
            return nullptr;
        QWidget *editor = QStyledItemDelegate::createEditor(parent, option, index);
        if (editor)
            m_setUp(*editor, index.column());
        return editor;
    }

    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        const QSize size = QStyledItemDelegate::sizeHint(option, index);
        return {size.width(), qMax(size.height(), KilnUtil_RowView::RowHeight(option.fontMetrics))};
    }

private:
    const Editable m_isEditable;
    const SetUp m_setUp;
};
} // namespace

KilnUtil_TreeWidget::KilnUtil_TreeWidget(QWidget *parent)
    : QTreeWidget{parent}
{
    setItemDelegate(new RowDelegate{[this](int column) { return IsEditable(column); },
                                    [this](QWidget &editor, int column) { SetUpEditor(editor, column); },
                                    this});
    setRootIsDecorated(false);
    // A height for all rows: none of many thousands has to be asked.
    setUniformRowHeights(true);
    setAllColumnsShowFocus(true);
    setAlternatingRowColors(true);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setContextMenuPolicy(Qt::CustomContextMenu);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    setDefaultDropAction(Qt::MoveAction);
    setDropIndicatorShown(true);
    header()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    header()->setHighlightSections(false);
    KilnUtil_RowView::CopySelectionColours(*this);
    SetSorting(false);
}

void KilnUtil_TreeWidget::SetSorting(bool sorting)
{
    setSortingEnabled(sorting);
    // Rows that are sorted have no place of their own.
    setDragDropMode(sorting ? QAbstractItemView::DropOnly : QAbstractItemView::InternalMove);
}

void KilnUtil_TreeWidget::SetEmptyText(const QString &text)
{
    m_emptyText = text;
    viewport()->update();
}

bool KilnUtil_TreeWidget::event(QEvent *event)
{
    return KilnUtil_RowView::TakeMenuKey(*this, *event) || QTreeWidget::event(event);
}

void KilnUtil_TreeWidget::changeEvent(QEvent *event)
{
    QTreeWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        KilnUtil_RowView::CopySelectionColours(*this);
}

void KilnUtil_TreeWidget::paintEvent(QPaintEvent *event)
{
    QTreeWidget::paintEvent(event);
    if (!m_dropHover && topLevelItemCount() > 0)
        return;
    QPainter painter{viewport()};
    if (topLevelItemCount() == 0)
        KilnUtil_FileDrop::PaintEmptyText(painter, *this, viewport()->rect(), m_emptyText);
    if (m_dropHover)
        KilnUtil_FileDrop::PaintFrame(painter, *this, viewport()->rect());
}

void KilnUtil_TreeWidget::SetDropHover(bool hover)
{
    if (m_dropHover == hover)
        return;
    m_dropHover = hover;
    viewport()->update();
}

void KilnUtil_TreeWidget::dragEnterEvent(QDragEnterEvent *event)
{
    if (event->source() == this)
        QTreeWidget::dragEnterEvent(event);
    else
        SetDropHover(KilnUtil_FileDrop::Answer(event));
}

void KilnUtil_TreeWidget::dragMoveEvent(QDragMoveEvent *event)
{
    if (event->source() == this)
        QTreeWidget::dragMoveEvent(event);
    else
        SetDropHover(KilnUtil_FileDrop::Answer(event));
}

void KilnUtil_TreeWidget::dragLeaveEvent(QDragLeaveEvent *event)
{
    SetDropHover(false);
    QTreeWidget::dragLeaveEvent(event);
}

void KilnUtil_TreeWidget::dropEvent(QDropEvent *event)
{
    SetDropHover(false);
    if (event->source() == this) {
        MoveSelectedRows(event);
    } else if (KilnUtil_FileDrop::Answer(event)) {
        const QStringList paths = KilnUtil_FileDrop::LocalPaths(*event->mimeData());
        QMetaObject::invokeMethod(
            this, [this, paths] { Q_EMIT DropSignal(paths); }, Qt::QueuedConnection);
    }
}

void KilnUtil_TreeWidget::MoveSelectedRows(QDropEvent *event)
{
    const QList<QTreeWidgetItem *> moved = selectedItems();
    QTreeWidgetItem *current = currentItem();
    QTreeWidget::dropEvent(event);
    // Taking the rows out has left others selected.
    clearSelection();
    setCurrentItem(current, currentColumn(), QItemSelectionModel::NoUpdate);
    for (QTreeWidgetItem *item : moved)
        item->setSelected(true);
    Q_EMIT ItemsMovedSignal();
}

void KilnUtil_TreeWidget::closeEditor(QWidget *editor, QAbstractItemDelegate::EndEditHint hint)
{
    QTreeWidget::closeEditor(editor, hint);
    Q_EMIT ItemEditorClosedSignal();
}
