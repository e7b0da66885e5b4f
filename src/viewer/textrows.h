// SPDX-License-Identifier: MIT
#pragma once

#include "kilnutil/textsource.h"

/// Divides a source into rows without an index: where a row begins can be seen from the bytes around it. A
/// row is a line with its line feed; a line that is too long for one row is divided, at places that do not
/// depend on where one looks from.
class KilnUtil_TextRows
{
public:
    /// Bytes; lines that are no longer stay in one row, and no row is longer than twice this size.
    static constexpr qint64 PieceSize = 8192;

    struct Row
    {
        qint64 begin = 0;
        QByteArray bytes; ///< with the line feed
        [[nodiscard]] qint64 End() const { return begin + bytes.size(); }
    };

    /// The source belongs to the caller and must stay.
    explicit KilnUtil_TextRows(KilnUtil_TextSource &source);

    /// Where the row begins that holds the byte at offset.
    [[nodiscard]] qint64 RowBegin(qint64 offset) const;
    /// The row that begins there; without bytes at the end and when the source cannot be read.
    [[nodiscard]] Row RowAt(qint64 begin) const;
    /// The beginning of the row that stands `rows` above (below) the one that begins there; the first (last)
    /// row where there are fewer. Upwards also from the end of the source.
    [[nodiscard]] qint64 Up(qint64 begin, qint64 rows) const;
    [[nodiscard]] qint64 Down(qint64 begin, qint64 rows) const;

    /// Bytes of several lines as text, each line in its own encoding.
    [[nodiscard]] static QString Text(const QByteArray &bytes);

private:
    KilnUtil_TextSource &m_source;
};
