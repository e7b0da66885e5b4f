// SPDX-License-Identifier: MIT
#include "widgets/tablesortproxy.h"

#include "widgets/rowranges.h"
#include "widgets/rowsource.h"
#include "widgets/tablesortkeys.h"

#include <algorithm>
#include <numeric>
#include <utility>

using Proxy = KilnUtil_TableSortProxy;

namespace {
/// Beyond so many changed rows at once they are reported as a block.
constexpr qsizetype mostChangesReportedSingly = 100;
/// Each looks at some twenty rows for its place.
constexpr qsizetype mostRowsPlaced = 1000;
} // namespace

KilnUtil_TableSortProxy::KilnUtil_TableSortProxy(QObject *parent)
    : QAbstractProxyModel{parent}
    , m_wantedRows{new KilnUtil_WantedRows{*this}}
{
    connect(m_wantedRows, &KilnUtil_WantedRows::ChangedSignal, this, &Proxy::ApplyFilter);
    connect(m_wantedRows, &KilnUtil_WantedRows::FindingSignal, this, &Proxy::FilteringSignal);
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
    const int count = sourceModel() ? sourceModel()->rowCount() : 0;
    QList<int> &rows = AllRows();
    rows.resize(count);
    std::iota(rows.begin(), rows.end(), 0);
    m_wantedRows->ReadAll();
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
    QList<int> &rows = AllRows();
    KilnUtil_RowSource *source = ManyRows();
    if (m_column < 0)
        std::ranges::sort(rows);
    else if (!source)
        KilnUtil_TableSortKeys{*sourceModel(), m_column}.Sort(rows, m_order);
    else if (const auto ranks = source->RanksAtOnce(m_column))
        KilnUtil_SortByRanks(rows, *ranks, m_order);
    else if (m_wanted)
        FindRanks(m_wanted->column, m_wanted->order);
    else
        FindRanks(m_column, m_order);
    ShowWanted();
}

void Proxy::FilterChanged()
{
    m_wantedRows->Renew();
}

void Proxy::ApplyFilter()
{
    ChangeOrder([this] {
        if (!m_wantedRows->IsFilter())
            m_sourceRows = *std::exchange(m_allRows, std::nullopt);
        else if (!m_allRows)
            m_allRows = m_sourceRows;
        ShowWanted();
    });
}

void Proxy::ShowWanted()
{
    if (m_allRows)
        m_sourceRows = m_wantedRows->Among(*m_allRows);
}

KilnUtil_RowSource *Proxy::ManyRows() const
{
    auto *source = dynamic_cast<KilnUtil_RowSource *>(sourceModel());
    return source && source->HasManyRows() ? source : nullptr;
}

void Proxy::FindRanks(int column, Qt::SortOrder order)
{
    m_wanted = {column, order};
    ManyRows()->FindRanks(column, [this](const QList<quint32> &ranks) { TakeRanks(ranks); });
}

void Proxy::FindRanksAnewSoon()
{
    if (!m_wanted || std::exchange(m_findsRanksAnew, true))
        return;
    QMetaObject::invokeMethod(this, &Proxy::FindRanksAnew, Qt::QueuedConnection);
}

void Proxy::FindRanksAnew()
{
    m_findsRanksAnew = false;
    if (const auto wanted = std::exchange(m_wanted, std::nullopt))
        sort(wanted->column, wanted->order);
}

void Proxy::TakeRanks(const QList<quint32> &ranks)
{
    if (!m_wanted)
        return;
    m_column = m_wanted->column;
    m_order = m_wanted->order;
    m_wanted.reset();
    ChangeOrder([&] {
        QList<int> late;
        AllRows().removeIf([&](int sourceRow) {
            if (sourceRow < ranks.size())
                return false;
            late.append(sourceRow);
            return true;
        });
        KilnUtil_SortByRanks(AllRows(), ranks, m_order);
        PlaceRows(late);
    });
}

void Proxy::PlaceRows(QList<int> rows)
{
    QList<int> &all = AllRows();
    if (rows.size() > mostRowsPlaced) {
        all += rows;
        SortAll();
        return;
    }
    std::ranges::stable_sort(rows, [this](int row, int other) { return IsBefore(row, other); });
    // From the end: what is behind each place moves once.
    qsizetype end = all.size();
    all.resize(end + rows.size());
    for (qsizetype left = rows.size(); left > 0; --left) {
        const int row = rows[left - 1];
        const auto place = std::upper_bound(all.cbegin(), all.cbegin() + end, row,
                                            [this](int a, int b) { return IsBefore(a, b); }) -
                           all.cbegin();
        std::move_backward(all.begin() + place, all.begin() + end, all.begin() + end + left);
        all[place + left - 1] = row;
        end = place;
    }
    ShowWanted();
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
    column = column < columnCount() ? column : -1;
    KilnUtil_RowSource *source = ManyRows();
    if (source && column >= 0 && !source->RanksAtOnce(column)) {
        FindRanks(column, order);
        return;
    }
    if (m_wanted && source)
        source->StopFindingRanks();
    m_wanted.reset();
    m_column = column;
    m_order = order;
    ChangeOrder([this] { SortAll(); });
}

/// Behind those that it is equal to.
qsizetype Proxy::PlaceOf(int sourceRow, const QList<int> &rows) const
{
    if (m_column < 0)
        return std::ranges::upper_bound(rows, sourceRow) - rows.begin();
    const KilnUtil_TableSortKey key = KeyOf(sourceRow);
    const bool ascending = m_order == Qt::AscendingOrder;
    const auto isBefore = [&](const KilnUtil_TableSortKey &, int other) {
        return ascending ? key < KeyOf(other) : KeyOf(other) < key;
    };
    return std::upper_bound(rows.begin(), rows.end(), key, isBefore) - rows.begin();
}

void Proxy::SourceRowsInsertedSlot(const QModelIndex &, int first, int last)
{
    const int count = last - first + 1;
    const bool hadNone = m_viewRows.isEmpty();
    if (first < m_viewRows.size()) {
        const auto shift = [&](QList<int> &rows) {
            for (int &sourceRow : rows) {
                if (sourceRow >= first)
                    sourceRow += count;
            }
        };
        shift(m_sourceRows);
        if (m_allRows)
            shift(*m_allRows);
        FindViewRows();
    }
    m_viewRows.resize(sourceModel()->rowCount(), -1);
    if (hadNone && !m_allRows) {
        beginInsertRows({}, 0, count - 1);
        ReadSource();
        endInsertRows();
        return;
    }
    const QList<int> wanted = m_wantedRows->Insert(first, last);
    if (KilnUtil_AreReportedSingly(count, m_viewRows.size() - count)) {
        for (int sourceRow = first; m_allRows && sourceRow <= last; ++sourceRow)
            m_allRows->insert(PlaceOf(sourceRow, *m_allRows), sourceRow);
        InsertSingly(wanted);
        return;
    }
    ChangeOrder([&] {
        QList<int> rows(count);
        std::iota(rows.begin(), rows.end(), first);
        if (ManyRows() && m_column >= 0) {
            PlaceRows(rows);
        } else {
            AllRows() += rows;
            SortAll();
        }
    });
}

void Proxy::InsertSingly(const QList<int> &sourceRows)
{
    for (const int sourceRow : sourceRows) {
        const auto place = static_cast<int>(PlaceOf(sourceRow, m_sourceRows));
        beginInsertRows({}, place, place);
        m_sourceRows.insert(place, sourceRow);
        for (int row = place; row < m_sourceRows.size(); ++row)
            m_viewRows[m_sourceRows[row]] = row;
        endInsertRows();
    }
}

template <typename NameNow>
void Proxy::RenameRows(NameNow nameNow)
{
    std::ranges::transform(m_sourceRows, m_sourceRows.begin(), nameNow);
    if (m_allRows)
        std::ranges::transform(*m_allRows, m_allRows->begin(), nameNow);
}

void Proxy::SourceRowsAboutToBeRemovedSlot(const QModelIndex &, int first, int last)
{
    QList<int> rows = ShownAmong(first, last);
    std::ranges::sort(rows);
    RemoveViewRows(rows);
    if (m_allRows)
        m_allRows->removeIf([&](int sourceRow) { return sourceRow >= first && sourceRow <= last; });
    m_wantedRows->Remove(first, last);
}

/// Their rows of the view, in the order of the source.
QList<int> Proxy::ShownAmong(int first, int last) const
{
    QList<int> rows = m_viewRows.sliced(first, last - first + 1);
    rows.removeAll(-1);
    return rows;
}

/// The rows are in order.
void Proxy::RemoveViewRows(const QList<int> &rows)
{
    const KilnUtil_RowRanges ranges = KilnUtil_RangesOf(rows);
    if (!KilnUtil_AreReportedSingly(ranges.size(), m_sourceRows.size())) {
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
    RenameRows([&](int sourceRow) { return sourceRow > last ? sourceRow - (last - first + 1) : sourceRow; });
    FindViewRows();
    FindAnewSoon();
}

/// What was being found is that of the rows as they were.
void Proxy::FindAnewSoon()
{
    FindRanksAnewSoon();
    m_wantedRows->RenewFinding();
}

void Proxy::SourceDataChangedSlot(const QModelIndex &topLeft, const QModelIndex &bottomRight,
                                  const QList<int> &roles)
{
    ReportChangedRows(topLeft, bottomRight, roles);
    const bool orderMayChange = roles.isEmpty() || roles.contains(SortRole);
    if (orderMayChange && m_wantedRows->Update(topLeft.row(), bottomRight.row()))
        ChangeOrder([this] { ShowWanted(); });
    if (orderMayChange && m_column >= topLeft.column() && m_column <= bottomRight.column())
        PutInPlace(topLeft.row(), bottomRight.row());
}

void Proxy::ReportChangedRows(const QModelIndex &topLeft, const QModelIndex &bottomRight,
                              const QList<int> &roles)
{
    const auto report = [&](int first, int last) {
        Q_EMIT dataChanged(index(first, topLeft.column()), index(last, bottomRight.column()), roles);
    };
    const QList<int> rows = ShownAmong(topLeft.row(), bottomRight.row());
    if (rows.size() > mostChangesReportedSingly) {
        const auto [first, last] = std::ranges::minmax(rows);
        report(first, last);
    } else {
        std::ranges::for_each(rows, [&](int row) { report(row, row); });
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
    const QList<int> changed = ShownAmong(first, last);
    // What is not shown may be anywhere.
    const bool areInPlace =
        !m_allRows && std::ranges::none_of(changed, [this](int row) { return IsOutOfPlace(row); });
    if (areInPlace)
        return;
    if (last - first >= mostChangesReportedSingly) {
        ChangeOrder([this] { SortAll(); });
        return;
    }
    ChangeOrder([&] {
        QList<int> &rows = AllRows();
        rows.removeIf([&](int sourceRow) { return sourceRow >= first && sourceRow <= last; });
        for (int sourceRow = first; sourceRow <= last; ++sourceRow)
            rows.insert(PlaceOf(sourceRow, rows), sourceRow);
        ShowWanted();
    });
}

void Proxy::SourceLayoutAboutToBeChangedSlot()
{
    if (const auto *source = dynamic_cast<KilnUtil_RowSource *>(sourceModel());
        source && !source->LeavingRows().isEmpty()) {
        RemoveLeavingRows(source->LeavingRows());
        return;
    }
    Q_EMIT layoutAboutToBeChanged({}, VerticalSortHint);
    const auto placesOf = [this](const QList<int> &rows) {
        std::vector<QPersistentModelIndex> places;
        places.reserve(static_cast<size_t>(rows.size()));
        for (const int sourceRow : rows)
            places.emplace_back(sourceModel()->index(sourceRow, 0));
        return places;
    };
    m_rowsBefore = placesOf(m_sourceRows);
    if (m_allRows)
        m_allRowsBefore = placesOf(*m_allRows);
}

/// Before the source has removed them, in the order of the view.
void Proxy::RemoveLeavingRows(const KilnUtil_RowRanges &leaving)
{
    QList<bool> leaves(m_viewRows.size(), false);
    for (const auto &[first, last] : leaving)
        std::fill(leaves.begin() + first, leaves.begin() + last + 1, true);
    QList<int> rows;
    for (int row = 0; row < m_sourceRows.size(); ++row) {
        if (leaves[m_sourceRows[row]])
            rows.append(row);
    }
    RemoveViewRows(rows);
    if (m_allRows)
        m_allRows->removeIf([&leaves](int sourceRow) { return leaves[sourceRow]; });
    // What the source rows are called from now on.
    QList<int> rowsNow(leaves.size());
    int now = 0;
    for (qsizetype row = 0; row < leaves.size(); ++row)
        rowsNow[row] = leaves[row] ? -1 : now++;
    m_rowsNow = rowsNow;
}

void Proxy::TakeNewNumbers()
{
    RenameRows([this](int sourceRow) { return m_rowsNow[sourceRow]; });
    m_wantedRows->Renumber(m_rowsNow);
    m_rowsNow.clear();
}

void Proxy::SourceLayoutChangedSlot()
{
    if (!m_rowsNow.isEmpty()) {
        TakeNewNumbers();
        FindViewRows();
        FindAnewSoon();
        return;
    }
    const QModelIndexList before = persistentIndexList();
    QList<int> &rows = AllRows();
    rows.clear();
    for (const QPersistentModelIndex &row : m_allRows ? m_allRowsBefore : m_rowsBefore) {
        if (row.isValid())
            rows.append(row.row());
    }
    if (m_column < 0)
        std::ranges::sort(rows);
    m_wantedRows->ReadAll();
    ShowWanted();
    FindViewRows();
    QModelIndexList after;
    after.reserve(before.size());
    for (const QModelIndex &place : before) {
        const QPersistentModelIndex &row = m_rowsBefore[static_cast<size_t>(place.row())];
        const int now = row.isValid() ? m_viewRows[row.row()] : -1;
        after.append(now < 0 ? QModelIndex{} : createIndex(now, place.column()));
    }
    m_rowsBefore = {};
    m_allRowsBefore = {};
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
