// SPDX-License-Identifier: MIT
#include "kilnutil/filesource.h"

#include <QFile>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr qint64 markSize = 64;
} // namespace

KilnUtil_FileSource::KilnUtil_FileSource(const QString &path)
    : m_path{path}
{
}

KilnUtil_FileSource::~KilnUtil_FileSource() = default;

bool KilnUtil_FileSource::Open()
{
    auto file = std::make_unique<QFile>();
    if (!KilnUtil_SharedFile::Open(*file, m_path))
        return false;
    const auto status = KilnUtil_SharedFile::StatusOf(*file);
    if (!status)
        return false;
    m_file = std::move(file);
    Remember(*status);
    return true;
}

QByteArray KilnUtil_FileSource::Read(qint64 offset, qint64 count)
{
    const qint64 wanted = qMin(count, End() - offset);
    if (!m_file || offset < 0 || wanted <= 0 || !m_file->seek(offset))
        return {};
    return m_file->read(wanted);
}

QByteArray KilnUtil_FileSource::Marks(qint64 size)
{
    const qint64 length = qMin(markSize, size);
    return Read(0, length) + Read(size - length, length);
}

void KilnUtil_FileSource::Remember(const KilnUtil_SharedFile::Status &status)
{
    m_status = status;
    m_marks = Marks(status.size);
}

KilnUtil_TextSource::Change KilnUtil_FileSource::Refresh()
{
    const auto named = KilnUtil_SharedFile::StatusOf(m_path);
    if (named && (!m_file || !named->IsSameFile(m_status)))
        return Reopen();
    if (!named)
        m_state = State::NameGone;
    else if (m_state == State::NameGone)
        m_state = State::Normal;
    return RefreshOpened();
}

KilnUtil_TextSource::Change KilnUtil_FileSource::Reopen()
{
    if (!Open()) {
        m_state = State::Unreadable;
        return Change::None;
    }
    m_state = State::Replaced;
    return Change::Replaced;
}

KilnUtil_TextSource::Change KilnUtil_FileSource::RefreshOpened()
{
    const auto status = m_file ? KilnUtil_SharedFile::StatusOf(*m_file) : std::nullopt;
    if (!status || (status->size == m_status.size && status->modified == m_status.modified))
        return Change::None;

    const KilnUtil_SharedFile::Status before = std::exchange(m_status, *status);
    // A program that starts again may have written more than stood there before.
    const bool truncated = status->size < before.size || Marks(before.size) != m_marks;
    Remember(*status);
    if (truncated) {
        m_state = State::WrittenAnew;
        return Change::Replaced;
    }
    return status->size > before.size ? Change::Grown : Change::None;
}

QString KilnUtil_FileSource::StateText() const
{
    switch (m_state) {
    case State::NameGone:
        return u"The file has been deleted or renamed."_s;
    case State::Replaced:
        return u"The file has been replaced by a new one."_s;
    case State::Unreadable:
        return u"The file has been replaced by one that cannot be read."_s;
    case State::WrittenAnew:
        return u"The file has been written anew."_s;
    case State::Normal:
        break;
    }
    return {};
}
