// SPDX-License-Identifier: MIT
#include "widgets/tablewidget.h"

#include "kilnutil/registry.h"
#include "widgets/celldelegate.h"
#include "widgets/filedrop.h"
#include "widgets/rowview.h"
#include "widgets/tablesortproxy.h"

#include <QDropEvent>
#include <QGuiApplication>
#include <QHeaderView>
#include <QHelpEvent>
#include <QMenu>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QTextDocument>
#include <QToolTip>
#include <QtMath>

#include <algorithm>
#include <array>
#include <numeric>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int saveDelayMs = 500;
constexpr int widestColumn = 10'000;
} // namespace

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
    connect(horizontalHeader(), &QHeaderView::sectionResized, this, &KilnUtil_TableWidget::ColumnResizedSlot);

    m_saveTimer.setSingleShot(true);
    m_saveTimer.setInterval(saveDelayMs);
    connect(&m_saveTimer, &QTimer::timeout, this, &KilnUtil_TableWidget::SaveColumnsSlot);
    connect(this, &QAbstractItemView::doubleClicked, this,
            [this](const QModelIndex &index) { Q_EMIT cellDoubleClicked(index.row(), index.column()); });
}

KilnUtil_TableWidget::~KilnUtil_TableWidget()
{
    if (m_saveTimer.isActive())
        SaveColumnsSlot();
}

void KilnUtil_TableWidget::SetUpHeaders()
{
    QHeaderView *columns = horizontalHeader();
    columns->setStretchLastSection(true);
    columns->setSectionsMovable(true);
    columns->setHighlightSections(false);
    columns->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(columns, &QWidget::customContextMenuRequested, this, &KilnUtil_TableWidget::HeaderMenuSlot);
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
    ApplyHints();
}

void KilnUtil_TableWidget::SetColumnHints(const QList<int> &characters)
{
    m_columnHints = characters;
    ApplyHints();
}

void KilnUtil_TableWidget::SetElasticColumns(const QMap<int, int> &leastCharacters)
{
    m_elasticColumns = leastCharacters;
    FitColumns();
}

/// As wide as digits, which columns of numbers and times hold; two more for the margins.
int KilnUtil_TableWidget::WidthOf(int characters) const
{
    return (characters + 2) * fontMetrics().horizontalAdvance(u'0');
}

void KilnUtil_TableWidget::ApplyHints()
{
    const QScopedValueRollback setting{m_settingWidths, true};
    const int count = qMin(static_cast<int>(m_columnHints.size()), horizontalHeader()->count());
    for (int column = 0; column < count; ++column)
        setColumnWidth(column,
                       qMax(WidthOf(m_columnHints[column]), horizontalHeader()->sectionSizeHint(column)));
}

/// What is lacking is taken from the elastic columns, from each in proportion to what it can give: first from
/// those that can give more than half of their width, as names and paths can.
void KilnUtil_TableWidget::FitColumns()
{
    if (m_elasticColumns.isEmpty() || m_hasUserWidths)
        return;
    const QHeaderView *columns = horizontalHeader();
    const auto wanted = [&](int column) {
        return qMax(WidthOf(m_columnHints.value(column)), columns->sectionSizeHint(column));
    };
    const auto turnOf = [&](int column) -> std::size_t {
        return 2 * m_elasticColumns[column] < m_columnHints.value(column) ? 0 : 1;
    };
    int lacking = -viewport()->width();
    std::array<int, 2> spare{};
    for (const int column : ShownColumns()) {
        lacking += wanted(column);
        if (m_elasticColumns.contains(column))
            spare.at(turnOf(column)) += wanted(column) - WidthOf(m_elasticColumns[column]);
    }
    std::array<double, 2> shares{};
    for (std::size_t turn = 0; turn < spare.size() && spare.at(turn) > 0; ++turn) {
        shares.at(turn) = qBound(0.0, static_cast<double>(lacking) / spare.at(turn), 1.0);
        lacking -= spare.at(turn);
    }
    const QScopedValueRollback setting{m_settingWidths, true};
    for (const auto &[column, least] : m_elasticColumns.asKeyValueRange()) {
        if (isColumnHidden(column))
            continue;
        const int width = wanted(column);
        setColumnWidth(column, width - qCeil((width - WidthOf(least)) * shares.at(turnOf(column))));
    }
}

void KilnUtil_TableWidget::resizeEvent(QResizeEvent *event)
{
    QTableView::resizeEvent(event);
    FitColumns();
}

void KilnUtil_TableWidget::SetColumnsAtFirst(const QList<int> &hidden, const QMap<int, int> &standingBehind)
{
    m_hiddenAtFirst = hidden;
    m_behindAtFirst = standingBehind;
    PlaceColumnsAsAtFirst();
}

void KilnUtil_TableWidget::RememberColumns(const QString &name)
{
    m_settingsKey = u"/Tables/%1/"_s.arg(name);
    RestoreColumns();
    RestoreOrder();
    connect(horizontalHeader(), &QHeaderView::sectionMoved, &m_saveTimer, qOverload<>(&QTimer::start));
    connect(horizontalHeader(), &QHeaderView::sortIndicatorChanged, &m_saveTimer,
            qOverload<>(&QTimer::start));
}

/// From the left.
QList<int> KilnUtil_TableWidget::ShownColumns() const
{
    const QHeaderView *columns = horizontalHeader();
    QList<int> shown;
    for (int place = 0; place < columns->count(); ++place) {
        if (!columns->isSectionHidden(columns->logicalIndex(place)))
            shown.append(columns->logicalIndex(place));
    }
    return shown;
}

void KilnUtil_TableWidget::ColumnResizedSlot(int column)
{
    // The last one follows the window.
    if (m_settingWidths || column == ShownColumns().last())
        return;
    m_hasUserWidths = true;
    if (!m_settingsKey.isEmpty())
        m_saveTimer.start();
}

/// The setting is a list of "column:width" in the order in which the columns stand, ":hidden" behind those
/// that are not shown. The last one that is shown is as wide as the window lets it be, which is written as 0,
/// as are all while the user has set none.
void KilnUtil_TableWidget::SaveColumnsSlot()
{
    const QHeaderView *columns = horizontalHeader();
    const int last = ShownColumns().last();
    QStringList saved;
    for (int place = 0; place < columns->count(); ++place) {
        const int column = columns->logicalIndex(place);
        const bool hasWidth = m_hasUserWidths && column != last;
        const QString text = u"%1:%2"_s.arg(column).arg(hasWidth ? columns->sectionSize(column) : 0);
        saved.append(columns->isSectionHidden(column) ? text + u":hidden"_s : text);
    }
    KilnUtil_Registry::SetValue(m_settingsKey + u"Columns"_s, saved);
    KilnUtil_Registry::SetValue(
        m_settingsKey + u"Order"_s,
        u"%1:%2"_s.arg(columns->sortIndicatorSection())
            .arg(columns->sortIndicatorOrder() == Qt::AscendingOrder ? u"up" : u"down"));
}

void KilnUtil_TableWidget::PutBehindOther(int column)
{
    QHeaderView *columns = horizontalHeader();
    const int from = columns->visualIndex(column);
    const int behind = columns->visualIndex(m_behindAtFirst.value(column));
    columns->moveSection(from, from > behind ? behind + 1 : behind);
}

void KilnUtil_TableWidget::PlaceColumnsAsAtFirst()
{
    QHeaderView *columns = horizontalHeader();
    const QScopedValueRollback setting{m_settingWidths, true};
    for (int column = 0; column < columns->count(); ++column) {
        columns->moveSection(columns->visualIndex(column), column);
        columns->setSectionHidden(column, m_hiddenAtFirst.contains(column));
    }
    for (const int column : m_behindAtFirst.keys())
        PutBehindOther(column);
}

void KilnUtil_TableWidget::RestoreColumns()
{
    QHeaderView *columns = horizontalHeader();
    const QStringList saved = KilnUtil_Registry::Value(m_settingsKey + u"Columns"_s).toStringList();
    const QScopedValueRollback setting{m_settingWidths, true};
    m_hasUserWidths = false;
    QList<int> known;
    for (const QString &entry : saved) {
        const QStringList parts = entry.split(u':');
        bool hasColumn = false;
        bool hasWidth = false;
        const int column = parts.first().toInt(&hasColumn);
        const int width = parts.value(1).toInt(&hasWidth);
        // Another version of the program may have had other columns.
        if (!hasColumn || !hasWidth || column < 0 || column >= columns->count())
            continue;
        columns->setSectionHidden(column, parts.value(2) == "hidden"_L1);
        if (width > 0) {
            columns->resizeSection(column, qBound(columns->minimumSectionSize(), width, widestColumn));
            m_hasUserWidths = true;
        }
        if (known.contains(column))
            continue;
        columns->moveSection(columns->visualIndex(column), static_cast<int>(known.size()));
        known.append(column);
    }
    for (const int column : m_behindAtFirst.keys()) {
        if (!known.isEmpty() && !known.contains(column))
            PutBehindOther(column);
    }
    if (ShownColumns().isEmpty())
        columns->setSectionHidden(0, false);
}

void KilnUtil_TableWidget::RestoreOrder()
{
    const QStringList saved = KilnUtil_Registry::Value(m_settingsKey + u"Order"_s).toString().split(u':');
    bool hasColumn = false;
    const int column = saved.first().toInt(&hasColumn);
    if (hasColumn && column >= -1 && column < horizontalHeader()->count())
        sortByColumn(column, saved.last() == "down"_L1 ? Qt::DescendingOrder : Qt::AscendingOrder);
}

void KilnUtil_TableWidget::ColumnsChanged()
{
    FitColumns();
    if (!m_settingsKey.isEmpty())
        m_saveTimer.start();
}

void KilnUtil_TableWidget::ShowColumn(int column, bool isShown)
{
    {
        const QScopedValueRollback setting{m_settingWidths, true};
        setColumnHidden(column, !isShown);
        // One that was hidden when it was saved has no width.
        if (isShown && columnWidth(column) <= horizontalHeader()->minimumSectionSize())
            setColumnWidth(column, WidthOf(m_columnHints.value(column)));
    }
    ColumnsChanged();
}

void KilnUtil_TableWidget::MoveCurrentColumn(int places)
{
    const QList<int> shown = ShownColumns();
    const qsizetype place = shown.indexOf(currentIndex().column());
    if (place < 0 || place + places < 0 || place + places >= shown.size())
        return;
    QHeaderView *columns = horizontalHeader();
    columns->moveSection(columns->visualIndex(shown[place]), columns->visualIndex(shown[place + places]));
    scrollTo(currentIndex());
}

void KilnUtil_TableWidget::ShowColumnsAsAtFirst()
{
    PlaceColumnsAsAtFirst();
    ApplyHints();
    m_hasUserWidths = false;
    ColumnsChanged();
}

void KilnUtil_TableWidget::FillColumnsMenu(QMenu &menu)
{
    const QList<int> shown = ShownColumns();
    for (int place = 0; place < horizontalHeader()->count(); ++place) {
        const int column = horizontalHeader()->logicalIndex(place);
        QAction *entry = menu.addAction(model()->headerData(column, Qt::Horizontal).toString(), this,
                                        [this, column](bool isShown) { ShowColumn(column, isShown); });
        entry->setCheckable(true);
        entry->setChecked(shown.contains(column));
        // One must be left, by whose header the others can come back.
        entry->setEnabled(shown != QList{column});
    }
    menu.addSeparator();
    // For the keyboard; the mouse drags headers.
    const qsizetype current = shown.indexOf(currentIndex().column());
    menu.addAction(u"Move Current Column Left"_s, this, [this] { MoveCurrentColumn(-1); })
        ->setEnabled(current > 0);
    menu.addAction(u"Move Current Column Right"_s, this, [this] { MoveCurrentColumn(1); })
        ->setEnabled(current >= 0 && current < shown.size() - 1);
    menu.addAction(u"Columns as at First"_s, this, &KilnUtil_TableWidget::ShowColumnsAsAtFirst);
}

void KilnUtil_TableWidget::HeaderMenuSlot(const QPoint &position)
{
    QMenu menu{this};
    FillColumnsMenu(menu);
    menu.exec(horizontalHeader()->viewport()->mapToGlobal(position));
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

/// The first one that is shown in place of a hidden one.
int KilnUtil_TableWidget::ShownColumn(int column) const
{
    const QList<int> shown = ShownColumns();
    return shown.isEmpty() || !isColumnHidden(column) ? column : shown.first();
}

/// When the current row has gone, the keys go on where it stood, not at the top.
QModelIndex KilnUtil_TableWidget::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    if (m_takingFocus)
        return {};
    const QModelIndex current = currentIndex();
    // From a hidden cell no key would lead anywhere.
    if (current.isValid() && isColumnHidden(current.column()))
        selectionModel()->setCurrentIndex(current.siblingAtColumn(ShownColumn(current.column())),
                                          QItemSelectionModel::NoUpdate);
    if (current.isValid() || model()->rowCount() == 0)
        return QTableView::moveCursor(action, modifiers);
    return model()->index(qMin(m_placeOfKeyboard.y(), model()->rowCount() - 1),
                          ShownColumn(m_placeOfKeyboard.x()));
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
