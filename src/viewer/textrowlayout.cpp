// SPDX-License-Identifier: MIT
#include "viewer/textrowlayout.h"

#include "kilnutil/textencoding.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPalette>

namespace {
constexpr int tabColumns = 8;
constexpr auto byteOrderMark = "\xEF\xBB\xBF";
constexpr qint64 byteOrderMarkSize = 3;

QByteArray WithoutLineFeed(QByteArray bytes)
{
    if (!bytes.endsWith('\n'))
        return bytes;
    bytes.chop(bytes.endsWith("\r\n") ? 2 : 1);
    return bytes;
}

/// Control characters as visible signs, one for one: they would break the row or move what follows.
QString Displayed(QString text)
{
    for (QChar &c : text) {
        if (c.unicode() < 0x20 && c != u'\t')
            c = QChar{u'\u2400' + c.unicode()};
        else if (c.unicode() == 0x7F)
            c = u'\u2421';
        else if (c == QChar::LineSeparator || c == QChar::ParagraphSeparator)
            c = u'\u2424';
    }
    return text;
}
} // namespace

KilnUtil_TextRowLayout::KilnUtil_TextRowLayout(const KilnUtil_TextRows::Row &row, const QFont &font)
    : m_begin{row.begin}
    , m_end{row.End()}
    , m_bytes{WithoutLineFeed(row.bytes)}
    , m_isUtf8{m_bytes.isValidUtf8()}
    , m_layout{Displayed(KilnUtil_TextEncoding::FromUtf8OrLatin1(m_bytes)), font}
{
    QTextOption option{Qt::AlignLeft};
    option.setTextDirection(Qt::LeftToRight);
    option.setWrapMode(QTextOption::NoWrap);
    option.setTabStopDistance(QFontMetricsF{font}.horizontalAdvance(u' ') * tabColumns);
    m_layout.setTextOption(option);
    m_layout.beginLayout();
    m_layout.createLine();
    m_layout.endLayout();
}

qreal KilnUtil_TextRowLayout::Width() const
{
    return m_layout.lineAt(0).naturalTextWidth();
}

int KilnUtil_TextRowLayout::IndexOf(qint64 offset) const
{
    const auto count = qBound<qint64>(0, offset - m_begin, m_bytes.size());
    if (!m_isUtf8)
        return static_cast<int>(count);
    const QByteArrayView before = KilnUtil_TextEncoding::WithoutCutEnd(QByteArrayView{m_bytes}.first(count));
    return static_cast<int>(QString::fromUtf8(before).size());
}

qint64 KilnUtil_TextRowLayout::OffsetOf(int index) const
{
    if (!m_isUtf8)
        return m_begin + index;
    if (index <= 0)
        return m_begin;
    // The text that is shown has other characters in place of some; the bytes hold the real ones.
    const QString text = QString::fromUtf8(m_bytes);
    const qint64 lead = m_bytes.startsWith(byteOrderMark) ? byteOrderMarkSize : 0;
    return m_begin + lead + QStringView{text}.first(index).toUtf8().size();
}

qreal KilnUtil_TextRowLayout::X(qint64 offset) const
{
    return m_layout.lineAt(0).cursorToX(IndexOf(offset));
}

qint64 KilnUtil_TextRowLayout::OffsetAt(qreal x) const
{
    return OffsetOf(m_layout.lineAt(0).xToCursor(x));
}

qint64 KilnUtil_TextRowLayout::After(qint64 offset) const
{
    return OffsetOf(m_layout.nextCursorPosition(IndexOf(offset)));
}

qint64 KilnUtil_TextRowLayout::Before(qint64 offset) const
{
    return OffsetOf(m_layout.previousCursorPosition(IndexOf(offset)));
}

std::pair<qint64, qint64> KilnUtil_TextRowLayout::WordAt(qint64 offset) const
{
    const QString text = m_layout.text();
    const auto isWord = [&text](qsizetype index) {
        return text[index].isLetterOrNumber() || text[index] == u'_' || text[index].isSurrogate();
    };
    int begin = IndexOf(offset);
    int end = begin;
    while (begin > 0 && isWord(begin - 1))
        --begin;
    while (end < text.size() && isWord(end))
        ++end;
    if (begin == end && end < text.size())
        end = m_layout.nextCursorPosition(end);
    return {OffsetOf(begin), OffsetOf(end)};
}

void KilnUtil_TextRowLayout::Draw(QPainter &painter, QPointF corner, qint64 selectionBegin,
                                  qint64 selectionEnd, const QPalette &palette) const
{
    const QFontMetricsF metrics{m_layout.font()};
    const int begin = IndexOf(selectionBegin);
    const int end = IndexOf(selectionEnd);
    QList<QTextLayout::FormatRange> selections;
    if (begin < end) {
        // The active colours, always: what was found stays visible while the keyboard is in the search field.
        QTextLayout::FormatRange range{.start = begin, .length = end - begin, .format = {}};
        range.format.setBackground(palette.brush(QPalette::Active, QPalette::Highlight));
        range.format.setForeground(palette.brush(QPalette::Active, QPalette::HighlightedText));
        selections.append(range);
    }
    if (selectionBegin <= TextEnd() && selectionEnd > TextEnd() && m_end > TextEnd()) {
        const QRectF lineFeed{corner.x() + Width(), corner.y(), metrics.averageCharWidth(),
                              metrics.lineSpacing()};
        painter.fillRect(lineFeed, palette.brush(QPalette::Active, QPalette::Highlight));
    }
    // Characters of a substitute font may be higher; the rows keep their distance all the same.
    const QPointF baseline{corner.x(), corner.y() + metrics.ascent() - m_layout.lineAt(0).ascent()};
    m_layout.draw(&painter, baseline, selections);
}
