#pragma once

#include <QSortFilterProxyModel>

#include <vector>

/// Sorts the rows of a model: numbers by size, everything else as text without regard to case.
class KilnUtil_TableSortProxy final : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    /// The position of a row's record in its owner's list; comes through from the source model.
    static constexpr int PositionRole = Qt::UserRole + 2;
    /// What a cell is sorted by. A source model that tells no such value is sorted by what it shows. When it
    /// tells which roles have changed, this role is among them if the order may have changed.
    static constexpr int SortRole = Qt::UserRole + 3;

    explicit KilnUtil_TableSortProxy(QObject *parent);

    void sort(int column, Qt::SortOrder order) override;
    /// A text is cut to what can be read in a cell and its tool tip; laying out a very long one takes
    /// seconds.
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;

protected:
    [[nodiscard]] bool lessThan(const QModelIndex &left, const QModelIndex &right) const override;

private:
    /// What a cell is compared by.
    struct Key
    {
        enum class Kind
        {
            Whole,
            Fraction,
            Text
        };
        Kind kind;
        qint64 whole = 0;
        double fraction = 0;
        QString text; ///< without regard to case

        explicit Key(const QModelIndex &index);
        [[nodiscard]] bool operator<(const Key &other) const;
    };

    /// Of all source rows while the whole table is sorted: a cell's text may be costly to make, and each is
    /// compared many times. Else empty.
    std::vector<Key> m_keys;
};
