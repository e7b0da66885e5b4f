// SPDX-License-Identifier: MIT
#include "manager/jobwatch.h"

#include "kilnutil/filethread.h"
#include "kilnutil/logging.h"
#include "manager/destinations.h"
#include "processes/process.h"
#include "processes/processinspector.h"

#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <chrono>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr std::chrono::milliseconds interval{30'000};
constexpr qint64 secondsOfMinute = 60;

/// Of the process and of everything it started, in ms.
qint64 ProcessorMs(const QList<Taskmill_ProcessRecord> &processes, qint64 root)
{
    QMultiHash<int, const Taskmill_ProcessRecord *> children;
    qint64 units = 0;
    const auto add = [&units](const Taskmill_ProcessRecord &process) {
        units += process.KernelModeTime.toLongLong() + process.UserModeTime.toLongLong();
    };
    for (const Taskmill_ProcessRecord &process : processes) {
        children.insert(process.ParentProcessIdNumber(), &process);
        if (process.ProcessIdNumber() == root)
            add(process);
    }
    QList<int> parents{static_cast<int>(root)};
    QSet<int> seen;
    while (!parents.isEmpty()) {
        const int parent = parents.takeLast();
        // A listing is no picture of one moment: a number may have been given again meanwhile.
        if (seen.contains(parent))
            continue;
        seen.insert(parent);
        for (const Taskmill_ProcessRecord *child : children.values(parent)) {
            add(*child);
            parents.append(child->ProcessIdNumber());
        }
    }
    constexpr qint64 unitsOfMs = 10'000;
    return units / unitsOfMs;
}

QString MinutesText(int minutes)
{
    return minutes == 1 ? u"1 minute"_s : u"%1 minutes"_s.arg(minutes);
}
} // namespace

bool Taskmill_JobActivity::ShowsProgressSince(const Taskmill_JobActivity &before) const
{
    constexpr qint64 leastMs = 100;
    return Output != before.Output || std::abs(ProcessorMs - before.ProcessorMs) >= leastMs;
}

Taskmill_JobWatch::Taskmill_JobWatch(Taskmill_Destinations &destinations, Look look, Clock clock)
    : m_destinations{destinations}
    , m_clock{std::move(clock)}
    , m_look{std::move(look)}
    , m_thread{new KilnUtil_FileThread{this}}
{
    for (const Taskmill_QueueOwner *owner : m_destinations.All())
        connect(owner, &Taskmill_QueueOwner::JobsChangedSignal, this, &Taskmill_JobWatch::JobsChangedSlot);
    m_timer.setInterval(interval);
    connect(&m_timer, &QTimer::timeout, this, &Taskmill_JobWatch::LookNow);
}

Taskmill_JobWatch::~Taskmill_JobWatch() = default;

Taskmill_JobWatch::Look
Taskmill_JobWatch::LookThrough(const std::shared_ptr<Taskmill_ProcessInspector> &inspector)
{
    return [inspector](const QList<Watched> &jobs) {
        const QList<Taskmill_ProcessRecord> processes = inspector->ListProcessesUnlessInterrupted();
        Activities activities;
        for (const Watched &job : jobs) {
            Taskmill_JobActivity &activity = activities[job.JobID];
            activity.ProcessorMs = ProcessorMs(processes, job.ProcessID);
            activity.Output = QString::number(job.Printed);
            for (const QString &path : job.Files) {
                const QFileInfo file{path};
                activity.Output += u" %1 %2"_s.arg(file.size()).arg(file.lastModified().toMSecsSinceEpoch());
            }
        }
        return activities;
    };
}

QList<Taskmill_Job *> Taskmill_JobWatch::WatchedJobs() const
{
    QList<Taskmill_Job *> jobs;
    for (const Taskmill_QueueOwner *owner : m_destinations.All()) {
        for (Taskmill_Job *job : owner->Jobs().Jobs()) {
            // Behind the first one that waits none runs.
            if (job->Status() == Taskmill_JobStatus::Pending)
                break;
            const Taskmill_JobType &type = job->Record().JobType;
            const bool isWatched = type.TimeLimitMinutes > 0 || type.NoProgressMinutes > 0;
            if (isWatched && job->Status() == Taskmill_JobStatus::Running && job->Process())
                jobs.append(job);
        }
    }
    return jobs;
}

void Taskmill_JobWatch::JobsChangedSlot()
{
    if (!m_timer.isActive() && !WatchedJobs().isEmpty())
        m_timer.start();
}

void Taskmill_JobWatch::LookNow()
{
    EndOverdue(WatchedJobs());
    const QList<Taskmill_Job *> jobs = WatchedJobs();
    QList<Watched> watched;
    QHash<int, Seen> seen;
    for (const Taskmill_Job *job : jobs) {
        if (job->Record().JobType.NoProgressMinutes == 0)
            continue;
        watched.append(WatchedOf(*job));
        if (m_seen.contains(job->JobID()))
            seen.insert(job->JobID(), m_seen.value(job->JobID()));
    }
    m_seen.swap(seen);
    if (jobs.isEmpty())
        m_timer.stop();
    // A drive that does not answer holds up only this.
    if (watched.isEmpty() || m_thread->IsBusy())
        return;
    m_thread->Run([this, look = m_look, watched] {
        return [this, activities = look(watched)] {
            TakeActivities(activities);
        };
    });
}

void Taskmill_JobWatch::EndOverdue(const QList<Taskmill_Job *> &jobs)
{
    const Taskmill_JobTime now = m_clock();
    for (Taskmill_Job *job : jobs) {
        const int limit = job->Record().JobType.TimeLimitMinutes;
        const bool isOverdue =
            limit > 0 && now.SecondsSince(job->Record().Started) >= limit * secondsOfMinute;
        if (!isOverdue || job->IsBeingKilled())
            continue;
        qCInfo(Taskmill_ManagerLog, "Job %d has reached its time limit", job->JobID());
        job->Say(u"The job was ended: its time limit of %1 has passed."_s.arg(MinutesText(limit)));
        if (Taskmill_QueueOwner *owner = m_destinations.OwnerOfJob(job->JobID()))
            owner->RemoveNow({job->JobID()});
    }
}

Taskmill_JobWatch::Watched Taskmill_JobWatch::WatchedOf(const Taskmill_Job &job)
{
    const Taskmill_JobRecord &record = job.Record();
    QStringList files{record.OutputFilePath(), record.StandardOutputFile};
    files.removeAll(QString{});
    return {.JobID = record.JobID,
            .ProcessID = job.ProcessID(),
            .Printed = job.Process()->Output().TotalSize(),
            .Files = files};
}

void Taskmill_JobWatch::TakeActivities(const Activities &activities)
{
    const QList<Taskmill_Job *> jobs = WatchedJobs();
    for (Taskmill_Job *job : jobs) {
        const auto activity = activities.constFind(job->JobID());
        if (activity != activities.constEnd())
            Judge(*job, *activity);
    }
}

void Taskmill_JobWatch::Judge(Taskmill_Job &job, const Taskmill_JobActivity &activity)
{
    const Taskmill_JobTime now = m_clock();
    Taskmill_QueueOwner &owner = *m_destinations.OwnerOfJob(job.JobID());
    const auto seen = m_seen.find(job.JobID());
    const bool hasProgress = seen == m_seen.end() || activity.ShowsProgressSince(seen->activity);
    Taskmill_WaitReason said;
    if (hasProgress) {
        m_seen.insert(job.JobID(), {.activity = activity, .since = now});
    } else {
        seen->activity = activity;
        const int minutes = static_cast<int>(now.SecondsSince(seen->since) / secondsOfMinute);
        if (minutes < job.Record().JobType.NoProgressMinutes)
            return;
        said = Taskmill_WaitReason::InWords(u"no progress for %1 min"_s.arg(minutes));
        if (!std::exchange(seen->isReported, true)) {
            qCInfo(Taskmill_ManagerLog, "Job %d has made no progress for %d minutes", job.JobID(), minutes);
            Q_EMIT NoProgressSignal(job.JobID(), job.Record().Name, minutes);
        }
    }
    if (said == job.Record().WaitReason)
        return;
    job.SetWaitReason(said);
    Q_EMIT owner.JobsChangedSignal();
}
