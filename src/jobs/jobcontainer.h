// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/job.h"
#include "jobs/jobservices.h"

#include <QList>
#include <QMultiHash>
#include <QObject>
#include <QSet>
#include <QStringList>

/// What the two queues and the queueless list have in common: an ordered list of jobs (waiting, running, and
/// finished ones not yet collected) that it owns until they are handed on.
///
/// Jobs start in list order, so the list is always a run of started jobs followed by a run of Pending ones,
/// of which those that are held since the project was opened stand last.
class Taskmill_JobContainer : public QObject
{
    Q_OBJECT

public:
    ~Taskmill_JobContainer() override;

    [[nodiscard]] QString Name() const { return m_name; }
    [[nodiscard]] int Count() const { return static_cast<int>(m_jobs.size()); }
    /// nullptr when the index is out of range.
    [[nodiscard]] Taskmill_Job *JobAt(int index) const;
    [[nodiscard]] const QList<Taskmill_Job *> &Jobs() const { return m_jobs; }
    /// Both are quick, however many wait. Held jobs wait, too.
    [[nodiscard]] int RunningCount() const { return static_cast<int>(RunningJobs().size()); }
    [[nodiscard]] int WaitingCount() const;

    /// Takes the ownership, makes the job Pending as of now and appends it.
    void Add(Taskmill_Job *job);
    /// Appends a new job for each record of a project, Pending as of now, without the times of an earlier
    /// run; but a job whose run is found again is Running, or ends soon. What runs where this program does
    /// not reach it is held, and said in a signal, and so is what ran when the project was saved if nobody
    /// here knows what became of it. `recorded` are the numbers of jobs whose start was stored where the
    /// records come from, since the project was opened: of those no run is unknown but one that never began.
    void AddAll(const QList<Taskmill_JobRecord> &records, const QSet<int> &recorded = {});

    /// The numbers of the held jobs, without those that run elsewhere.
    [[nodiscard]] QList<int> HeldJobIDs() const;
    /// Holds these back no longer; others are left alone. Returns how many they were.
    int Release(const QList<int> &jobIDs);

    /// Removing a job kills it when it runs; a killed job is handed to the finished jobs. An index that is
    /// out of range and an unknown number do nothing.
    void RemoveAt(int index);
    /// In the order of the numbers. The scheduler runs once, when all of them are out: none of them starts.
    void RemoveByJobIDs(const QList<int> &jobIDs);
    void RemoveAll();
    /// Kills and removes the running jobs; the waiting ones stay.
    virtual void KillRunning();
    /// Asks what keepers run to end, all at once, so that removing it takes no longer than one of them.
    void BeginToKillRunning();
    /// Whether a keeper runs one of the jobs.
    [[nodiscard]] bool IsAnyKept() const;
    /// Takes the jobs that keepers run out of the list, which go on; nothing else of them is recorded.
    void LetGoOn();

    /// Those that wait, in their order, without those that stand last because they are held since the project
    /// was opened.
    [[nodiscard]] QList<Taskmill_Job *> WaitingJobs() const;
    /// Puts these jobs into another order, with these order numbers.
    void SetWaitingOrder(const QList<Taskmill_Job *> &jobs, const QList<qint64> &orderNumbers);
    /// Gives a job that waits other conditions. LookAgain() is to follow, as it may start then.
    void SetConditions(Taskmill_Job &job, const Taskmill_StartConditions &conditions);
    /// Those that wait and have conditions.
    [[nodiscard]] QList<Taskmill_Job *> ConditionalJobs() const;
    [[nodiscard]] bool AreAnyConditional() const { return !m_conditional.isEmpty(); }
    /// Something that jobs wait for is another: starts as many as may start now.
    void LookAgain();
    /// The user wants a waiting job to start whatever its files look like, unless another job writes them.
    /// LookAgain() is to follow.
    void IgnoreFilesOf(Taskmill_Job &job) const;
    /// The same from the event loop.
    void LookAgainSoon() const;

    /// The first job of that number; nullptr when there is none.
    [[nodiscard]] Taskmill_Job *FindByJobID(int jobID) const;
    /// The number of the job whose live process has that process id; -1 when there is none.
    [[nodiscard]] int FindJobByProcessID(qint64 processID) const;
    [[nodiscard]] QList<int> JobIDs() const;
    /// Job names in the order of the numbers; false and an empty list as soon as one is unknown.
    [[nodiscard]] bool NamesOf(const QList<int> &jobIDs, QStringList &names) const;

Q_SIGNALS:
    /// A job of a project was not taken over, since it runs elsewhere: in that project, or empty when that is
    /// not known.
    void RunsElsewhereSignal(const Taskmill_JobRecord &job, const QString &owner);
    /// A job that ran when its project was saved is held, as nobody here knows what became of it.
    void FateUnknownSignal(const Taskmill_JobRecord &job);
    /// A job survives its kill; see Taskmill_Job::RemainsSignal.
    void RemainsSignal(const Taskmill_JobRecord &job, const QList<qint64> &processIDs);

public Q_SLOTS:
    /// A started job has ended: looks what to start next.
    void JobFinishedSlot();
    /// Tries the starts again that could not be stored, or for which the system had too little of something;
    /// happens by itself every few seconds.
    void TryAgainSlot();

protected:
    Taskmill_JobContainer(QString name, const Taskmill_JobServices &services);

    [[nodiscard]] const Taskmill_JobServices &Services() const { return m_services; }

    /// Whether the job of a project that is opened must not start before the user says so.
    [[nodiscard]] virtual bool IsToBeHeld(const Taskmill_JobRecord &) const { return false; }
    /// Starts what may start now and reports that the list has changed.
    virtual void Update() = 0;
    /// Whichever waiting jobs stand before it. A start that fails leaves the job Running without a process,
    /// where it counts against a limit. A job whose start cannot be stored stays Pending, and is tried again
    /// some time later, as is one whose start was put off. One whose files speak against it stays Pending
    /// too, and may not start any more; see Taskmill_FilesCheck.
    void StartJob(Taskmill_Job &job);
    /// Does what can be done before StartJob(), for a second at most. False when that is not worth while, or
    /// cannot be had.
    bool PrepareStart(Taskmill_Job &job);
    /// It is not to be started so soon after all; nothing for any other, or for one that has started.
    void DropPreparation(Taskmill_Job *job, int jobID);
    [[nodiscard]] bool IsBudgetOn() const;
    [[nodiscard]] QList<Taskmill_Job *> RunningJobs() const;

    /// How many jobs are held for their files before the event loop goes on.
    static constexpr int MostTries = 16;

private:
    [[nodiscard]] bool MayFilesBeWritten(Taskmill_Job &job) const;
    void SayThatJobEnded() const;
    void RecordStartWithoutKeeper(int jobID);
    void Append(Taskmill_Job *job);
    void AddFromProject(Taskmill_JobRecord record, bool isStartRecorded);
    /// False when there is no run to take over: the job has to wait, and is perhaps held.
    bool TakeOverRun(Taskmill_Job *job, bool isStartRecorded);
    bool FollowOn(Taskmill_Job *job);
    bool Hold(Taskmill_Job *job);
    void InsertStarted(Taskmill_Job *job);
    void Follow(Taskmill_Job &job);
    void TryAgainLater();
    void InsertInOrder(Taskmill_Job *job);
    /// A job of these is about to start, perhaps before others that wait.
    void MoveBehindStarted(Taskmill_Job *job);
    void NoteConditions(Taskmill_Job *job);
    [[nodiscard]] QList<Taskmill_Job *>::const_iterator FirstHeld() const;
    [[nodiscard]] QList<Taskmill_Job *>::const_iterator FirstPending() const;
    void TakeOut(Taskmill_Job *job);
    /// Takes them all out of the list before any of them is killed.
    void TakeOut(const QList<Taskmill_Job *> &jobs);

    const QString m_name;
    const Taskmill_JobServices m_services;
    QList<Taskmill_Job *> m_jobs;
    QMultiHash<int, Taskmill_Job *> m_jobsByID; ///< a project file may hold a number twice
    QSet<Taskmill_Job *> m_conditional;         ///< those of the Pending jobs that have conditions
    bool m_triesAgain = false;                  ///< TryAgainSlot() is called when the time for it has come
    bool m_isLackLogged = false;                ///< since a job has ended
};
