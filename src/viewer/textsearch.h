// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

class KilnUtil_TextSource;

/// A search through a whole source in small steps, so that a window stays alive meanwhile. It begins at a
/// place, and goes on at the other end of the source when it has reached one end.
class KilnUtil_TextSearch
{
public:
    enum class Direction
    {
        Forward,
        Backward
    };
    enum class Result
    {
        Searching,
        Found,
        NotFound
    };

    /// `text` is a part of one line and not empty. Forward finds what begins at `from` or behind it first,
    /// backward what begins before it. The source belongs to the caller and must stay; what is appended
    /// during the search is not looked at.
    KilnUtil_TextSearch(KilnUtil_TextSource &source, const QString &text, Qt::CaseSensitivity sensitivity,
                        Direction direction, qint64 from);

    /// Looks through the next block.
    Result Step();

    /// Of what was found, as offsets in the source.
    [[nodiscard]] qint64 FoundBegin() const { return m_foundBegin; }
    [[nodiscard]] qint64 FoundEnd() const { return m_foundEnd; }
    /// Whether the search went over an end of the source.
    [[nodiscard]] bool HasWrapped() const { return m_wrapped; }
    /// 0 to 100.
    [[nodiscard]] int Percent() const;

private:
    /// Matches that begin in [begin, end) are looked for in bytes that go on a little behind the end.
    struct Block
    {
        qint64 begin = 0;
        qint64 end = 0;
        QByteArray bytes;
    };
    /// A match; begin is an index into the bytes looked through, and negative for none.
    struct Match
    {
        qsizetype begin = -1;
        qsizetype length = 0;
    };

    [[nodiscard]] Block NextBlock() const;
    void AlignToLines(Block &block) const;
    [[nodiscard]] Match FindIn(const Block &block) const;
    [[nodiscard]] Match FindInBytes(const QByteArray &bytes, qsizetype limit) const;
    [[nodiscard]] Match FindInText(const QByteArray &bytes, qsizetype limit) const;
    [[nodiscard]] Match FindInLines(const QByteArray &bytes, qsizetype limit) const;
    [[nodiscard]] bool IsForward() const { return m_direction == Direction::Forward; }

    KilnUtil_TextSource &m_source;
    QString m_text;
    QByteArray m_asciiText; ///< empty when the text has other characters; lower case when case is ignored
    Qt::CaseSensitivity m_sensitivity;
    Direction m_direction;
    qint64 m_from;
    qint64 m_end; ///< of the source when the search began
    qint64 m_place;
    bool m_wrapped = false;
    qint64 m_foundBegin = -1;
    qint64 m_foundEnd = -1;
};
