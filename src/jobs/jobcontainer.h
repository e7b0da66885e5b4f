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
/// of which those that are held stand last.
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
    /// A job withstands its kill; see Taskmill_Job::RemainsSignal.
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
    /// A start that fails leaves the job Running without a process, where it counts against a limit. A job
    /// whose start cannot be stored stays Pending, and is tried again some time later, as is one whose start
    /// was put off.
    void StartJob(Taskmill_Job &job);
    [[nodiscard]] QList<Taskmill_Job *> RunningJobs() const;

private:
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
    void TakeOut(Taskmill_Job *job);
    /// Takes them all out of the list before any of them is killed.
    void TakeOut(const QList<Taskmill_Job *> &jobs);

    const QString m_name;
    const Taskmill_JobServices m_services;
    QList<Taskmill_Job *> m_jobs;
    QMultiHash<int, Taskmill_Job *> m_jobsByID; ///< a project file may hold a number twice
    bool m_triesAgain = false;                  ///< TryAgainSlot() is called when the time for it has come
    bool m_isLackLogged = false;                ///< since a job has ended
};
