// SPDX-License-Identifier: MIT
#include "widgets/tablewidget.h"

#include "widgets/celldelegate.h"
#include "widgets/filedrop.h"
#include "widgets/rowview.h"
#include "widgets/tablecolumns.h"
#include "widgets/tablesortproxy.h"

#include <QDropEvent>
#include <QGuiApplication>
#include <QHeaderView>
#include <QHelpEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QTextDocument>
#include <QToolTip>

#include <algorithm>
#include <numeric>

using namespace Qt::Literals::StringLiterals;

KilnUtil_TableWidget::KilnUtil_TableWidget(QWidget *parent)
    : QTableView{parent}
    , m_proxy{new KilnUtil_TableSortProxy{this}}
{
    setModel(m_proxy);
    // A header that knew of the selection would look at each of a million selected rows.
    horizontalHeader()->setSelectionModel(new QItemSelectionModel{m_proxy, this});
    setItemDelegate(new KilnUtil_CellDelegate{this});
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setContextMenuPolicy(Qt::CustomContextMenu);
    setDragDropOverwriteMode(false);
    setWordWrap(false);
    setShowGrid(false);
    setAlternatingRowColors(true);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    // The Tab key leads on to the next control; the arrow keys move within the table.
    setTabKeyNavigation(false);
    SetUpHeaders();
    KilnUtil_RowView::CopySelectionColours(*this);
    SetAcceptsFiles(false);
    m_columns = std::make_unique<KilnUtil_TableColumns>(*this);

    connect(this, &QAbstractItemView::doubleClicked, this,
            [this](const QModelIndex &index) { Q_EMIT cellDoubleClicked(index.row(), index.column()); });
}

KilnUtil_TableWidget::~KilnUtil_TableWidget() = default;

void KilnUtil_TableWidget::SetUpHeaders()
{
    QHeaderView *columns = horizontalHeader();
    columns->setStretchLastSection(true);
    columns->setSectionsMovable(true);
    columns->setHighlightSections(false);
    columns->setContextMenuPolicy(Qt::CustomContextMenu);
    columns->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    columns->setSortIndicator(0, Qt::AscendingOrder);
    setSortingEnabled(true);
    // A height for all rows: none of 100,000 has to be asked.
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    SetRowHeight();
}

void KilnUtil_TableWidget::SetRowHeight()
{
    verticalHeader()->setDefaultSectionSize(KilnUtil_RowView::RowHeight(fontMetrics()));
}

void KilnUtil_TableWidget::SetSourceModel(QAbstractItemModel *model)
{
    m_proxy->setSourceModel(model);
    sortByColumn(0, Qt::AscendingOrder);
    m_columns->ApplyHints();
}

void KilnUtil_TableWidget::SetColumnHints(const QList<int> &characters)
{
    m_columns->SetHints(characters);
}

void KilnUtil_TableWidget::SetElasticColumns(const QMap<int, int> &leastCharacters)
{
    m_columns->SetElastic(leastCharacters);
}

void KilnUtil_TableWidget::SetColumnsAtFirst(const QList<int> &hidden, const QMap<int, int> &standingBehind)
{
    m_columns->SetAtFirst(hidden, standingBehind);
}

void KilnUtil_TableWidget::RememberColumns(const QString &name)
{
    m_columns->Remember(name);
}

void KilnUtil_TableWidget::FillColumnsMenu(QMenu &menu)
{
    m_columns->FillMenu(menu);
}

void KilnUtil_TableWidget::resizeEvent(QResizeEvent *event)
{
    QTableView::resizeEvent(event);
    m_columns->Fit();
}

void KilnUtil_TableWidget::FilterChanged()
{
    constexpr qsizetype mostKept = 1000;
    qsizetype selected = 0;
    const QItemSelection selection = selectionModel()->selection();
    for (const QItemSelectionRange &range : selection)
        selected += range.height();
    if (selected > mostKept)
        clearSelection();
    ChangeRows([this] { m_proxy->FilterChanged(); });
}

void KilnUtil_TableWidget::SetEmptyText(const QString &text)
{
    m_emptyText = text;
    viewport()->update();
}

void KilnUtil_TableWidget::SetAcceptsFiles(bool accepts)
{
    m_acceptsFiles = accepts;
    setDragDropMode(accepts ? QAbstractItemView::DropOnly : QAbstractItemView::NoDragDrop);
    setDropIndicatorShown(false);
}

QList<int> KilnUtil_TableWidget::SelectedRows() const
{
    // Whole rows are selected, maybe a million; Qt would look at each of their cells.
    QList<int> rows;
    const QItemSelection selection = selectionModel()->selection();
    for (const QItemSelectionRange &range : selection) {
        for (int row = range.top(); row <= range.bottom(); ++row)
            rows.append(row);
    }
    std::ranges::sort(rows);
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

QList<int> KilnUtil_TableWidget::SelectedRowsWith(const QModelIndex &cell) const
{
    QList<int> rows = SelectedRows();
    if (cell.isValid() && !std::ranges::binary_search(rows, cell.row()))
        rows.insert(std::ranges::lower_bound(rows, cell.row()), cell.row());
    return rows;
}

QModelIndex KilnUtil_TableWidget::ClickedCell(const QPoint &position) const
{
    const QModelIndex cell = indexAt(position);
    return cell.isValid() && cell.row() == currentIndex().row() ? cell : QModelIndex{};
}

QList<int> KilnUtil_TableWidget::AllRows() const
{
    QList<int> rows(model()->rowCount());
    std::iota(rows.begin(), rows.end(), 0);
    return rows;
}

QList<int> KilnUtil_TableWidget::PositionsOf(const QList<int> &rows) const
{
    QList<int> positions = rows;
    for (int &position : positions)
        position = m_proxy->SourceRowAt(position);
    return positions;
}

int KilnUtil_TableWidget::PositionAt(int row) const
{
    const QVariant position = model()->index(row, 0).data(KilnUtil_TableSortProxy::PositionRole);
    return position.isValid() ? position.toInt() : -1;
}

int KilnUtil_TableWidget::CurrentPosition() const
{
    return currentIndex().isValid() ? PositionAt(currentIndex().row()) : -1;
}

void KilnUtil_TableWidget::ChangeRows(const std::function<void()> &change)
{
    const bool atTop = verticalScrollBar()->value() == verticalScrollBar()->minimum();
    const QPersistentModelIndex top = atTop ? QModelIndex{} : indexAt(QPoint{0, 0});
    // One range over a whole large table that is still open is kept by its corners, not by its rows: after a
    // new layout with more rows, those between the corners would be selected.
    selectionModel()->select(QItemSelection{}, QItemSelectionModel::Select);
    change();
    if (!top.isValid())
        return;
    // The range of the scroll bar would follow from the event loop only.
    executeDelayedItemsLayout();
    updateGeometries();
    const int fromLeft = horizontalScrollBar()->value();
    scrollTo(top, QAbstractItemView::PositionAtTop);
    horizontalScrollBar()->setValue(fromLeft);
}

void KilnUtil_TableWidget::rowsAboutToBeRemoved(const QModelIndex &parent, int first, int last)
{
    const QModelIndex current = currentIndex();
    if (current.isValid() && current.row() >= first && current.row() <= last) {
        m_placeOfKeyboard = {current.column(), first};
        selectionModel()->select(current, QItemSelectionModel::Deselect | QItemSelectionModel::Rows);
        selectionModel()->clearCurrentIndex();
    }
    QTableView::rowsAboutToBeRemoved(parent, first, last);
}

/// When the current row has gone, the keys go on where it stood, not at the top.
QModelIndex KilnUtil_TableWidget::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    if (m_takingFocus)
        return {};
    const QModelIndex current = currentIndex();
    // From a hidden cell no key would lead anywhere.
    if (current.isValid() && isColumnHidden(current.column()))
        selectionModel()->setCurrentIndex(
            current.siblingAtColumn(m_columns->ShownInPlaceOf(current.column())),
            QItemSelectionModel::NoUpdate);
    if (current.isValid() || model()->rowCount() == 0)
        return QTableView::moveCursor(action, modifiers);
    return model()->index(qMin(m_placeOfKeyboard.y(), model()->rowCount() - 1),
                          m_columns->ShownInPlaceOf(m_placeOfKeyboard.x()));
}

void KilnUtil_TableWidget::focusInEvent(QFocusEvent *event)
{
    // Qt would make a row current that nobody chose.
    const QScopedValueRollback taking{m_takingFocus, true};
    QTableView::focusInEvent(event);
}

void KilnUtil_TableWidget::changeEvent(QEvent *event)
{
    QTableView::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        KilnUtil_RowView::CopySelectionColours(*this);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        SetRowHeight();
}

bool KilnUtil_TableWidget::event(QEvent *event)
{
    return KilnUtil_RowView::TakeMenuKey(*this, *event) || QTableView::event(event);
}

bool KilnUtil_TableWidget::viewportEvent(QEvent *event)
{
    if (event->type() == QEvent::ToolTip && ShowWholeText(*static_cast<QHelpEvent *>(event)))
        return true;
    return QTableView::viewportEvent(event);
}

bool KilnUtil_TableWidget::ShowWholeText(const QHelpEvent &event)
{
    const QModelIndex index = indexAt(event.pos());
    if (!index.isValid() || index.data(Qt::ToolTipRole).isValid())
        return false;
    const QRect cell = visualRect(index);
    if (sizeHintForIndex(index).width() <= cell.width()) {
        QToolTip::hideText();
        return true;
    }
    // As rich text, which is broken into lines.
    const QString text = Qt::convertFromPlainText(index.data(Qt::DisplayRole).toString());
    QToolTip::showText(event.globalPos(), text, viewport(), cell);
    return true;
}

void KilnUtil_TableWidget::keyPressEvent(QKeyEvent *event)
{
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    const bool isDelete = event->key() == Qt::Key_Delete;
    // A key that is held down acts once.
    if (event->isAutoRepeat() && (isEnter || isDelete))
        return;
    if (modifiers == Qt::NoModifier && isEnter && currentIndex().isValid())
        Q_EMIT cellDoubleClicked(currentIndex().row(), currentIndex().column());
    else if (modifiers == Qt::NoModifier && isDelete)
        Q_EMIT RemoveRequestedSignal();
    else
        QTableView::keyPressEvent(event);
}

void KilnUtil_TableWidget::paintEvent(QPaintEvent *event)
{
    QTableView::paintEvent(event);
    const bool isEmpty = model()->rowCount() == 0;
    if (!m_dropHover && !(isEmpty && !m_emptyText.isEmpty()))
        return;

    QPainter painter{viewport()};
    if (isEmpty)
        KilnUtil_FileDrop::PaintEmptyText(painter, *this, viewport()->rect(), m_emptyText);
    if (m_dropHover)
        KilnUtil_FileDrop::PaintFrame(painter, *this, viewport()->rect());
}

void KilnUtil_TableWidget::AcceptDrop(QDropEvent *event)
{
    const bool takes = m_acceptsFiles && event->source() != this && KilnUtil_FileDrop::Answer(event);
    if (!takes)
        event->ignore();
    SetDropHover(takes && event->type() != QEvent::Drop);
}

void KilnUtil_TableWidget::SetDropHover(bool hover)
{
    if (m_dropHover == hover)
        return;
    m_dropHover = hover;
    viewport()->update();
}

void KilnUtil_TableWidget::dragEnterEvent(QDragEnterEvent *event)
{
    AcceptDrop(event);
}

void KilnUtil_TableWidget::dragMoveEvent(QDragMoveEvent *event)
{
    AcceptDrop(event);
}

void KilnUtil_TableWidget::dragLeaveEvent(QDragLeaveEvent *event)
{
    SetDropHover(false);
    event->accept();
}

void KilnUtil_TableWidget::dropEvent(QDropEvent *event)
{
    AcceptDrop(event);
    if (!event->isAccepted())
        return;
    const QStringList paths = KilnUtil_FileDrop::LocalPaths(*event->mimeData());
    QMetaObject::invokeMethod(
        this, [this, paths] { Q_EMIT DropSignal(paths); }, Qt::QueuedConnection);
}
