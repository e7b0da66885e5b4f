#pragma once

#include "jobs/jobqueue.h"
#include "jobs/queuelessjobslist.h"
#include "service/removalquestion.h"

#include <QObject>

class Taskmill_Database;
class Taskmill_FinishedJobs;

/// The half of a queue tab that needs no window: it owns the queue and adds the database to what the queue
/// does.
class Taskmill_QueueOwner : public QObject
{
    Q_OBJECT

public:
    [[nodiscard]] virtual Taskmill_JobContainer &Jobs() = 0;
    /// How the user is told of this queue, such as "Long Jobs Queue".
    [[nodiscard]] virtual QString ListName() const = 0;

    /// Adds the job, which the queue then owns, and records it and its number in the open database.
    void Submit(Taskmill_Job *job);
    /// Fills the queue from the records of a project; a queue with a limit is paused with it.
    void Replace(const QList<Taskmill_JobRecord> &jobs);
    /// Removes all jobs, killing the running ones. Their rows stay: a saved project keeps them as waiting.
    void Clear();
    /// Ends all work of the queue: pauses it and kills what runs.
    void Stop();

    /// Hands every finished job on now instead of with the following passes, so that no file is written in
    /// between that has it as a waiting one.
    void CollectAllFinished();

    /// The listing that the console prints; with a width, made to fit a terminal of so many columns.
    [[nodiscard]] QString ListingText(int width = 0);

    /// Asks, warns of running jobs, and removes the jobs with their rows. False when there are none, one is
    /// unknown, or the user declines; nothing is removed then.
    bool RemoveSelectedJobs(const QList<int> &jobIDs);
    /// RemoveSelectedJobs() of one job.
    bool RemoveJob(int jobID);

    /// What RemoveSelectedJobs() consists of, for a front end that asks in its own way. The question is empty
    /// when there are no jobs or one is unknown.
    [[nodiscard]] Taskmill_Question RemovalQuestion(const QList<int> &jobIDs);
    [[nodiscard]] static Taskmill_Question RunningJobsWarning();
    [[nodiscard]] bool AnyRunning(const QList<int> &jobIDs);
    [[nodiscard]] QList<int> WithoutRunning(const QList<int> &jobIDs);
    void RemoveNow(QList<int> jobIDs);

Q_SIGNALS:
    /// The view of the queue is to be filled anew.
    void JobsChangedSignal();

protected:
    /// How the rows of this queue are written and deleted.
    struct DatabaseTable
    {
        bool (Taskmill_Database::*insert)(const Taskmill_JobRecord &job, bool forceNew, int *outID);
        bool (Taskmill_Database::*remove)(int jobID);
    };

    Taskmill_QueueOwner(Taskmill_FinishedJobs &finishedJobs, const DatabaseTable &table);

    /// Nothing for a list that cannot be paused.
    virtual void Pause() {}
    /// Hands each finished job to the finished-jobs list. One that stands directly behind another is left for
    /// the next pass, which follows from the event loop.
    void CollectFinished();

private:
    bool CollectOnePass();
    void DeleteRow(const Taskmill_JobRecord &job);
    void ReportKeptRows();

    Taskmill_FinishedJobs &m_finishedJobs;
    const DatabaseTable m_table;
    QStringList m_keptRows; ///< names of jobs whose rows could not be deleted, not yet reported
    bool m_collecting = false;
    bool m_removing = false; ///< jobs are being removed: nothing is collected meanwhile
};

/// Of the two queues that have a limit and can be paused.
class Taskmill_LimitedQueueOwner : public Taskmill_QueueOwner
{
    Q_OBJECT

public:
    [[nodiscard]] Taskmill_JobQueue &Jobs() override = 0;

public Q_SLOTS:
    void QueueUpdatedSlot();

protected:
    using Taskmill_QueueOwner::Taskmill_QueueOwner;
    void Pause() override;
};

class Taskmill_LongJobsOwner : public Taskmill_LimitedQueueOwner
{
    Q_OBJECT

public:
    Taskmill_LongJobsOwner(Taskmill_JobStore &store, Taskmill_FinishedJobs &finishedJobs,
                           Taskmill_ProcessInspector &inspector);
    [[nodiscard]] Taskmill_LongJobsQueue &Jobs() override { return m_queue; }
    [[nodiscard]] QString ListName() const override;

private:
    Taskmill_LongJobsQueue m_queue;
};

class Taskmill_ShortJobsOwner : public Taskmill_LimitedQueueOwner
{
    Q_OBJECT

public:
    Taskmill_ShortJobsOwner(Taskmill_JobStore &store, Taskmill_FinishedJobs &finishedJobs,
                            Taskmill_ProcessInspector &inspector);
    [[nodiscard]] Taskmill_ShortJobsQueue &Jobs() override { return m_queue; }
    [[nodiscard]] QString ListName() const override;

private:
    Taskmill_ShortJobsQueue m_queue;
};

class Taskmill_QueuelessJobsOwner : public Taskmill_QueueOwner
{
    Q_OBJECT

public:
    Taskmill_QueuelessJobsOwner(Taskmill_FinishedJobs &finishedJobs, Taskmill_ProcessInspector &inspector);
    [[nodiscard]] Taskmill_QueuelessJobsList &Jobs() override { return m_list; }
    [[nodiscard]] QString ListName() const override;

    /// Whether the jobs that ran when the project was closed are to run again, and that they do not; the
    /// texts are empty when there are none.
    [[nodiscard]] Taskmill_Question HeldJobsQuestion() const;
    [[nodiscard]] QString HeldJobsNotice() const;

public Q_SLOTS:
    void ListUpdatedSlot();

private:
    Taskmill_QueuelessJobsList m_list;
};
