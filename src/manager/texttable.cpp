#include "manager/texttable.h"

#include <algorithm>
#include <array>

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

QString CellText(QString text)
{
    if (text.size() > longestCell)
        text = text.first(longestCell) + u"..."_s;
    text.replace("\r\n"_L1, " "_L1);
    for (QChar &character : text) {
        const QChar::Category category = character.category();
        if (category == QChar::Other_Control || category == QChar::Separator_Line ||
            category == QChar::Separator_Paragraph)
            character = u' ';
    }
    return text;
}

using Widths = QList<qsizetype>;

QString Line(const QStringList &cells, const Widths &widths)
{
    QString line;
    for (qsizetype column = 0; column < widths.size(); ++column) {
        const QString cell = cells.value(column);
        if (column > 0)
            line += "  "_L1;
        line += cell + QString{widths[column] - Taskmill_TextWidth(cell), u' '};
    }
    return line;
}
} // namespace

qsizetype Taskmill_TextWidth(const QString &text)
{
    qsizetype width = 0;
    for (const uint character : text.toUcs4())
        width += CharacterWidth(character);
    return width;
}

QString Taskmill_TextTable(const QStringList &headers, const QList<QStringList> &rows)
{
    QList<QStringList> lines;
    lines.reserve(rows.size() + 1);
    Widths widths(headers.size(), 0);
    const auto addLine = [&lines, &widths](const QStringList &cells) {
        QStringList line;
        for (qsizetype column = 0; column < qMin(cells.size(), widths.size()); ++column) {
            line += CellText(cells[column]);
            widths[column] = qMax(widths[column], Taskmill_TextWidth(line.last()));
        }
        lines.append(line);
    };
    addLine(headers);
    for (const QStringList &row : rows)
        addLine(row);

    const QString header = Line(lines.takeFirst(), widths);
    QString table = header + u'\n' + QString{Taskmill_TextWidth(header), u'-'} + u'\n';
    for (const QStringList &line : std::as_const(lines))
        table += Line(line, widths) + u'\n';
    return table;
}
