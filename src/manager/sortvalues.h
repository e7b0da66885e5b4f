// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <vector>

/// What the rows of a long table are sorted by, in one column: numbers by size, or texts without regard to
/// case. A text takes about as many bytes as it has characters.
class Taskmill_SortValues
{
public:
    /// All are empty texts at first.
    explicit Taskmill_SortValues(qsizetype rows);

    void SetNumber(qsizetype row, qint64 number);
    void SetText(qsizetype row, const QString &text);

    /// Of each row a number that is smaller, equal or larger as its value is.
    [[nodiscard]] QList<quint32> Ranks() const;

private:
    struct Entry
    {
        quint64 head; ///< sorts as the value does, as far as it goes
        quint32 row;
    };

    [[nodiscard]] QByteArrayView TextOf(quint32 row) const;
    [[nodiscard]] qsizetype CommonBeginning() const;
    [[nodiscard]] std::vector<Entry> SortedTexts() const;
    [[nodiscard]] std::vector<Entry> SortedNumbers() const;
    template <typename AreEqual>
    [[nodiscard]] static QList<quint32> RanksOf(const std::vector<Entry> &sorted, AreEqual areEqual);

    std::vector<qint64> m_values; ///< numbers, or where the texts begin
    QByteArray m_texts{1, '\0'};  ///< one after the other, each ended by a NUL
    QString m_textBefore;
    qint64 m_placeBefore = 0;
    bool m_areTexts = true;
};
