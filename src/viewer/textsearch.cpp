// SPDX-License-Identifier: MIT
#include "viewer/textsearch.h"

#include "kilnutil/textencoding.h"
#include "kilnutil/textsource.h"

#include <algorithm>

namespace {
constexpr qint64 blockSize = 1024LL * 1024;
constexpr qint64 longestCharacter = 4;

/// ASCII stands for itself in every encoding that is read, so that it can be found without decoding.
QByteArray AsciiOrNothing(const QString &text, Qt::CaseSensitivity sensitivity)
{
    if (!std::ranges::all_of(text, [](QChar c) { return c.unicode() < 0x80; }))
        return {};
    const QByteArray bytes = text.toLatin1();
    return sensitivity == Qt::CaseSensitive ? bytes : bytes.toLower();
}
} // namespace

KilnUtil_TextSearch::KilnUtil_TextSearch(KilnUtil_TextSource &source, const QString &text,
                                         Qt::CaseSensitivity sensitivity, Direction direction, qint64 from)
    : m_source{source}
    , m_text{text}
    , m_asciiText{AsciiOrNothing(text, sensitivity)}
    , m_sensitivity{sensitivity}
    , m_direction{direction}
    , m_from{qMax(source.Begin(), qMin(from, source.End()))}
    , m_end{source.End()}
    , m_place{m_from}
{
}

int KilnUtil_TextSearch::Percent() const
{
    const qint64 whole = qMax<qint64>(1, m_end - m_source.Begin());
    const qint64 done = IsForward() ? m_place - m_from : m_from - m_place;
    return static_cast<int>(100 * (done < 0 || m_wrapped ? done + whole : done) / whole);
}

KilnUtil_TextSearch::Result KilnUtil_TextSearch::Step()
{
    const Block block = NextBlock();
    const Match match = FindIn(block);
    if (match.begin >= 0) {
        m_foundBegin = block.begin + match.begin;
        m_foundEnd = m_foundBegin + match.length;
        return Result::Found;
    }
    m_place = IsForward() ? block.end : block.begin;
    const bool atEnd = IsForward() ? m_place >= m_end : m_place <= m_source.Begin();
    if (!m_wrapped) {
        if (atEnd) {
            m_wrapped = true;
            m_place = IsForward() ? m_source.Begin() : m_end;
        }
        return Result::Searching;
    }
    const bool isThrough = IsForward() ? m_place >= m_from : m_place <= m_from;
    return isThrough || atEnd ? Result::NotFound : Result::Searching;
}

KilnUtil_TextSearch::Block KilnUtil_TextSearch::NextBlock() const
{
    Block block;
    if (IsForward()) {
        block.begin = m_place;
        block.end = qMin(m_place + blockSize, m_wrapped ? m_from : m_end);
    } else {
        block.begin = qMax(m_place - blockSize, m_wrapped ? m_from : m_source.Begin());
        block.end = m_place;
    }
    const qint64 behind = longestCharacter * (m_text.size() + 1);
    block.bytes = m_source.Read(block.begin, qMin(block.end + behind, m_end) - block.begin);
    if (m_asciiText.isEmpty())
        AlignToLines(block);
    return block;
}

/// Moves the side where the next block will join to a line's beginning, or at least between two characters,
/// so that both blocks can be decoded.
void KilnUtil_TextSearch::AlignToLines(Block &block) const
{
    const QByteArrayView inside =
        QByteArrayView{block.bytes}.first(qMin<qint64>(block.end - block.begin, block.bytes.size()));
    if (inside.size() < blockSize)
        return;
    if (IsForward()) {
        const qsizetype lineFeed = inside.lastIndexOf('\n');
        const qsizetype length =
            lineFeed >= 0 ? lineFeed + 1 : KilnUtil_TextEncoding::WithoutCutEnd(inside).size();
        block.end = block.begin + length;
        return;
    }
    const qsizetype lineFeed = inside.indexOf('\n');
    const bool hasWholeLine = lineFeed >= 0 && lineFeed + 1 < inside.size();
    const qsizetype cut = hasWholeLine
                              ? lineFeed + 1
                              : inside.size() - KilnUtil_TextEncoding::WithoutCutBeginning(inside).size();
    block.begin += cut;
    block.bytes.remove(0, cut);
}

KilnUtil_TextSearch::Match KilnUtil_TextSearch::FindIn(const Block &block) const
{
    const qsizetype limit = qMin<qint64>(block.end - block.begin, block.bytes.size());
    if (limit <= 0)
        return {};
    if (!m_asciiText.isEmpty())
        return FindInBytes(block.bytes, limit);
    const QByteArrayView whole = KilnUtil_TextEncoding::WithoutCutEnd(block.bytes);
    if (whole.isValidUtf8())
        return FindInText(whole.toByteArray(), limit);
    return FindInLines(block.bytes, limit);
}

KilnUtil_TextSearch::Match KilnUtil_TextSearch::FindInBytes(const QByteArray &bytes, qsizetype limit) const
{
    const QByteArray heap = m_sensitivity == Qt::CaseSensitive ? bytes : bytes.toLower();
    const qsizetype found =
        IsForward() ? heap.indexOf(m_asciiText) : heap.lastIndexOf(m_asciiText, limit - 1);
    return {.begin = found < limit ? found : -1, .length = m_asciiText.size()};
}

KilnUtil_TextSearch::Match KilnUtil_TextSearch::FindInText(const QByteArray &bytes, qsizetype limit) const
{
    const bool isUtf8 = bytes.isValidUtf8();
    // A byte order mark is no part of the text.
    const qsizetype lead = isUtf8 && bytes.startsWith("\xEF\xBB\xBF") ? 3 : 0;
    const QString text = isUtf8 ? QString::fromUtf8(bytes) : QString::fromLatin1(bytes);
    const auto sizeOf = [isUtf8](QStringView part) {
        return isUtf8 ? part.toUtf8().size() : part.size();
    };

    qsizetype found =
        IsForward() ? text.indexOf(m_text, 0, m_sensitivity) : text.lastIndexOf(m_text, -1, m_sensitivity);
    while (found >= 0) {
        const qsizetype begin = lead + sizeOf(QStringView{text}.first(found));
        if (begin < limit)
            return {.begin = begin, .length = sizeOf(QStringView{text}.sliced(found, m_text.size()))};
        if (IsForward() || found == 0)
            break;
        found = text.lastIndexOf(m_text, found - 1, m_sensitivity);
    }
    return {};
}

KilnUtil_TextSearch::Match KilnUtil_TextSearch::FindInLines(const QByteArray &bytes, qsizetype limit) const
{
    Match last;
    for (qsizetype begin = 0; begin < limit;) {
        const qsizetype lineFeed = bytes.indexOf('\n', begin);
        const qsizetype end = lineFeed < 0 ? bytes.size() : lineFeed + 1;
        const Match match = FindInText(bytes.mid(begin, end - begin), limit - begin);
        if (match.begin >= 0) {
            last = {.begin = begin + match.begin, .length = match.length};
            if (IsForward())
                break;
        }
        begin = end;
    }
    return last;
}
