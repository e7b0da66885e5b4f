// SPDX-License-Identifier: MIT
#include "manager/sortvalues.h"

#include <algorithm>

namespace {
/// Bytes that sort as the UTF-16 code units of the text do, as those of texts in memory are compared. No byte
/// is 0: a NUL is written in two.
void AppendSortable(QByteArray &bytes, const QString &text)
{
    for (const QChar character : text) {
        const char16_t unit = character.unicode();
        if (unit > 0 && unit < 0x80) {
            bytes.append(static_cast<char>(unit));
        } else if (unit < 0x800) {
            bytes.append(static_cast<char>(0xc0 | (unit >> 6)));
            bytes.append(static_cast<char>(0x80 | (unit & 0x3f)));
        } else {
            bytes.append(static_cast<char>(0xe0 | (unit >> 12)));
            bytes.append(static_cast<char>(0x80 | ((unit >> 6) & 0x3f)));
            bytes.append(static_cast<char>(0x80 | (unit & 0x3f)));
        }
    }
}

quint64 HeadOf(QByteArrayView text, qsizetype position)
{
    quint64 head = 0;
    for (qsizetype place = position; place < position + 8; ++place)
        head = (head << 8) | (place < text.size() ? static_cast<uchar>(text[place]) : 0U);
    return head;
}
} // namespace

Taskmill_SortValues::Taskmill_SortValues(qsizetype rows)
    : m_values(static_cast<size_t>(rows), 0)
{
}

void Taskmill_SortValues::SetNumber(qsizetype row, qint64 number)
{
    m_areTexts = false;
    m_values[static_cast<size_t>(row)] = number;
}

void Taskmill_SortValues::SetText(qsizetype row, const QString &text)
{
    // Many columns have few texts.
    if (text != m_textBefore) {
        m_textBefore = text;
        m_placeBefore = m_texts.size();
        AppendSortable(m_texts, text.toCaseFolded());
        m_texts.append('\0');
    }
    m_values[static_cast<size_t>(row)] = text.isEmpty() ? 0 : m_placeBefore;
}

QByteArrayView Taskmill_SortValues::TextOf(quint32 row) const
{
    return QByteArrayView{m_texts.constData() + m_values[row]};
}

/// Of all texts: paths and command lines mostly begin alike.
qsizetype Taskmill_SortValues::CommonBeginning() const
{
    QByteArrayView beginning = m_values.empty() ? QByteArrayView{} : TextOf(0);
    for (quint32 row = 1; row < m_values.size() && !beginning.isEmpty(); ++row) {
        const auto [end, unused] = std::ranges::mismatch(beginning, TextOf(row));
        beginning = beginning.first(end - beginning.begin());
    }
    return beginning.size();
}

std::vector<Taskmill_SortValues::Entry> Taskmill_SortValues::SortedTexts() const
{
    const qsizetype position = CommonBeginning();
    std::vector<Entry> entries;
    entries.reserve(m_values.size());
    for (quint32 row = 0; row < m_values.size(); ++row)
        entries.push_back({HeadOf(TextOf(row), position), row});
    std::ranges::sort(entries, [&](const Entry &a, const Entry &b) {
        return a.head != b.head ? a.head < b.head
                                : TextOf(a.row).sliced(position) < TextOf(b.row).sliced(position);
    });
    return entries;
}

std::vector<Taskmill_SortValues::Entry> Taskmill_SortValues::SortedNumbers() const
{
    constexpr auto signBit = quint64{1} << 63;
    std::vector<Entry> entries;
    entries.reserve(m_values.size());
    for (quint32 row = 0; row < m_values.size(); ++row)
        entries.push_back({static_cast<quint64>(m_values[row]) ^ signBit, row});
    std::ranges::sort(entries, {}, &Entry::head);
    return entries;
}

template <typename AreEqual>
QList<quint32> Taskmill_SortValues::RanksOf(const std::vector<Entry> &sorted, AreEqual areEqual)
{
    QList<quint32> ranks(static_cast<qsizetype>(sorted.size()));
    quint32 rank = 0;
    for (size_t place = 0; place < sorted.size(); ++place) {
        if (place > 0 && !areEqual(sorted[place - 1], sorted[place]))
            ++rank;
        ranks[sorted[place].row] = rank;
    }
    return ranks;
}

QList<quint32> Taskmill_SortValues::Ranks() const
{
    if (!m_areTexts)
        return RanksOf(SortedNumbers(), [](const Entry &a, const Entry &b) { return a.head == b.head; });
    return RanksOf(SortedTexts(), [this](const Entry &a, const Entry &b) {
        return a.head == b.head && (m_values[a.row] == m_values[b.row] || TextOf(a.row) == TextOf(b.row));
    });
}
