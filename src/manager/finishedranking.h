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

/// Finds in the background where each finished job stands in the order of a column: on a thread with a
/// connection of its own, or, where the database is in memory, in slices on the main thread.
class Taskmill_FinishedRanking final : public QObject
{
    Q_OBJECT

public:
    /// Of each job a number that is smaller, equal or larger as its value in the column is.
    using Take = std::function<void(const QList<quint32> &ranks)>;

    /// What is to be ranked. The reader reads what ReadColumns() says.
    struct Task
    {
        int Column = 0; ///< of the listing
        QList<Taskmill_FinishedEntry> Entries;
        Taskmill_FinishedOrigins Origins;
        QHash<qint64, Taskmill_JobRecord> Held; ///< those without a row, by their keys
        std::unique_ptr<Taskmill_FinishedJobReader> Reader;
    };

    ~Taskmill_FinishedRanking() override;

    /// The columns of the stored table that a column of the listing is made of.
    [[nodiscard]] static QStringList ReadColumns(int column);

    /// Calls `take` from the event loop, unless something else is begun or it is cancelled before.
    void Begin(Task task, Take take);
    void Cancel();
    /// The same, and nothing reads any more when this returns.
    void Stop();
    [[nodiscard]] bool IsAtWork() const { return m_work != nullptr; }

private:
    class Work;

    void Start();
    void StartThread();
    void EndThread();
    void StepSlot();
    void TakeResult(const std::shared_ptr<Work> &work);

    std::shared_ptr<Work> m_work; ///< whose result is wanted
    Take m_take;
    std::shared_ptr<Work> m_running; ///< on the thread; another one when that was cancelled
    std::unique_ptr<QThread> m_thread;
    QTimer m_steps;
};
