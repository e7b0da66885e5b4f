// SPDX-License-Identifier: MIT
#pragma once

#include "viewer/textrowlayout.h"

#include <optional>

/// What is selected in a text view: the bytes between a fixed end and the cursor, which moves. Both are
/// offsets in the source.
class KilnUtil_TextSelection
{
public:
    /// What may go to the clipboard, in bytes.
    static constexpr qint64 LongestCopy = 64LL * 1024 * 1024;

    /// Both belong to the caller and must stay.
    KilnUtil_TextSelection(KilnUtil_TextSource &source, const KilnUtil_TextRows &rows);

    [[nodiscard]] qint64 Anchor() const { return m_anchor; }
    [[nodiscard]] qint64 Cursor() const { return m_cursor; }
    [[nodiscard]] qint64 Begin() const { return qMin(m_anchor, m_cursor); }
    [[nodiscard]] qint64 End() const { return qMax(m_anchor, m_cursor); }
    [[nodiscard]] bool IsEmpty() const { return m_anchor == m_cursor; }
    /// Whether that was a change.
    bool Set(qint64 anchor, qint64 cursor);

    /// Where a key moves the cursor; nothing when it is no such key. A page has so many rows in that font.
    [[nodiscard]] std::optional<qint64> MovedCursor(int key, bool control, const QFont &font,
                                                    int pageRows) const;

    /// Nothing when it is longer than LongestCopy.
    [[nodiscard]] std::optional<QString> Text() const;
    /// To the clipboard that the middle mouse button pastes from, where there is one.
    void Offer() const;

private:
    [[nodiscard]] KilnUtil_TextRowLayout RowOf(qint64 offset, const QFont &font) const;

    KilnUtil_TextSource &m_source;
    const KilnUtil_TextRows &m_rows;
    qint64 m_anchor = 0;
    qint64 m_cursor = 0;
};
