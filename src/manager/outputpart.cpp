// SPDX-License-Identifier: MIT
#include "manager/outputpart.h"

#include "jobs/jobtime.h"
#include "kilnutil/filesource.h"

#include <QFileInfo>

#include <utility>

namespace {
/// Times of files lag behind the clock by one of its ticks.
constexpr qint64 tickMs = 10;
/// No program is started and writes within so short a time.
constexpr qint64 shortestStartMs = 1;

bool IsSame(const KilnUtil_SharedFile::Status &one, const KilnUtil_SharedFile::Status &other)
{
    return one.IsSameFile(other) && one.size == other.size && one.modified == other.modified;
}

QDateTime ChangeOf(const QString &path)
{
    return Taskmill_JobTime{QFileInfo{path}.lastModified()}.ClockTime();
}
} // namespace

Taskmill_OutputFilePart::Taskmill_OutputFilePart(const QString &path, const Taskmill_OutputFiles &times)
    : m_path{path}
    , m_started{times.Started}
    , m_ended{times.Ended}
    , m_mayBeOfLaterRun{times.Ended.isValid()}
    , m_before{KilnUtil_SharedFile::StatusOf(path)}
    , m_wasAtOnce{times.IsAboutToStart &&
                  m_started.msecsTo(Taskmill_JobTime::Now().ClockTime()) <= shortestStartMs}
{
}

Taskmill_OutputFilePart::~Taskmill_OutputFilePart() = default;

bool Taskmill_OutputFilePart::IsOfThisRun() const
{
    const auto now = KilnUtil_SharedFile::StatusOf(m_path);
    if (!now)
        return false;
    if (!m_before || !IsSame(*now, *m_before))
        return true;
    // The job may have written all of it before this was made.
    return !m_wasAtOnce && ChangeOf(m_path) >= m_started.addMSecs(-tickMs);
}

bool Taskmill_OutputFilePart::IsOfLaterRun() const
{
    return m_mayBeOfLaterRun && m_ended.isValid() && ChangeOf(m_path) > m_ended.addMSecs(tickMs);
}

void Taskmill_OutputFilePart::End(const QDateTime &ended)
{
    Taskmill_OutputPart::End(ended);
    m_ended = ended;
    m_isLastLookDone = false;
}

bool Taskmill_OutputFilePart::Look()
{
    m_isLastLookDone = HasEnded();
    if (!m_source) {
        if (!IsOfThisRun() || IsOfLaterRun())
            return false;
        m_source = std::make_unique<KilnUtil_FileSource>(m_path);
        if (!m_source->Open()) {
            m_source.reset();
            return false;
        }
        return m_source->End() > 0;
    }
    if (m_source->Refresh() != KilnUtil_TextSource::Change::Replaced)
        return m_offset < m_source->End();
    m_offset = 0;
    m_isBegunAnew = true;
    if (IsOfLaterRun())
        m_source.reset();
    return m_source && m_source->End() > 0;
}

QByteArray Taskmill_OutputFilePart::Take(qint64 most)
{
    for (int look = 0; look < 2; ++look) {
        const qint64 left = m_source ? m_source->End() - m_offset : 0;
        if (left > 0) {
            QByteArray bytes = m_source->Read(m_offset, qMin(left, most));
            m_offset += bytes.size();
            if (!bytes.isEmpty())
                return bytes;
            // It was truncated, or cannot be read for now.
            m_isLastLookDone = ++m_failedReads >= MostLooks;
        }
        if (m_isLastLookDone || !Look())
            break;
    }
    return {};
}

bool Taskmill_OutputFilePart::IsComplete() const
{
    const bool isAtEnd = !m_source || m_offset >= m_source->End() || m_failedReads >= MostLooks;
    return HasEnded() && m_isLastLookDone && isAtEnd;
}

QByteArray Taskmill_PrintedPart::Take(qint64 most)
{
    const qint64 before = m_offset;
    QByteArray bytes = m_read(m_offset, most, HasEnded());
    if (m_offset < before) {
        m_offset = before;
        m_isComplete = HasEnded() && ++m_looksWhileGone == MostLooks;
        return {};
    }
    m_isComplete = HasEnded() && bytes.isEmpty();
    return bytes;
}

QByteArray Taskmill_PrintedTextPart::Take(qint64 most)
{
    if (m_whole) {
        if (const QByteArray whole = std::exchange(m_whole, {})(); !whole.isEmpty())
            Add(whole);
    }
    if (m_pieces.empty())
        return {};
    const QByteArray &first = m_pieces.front();
    QByteArray bytes = first.sliced(m_taken, qMin(most, first.size() - m_taken));
    m_taken += bytes.size();
    if (m_taken == first.size()) {
        m_pieces.pop_front();
        m_taken = 0;
    }
    return bytes;
}
