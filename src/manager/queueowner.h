// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/destination.h"
#include "jobs/joborder.h"
#include "jobs/jobqueue.h"

#include <QObject>

#include <functional>
#include <memory>
#include <optional>

class Taskmill_FinishedJobs;
class Taskmill_QueuelessJobsList;

/// One of the three places where jobs wait and run: owns the queue, or the list of the jobs without one, and
/// adds the database to what it does.
class Taskmill_QueueOwner final : public QObject
{
    Q_OBJECT

public:
    /// Makes the queue, or the list, of that destination, which is not JobTypeDefault.
    Taskmill_QueueOwner(Taskmill_Destination destination, Taskmill_FinishedJobs &finishedJobs,
                        const Taskmill_JobServices &services);
    ~Taskmill_QueueOwner() override;
    Q_DISABLE_COPY_MOVE(Taskmill_QueueOwner)

    [[nodiscard]] Taskmill_Destination Destination() const;
    [[nodiscard]] Taskmill_JobContainer &Jobs() const { return *m_jobs; }
    /// The same with its limit and pause; nullptr for the list of the jobs without a queue.
    [[nodiscard]] Taskmill_JobQueue *Queue() const { return m_queue; }
    /// The list of the jobs without a queue; nullptr for the two queues.
    [[nodiscard]] Taskmill_QueuelessJobsList *List() const { return m_list; }
    /// The name that the user sees, such as "Long Jobs Queue".
    [[nodiscard]] QString ListName() const;

    /// Records the job and its number in the open database, then adds it to the queue, which owns it. False
    /// when it cannot be recorded: the job is destroyed then.
    bool Submit(Taskmill_Job *job);
    /// How many of its jobs may run at a time, of a queue that has a limit. Nothing when it is stored, else
    /// why the limit stays as it was.
    [[nodiscard]] std::optional<QString> SetLimit(int maxRunningJobs);
    /// Says what has become of it.
    QString PauseWhenJobsHaveEnded();
    /// When it will probably have done its jobs, a sentence.
    [[nodiscard]] QString EstimateText() const;
    /// Moves those of the jobs that wait, which keep their order among each other, and stores the new order.
    /// Nothing when that is done, also where they stand there already; else why not.
    [[nodiscard]] std::optional<QString> Move(const QList<int> &jobIDs, Taskmill_Move move);
    /// The same to in front of another job: of the first one that waits for a job that does not, to the end
    /// for an unknown one.
    [[nodiscard]] std::optional<QString> MoveBefore(const QList<int> &jobIDs, int beforeJobID);
    /// Changes what those of the jobs wait for that wait here, and stores it. Nothing when that is done, else
    /// why not.
    [[nodiscard]] std::optional<QString>
    ChangeConditions(const QList<int> &jobIDs,
                     const std::function<void(Taskmill_StartConditions &conditions)> &change);
    /// Fills the queue from the records of a project, see Taskmill_JobContainer::AddAll(); a queue with a
    /// limit is paused with it.
    void Replace(const QList<Taskmill_JobRecord> &jobs, const QSet<int> &recorded = {});
    /// Removes all jobs, killing the running ones. Their rows stay: a saved project keeps them as waiting.
    void Clear();
    /// Ends all work of the queue: pauses it and kills what runs.
    void Stop();
    /// Pauses it too, but lets the jobs that keepers run go on, of which it knows nothing from then on.
    void LetJobsGoOn();

    /// Hands every finished job on now instead of with the following passes, so that no file is written in
    /// between that has it as a waiting one.
    void CollectAllFinished();

    /// The listing that the console prints; with a width, made to fit a terminal of so many columns.
    [[nodiscard]] QString ListingText(int width = 0) const;

    /// Goes through Taskmill_RemovalDialogue with the prompt in force: asks, warns of running jobs, and
    /// removes the jobs with their rows. False when there are none, one is unknown, or the user declines;
    /// nothing is removed then.
    bool RemoveSelectedJobs(const QList<int> &jobIDs);
    /// RemoveSelectedJobs() of one job.
    bool RemoveJob(int jobID);

    /// Those of the jobs that do not run; unknown ones count as such.
    [[nodiscard]] QList<int> WithoutRunning(const QList<int> &jobIDs) const;
    /// Removes the jobs with their rows, killing those that run, without asking. Unknown ones are left out.
    /// Those that keepers run go when nothing of them is left: until then they are Running, in their place.
    void RemoveNow(QList<int> jobIDs);
    /// Whether the row of a removed job could not be deleted, so that the job would wait again when the
    /// project is opened.
    [[nodiscard]] bool IsRowKept(int jobID) const { return m_keptRows.contains(jobID); }
    /// Tries again to delete such rows, for a project that is about to be saved.
    void DeleteKeptRows();

Q_SIGNALS:
    /// A job was submitted and did not start at once.
    void WaitsSignal(const Taskmill_JobRecord &job);
    /// The view of the queue is to be filled anew.
    void JobsChangedSignal();

public Q_SLOTS:
    /// The queue has changed: hands each finished job to the finished-jobs list. One that stands directly
    /// behind another is left for the next pass, which follows from the event loop.
    void QueueUpdatedSlot();

private:
    struct Variant;
    static const Variant &VariantOf(Taskmill_Destination destination);

    [[nodiscard]] std::optional<QString>
    Reorder(const QList<int> &jobIDs,
            const std::function<QList<qsizetype>(const QList<bool> &isMarked)> &newPlaces);
    /// A new job stands behind those that were moved.
    void PutLast(Taskmill_Job &job) const;
    /// Nothing for a list that cannot be paused.
    void Pause();
    bool CollectOnePass();
    void DeleteRow(const Taskmill_JobRecord &job);
    void KeepRow(const Taskmill_JobRecord &job);
    void ReportKeptRows();

    const Variant &m_variant;
    Taskmill_FinishedJobs &m_finishedJobs;
    std::unique_ptr<Taskmill_JobContainer> m_jobs;
    Taskmill_JobQueue *m_queue = nullptr;         ///< m_jobs, where that has a limit
    Taskmill_QueuelessJobsList *m_list = nullptr; ///< m_jobs, where that is the other one
    QList<int> m_keptRows;                        ///< jobs whose rows could not be deleted
    QStringList m_namesOfKeptRows;                ///< not yet reported
    bool m_collecting = false;
    bool m_removing = false; ///< jobs are being removed: nothing is collected meanwhile
};
