// SPDX-License-Identifier: MIT
#pragma once

#include "widgets/wantedrows.h"

#include <QAbstractProxyModel>
#include <QList>

#include <optional>
#include <vector>

class KilnUtil_RowSource;
class KilnUtil_TableSortKey;
struct KilnUtil_RowRange;

/// Sorts the rows of a table model: numbers by size, everything else as text without regard to case. Rows
/// that are equal keep the order in which they stood. Made for tables of a hundred thousand rows: one change
/// costs no more than a walk through a list of numbers. More are sorted by the ranks that a
/// KilnUtil_RowSource finds; until it has them the rows stand as before. Rows that such a source does not
/// want are not there; many are found in the same way. The source model's columns stay what they are.
class KilnUtil_TableSortProxy final : public QAbstractProxyModel
{
    Q_OBJECT

public:
    /// The position of a row's record in its owner's list; comes through from the source model.
    static constexpr int PositionRole = Qt::UserRole + 2;
    /// What a cell is sorted by. A source model that has no such value is sorted by what it shows. When it
    /// reports which roles have changed, this role is among them if the order may have changed.
    static constexpr int SortRole = Qt::UserRole + 3;

    explicit KilnUtil_TableSortProxy(QObject *parent);

    void setSourceModel(QAbstractItemModel *model) override;
    /// Column -1 shows the rows in the order of the source model.
    void sort(int column, Qt::SortOrder order) override;

    /// The source model wants other rows than before.
    void FilterChanged();
    /// Whether it is still being found which those are.
    [[nodiscard]] bool IsFiltering() const { return m_wantedRows->IsFinding(); }

    [[nodiscard]] int SourceRowAt(int row) const { return m_sourceRows[row]; }
    [[nodiscard]] QModelIndex mapToSource(const QModelIndex &index) const override;
    [[nodiscard]] QModelIndex mapFromSource(const QModelIndex &index) const override;
    [[nodiscard]] QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    [[nodiscard]] QModelIndex parent(const QModelIndex &index) const override;
    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override;
    /// A text is cut to what can be read in a cell and its tool tip; laying out a very long one takes
    /// seconds.
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

Q_SIGNALS:
    /// IsFiltering() is another.
    void FilteringSignal();

private Q_SLOTS:
    void SourceRowsInsertedSlot(const QModelIndex &parent, int first, int last);
    void SourceRowsAboutToBeRemovedSlot(const QModelIndex &parent, int first, int last);
    void SourceRowsRemovedSlot(const QModelIndex &parent, int first, int last);
    void SourceDataChangedSlot(const QModelIndex &topLeft, const QModelIndex &bottomRight,
                               const QList<int> &roles);
    void SourceLayoutAboutToBeChangedSlot();
    void SourceLayoutChangedSlot();

private:
    void ConnectSource(const QAbstractItemModel &model);
    void ReadSource();
    void FindViewRows();
    void SortAll();
    [[nodiscard]] KilnUtil_RowSource *ManyRows() const;
    void FindRanks(int column, Qt::SortOrder order);
    /// Again, as rows have been removed meanwhile.
    void FindRanksAnew();
    /// The same when the source model is what its rows say again.
    void FindRanksAnewSoon();
    void TakeRanks(const QList<quint32> &ranks);
    /// All source rows in their order, those that are not wanted among them.
    [[nodiscard]] QList<int> &AllRows() { return m_allRows ? *m_allRows : m_sourceRows; }
    void ApplyFilter();
    void ShowWanted();
    /// Puts rows that are not there yet in their places.
    void PlaceRows(QList<int> rows);
    void InsertSingly(const QList<int> &sourceRows);
    /// By the column that the rows are sorted by; equal rows are not before each other.
    [[nodiscard]] bool IsBefore(int sourceRow, int otherSourceRow) const;
    [[nodiscard]] KilnUtil_TableSortKey KeyOf(int sourceRow) const;
    [[nodiscard]] qsizetype PlaceOf(int sourceRow, const QList<int> &rows) const;
    [[nodiscard]] bool IsOutOfPlace(qsizetype viewRow) const;
    void ReportChangedRows(const QModelIndex &topLeft, const QModelIndex &bottomRight,
                           const QList<int> &roles);
    void PutInPlace(int first, int last);
    [[nodiscard]] QList<int> ShownAmong(int first, int last) const;
    void RemoveViewRows(const QList<int> &rows);
    void TakeNewNumbers();
    /// What the source rows are called now.
    template <typename NameNow>
    void RenameRows(NameNow nameNow);
    void FindAnewSoon();
    void RemoveLeavingRows(const QList<KilnUtil_RowRange> &leaving);
    /// Calls what changes m_sourceRows at many places, and leads the places that views hold to their rows.
    template <typename Change>
    void ChangeOrder(Change change);

    QList<int> m_sourceRows; ///< by row of the view
    QList<int>
        m_viewRows; ///< by source row; -1 for one that is about to be removed, not placed yet, or not wanted
    KilnUtil_WantedRows *m_wantedRows;
    std::optional<QList<int>>
        m_allRows; ///< while there is a filter: the source rows in the order of the view, wanted or not
    QList<int> m_rowsNow; ///< by source row as before, while rows leave the source
    int m_column = -1;
    Qt::SortOrder m_order = Qt::AscendingOrder;
    struct Order
    {
        int column;
        Qt::SortOrder order;
    };
    bool m_findsRanksAnew = false;
    std::optional<Order> m_wanted;                      ///< while its ranks are being found
    std::vector<QPersistentModelIndex> m_rowsBefore;    ///< while the source changes its layout
    std::vector<QPersistentModelIndex> m_allRowsBefore; ///< the same of those that are not wanted, too
};
