// SPDX-License-Identifier: MIT
#pragma once

#include "kilnutil/textsource.h"

/// Text that is kept in memory. Beyond its capacity the oldest part is dropped.
class KilnUtil_MemorySource : public KilnUtil_TextSource
{
public:
    static constexpr qint64 DefaultCapacity = 128LL * 1024 * 1024;

    explicit KilnUtil_MemorySource(qint64 capacity = DefaultCapacity);

    void Append(QByteArrayView bytes);

    [[nodiscard]] qint64 Begin() const override { return m_begin; }
    [[nodiscard]] qint64 End() const override { return m_begin + m_bytes.size(); }
    [[nodiscard]] QByteArray Read(qint64 offset, qint64 count) override;
    /// Grown when something was appended since the last call.
    Change Refresh() override;
    [[nodiscard]] QString StateText() const override;

protected:
    /// Offsets from before mean nothing any more.
    void Clear();

private:
    qint64 m_capacity;
    qint64 m_begin = 0;
    qint64 m_seenEnd = 0;
    QByteArray m_bytes;
};
