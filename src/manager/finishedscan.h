// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobrecord.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QThread>
#include <QTimer>

#include <functional>
#include <memory>

class Taskmill_FinishedJobReader;

/// A finished job in the list of all: what is kept of it in memory.
struct Taskmill_FinishedEntry
{
    qint64 Key = -1; ///< of its row; a negative one of this program's own for a job that has no row
    qint32 JobID = 0;
    qint32 Origin = 0; ///< see Taskmill_FinishedOrigins
};

/// What the row of a job of this session does not say: the queue's name as new jobs have it, and the job type
/// as it was when the job was made.
class Taskmill_FinishedOrigins
{
public:
    /// A number for these of the job, not 0.
    [[nodiscard]] qint32 Add(const Taskmill_JobRecord &job);
    /// Restores what had that number; 0 is that of a job that was read.
    void Restore(Taskmill_JobRecord &job, qint32 origin) const;

private:
    struct Origin
    {
        QString queueName;
        Taskmill_JobType jobType;
    };
    QList<Origin> m_origins;
};

/// Reads all finished jobs in the background, for what is to be found out of each of them: on a thread with a
/// connection of its own, or, where the database is in memory, in slices on the main thread.
class Taskmill_FinishedScan final : public QObject
{
    Q_OBJECT

public:
    /// What is found out. Used by one thread after the other.
    class Work
    {
    public:
        Work() = default;
        virtual ~Work() = default;
        Q_DISABLE_COPY_MOVE(Work)

        /// The job at that position of the list; they come in any order. One that cannot be read never does.
        virtual void Take(qsizetype position, const Taskmill_JobRecord &job) = 0;
        /// All have come.
        virtual void Finish() {}
    };

    /// What is to be read. The reader reads what the work needs.
    struct Task
    {
        QList<Taskmill_FinishedEntry> Entries;
        Taskmill_FinishedOrigins Origins;
        QHash<qint64, Taskmill_JobRecord> Held; ///< those without a row, by their keys
        std::unique_ptr<Taskmill_FinishedJobReader> Reader;
    };
    using Done = std::function<void()>;

    ~Taskmill_FinishedScan() override;

    /// Calls `done` from the event loop when the work is finished, unless something else is begun or it is
    /// cancelled before.
    void Begin(Task task, const std::shared_ptr<Work> &work, Done done);
    void Cancel();
    /// The same, and nothing reads any more when this returns.
    void Stop();

private:
    class Reading;

    void Start();
    void StartThread();
    void EndThread();
    void StepSlot();
    void TakeResult(const std::shared_ptr<Reading> &reading);

    std::shared_ptr<Reading> m_reading; ///< whose result is wanted
    Done m_done;
    std::shared_ptr<Reading> m_running; ///< on the thread; another one when that was cancelled
    std::unique_ptr<QThread> m_thread;
    QTimer m_steps;
};
