// SPDX-License-Identifier: MIT
#include "viewer/textsaver.h"

#include "kilnutil/textsource.h"

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr qint64 blockSize = 1024LL * 1024;
}

KilnUtil_TextSaver::KilnUtil_TextSaver(KilnUtil_TextSource &source, const QString &path)
    : m_source{source}
    , m_file{path}
    , m_begin{source.Begin()}
    , m_place{m_begin}
    , m_end{source.End()}
{
}

KilnUtil_TextSaver::Result KilnUtil_TextSaver::Step()
{
    if (!m_file.isOpen() && !m_file.open(QIODevice::WriteOnly))
        return Result::Failed;
    if (m_place < m_end) {
        const QByteArray bytes = m_source.Read(m_place, qMin(blockSize, m_end - m_place));
        m_sourceFailed = bytes.isEmpty();
        if (m_sourceFailed || m_file.write(bytes) != bytes.size())
            return Result::Failed;
        m_place += bytes.size();
    }
    if (m_place < m_end)
        return Result::Saving;
    return m_file.commit() ? Result::Saved : Result::Failed;
}

QString KilnUtil_TextSaver::ErrorText() const
{
    return m_sourceFailed ? u"What is shown cannot be read any more."_s : m_file.errorString();
}

int KilnUtil_TextSaver::Percent() const
{
    return static_cast<int>(100 * (m_place - m_begin) / qMax<qint64>(1, m_end - m_begin));
}
