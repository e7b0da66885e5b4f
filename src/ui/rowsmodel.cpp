// SPDX-License-Identifier: MIT
#include "ui/rowsmodel.h"

#include "widgets/rowranges.h"
#include "widgets/tablesortproxy.h"

#include <QTextDocument>

#include <algorithm>
#include <numeric>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Every change that is reported makes the view look for the row's new place; beyond this it sorts once.
constexpr qsizetype mostChangesReportedSingly = 16;

/// A block of cells that have changed.
struct Changed
{
    int firstRow;
    int lastRow;
    int firstColumn;
    int lastColumn;

    void Include(const Changed &other)
    {
        firstRow = std::min(firstRow, other.firstRow);
        lastRow = std::max(lastRow, other.lastRow);
        firstColumn = std::min(firstColumn, other.firstColumn);
        lastColumn = std::max(lastColumn, other.lastColumn);
    }
};

Changed ChangedCells(int row, const QStringList &before, const QStringList &after)
{
    const auto [first, unused] = std::ranges::mismatch(before, after);
    auto last = before.size() - 1;
    while (before[last] == after[last])
        --last;
    return {row, row, static_cast<int>(first - before.begin()), static_cast<int>(last)};
}
} // namespace

Taskmill_RowsModel::Taskmill_RowsModel(QStringList headers, int keyColumn, QList<int> numberColumns,
                                       QObject *parent)
    : QAbstractTableModel{parent}
    , m_headers{std::move(headers)}
    , m_keyColumn{keyColumn}
    , m_numberColumns{std::move(numberColumns)}
{
}

QList<Taskmill_RowsModel::Row> Taskmill_RowsModel::KeyedRows(const QList<QStringList> &rows) const
{
    QList<Row> keyed;
    keyed.reserve(rows.size());
    QHash<QString, int> timesSeen;
    for (const QStringList &texts : rows) {
        Q_ASSERT(texts.size() == m_headers.size());
        QString key = texts[m_keyColumn];
        if (const int times = timesSeen[key]++; times > 0)
            key += u'\n' + QString::number(times);
        keyed.append({.key = key, .texts = texts});
    }
    return keyed;
}

void Taskmill_RowsModel::SetRows(const QList<QStringList> &rows)
{
    const QList<Row> keyed = KeyedRows(rows);
    QHash<QString, int> positions;
    for (int position = 0; position < keyed.size(); ++position)
        positions.insert(keyed[position].key, position);
    RemoveVanished(positions);
    Reorder(positions);
    InsertNew(keyed);
    UpdateTexts(keyed);
}

void Taskmill_RowsModel::RemoveVanished(const QHash<QString, int> &positions)
{
    const KilnUtil_RowRanges vanished =
        KilnUtil_RowsWhere(m_rows.size(), [&](int row) { return !positions.contains(m_rows[row].key); });
    for (const KilnUtil_RowRange &range : vanished) {
        beginRemoveRows({}, range.First, range.Last);
        m_rows.remove(range.First, range.Count());
        endRemoveRows();
    }
}

void Taskmill_RowsModel::Reorder(const QHash<QString, int> &positions)
{
    const auto position = [&](int row) {
        return positions.value(m_rows[row].key);
    };
    QList<int> order(m_rows.size());
    std::iota(order.begin(), order.end(), 0);
    if (std::ranges::is_sorted(order, {}, position))
        return;

    Q_EMIT layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    std::ranges::sort(order, {}, position);
    QList<Row> rows;
    QList<int> places(m_rows.size());
    for (const int row : std::as_const(order)) {
        places[row] = static_cast<int>(rows.size());
        rows.append(m_rows[row]);
    }
    m_rows = rows;
    const QModelIndexList persistent = persistentIndexList();
    for (const QModelIndex &from : persistent)
        changePersistentIndex(from, index(places[from.row()], from.column()));
    Q_EMIT layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

/// The rows that are there stand in the order of the others.
void Taskmill_RowsModel::InsertNew(const QList<Row> &rows)
{
    for (int first = 0; first < rows.size(); ++first) {
        const bool isLast = first == m_rows.size();
        if (!isLast && m_rows[first].key == rows[first].key)
            continue;
        int end = first + 1;
        while (end < rows.size() && (isLast || rows[end].key != m_rows[first].key))
            ++end;
        beginInsertRows({}, first, end - 1);
        m_rows.insert(first, end - first, Row{});
        std::copy(rows.begin() + first, rows.begin() + end, m_rows.begin() + first);
        endInsertRows();
        first = end - 1;
    }
}

void Taskmill_RowsModel::UpdateTexts(const QList<Row> &rows)
{
    QList<Changed> changes;
    for (int row = 0; row < rows.size(); ++row) {
        if (m_rows[row].texts == rows[row].texts)
            continue;
        const Changed cells = ChangedCells(row, m_rows[row].texts, rows[row].texts);
        m_rows[row].texts = rows[row].texts;
        if (!changes.isEmpty() &&
            (changes.last().lastRow == row - 1 || changes.size() == mostChangesReportedSingly))
            changes.last().Include(cells);
        else
            changes.append(cells);
    }
    for (const Changed &cells : std::as_const(changes)) {
        Q_EMIT dataChanged(index(cells.firstRow, cells.firstColumn), index(cells.lastRow, cells.lastColumn),
                           {Qt::DisplayRole, Qt::ToolTipRole, KilnUtil_TableSortProxy::SortRole});
    }
}

void Taskmill_RowsModel::MarkCells(int column, const QSet<QString> &keys, const QString &explanation)
{
    Mark &mark = m_marks[column];
    if (mark.keys == keys && mark.explanation == explanation)
        return;
    mark = {.keys = keys, .explanation = explanation};
    if (!m_rows.isEmpty()) {
        Q_EMIT dataChanged(index(0, column), index(rowCount() - 1, column),
                           {Qt::ForegroundRole, Qt::ToolTipRole, Qt::AccessibleDescriptionRole});
    }
}

void Taskmill_RowsModel::SetExplanations(const QHash<QString, QString> &explanations)
{
    if (m_explanations == explanations)
        return;
    m_explanations = explanations;
    if (!m_rows.isEmpty())
        Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1),
                           {Qt::ToolTipRole, Qt::AccessibleDescriptionRole});
}

void Taskmill_RowsModel::SetMarkColour(const QColor &colour)
{
    m_markColour = colour;
    if (!m_rows.isEmpty())
        Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1), {Qt::ForegroundRole});
}

int Taskmill_RowsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int Taskmill_RowsModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_headers.size());
}

QVariant Taskmill_RowsModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    const QString &text = m_rows[index.row()].texts[index.column()];
    switch (role) {
    case Qt::DisplayRole:
        return text;
    case KilnUtil_TableSortProxy::SortRole:
        return SortValue(text, index.column());
    case KilnUtil_TableSortProxy::PositionRole:
        return index.row();
    case Qt::TextAlignmentRole:
        return QVariant{Qt::AlignLeft | Qt::AlignVCenter};
    case Qt::ForegroundRole:
    case Qt::ToolTipRole:
    case Qt::AccessibleDescriptionRole:
        return MarkData(index, role);
    default:
        return {};
    }
}

QVariant Taskmill_RowsModel::SortValue(const QString &text, int column) const
{
    bool isNumber = false;
    const qlonglong number = m_numberColumns.contains(column) ? text.toLongLong(&isNumber) : 0;
    return isNumber ? QVariant{number} : QVariant{text};
}

QVariant Taskmill_RowsModel::MarkData(const QModelIndex &index, int role) const
{
    const auto mark = m_marks.constFind(index.column());
    const Row &row = m_rows[index.row()];
    const bool isMarked = mark != m_marks.cend() && mark->keys.contains(row.key);
    if (role == Qt::ForegroundRole)
        return isMarked && m_markColour.isValid() ? QVariant{m_markColour} : QVariant{};
    const QString explanation = isMarked ? mark->explanation : m_explanations.value(row.key);
    if (explanation.isEmpty())
        return {};
    if (role == Qt::AccessibleDescriptionRole)
        return explanation;
    return Qt::convertFromPlainText(row.texts[index.column()] + u'\n' + explanation);
}

QVariant Taskmill_RowsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole)
        return m_headers.value(section);
    return QAbstractTableModel::headerData(section, orientation, role);
}
