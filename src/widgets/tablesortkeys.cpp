// SPDX-License-Identifier: MIT
#include "widgets/tablesortkeys.h"

#include "widgets/tablesortproxy.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {
/// The four characters from the position on, in a number that sorts as they do.
quint64 HeadOf(QStringView text, qsizetype position)
{
    quint64 head = 0;
    for (qsizetype place = position; place < position + 4; ++place)
        head = (head << 16) | (place < text.size() ? text[place].unicode() : 0U);
    return head;
}
} // namespace

KilnUtil_TableSortKey::KilnUtil_TableSortKey(const QModelIndex &index)
{
    QVariant value = index.data(KilnUtil_TableSortProxy::SortRole);
    if (!value.isValid())
        value = index.data(Qt::DisplayRole);
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
        m_whole = value.toLongLong();
        m_fraction = static_cast<double>(m_whole);
        break;
    case QMetaType::ULongLong:
    case QMetaType::Double:
        m_kind = Kind::Fraction;
        m_fraction = value.toDouble();
        break;
    default:
        m_kind = Kind::Text;
        m_text = value.toString().toCaseFolded();
    }
}

bool KilnUtil_TableSortKey::operator<(const KilnUtil_TableSortKey &other) const
{
    if (IsText() || other.IsText()) {
        // Numbers before texts, or the order of a mixed column would contradict itself.
        return m_kind == other.m_kind ? m_text < other.m_text : other.IsText();
    }
    return IsWhole() && other.IsWhole() ? m_whole < other.m_whole : m_fraction < other.m_fraction;
}

void KilnUtil_SortByRanks(QList<int> &rows, const QList<quint32> &ranks, Qt::SortOrder order)
{
    struct Entry
    {
        quint32 rank;
        int row;
    };
    constexpr int digitBits = 11;
    constexpr quint32 digits = 1U << digitBits;
    std::vector<Entry> entries;
    entries.reserve(static_cast<size_t>(rows.size()));
    for (const int row : std::as_const(rows))
        entries.push_back({order == Qt::AscendingOrder ? ranks[row] : ~ranks[row], row});
    // A radix sort, from the last digit on, takes a fraction of the time of comparing.
    std::vector<Entry> sorted(entries.size());
    for (int shift = 0; shift < 32; shift += digitBits) {
        std::array<size_t, digits + 1> places{};
        for (const Entry &entry : entries)
            ++places.at(((entry.rank >> shift) % digits) + 1);
        for (size_t digit = 1; digit <= digits; ++digit)
            places.at(digit) += places.at(digit - 1);
        for (const Entry &entry : entries)
            sorted[places.at((entry.rank >> shift) % digits)++] = entry;
        entries.swap(sorted);
    }
    std::ranges::transform(entries, rows.begin(), &Entry::row);
}

KilnUtil_TableSortKeys::KilnUtil_TableSortKeys(const QAbstractItemModel &model, int column)
{
    const int rows = model.rowCount();
    m_keys.reserve(static_cast<size_t>(rows));
    for (int row = 0; row < rows; ++row)
        m_keys.emplace_back(model.index(row, column));
    MakeHeads();
}

/// Those of a column of both numbers and texts are all the same.
void KilnUtil_TableSortKeys::MakeHeads()
{
    using Key = KilnUtil_TableSortKey;
    m_heads.resize(m_keys.size());
    m_headsDecideAll = std::ranges::all_of(m_keys, &Key::IsWhole);
    if (m_headsDecideAll) {
        constexpr auto signBit = quint64{1} << 63;
        std::ranges::transform(m_keys, m_heads.begin(),
                               [](const Key &key) { return static_cast<quint64>(key.Whole()) ^ signBit; });
    } else if (std::ranges::all_of(m_keys, &Key::IsText)) {
        const qsizetype position = CommonBeginning();
        std::ranges::transform(m_keys, m_heads.begin(),
                               [position](const Key &key) { return HeadOf(key.Text(), position); });
    }
}

/// Of all texts: paths and command lines mostly begin alike.
qsizetype KilnUtil_TableSortKeys::CommonBeginning() const
{
    if (m_keys.empty())
        return 0;
    QStringView beginning = m_keys.front().Text();
    for (const KilnUtil_TableSortKey &key : m_keys) {
        const auto [end, unused] = std::ranges::mismatch(beginning, key.Text());
        beginning = beginning.first(end - beginning.begin());
    }
    return beginning.size();
}

void KilnUtil_TableSortKeys::Sort(QList<int> &rows, Qt::SortOrder order) const
{
    struct Entry
    {
        quint64 head;
        int row;
    };
    std::vector<Entry> entries;
    entries.reserve(static_cast<size_t>(rows.size()));
    for (const int row : std::as_const(rows))
        entries.push_back({m_heads[static_cast<size_t>(row)], row});
    const auto isBefore = [this](const Entry &a, const Entry &b) {
        if (a.head != b.head || m_headsDecideAll)
            return a.head < b.head;
        return m_keys[static_cast<size_t>(a.row)] < m_keys[static_cast<size_t>(b.row)];
    };
    if (order == Qt::AscendingOrder)
        std::ranges::stable_sort(entries, isBefore);
    else
        std::ranges::stable_sort(entries, [&](const Entry &a, const Entry &b) { return isBefore(b, a); });
    std::ranges::transform(entries, rows.begin(), &Entry::row);
}
