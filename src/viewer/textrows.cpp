// SPDX-License-Identifier: MIT
#include "viewer/textrows.h"

#include "kilnutil/textencoding.h"

namespace {
/// The part of a source around a place; all positions are offsets in the source.
class Window
{
public:
    Window(KilnUtil_TextSource &source, qint64 begin, qint64 end)
        : m_begin{qMax(begin, source.Begin())}
        , m_bytes{source.Read(m_begin, end - m_begin)}
    {
    }

    [[nodiscard]] qint64 End() const { return m_begin + m_bytes.size(); }
    [[nodiscard]] QByteArray Bytes(qint64 begin, qint64 end) const
    {
        return m_bytes.mid(begin - m_begin, end - begin);
    }

    /// Behind the first line feed from there on, or the end.
    [[nodiscard]] qint64 BehindLineFeed(qint64 offset) const
    {
        const qint64 found = m_bytes.indexOf('\n', offset - m_begin);
        return found < 0 ? End() : m_begin + found + 1;
    }

    /// Behind the last line feed before that offset, or the beginning.
    [[nodiscard]] qint64 BehindLineFeedBefore(qint64 offset) const
    {
        const qint64 length = qBound<qint64>(0, offset - m_begin, m_bytes.size());
        return m_begin + QByteArrayView{m_bytes}.first(length).lastIndexOf('\n') + 1;
    }

    /// Whether a line that is still going on at `grid` is divided there.
    [[nodiscard]] bool IsDividedAt(qint64 grid) const
    {
        const qint64 begin = qMax<qint64>(0, grid - KilnUtil_TextRows::PieceSize - m_begin);
        const qint64 end = qMin<qint64>(grid - m_begin, m_bytes.size());
        return end <= begin || !QByteArrayView{m_bytes}.sliced(begin, end - begin).contains('\n');
    }

    /// The dividing place at `grid`, moved so that it does not cut a character.
    [[nodiscard]] qint64 CharacterFrom(qint64 grid) const
    {
        const auto index = grid - m_begin;
        if (index < 0 || index >= m_bytes.size())
            return grid;
        const QByteArrayView rest = QByteArrayView{m_bytes}.sliced(index);
        return grid + rest.size() - KilnUtil_TextEncoding::WithoutCutBeginning(rest).size();
    }

private:
    qint64 m_begin;
    QByteArray m_bytes;
};

constexpr qint64 longestCharacter = 4;

qint64 GridBefore(qint64 offset)
{
    return offset - offset % KilnUtil_TextRows::PieceSize;
}
} // namespace

KilnUtil_TextRows::KilnUtil_TextRows(KilnUtil_TextSource &source)
    : m_source{source}
{
}

qint64 KilnUtil_TextRows::RowBegin(qint64 offset) const
{
    const qint64 first = m_source.Begin();
    const qint64 place = qMax(first, qMin(offset, m_source.End() - 1));
    const qint64 grid = GridBefore(place);
    const Window window{m_source, grid - 2 * PieceSize, place + longestCharacter};
    const qint64 lineBegin = window.BehindLineFeedBefore(place);
    for (qint64 divided : {grid, grid - PieceSize}) {
        if (divided <= first)
            break;
        const qint64 begin = window.CharacterFrom(divided);
        if (begin > place)
            continue;
        if (begin <= lineBegin)
            return lineBegin;
        if (window.IsDividedAt(divided))
            return begin;
    }
    return lineBegin;
}

KilnUtil_TextRows::Row KilnUtil_TextRows::RowAt(qint64 begin) const
{
    const qint64 grid = GridBefore(begin);
    const Window window{m_source, grid, begin + 2 * PieceSize + longestCharacter};
    qint64 end = window.BehindLineFeed(begin);
    for (qint64 divided = grid + PieceSize; divided < end; divided += PieceSize) {
        const qint64 place = window.CharacterFrom(divided);
        if (place < end && window.IsDividedAt(divided)) {
            end = place;
            break;
        }
    }
    return {.begin = begin, .bytes = end > begin ? window.Bytes(begin, end) : QByteArray{}};
}

qint64 KilnUtil_TextRows::Up(qint64 begin, qint64 rows) const
{
    while (rows-- > 0 && begin > m_source.Begin())
        begin = RowBegin(begin - 1);
    return begin;
}

qint64 KilnUtil_TextRows::Down(qint64 begin, qint64 rows) const
{
    while (rows-- > 0) {
        const qint64 end = RowAt(begin).End();
        if (end >= m_source.End() || end == begin)
            break;
        begin = end;
    }
    return begin;
}

QString KilnUtil_TextRows::Text(const QByteArray &bytes)
{
    if (bytes.isValidUtf8())
        return QString::fromUtf8(bytes);
    QString text;
    text.reserve(bytes.size());
    for (qsizetype begin = 0; begin < bytes.size();) {
        const qsizetype lineFeed = bytes.indexOf('\n', begin);
        const qsizetype end = lineFeed < 0 ? bytes.size() : lineFeed + 1;
        text += KilnUtil_TextEncoding::FromUtf8OrLatin1(QByteArrayView{bytes}.sliced(begin, end - begin));
        begin = end;
    }
    return text;
}
