// SPDX-License-Identifier: MIT
#pragma once

#include "viewer/textrows.h"

#include <QTextLayout>

#include <utility>

class QPainter;
class QPalette;

/// One row of a text view, ready to be painted. It knows which byte stands where; offsets are those of the
/// source, x is in pixels from the beginning of the row.
class KilnUtil_TextRowLayout
{
public:
    KilnUtil_TextRowLayout(const KilnUtil_TextRows::Row &row, const QFont &font);

    [[nodiscard]] qint64 Begin() const { return m_begin; }
    /// Behind the line feed.
    [[nodiscard]] qint64 End() const { return m_end; }
    /// Before the line feed.
    [[nodiscard]] qint64 TextEnd() const { return m_begin + m_bytes.size(); }
    [[nodiscard]] QString Text() const { return m_layout.text(); }
    [[nodiscard]] qreal Width() const;

    [[nodiscard]] qreal X(qint64 offset) const;
    [[nodiscard]] qint64 OffsetAt(qreal x) const;
    /// The place one character further; stays within the row.
    [[nodiscard]] qint64 After(qint64 offset) const;
    [[nodiscard]] qint64 Before(qint64 offset) const;
    /// Begin and end of the word that stands there.
    [[nodiscard]] std::pair<qint64, qint64> WordAt(qint64 offset) const;

    /// Draws the row with its upper left corner there, and what lies in [selectionBegin, selectionEnd) as
    /// selected.
    void Draw(QPainter &painter, QPointF corner, qint64 selectionBegin, qint64 selectionEnd,
              const QPalette &palette) const;

    /// Which character of Text() stands there.
    [[nodiscard]] int IndexOf(qint64 offset) const;
    /// Where that character stands.
    [[nodiscard]] qint64 OffsetOf(int index) const;

private:
    qint64 m_begin;
    qint64 m_end;
    QByteArray m_bytes; ///< without the line feed
    bool m_isUtf8;
    QTextLayout m_layout;
};
