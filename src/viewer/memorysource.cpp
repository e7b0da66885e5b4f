// SPDX-License-Identifier: MIT
#include "viewer/memorysource.h"

#include <QLocale>

#include <utility>

using namespace Qt::Literals::StringLiterals;

KilnUtil_MemorySource::KilnUtil_MemorySource(qint64 capacity)
    : m_capacity{capacity}
{
}

void KilnUtil_MemorySource::Append(QByteArrayView bytes)
{
    m_bytes.append(bytes);
    if (m_bytes.size() <= m_capacity)
        return;
    // A quarter at once, so that not every later byte moves the beginning; whole lines where there are any.
    const qint64 excess = m_bytes.size() - m_capacity * 3 / 4;
    const qint64 lineFeed = m_bytes.indexOf('\n', excess);
    const qint64 dropped = lineFeed < 0 ? excess : lineFeed + 1;
    m_bytes.remove(0, dropped);
    m_begin += dropped;
}

void KilnUtil_MemorySource::Clear()
{
    m_bytes.clear();
    m_begin = 0;
    m_seenEnd = 0;
}

QByteArray KilnUtil_MemorySource::Read(qint64 offset, qint64 count)
{
    if (offset < m_begin || offset >= End() || count <= 0)
        return {};
    return m_bytes.mid(offset - m_begin, count);
}

KilnUtil_TextSource::Change KilnUtil_MemorySource::Refresh()
{
    return std::exchange(m_seenEnd, End()) < End() ? Change::Grown : Change::None;
}

QString KilnUtil_MemorySource::StateText() const
{
    if (m_begin == 0)
        return {};
    return u"The first %1 bytes were left out."_s.arg(QLocale{}.toString(m_begin));
}
