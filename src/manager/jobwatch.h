// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobtime.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QTimer>

#include <functional>
#include <memory>

class KilnUtil_FileThread;
class Taskmill_Destinations;
class Taskmill_Job;
class Taskmill_ProcessInspector;
class Taskmill_QueueOwner;

/// What a running job has done so far. Two looks that differ show progress.
struct Taskmill_JobActivity
{
    QString Output;         ///< sizes and times of what it writes
    qint64 ProcessorMs = 0; ///< of its processes that live

    /// A program that only waits takes a little processor time, too.
    [[nodiscard]] bool ShowsProgressSince(const Taskmill_JobActivity &before) const;
};

/// Ends running jobs whose time limit has passed, and reports to the user those that have not got on for the
/// time that their job type says.
class Taskmill_JobWatch final : public QObject
{
    Q_OBJECT

public:
    using Clock = std::function<Taskmill_JobTime()>;
    /// What is looked at of one job.
    struct Watched
    {
        int JobID = 0;
        qint64 ProcessID = 0;
        qint64 Printed = 0; ///< bytes
        QStringList Files;
    };
    using Activities = QHash<int, Taskmill_JobActivity>;
    /// Looks at jobs and their files, which may take its time, on a thread of its own.
    using Look = std::function<Activities(const QList<Watched> &jobs)>;

    /// The destinations outlive this.
    Taskmill_JobWatch(Taskmill_Destinations &destinations, Look look, Clock clock = Taskmill_JobTime::Now);
    ~Taskmill_JobWatch() override;
    Q_DISABLE_COPY_MOVE(Taskmill_JobWatch)

    void SetClock(const Clock &clock) { m_clock = clock; }
    /// At the system's processes and at files.
    [[nodiscard]] static Look LookThrough(const std::shared_ptr<Taskmill_ProcessInspector> &inspector);

    /// Ends what is over time now, and looks at what the others have done.
    void LookNow();
    void TakeActivities(const Activities &activities);

Q_SIGNALS:
    /// Once for each time that the job stands still.
    void NoProgressSignal(int jobID, const QString &name, int minutes);

private:
    struct Seen
    {
        Taskmill_JobActivity activity;
        Taskmill_JobTime since;
        bool isReported = false;
    };

    void JobsChangedSlot();
    [[nodiscard]] QList<Taskmill_Job *> WatchedJobs() const;
    void EndOverdue(const QList<Taskmill_Job *> &jobs);
    [[nodiscard]] static Watched WatchedOf(const Taskmill_Job &job);
    void Judge(Taskmill_Job &job, const Taskmill_JobActivity &activity);

    Taskmill_Destinations &m_destinations;
    Clock m_clock;
    Look m_look;
    KilnUtil_FileThread *m_thread;
    QTimer m_timer;
    QHash<int, Seen> m_seen;
};
