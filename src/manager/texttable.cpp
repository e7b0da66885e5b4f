// SPDX-License-Identifier: MIT
#include "manager/texttable.h"

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
struct Range
{
    char32_t first;
    char32_t last;
};

/// The blocks whose characters are wide or fullwidth, in order.
constexpr std::array wideRanges{
    Range{0x1100, 0x115F},   // leading Hangul consonants
    Range{0x2E80, 0x303E},   // radicals, CJK punctuation
    Range{0x3041, 0x33FF},   // kana to CJK compatibility
    Range{0x3400, 0x4DBF},   // ideographs, extension A
    Range{0x4E00, 0xA4CF},   // ideographs, Yi
    Range{0xA960, 0xA97C},   // Hangul, extension A
    Range{0xAC00, 0xD7A3},   // Hangul syllables
    Range{0xF900, 0xFAFF},   // compatibility ideographs
    Range{0xFE30, 0xFE6F},   // vertical and small forms
    Range{0xFF01, 0xFF60},   // fullwidth forms
    Range{0xFFE0, 0xFFE6},   // fullwidth signs
    Range{0x1F300, 0x1F64F}, // pictographs
    Range{0x1F680, 0x1F6FF}, // transport signs
    Range{0x1F900, 0x1F9FF}, // more pictographs
    Range{0x20000, 0x3FFFD}, // ideographs, further extensions
};

bool IsWide(char32_t character)
{
    const auto range = std::ranges::lower_bound(wideRanges, character, {}, &Range::last);
    return range != wideRanges.end() && character >= range->first;
}

bool TakesNoColumn(char32_t character)
{
    // Vowels and final consonants join the Hangul syllable before them.
    if (character >= 0x1160 && character <= 0x11FF)
        return true;
    switch (QChar::category(character)) {
    case QChar::Mark_NonSpacing:
    case QChar::Mark_Enclosing:
        return true;
    case QChar::Other_Format:
        return character != QChar::SoftHyphen;
    default:
        return false;
    }
}

qsizetype CharacterWidth(char32_t character)
{
    if (TakesNoColumn(character))
        return 0;
    return IsWide(character) ? 2 : 1;
}

/// One endless cell would fill up every other line to its width.
constexpr qsizetype longestCell = 4000;

/// Whether each character is an ordinary one that takes one column. Most texts are such.
bool IsPlain(QStringView text)
{
    bool isPlain = true;
    // To the end, as several at a time are quicker than stopping early.
    for (const QChar character : text)
        isPlain &= static_cast<char16_t>(character.unicode() - u' ') <= u'~' - u' ';
    return isPlain;
}

QString CellText(QString text)
{
    if (text.size() > longestCell)
        text = text.first(longestCell) + u"..."_s;
    if (IsPlain(text))
        return text;
    text.replace("\r\n"_L1, " "_L1);
    for (QChar &character : text) {
        const QChar::Category category = character.category();
        if (category == QChar::Other_Control || category == QChar::Separator_Line ||
            category == QChar::Separator_Paragraph)
            character = u' ';
    }
    return text;
}

constexpr qsizetype columnGap = 2;
constexpr qsizetype widestWhole = 20; ///< a time is shown whole or not at all
constexpr qsizetype leastWidth = 12;  ///< of a column that loses the middle of its cells
const QString ellipsis = u"..."_s;    // every encoding has it

/// As many characters of the text, from its beginning, as fit.
QString Beginning(const QList<uint> &characters, qsizetype width)
{
    QString text;
    for (const char32_t character : characters) {
        width -= CharacterWidth(character);
        if (width < 0)
            break;
        text += QString::fromUcs4(&character, 1);
    }
    return text;
}

/// The text without its middle, when it is wider: names and paths differ at both their ends.
QString Shortened(const QString &text, qsizetype width)
{
    if (Taskmill_TextWidth(text) <= width)
        return text;
    const qsizetype kept = width - ellipsis.size();
    QList<uint> characters = text.toUcs4();
    if (kept < 2)
        return Beginning(characters, width);
    const QString begin = Beginning(characters, (kept + 1) / 2);
    qsizetype endWidth = 0;
    auto end = characters.cend();
    while (endWidth + CharacterWidth(*(end - 1)) <= kept / 2)
        endWidth += CharacterWidth(*--end);
    return begin + ellipsis + Beginning({end, characters.cend()}, endWidth);
}

/// A column of a table that is made to fit.
struct Column
{
    qsizetype index; ///< in the whole table
    qsizetype natural;
    qsizetype width;
};

qsizetype LineWidth(const QList<Column> &columns)
{
    qsizetype width = -columnGap;
    for (const Column &column : columns)
        width += column.width + columnGap;
    return width;
}

/// Takes a column out and returns its header.
QString LeaveOut(QList<Column> &columns, const QStringList &headers, const QStringList &leftOutFirst)
{
    for (const QString &header : leftOutFirst) {
        const auto column = std::ranges::find_if(
            columns, [&](const Column &candidate) { return headers[candidate.index] == header; });
        if (column != columns.end()) {
            columns.erase(column);
            return header;
        }
    }
    return headers[columns.takeLast().index];
}

/// Lets the columns that lack the least grow first, so that as many as possible are whole.
void Widen(const QList<Column *> &narrowFirst, qsizetype width)
{
    for (qsizetype done = 0; done < narrowFirst.size(); ++done) {
        Column &column = *narrowFirst[done];
        const qsizetype grown = qMin(column.natural - column.width, width / (narrowFirst.size() - done));
        column.width += grown;
        width -= grown;
    }
}

/// The widths of columns of these natural widths in a table that is made to fit; negative for those that
/// leave it, whose headers are added to `leftOut`.
QList<qsizetype> FittingWidths(const QList<qsizetype> &naturalWidths, qsizetype width,
                               const QStringList &headers, const QStringList &leftOutFirst,
                               QStringList &leftOut)
{
    QList<Column> columns;
    for (const qsizetype natural : naturalWidths)
        columns.append({columns.size(), natural, natural <= widestWhole ? natural : leastWidth});
    while (columns.size() > 1 && LineWidth(columns) > width)
        leftOut += LeaveOut(columns, headers, leftOutFirst);
    QList<Column *> narrowFirst;
    for (Column &column : columns)
        narrowFirst.append(&column);
    std::ranges::stable_sort(narrowFirst, {},
                             [](const Column *column) { return column->natural - column->width; });
    columns.first().width = qMin(columns.first().width, width);
    Widen(narrowFirst, width - LineWidth(columns));

    QList<qsizetype> widths(naturalWidths.size(), -1);
    for (const Column &column : std::as_const(columns))
        widths[column.index] = column.width;
    return widths;
}

/// The line below a table that lacks these columns.
QString NoteOfColumns(const QStringList &leftOut, qsizetype width)
{
    const QString note = u"(too wide to be shown here: %1)"_s.arg(leftOut.join(u", "_s));
    return Taskmill_TextWidth(note) <= width
               ? note
               : Shortened(u"(%1 columns are too wide to be shown here)"_s.arg(leftOut.size()), width);
}
} // namespace

qsizetype Taskmill_TextWidth(const QString &text)
{
    if (IsPlain(text))
        return text.size();
    qsizetype width = 0;
    for (const uint character : text.toUcs4())
        width += CharacterWidth(character);
    return width;
}

Taskmill_TextTableBuilder::Taskmill_TextTableBuilder(const QStringList &headers)
    : m_widths(headers.size(), 0)
{
    AddRow(headers);
}

void Taskmill_TextTableBuilder::AddCell(const QString &text)
{
    const bool isPlain = text.size() <= longestCell && IsPlain(text);
    const QString cell = isPlain ? text : CellText(text);
    const qsizetype width = isPlain ? text.size() : Taskmill_TextWidth(cell);
    EndCell(cell, cell.size(), width);
}

void Taskmill_TextTableBuilder::EndCell(QStringView piece, qsizetype size, qsizetype width)
{
    m_widths[m_column] = qMax(m_widths[m_column], width);
    m_cells.append({static_cast<quint16>(size), static_cast<quint16>(width)});
    m_text += piece;
    m_column = m_column + 1 == m_widths.size() ? 0 : m_column + 1;
}

void Taskmill_TextTableBuilder::AddRow(const QStringList &cells)
{
    for (qsizetype column = 0; column < m_widths.size(); ++column)
        AddCell(cells.value(column));
}

template <typename TakeCell>
void Taskmill_TextTableBuilder::ForEachCell(TakeCell take) const
{
    qsizetype place = 0;
    qsizetype column = 0;
    for (const Cell &cell : m_cells) {
        take(column, QStringView{m_text}.sliced(place, cell.size), cell.width);
        place += cell.size;
        column = column + 1 == m_widths.size() ? 0 : column + 1;
    }
}

QStringList Taskmill_TextTableBuilder::Headers() const
{
    QStringList headers;
    qsizetype place = 0;
    for (const Cell &cell : m_cells.first(m_widths.size())) {
        headers += m_text.sliced(place, cell.size);
        place += cell.size;
    }
    return headers;
}

qsizetype Taskmill_TextTableBuilder::LineWidth() const
{
    qsizetype lineWidth = -columnGap;
    for (const qsizetype width : m_widths)
        lineWidth += width + columnGap;
    return lineWidth;
}

QString Taskmill_TextTableBuilder::Text() const
{
    const qsizetype lineWidth = LineWidth();
    QString table;
    // Columns are a good guess of the characters: few take two columns, or none.
    table.reserve((RowCount() + 2) * (lineWidth + 1));
    bool isHeader = true;
    ForEachCell([&](qsizetype column, QStringView text, qsizetype width) {
        table += text;
        table.resize(table.size() + m_widths[column] - width + columnGap, u' ');
        if (column + 1 < m_widths.size())
            return;
        table.chop(columnGap);
        table += u'\n';
        if (std::exchange(isHeader, false))
            table += QString{lineWidth, u'-'} + u'\n';
    });
    return table;
}

Taskmill_TextTableBuilder Taskmill_TextTableBuilder::Narrowed(const QList<qsizetype> &widths) const
{
    Taskmill_TextTableBuilder narrowed{
        std::ranges::count_if(widths, [](qsizetype width) { return width >= 0; })};
    ForEachCell([&](qsizetype column, QStringView text, qsizetype cellWidth) {
        const qsizetype most = widths[column];
        const qsizetype kept = most - ellipsis.size();
        if (most < 0)
            return;
        if (cellWidth <= most) {
            narrowed.EndCell(text, text.size(), cellWidth);
        } else if (kept >= 2 && IsPlain(text)) {
            // As Shortened() does it.
            narrowed.m_text += text.first((kept + 1) / 2);
            narrowed.m_text += ellipsis;
            narrowed.EndCell(text.last(kept / 2), most, most);
        } else {
            const QString shortened = Shortened(text.toString(), most);
            narrowed.EndCell(shortened, shortened.size(), Taskmill_TextWidth(shortened));
        }
    });
    return narrowed;
}

QString Taskmill_TextTableBuilder::FittedText(qsizetype width, const QStringList &leftOutFirst) const
{
    if (width <= 0 || LineWidth() <= width)
        return Text();
    QStringList leftOut;
    const QList<qsizetype> widths = FittingWidths(m_widths, width, Headers(), leftOutFirst, leftOut);
    const QString text = Narrowed(widths).Text();
    return leftOut.isEmpty() ? text : text + NoteOfColumns(leftOut, width) + u'\n';
}

QString Taskmill_TextTable(const QStringList &headers, const QList<QStringList> &rows)
{
    return Taskmill_FittedTextTable(headers, rows, 0, {});
}

QString Taskmill_FittedTextTable(const QStringList &headers, const QList<QStringList> &rows, qsizetype width,
                                 const QStringList &leftOutFirst)
{
    Taskmill_TextTableBuilder table{headers};
    for (const QStringList &row : rows)
        table.AddRow(row);
    return table.FittedText(width, leftOutFirst);
}
