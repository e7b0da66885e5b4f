// SPDX-License-Identifier: MIT
#include "console/followedfile.h"

#include "jobs/jobrecord.h"
#include "kilnutil/filesource.h"

#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace {
constexpr qint64 mostAtOnce = qint64{1024} * 1024; // bytes
}

Taskmill_FollowedFile::Taskmill_FollowedFile(const Taskmill_JobRecord &job)
    : m_paths{job.OutputFilePath(), job.StandardOutputFile} // Times of files lag behind the clock a little.
    , m_earliest{job.Started.ClockTime().addSecs(-1)}
{
}

Taskmill_FollowedFile::~Taskmill_FollowedFile() = default;

bool Taskmill_FollowedFile::IsOfThisRun(const QString &path) const
{
    const QFileInfo file{path};
    return file.isFile() && Taskmill_JobTime{file.lastModified()}.ClockTime() >= m_earliest;
}

bool Taskmill_FollowedFile::Find()
{
    if (m_source)
        return false;
    const auto path =
        std::ranges::find_if(m_paths, [this](const QString &candidate) { return IsOfThisRun(candidate); });
    if (path == m_paths.end())
        return false;
    auto source = std::make_unique<KilnUtil_FileSource>(*path);
    if (!source->Open())
        return false;
    m_path = *path;
    m_source = std::move(source);
    m_offset = qMax(qint64{0}, m_source->End() - MostAtFirst);
    return true;
}

QByteArray Taskmill_FollowedFile::Take()
{
    if (m_source->Refresh() == KilnUtil_TextSource::Change::Replaced)
        m_offset = 0;
    QByteArray bytes = m_source->Read(m_offset, qMin(m_source->End() - m_offset, mostAtOnce));
    m_offset += bytes.size();
    return bytes;
}
