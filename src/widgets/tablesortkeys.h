// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

#include <vector>

class QAbstractItemModel;
class QModelIndex;

/// What a cell of a table is sorted by: numbers come by size and before texts, texts without regard to case.
class KilnUtil_TableSortKey
{
public:
    /// See KilnUtil_TableSortProxy::SortRole.
    explicit KilnUtil_TableSortKey(const QModelIndex &index);

    [[nodiscard]] bool operator<(const KilnUtil_TableSortKey &other) const;

    [[nodiscard]] bool IsWhole() const { return m_kind == Kind::Whole; }
    [[nodiscard]] qint64 Whole() const { return m_whole; }
    [[nodiscard]] bool IsText() const { return m_kind == Kind::Text; }
    [[nodiscard]] const QString &Text() const { return m_text; }

private:
    enum class Kind
    {
        Whole,
        Fraction,
        Text
    };

    Kind m_kind = Kind::Whole;
    qint64 m_whole = 0;
    double m_fraction = 0;
    QString m_text;
};

/// Brings rows in the order of their ranks; equal ones stay as they stand.
void KilnUtil_SortByRanks(QList<int> &rows, const QList<quint32> &ranks, Qt::SortOrder order);

/// The keys of a whole column, made once: a cell's text may be costly to make, and each is compared many
/// times.
class KilnUtil_TableSortKeys
{
public:
    KilnUtil_TableSortKeys(const QAbstractItemModel &model, int column);

    /// Brings rows of the model in order; equal ones stay as they stand.
    void Sort(QList<int> &rows, Qt::SortOrder order) const;

private:
    void MakeHeads();
    [[nodiscard]] qsizetype CommonBeginning() const;

    std::vector<KilnUtil_TableSortKey> m_keys; ///< by row
    /// Numbers in the order of the keys. The keys of rows with the same head have yet to be compared, which
    /// touches memory all over, unless the heads decide everything.
    std::vector<quint64> m_heads;
    bool m_headsDecideAll = false;
};
