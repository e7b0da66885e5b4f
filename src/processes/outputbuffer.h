// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <deque>

/// What a process wrote, in bounded memory: beyond the capacity the middle is dropped and the first and the
/// last half of the capacity are kept. Readers keep an offset of their own, so that none takes bytes away
/// from another.
class KilnUtil_OutputBuffer
{
public:
    /// 64 MiB: SQLite refuses texts above 1,000,000,000 bytes, and nobody can read a log of that size.
    static constexpr qint64 DefaultCapacity = 64LL * 1024 * 1024;

    explicit KilnUtil_OutputBuffer(qint64 capacity = DefaultCapacity);

    void Append(QByteArrayView bytes);

    /// All bytes that were ever appended, dropped ones included.
    [[nodiscard]] qint64 TotalSize() const { return m_totalSize; }
    [[nodiscard]] bool IsEmpty() const { return m_totalSize == 0; }

    /// Everything kept; where bytes were dropped, one line says how many.
    [[nodiscard]] QByteArray Content() const;

    /// The bytes from offset (counted from the first byte ever appended) on, and moves offset behind them.
    /// Bytes that were dropped meanwhile are skipped.
    [[nodiscard]] QByteArray ReadFrom(qint64 &offset) const;

private:
    void AppendToTail(QByteArrayView bytes);
    [[nodiscard]] QByteArray LastBytes(qint64 count) const;

    qint64 m_half;
    QByteArray m_head;
    std::deque<QByteArray>
        m_tail; ///< chunks, so that the oldest bytes can be dropped without moving the others
    qint64 m_tailSize = 0;
    qint64 m_totalSize = 0;
};
