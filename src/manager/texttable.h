// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

/// A table that is laid out when all of its rows are there, for as many of them as there may be.
class Taskmill_TextTableBuilder
{
public:
    explicit Taskmill_TextTableBuilder(const QStringList &headers);

    /// The next cell, from left to right and from the top; each row has as many as there are headers.
    void AddCell(const QString &text);
    void AddRow(const QStringList &cells);
    /// Without the headers.
    [[nodiscard]] qsizetype RowCount() const { return m_cells.size() / m_widths.size() - 1; }

    /// As Taskmill_FittedTextTable().
    [[nodiscard]] QString FittedText(qsizetype width, const QStringList &leftOutFirst) const;

private:
    struct Cell
    {
        quint16 size;
        quint16 width;
    };

    explicit Taskmill_TextTableBuilder(qsizetype columns)
        : m_widths(columns, 0)
    {
    }
    /// The last piece of the next cell, whose pieces have together that many characters and that width.
    void EndCell(QStringView piece, qsizetype size, qsizetype width);
    [[nodiscard]] QStringList Headers() const;
    [[nodiscard]] qsizetype LineWidth() const;
    [[nodiscard]] QString Text() const;
    /// With columns of at most these widths, and without those of a negative one.
    [[nodiscard]] Taskmill_TextTableBuilder Narrowed(const QList<qsizetype> &widths) const;
    template <typename TakeCell>
    void ForEachCell(TakeCell take) const;

    QList<qsizetype> m_widths; ///< of the columns
    qsizetype m_column = 0;    ///< of the next cell
    QList<Cell> m_cells;       ///< the headers first
    QString m_text;            ///< of all cells
};

/// Lays out a table for a text terminal: the header line, a line of '-' as long, and a line for each row,
/// each with its line feed. Columns are as wide as their widest text, filled up with blanks and two blanks
/// apart. Line feeds and other control characters are shown as a blank. A row's missing cells are empty,
/// cells beyond the headers are left out. A cell of more than 4,000 characters is cut.
[[nodiscard]] QString Taskmill_TextTable(const QStringList &headers, const QList<QStringList> &rows);

/// The same in lines of at most `width` columns of the terminal, 0 for any width. Columns leave the table
/// until the others fit, those whose headers come first in `leftOutFirst` before the rest, and a line below
/// names them; long cells lose their middle.
[[nodiscard]] QString Taskmill_FittedTextTable(const QStringList &headers, const QList<QStringList> &rows,
                                               qsizetype width, const QStringList &leftOutFirst);

/// The columns that the text takes on a terminal: none for a combining character, two for a wide East Asian
/// one.
[[nodiscard]] qsizetype Taskmill_TextWidth(const QString &text);
