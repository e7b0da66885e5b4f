// SPDX-License-Identifier: MIT
#include "ui/jobnews.h"

#include "kilnutil/registry.h"
#include "manager/finishedjobs.h"
#include "manager/measuretext.h"

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

QString LineOf(const Taskmill_JobRecord &job)
{
    const QString name = job.Name.size() > longestName ? job.Name.left(longestName) + u"..."_s : job.Name;
    QString end = Taskmill_JobStatusText(job.Status);
    if (job.Result.Verdict == Taskmill_Verdict::Error || job.Result.Verdict == Taskmill_Verdict::NotConverged)
        end += u", "_s + Taskmill_ResultText(job.Result).toLower();
    return u"%1: %2"_s.arg(name, end);
}

/// Such as "10 jobs ended, 1 failed".
QString TitleOf(qsizetype count, qsizetype failed)
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
    , m_firstPosition{finishedJobs.Count()}
    , m_position{finishedJobs.Count()}
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(gathering);
    connect(&m_timer, &QTimer::timeout, this, &Taskmill_JobNews::Announce);
    connect(&m_finishedJobs, &Taskmill_FinishedJobs::JobsChangedSignal, this, &Taskmill_JobNews::JobsChanged);
    connect(&m_finishedJobs, &Taskmill_FinishedJobs::ResultKnownSignal, this, &Taskmill_JobNews::TakeResult);
}

void Taskmill_JobNews::JobsChanged()
{
    // What is added comes one by one; everything else is another project, or was removed.
    const int generation = m_finishedJobs.Generation();
    const bool isSameList = std::exchange(m_generation, generation) == generation;
    for (qsizetype position = m_position; isSameList && position < m_finishedJobs.Count(); ++position)
        Take(m_finishedJobs.JobAt(position));
    m_position = m_finishedJobs.Count();
    if (!isSameList) {
        m_firstPosition = m_position;
        SeeFailures();
    }
}

void Taskmill_JobNews::Take(const Taskmill_JobRecord &job)
{
    if (job.Status == Taskmill_JobStatus::Killed)
        return;
    Gather(job);
    if (job.HasFailed()) {
        ++m_unseenFailures;
        Q_EMIT UnseenFailuresChangedSignal();
    }
}

/// Only what makes a failure of the job is news.
void Taskmill_JobNews::TakeResult(int jobID)
{
    const qsizetype position = m_finishedJobs.PositionOf(jobID);
    if (position < m_firstPosition)
        return;
    const Taskmill_JobRecord &job = m_finishedJobs.JobAt(position);
    const bool hadFailed =
        job.Status == Taskmill_JobStatus::Failed || job.Status == Taskmill_JobStatus::Crashed;
    if (!hadFailed && job.HasFailed())
        Take(job);
}

void Taskmill_JobNews::Gather(const Taskmill_JobRecord &job)
{
    if (Taskmill_RememberedAnnounced() == Taskmill_Announced::Nothing)
        return;
    const News news{.jobID = job.JobID, .line = LineOf(job), .hasFailed = job.HasFailed()};
    if (const auto place = m_places.constFind(job.JobID); place != m_places.constEnd()) {
        m_gathered[*place] = news;
        return;
    }
    m_places.insert(job.JobID, m_gathered.size());
    m_gathered.append(news);
    if (!m_timer.isActive())
        m_timer.start();
}

void Taskmill_JobNews::Announce()
{
    m_places.clear();
    QList<News> news = std::exchange(m_gathered, {});
    if (Taskmill_RememberedAnnounced() == Taskmill_Announced::Failures)
        news.removeIf([](const News &one) { return !one.hasFailed; });
    if (news.isEmpty())
        return;
    m_announced.clear();
    for (const News &one : std::as_const(news))
        m_announced.append(one.jobID);
    // Failures first.
    const auto failed =
        std::stable_partition(news.begin(), news.end(), [](const News &one) { return one.hasFailed; }) -
        news.begin();
    QStringList lines;
    for (const News &one : std::as_const(news).first(qMin<qsizetype>(news.size(), mostLines)))
        lines.append(one.line);
    if (const auto more = news.size() - lines.size(); more > 0)
        lines.append(u"... %1 more ..."_s.arg(more));
    Q_EMIT NewsSignal(TitleOf(news.size(), failed), lines.join(u'\n'));
}

void Taskmill_JobNews::SeeFailures()
{
    if (std::exchange(m_unseenFailures, 0) > 0)
        Q_EMIT UnseenFailuresChangedSignal();
}
