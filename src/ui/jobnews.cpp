// SPDX-License-Identifier: MIT
#include "ui/jobnews.h"

#include "kilnutil/registry.h"
#include "manager/finishedjobs.h"

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int mostLines = 5;
constexpr qsizetype longestName = 60;

const QString settingsKey = u"/General/Desktop_Notifications"_s;
/// As they are stored.
constexpr std::array<QLatin1StringView, 3> announcedNames{"Off"_L1, "Failures"_L1, "All"_L1};

bool HasFailed(const Taskmill_JobRecord &job)
{
    return job.Status == Taskmill_JobStatus::Failed || job.Status == Taskmill_JobStatus::Crashed;
}

QString LineOf(const Taskmill_JobRecord &job)
{
    const QString name = job.Name.size() > longestName ? job.Name.left(longestName) + u"..."_s : job.Name;
    return u"%1: %2"_s.arg(name, Taskmill_JobStatusText(job.Status));
}

/// Such as "10 jobs ended, 1 failed".
QString TitleOf(qsizetype count, int failed)
{
    const QString jobs = count == 1 ? u"1 job"_s : u"%1 jobs"_s.arg(count);
    if (failed == count)
        return jobs + u" failed"_s;
    return jobs + (failed == 0 ? u" ended"_s : u" ended, %1 failed"_s.arg(failed));
}
} // namespace

Taskmill_Announced Taskmill_RememberedAnnounced()
{
    const QString name = KilnUtil_Registry::Value(settingsKey).toString();
    const auto found = std::ranges::find(announcedNames, name);
    return found == announcedNames.end() ? Taskmill_Announced::Everything
                                         : static_cast<Taskmill_Announced>(found - announcedNames.begin());
}

void Taskmill_RememberAnnounced(Taskmill_Announced announced)
{
    KilnUtil_Registry::SetValue(settingsKey, QString{announcedNames.at(static_cast<size_t>(announced))});
}

Taskmill_JobNews::Taskmill_JobNews(Taskmill_FinishedJobs &finishedJobs, std::chrono::milliseconds gathering)
    : m_finishedJobs{finishedJobs}
    , m_generation{finishedJobs.Generation()}
    , m_position{finishedJobs.Count()}
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(gathering);
    connect(&m_timer, &QTimer::timeout, this, &Taskmill_JobNews::Announce);
    connect(&m_finishedJobs, &Taskmill_FinishedJobs::JobsChangedSignal, this, &Taskmill_JobNews::JobsChanged);
}

void Taskmill_JobNews::JobsChanged()
{
    // What is added comes one by one; everything else is another project, or was removed.
    const int generation = m_finishedJobs.Generation();
    const bool isSameList = std::exchange(m_generation, generation) == generation;
    for (qsizetype position = m_position; isSameList && position < m_finishedJobs.Count(); ++position)
        Take(m_finishedJobs.JobAt(position));
    m_position = m_finishedJobs.Count();
    if (!isSameList)
        SeeFailures();
}

void Taskmill_JobNews::Take(const Taskmill_JobRecord &job)
{
    if (job.Status == Taskmill_JobStatus::Killed)
        return;
    const bool failed = HasFailed(job);
    if (failed) {
        ++m_unseenFailures;
        Q_EMIT UnseenFailuresChangedSignal();
    }
    const Taskmill_Announced announced = Taskmill_RememberedAnnounced();
    if (announced == Taskmill_Announced::Nothing || (announced == Taskmill_Announced::Failures && !failed))
        return;
    if (!m_timer.isActive())
        m_timer.start();
    m_gathered.append(job.JobID);
    if (failed && m_failed < mostLines)
        m_lines.insert(m_failed, LineOf(job));
    else if (m_lines.size() < mostLines)
        m_lines.append(LineOf(job));
    m_failed += failed ? 1 : 0;
}

void Taskmill_JobNews::Announce()
{
    m_announced = std::exchange(m_gathered, {});
    QStringList lines = std::exchange(m_lines, {}).mid(0, mostLines);
    const int failed = std::exchange(m_failed, 0);
    if (const auto more = m_announced.size() - lines.size(); more > 0)
        lines.append(u"... %1 more ..."_s.arg(more));
    Q_EMIT NewsSignal(TitleOf(m_announced.size(), failed), lines.join(u'\n'));
}

void Taskmill_JobNews::SeeFailures()
{
    if (std::exchange(m_unseenFailures, 0) > 0)
        Q_EMIT UnseenFailuresChangedSignal();
}
