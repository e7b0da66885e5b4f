// SPDX-License-Identifier: MIT
#pragma once

#include "processes/processoutput.h"

#include <deque>

/// What a process wrote, in bounded memory: beyond the capacity the middle is dropped and the first and the
/// last half of the capacity are kept.
class KilnUtil_OutputBuffer final : public KilnUtil_ProcessOutput
{
public:
    /// 64 MiB: SQLite refuses texts above 1,000,000,000 bytes, and nobody can read a log of that size.
    static constexpr qint64 DefaultCapacity = 64LL * 1024 * 1024;

    explicit KilnUtil_OutputBuffer(qint64 capacity = DefaultCapacity);

    void Append(QByteArrayView bytes) override;
    [[nodiscard]] qint64 TotalSize() const override { return m_totalSize; }
    [[nodiscard]] QByteArray Content() const override;
    [[nodiscard]] QByteArray ReadFrom(qint64 &offset) const override;

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
