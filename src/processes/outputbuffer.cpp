// SPDX-License-Identifier: MIT
#include "processes/outputbuffer.h"

#include "kilnutil/textencoding.h"

namespace {
constexpr qsizetype chunkSize = qsizetype{64} * 1024;
}

KilnUtil_OutputBuffer::KilnUtil_OutputBuffer(qint64 capacity)
    : m_half{capacity / 2}
{
}

void KilnUtil_OutputBuffer::Append(QByteArrayView bytes)
{
    m_totalSize += bytes.size();
    const qsizetype forHead = qMin<qint64>(m_half - m_head.size(), bytes.size());
    m_head.append(bytes.first(forHead));
    AppendToTail(bytes.sliced(forHead));
}

void KilnUtil_OutputBuffer::AppendToTail(QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        if (m_tail.empty() || m_tail.back().size() >= chunkSize)
            m_tail.emplace_back().reserve(chunkSize);
        QByteArray &chunk = m_tail.back();
        const qsizetype count = qMin(chunkSize - chunk.size(), bytes.size());
        chunk.append(bytes.first(count));
        m_tailSize += count;
        bytes = bytes.sliced(count);
    }
    while (!m_tail.empty() && m_tailSize - m_tail.front().size() >= m_half) {
        m_tailSize -= m_tail.front().size();
        m_tail.pop_front();
    }
}

QByteArray KilnUtil_OutputBuffer::LastBytes(qint64 count) const
{
    QByteArray bytes;
    bytes.reserve(count);
    qint64 skip = m_tailSize - count;
    for (const QByteArray &chunk : m_tail) {
        if (skip < chunk.size())
            bytes.append(QByteArrayView{chunk}.sliced(skip));
        skip = qMax<qint64>(0, skip - chunk.size());
    }
    return bytes;
}

QByteArray KilnUtil_OutputBuffer::Content() const
{
    const qint64 behindHead = m_totalSize - m_head.size();
    if (behindHead <= m_half)
        return m_head + LastBytes(behindHead);

    const QByteArray tail = LastBytes(m_half);
    QByteArray content = KilnUtil_TextEncoding::WithoutCutEnd(m_head).toByteArray();
    content +=
        "\n[... " + QByteArray::number(behindHead - m_half) + " bytes of output were left out here ...]\n";
    content += KilnUtil_TextEncoding::WithoutCutBeginning(tail);
    return content;
}

QByteArray KilnUtil_OutputBuffer::ReadFrom(qint64 &offset) const
{
    QByteArray bytes;
    if (offset < m_head.size())
        bytes = m_head.sliced(offset);
    const qint64 wanted = m_totalSize - qMax<qint64>(offset, m_head.size());
    bytes += LastBytes(qMin(wanted, m_tailSize));
    offset = m_totalSize;
    return bytes;
}
