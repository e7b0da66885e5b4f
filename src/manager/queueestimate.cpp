// SPDX-License-Identifier: MIT
#include "manager/queueestimate.h"

#include "db/database.h"
#include "db/databasemanager.h"
#include "jobs/jobqueue.h"

#include <algorithm>
#include <queue>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr qsizetype fewest = 5;
}

std::optional<qint64> Taskmill_SecondsToEnd(const QList<Taskmill_EstimatedJob> &jobs, int runningAtATime,
                                            const Taskmill_UsualSeconds &usual)
{
    // When each place becomes free, the earliest first.
    std::priority_queue<qint64, std::vector<qint64>, std::greater<>> places;
    qint64 last = 0;
    for (const Taskmill_EstimatedJob &job : jobs) {
        const auto whole = usual.constFind(job.JobTypeID);
        if (whole == usual.constEnd() || runningAtATime < 1)
            return std::nullopt;
        qint64 begin = 0;
        if (std::cmp_greater_equal(places.size(), runningAtATime) && !job.ElapsedSeconds) {
            begin = places.top();
            places.pop();
        }
        const qint64 end = begin + std::max<qint64>(*whole - job.ElapsedSeconds.value_or(0), 0);
        places.push(end);
        last = std::max(last, end);
    }
    return last;
}

std::optional<qint64> Taskmill_UsualTime(QList<qint64> seconds)
{
    if (seconds.size() < fewest)
        return std::nullopt;
    const auto middle = seconds.begin() + seconds.size() / 2;
    std::ranges::nth_element(seconds, middle);
    return *middle;
}

QString Taskmill_EstimateText(const Taskmill_JobTime &now, qint64 secondsToEnd)
{
    const QDateTime end = now.ClockTime().addSecs(secondsToEnd);
    const bool isToday = end.date() == now.ClockTime().date();
    return u"probably done about "_s + end.toString(isToday ? u"hh:mm"_s : u"yyyy-MM-dd hh:mm"_s);
}

QString Taskmill_EstimateOf(const Taskmill_JobQueue &queue, const Taskmill_JobTime &now)
{
    Taskmill_Database *database = Taskmill_Database_Manager::Global().CurrentDatabase();
    if (!database || !queue.MayStartAny() || queue.WaitingCount() == 0)
        return {};
    QList<Taskmill_EstimatedJob> jobs;
    Taskmill_UsualSeconds usual;
    for (const Taskmill_Job *job : queue.Jobs()) {
        const Taskmill_JobRecord &record = job->Record();
        const bool isRunning = record.Status == Taskmill_JobStatus::Running;
        if (!isRunning && !(record.Status == Taskmill_JobStatus::Pending && job->MayStart()))
            continue;
        const qint32 type = record.JobType.JobTypeID;
        jobs.append(
            {.JobTypeID = type,
             .ElapsedSeconds = isRunning ? std::optional{now.SecondsSince(record.Started)} : std::nullopt});
        if (usual.contains(type))
            continue;
        const auto time = Taskmill_UsualTime(database->GetTimesOfFinishedJobs(type));
        if (!time)
            return {};
        usual.insert(type, *time);
    }
    const auto seconds = Taskmill_SecondsToEnd(jobs, queue.MaxRunningJobs(), usual);
    return jobs.isEmpty() || !seconds ? QString{} : Taskmill_EstimateText(now, *seconds);
}
