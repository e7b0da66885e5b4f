// SPDX-License-Identifier: MIT
#include "widgets/tablesortproxy.h"

#include "widgets/rowranges.h"
#include "widgets/tablesortkeys.h"

#include <algorithm>
#include <numeric>
#include <utility>

using Proxy = KilnUtil_TableSortProxy;

namespace {
/// Beyond so many changes at once a new order is reported to the views instead of each.
constexpr qsizetype mostChangesReportedSingly = 100;
} // namespace

KilnUtil_TableSortProxy::KilnUtil_TableSortProxy(QObject *parent)
    : QAbstractProxyModel{parent}
{
}

void Proxy::setSourceModel(QAbstractItemModel *model)
{
    beginResetModel();
    if (sourceModel())
        disconnect(sourceModel(), nullptr, this, nullptr);
    QAbstractProxyModel::setSourceModel(model);
    if (model)
        ConnectSource(*model);
    ReadSource();
    endResetModel();
}

void Proxy::ConnectSource(const QAbstractItemModel &model)
{
    using Model = QAbstractItemModel;
    connect(&model, &Model::rowsInserted, this, &Proxy::SourceRowsInsertedSlot);
    connect(&model, &Model::rowsAboutToBeRemoved, this, &Proxy::SourceRowsAboutToBeRemovedSlot);
    connect(&model, &Model::rowsRemoved, this, &Proxy::SourceRowsRemovedSlot);
    connect(&model, &Model::dataChanged, this, &Proxy::SourceDataChangedSlot);
    connect(&model, &Model::headerDataChanged, this, &Model::headerDataChanged);
    connect(&model, &Model::layoutAboutToBeChanged, this, &Proxy::SourceLayoutAboutToBeChangedSlot);
    connect(&model, &Model::layoutChanged, this, &Proxy::SourceLayoutChangedSlot);
    connect(&model, &Model::modelAboutToBeReset, this, [this] { beginResetModel(); });
    connect(&model, &Model::modelReset, this, [this] {
        ReadSource();
        endResetModel();
    });
}

/// Takes the rows anew, as the source model has them now.
void Proxy::ReadSource()
{
    m_sourceRows.resize(sourceModel() ? sourceModel()->rowCount() : 0);
    std::iota(m_sourceRows.begin(), m_sourceRows.end(), 0);
    SortAll();
    FindViewRows();
}

void Proxy::FindViewRows()
{
    m_viewRows.fill(-1, sourceModel() ? sourceModel()->rowCount() : 0);
    int row = 0;
    for (const int sourceRow : std::as_const(m_sourceRows))
        m_viewRows[sourceRow] = row++;
}

KilnUtil_TableSortKey Proxy::KeyOf(int sourceRow) const
{
    return KilnUtil_TableSortKey{sourceModel()->index(sourceRow, m_column)};
}

bool Proxy::IsBefore(int sourceRow, int otherSourceRow) const
{
    if (m_column < 0)
        return sourceRow < otherSourceRow;
    return m_order == Qt::AscendingOrder ? KeyOf(sourceRow) < KeyOf(otherSourceRow)
                                         : KeyOf(otherSourceRow) < KeyOf(sourceRow);
}

void Proxy::SortAll()
{
    if (m_column < 0) {
        std::ranges::sort(m_sourceRows);
        return;
    }
    KilnUtil_TableSortKeys{*sourceModel(), m_column}.Sort(m_sourceRows, m_order);
}

template <typename Change>
void Proxy::ChangeOrder(Change change)
{
    Q_EMIT layoutAboutToBeChanged({}, VerticalSortHint);
    const QModelIndexList before = persistentIndexList();
    const QList<int> sourceRowsBefore = m_sourceRows;
    change();
    FindViewRows();
    QModelIndexList after;
    after.reserve(before.size());
    for (const QModelIndex &place : before) {
        const int row = m_viewRows[sourceRowsBefore[place.row()]];
        after.append(row < 0 ? QModelIndex{} : createIndex(row, place.column()));
    }
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged({}, VerticalSortHint);
}

void Proxy::sort(int column, Qt::SortOrder order)
{
    m_column = column < columnCount() ? column : -1;
    m_order = order;
    ChangeOrder([this] { SortAll(); });
}

/// Behind those that it is equal to.
qsizetype Proxy::PlaceOf(int sourceRow) const
{
    if (m_column < 0)
        return std::ranges::upper_bound(m_sourceRows, sourceRow) - m_sourceRows.begin();
    const KilnUtil_TableSortKey key = KeyOf(sourceRow);
    const bool ascending = m_order == Qt::AscendingOrder;
    const auto isBefore = [&](const KilnUtil_TableSortKey &, int other) {
        return ascending ? key < KeyOf(other) : KeyOf(other) < key;
    };
    return std::upper_bound(m_sourceRows.begin(), m_sourceRows.end(), key, isBefore) - m_sourceRows.begin();
}

void Proxy::SourceRowsInsertedSlot(const QModelIndex &, int first, int last)
{
    const int count = last - first + 1;
    for (int &sourceRow : m_sourceRows) {
        if (sourceRow >= first)
            sourceRow += count;
    }
    if (m_sourceRows.isEmpty()) {
        beginInsertRows({}, 0, count - 1);
        ReadSource();
        endInsertRows();
    } else if (count > mostChangesReportedSingly) {
        FindViewRows();
        ChangeOrder([&] {
            m_sourceRows.resize(m_sourceRows.size() + count);
            std::iota(m_sourceRows.end() - count, m_sourceRows.end(), first);
            SortAll();
        });
    } else {
        for (int sourceRow = first; sourceRow <= last; ++sourceRow) {
            const auto place = static_cast<int>(PlaceOf(sourceRow));
            beginInsertRows({}, place, place);
            m_sourceRows.insert(place, sourceRow);
            FindViewRows();
            endInsertRows();
        }
    }
}

void Proxy::SourceRowsAboutToBeRemovedSlot(const QModelIndex &, int first, int last)
{
    QList<int> rows = m_viewRows.sliced(first, last - first + 1);
    std::ranges::sort(rows);
    RemoveViewRows(rows);
}

/// The rows are in order.
void Proxy::RemoveViewRows(const QList<int> &rows)
{
    const KilnUtil_RowRanges ranges = KilnUtil_RangesOf(rows);
    if (ranges.size() > mostChangesReportedSingly) {
        ChangeOrder([&] {
            for (const int row : rows)
                m_sourceRows[row] = -1;
            m_sourceRows.removeAll(-1);
        });
        return;
    }
    for (const auto &[first, last] : ranges) {
        beginRemoveRows({}, first, last);
        m_sourceRows.remove(first, last - first + 1);
        FindViewRows();
        endRemoveRows();
    }
}

void Proxy::SourceRowsRemovedSlot(const QModelIndex &, int first, int last)
{
    for (int &sourceRow : m_sourceRows) {
        if (sourceRow > last)
            sourceRow -= last - first + 1;
    }
    FindViewRows();
}

void Proxy::SourceDataChangedSlot(const QModelIndex &topLeft, const QModelIndex &bottomRight,
                                  const QList<int> &roles)
{
    ReportChangedRows(topLeft, bottomRight, roles);
    const bool orderMayChange = roles.isEmpty() || roles.contains(SortRole);
    if (orderMayChange && m_column >= topLeft.column() && m_column <= bottomRight.column())
        PutInPlace(topLeft.row(), bottomRight.row());
}

void Proxy::ReportChangedRows(const QModelIndex &topLeft, const QModelIndex &bottomRight,
                              const QList<int> &roles)
{
    const auto report = [&](int first, int last) {
        Q_EMIT dataChanged(index(first, topLeft.column()), index(last, bottomRight.column()), roles);
    };
    const auto begin = m_viewRows.cbegin() + topLeft.row();
    const auto end = m_viewRows.cbegin() + bottomRight.row() + 1;
    if (end - begin > mostChangesReportedSingly) {
        const auto [first, last] = std::minmax_element(begin, end);
        report(*first, *last);
    } else {
        std::for_each(begin, end, [&](int row) { report(row, row); });
    }
}

bool Proxy::IsOutOfPlace(qsizetype viewRow) const
{
    const int sourceRow = m_sourceRows[viewRow];
    return (viewRow > 0 && IsBefore(sourceRow, m_sourceRows[viewRow - 1])) ||
           (viewRow + 1 < m_sourceRows.size() && IsBefore(m_sourceRows[viewRow + 1], sourceRow));
}

/// Of source rows that have changed.
void Proxy::PutInPlace(int first, int last)
{
    const auto changed = m_viewRows.sliced(first, last - first + 1);
    if (std::ranges::none_of(changed, [this](int row) { return IsOutOfPlace(row); }))
        return;
    if (changed.size() > mostChangesReportedSingly) {
        ChangeOrder([this] { SortAll(); });
        return;
    }
    ChangeOrder([&] {
        m_sourceRows.removeIf([&](int sourceRow) { return sourceRow >= first && sourceRow <= last; });
        for (int sourceRow = first; sourceRow <= last; ++sourceRow)
            m_sourceRows.insert(PlaceOf(sourceRow), sourceRow);
    });
}

void Proxy::SourceLayoutAboutToBeChangedSlot()
{
    Q_EMIT layoutAboutToBeChanged({}, VerticalSortHint);
    m_rowsBefore.reserve(static_cast<size_t>(m_sourceRows.size()));
    for (const int sourceRow : std::as_const(m_sourceRows))
        m_rowsBefore.emplace_back(sourceModel()->index(sourceRow, 0));
}

void Proxy::SourceLayoutChangedSlot()
{
    const QModelIndexList before = persistentIndexList();
    m_sourceRows.clear();
    for (const QPersistentModelIndex &row : m_rowsBefore) {
        if (row.isValid())
            m_sourceRows.append(row.row());
    }
    if (m_column < 0)
        std::ranges::sort(m_sourceRows);
    FindViewRows();
    QModelIndexList after;
    after.reserve(before.size());
    for (const QModelIndex &place : before) {
        const QPersistentModelIndex &row = m_rowsBefore[static_cast<size_t>(place.row())];
        after.append(row.isValid() ? createIndex(m_viewRows[row.row()], place.column()) : QModelIndex{});
    }
    m_rowsBefore = {};
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged({}, VerticalSortHint);
}

QModelIndex Proxy::mapToSource(const QModelIndex &index) const
{
    return index.isValid() && index.row() < m_sourceRows.size()
               ? sourceModel()->index(m_sourceRows[index.row()], index.column())
               : QModelIndex{};
}

QModelIndex Proxy::mapFromSource(const QModelIndex &index) const
{
    const int row = index.isValid() ? m_viewRows.value(index.row(), -1) : -1;
    return row < 0 ? QModelIndex{} : createIndex(row, index.column());
}

QModelIndex Proxy::index(int row, int column, const QModelIndex &parent) const
{
    return hasIndex(row, column, parent) ? createIndex(row, column) : QModelIndex{};
}

QModelIndex Proxy::parent(const QModelIndex &) const
{
    return {};
}

int Proxy::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_sourceRows.size());
}

int Proxy::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() || !sourceModel() ? 0 : sourceModel()->columnCount();
}

QVariant Proxy::data(const QModelIndex &index, int role) const
{
    constexpr qsizetype longestText = 1000;
    QVariant value = QAbstractProxyModel::data(index, role);
    if (role == Qt::DisplayRole && value.typeId() == QMetaType::QString) {
        const QString text = value.toString();
        if (text.size() > longestText)
            return QString{text.first(longestText) + QChar{0x2026}};
    }
    return value;
}

QVariant Proxy::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && sourceModel())
        return sourceModel()->headerData(section, orientation, role);
    return role == Qt::DisplayRole ? QVariant{section + 1} : QVariant{};
}
