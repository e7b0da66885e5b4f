// SPDX-License-Identifier: MIT
#include "viewer/textselection.h"

#include <QClipboard>
#include <QFont>
#include <QGuiApplication>

using namespace Qt::Literals::StringLiterals;

/// The other clipboard of X11 is filled by every selection; a copy that was not asked for stays small.
static constexpr qint64 longestOffer = 1024LL * 1024;

KilnUtil_TextSelection::KilnUtil_TextSelection(KilnUtil_TextSource &source, const KilnUtil_TextRows &rows)
    : m_source{source}
    , m_rows{rows}
{
}

bool KilnUtil_TextSelection::Set(qint64 anchor, qint64 cursor)
{
    if (anchor == m_anchor && cursor == m_cursor)
        return false;
    m_anchor = anchor;
    m_cursor = cursor;
    return true;
}

KilnUtil_TextRowLayout KilnUtil_TextSelection::RowOf(qint64 offset, const QFont &font) const
{
    return {m_rows.RowAt(m_rows.RowBegin(offset)), font};
}

std::optional<qint64> KilnUtil_TextSelection::MovedCursor(int key, bool control, const QFont &font,
                                                          int pageRows) const
{
    const KilnUtil_TextRowLayout row = RowOf(m_cursor, font);
    const auto rowsAway = [&](qint64 rows) {
        const qint64 begin = rows < 0 ? m_rows.Up(row.Begin(), -rows) : m_rows.Down(row.Begin(), rows);
        return RowOf(begin, font).OffsetAt(row.X(m_cursor));
    };
    switch (key) {
    case Qt::Key_Left:
        if (m_cursor > row.Begin())
            return row.Before(m_cursor);
        return m_cursor > m_source.Begin() ? RowOf(row.Begin() - 1, font).TextEnd() : m_cursor;
    case Qt::Key_Right:
        return m_cursor < row.TextEnd() ? row.After(m_cursor) : row.End();
    case Qt::Key_Up:
        return rowsAway(-1);
    case Qt::Key_Down:
        return rowsAway(1);
    case Qt::Key_PageUp:
        return rowsAway(-pageRows);
    case Qt::Key_PageDown:
        return rowsAway(pageRows);
    case Qt::Key_Home:
        return control ? m_source.Begin() : row.Begin();
    case Qt::Key_End:
        return control ? m_source.End() : row.TextEnd();
    default:
        return std::nullopt;
    }
}

std::optional<QString> KilnUtil_TextSelection::Text() const
{
    if (End() - Begin() > LongestCopy)
        return std::nullopt;
    const QByteArray bytes = m_source.Read(Begin(), End() - Begin());
    return KilnUtil_TextRows::Text(bytes).replace("\r\n"_L1, "\n"_L1);
}

void KilnUtil_TextSelection::Offer() const
{
    QClipboard *clipboard = QGuiApplication::clipboard();
    if (!clipboard->supportsSelection() || IsEmpty() || End() - Begin() > longestOffer)
        return;
    if (const auto text = Text())
        clipboard->setText(*text, QClipboard::Selection);
}
