// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobrecord.h"

#include <QObject>

#include <memory>

class KilnUtil_Process;
class KilnUtil_RunKeepers;
class QFile;
struct KilnUtil_FoundRun;
class Taskmill_ProcessInspector;

/// One run of one job type on one input file (or two): the record of it, and its process while it runs.
///
/// Containers own their jobs and let go of them with deleteLater(): a job is still at work after it has
/// emitted JobFinishedSignal().
class Taskmill_Job : public QObject
{
    Q_OBJECT

public:
    /// Derives the output file when the record names none, and makes the program's path absolute.
    explicit Taskmill_Job(Taskmill_JobRecord record);
    /// A copy has everything but the process.
    Taskmill_Job(const Taskmill_Job &other);
    ~Taskmill_Job() override;
    Taskmill_Job &operator=(const Taskmill_Job &) = delete;

    /// Everything but the process is compared.
    bool operator==(const Taskmill_Job &other) const { return m_record == other.m_record; }

    [[nodiscard]] const Taskmill_JobRecord &Record() const { return m_record; }
    [[nodiscard]] int JobID() const { return m_record.JobID; }
    [[nodiscard]] Taskmill_JobStatus Status() const { return m_record.Status; }
    [[nodiscard]] bool IsFinished() const { return m_record.IsFinished(); }
    void SetStatus(Taskmill_JobStatus status, bool stamp) { m_record.SetStatus(status, stamp); }

    /// What the job is known by to those who find runs again, before it starts; see Taskmill_RunOfJob.
    void SetRun(const QString &run) { m_record.Run = run; }

    /// Whether the job waits for the user's word although nothing else keeps it from running.
    [[nodiscard]] bool IsHeld() const { return m_held; }
    void SetHeld(bool held) { m_held = held; }
    /// Whether nothing but its turn keeps a waiting job from being started; see Taskmill_StartJudge.
    [[nodiscard]] bool MayStart() const { return WaitsForTurn() && !m_isHeldForFiles; }
    /// The same, but for its files.
    [[nodiscard]] bool WaitsForTurn() const { return !m_held && m_mayStart; }
    void SetMayStart(bool mayStart) { m_mayStart = mayStart; }
    /// Of a waiting job.
    void SetOrderNumber(qint64 number) { m_record.Place = number; }
    void SetConditions(const Taskmill_StartConditions &conditions) { m_record.Conditions = conditions; }
    /// Whether it runs already, where this program does not reach it: it must not be started here.
    [[nodiscard]] bool RunsElsewhere() const { return m_runsElsewhere; }
    void SetRunsElsewhere() { m_runsElsewhere = true; }

    /// Why the job waits, for people; of a job that waits.
    void SetWaitReason(const Taskmill_WaitReason &reason);

    /// What its files have against a start, as Taskmill_StartChecker has found; an empty reason for nothing.
    void SetReasonOfFiles(const QString &reason);
    [[nodiscard]] bool IsHeldForFiles() const { return m_isHeldForFiles; }
    /// It is another job that writes one of them.
    void SetHeldForWriter(bool isHeld) { m_isHeldForWriter = isHeld; }
    [[nodiscard]] bool IsHeldForWriter() const { return m_isHeldForFiles && m_isHeldForWriter; }
    /// The user wants it to start all the same.
    void SetIgnoresFiles() { m_ignoresFiles = true; }
    [[nodiscard]] bool IgnoresFiles() const { return m_ignoresFiles; }
    /// The files that nobody else may write while it runs; see Taskmill_FileFacts::Written.
    void SetWrittenFiles(const QStringList &files) { m_writtenFiles = files; }
    [[nodiscard]] const QStringList &WrittenFiles() const { return m_writtenFiles; }
    void SetInputHash(const QString &hash) { m_record.InputHash = hash; }
    void SetInputHasChanged() { m_record.InputHasChanged = true; }

    /// The live process; nullptr when the job does not run.
    [[nodiscard]] KilnUtil_Process *Process() const { return m_process; }
    /// The operating system's number of the live process; 0 when there is none.
    [[nodiscard]] qint64 ProcessID() const;

    /// Makes the process and starts it. False when the file for its standard input cannot be opened: the job
    /// then stays Running without a process, and its output says why. A program that cannot be started ends
    /// the job as Failed, through the signal, and so does a standard input that cannot be written.
    /// One for which the system has too little of something is put off, see StartPutOffSignal().
    /// The keepers, if the job is to have one, outlive it.
    bool Start(KilnUtil_RunKeepers *keepers = nullptr);
    /// Does for a waiting job what can be done before Start(): a keeper waits with it for the word, under
    /// that number from NewRunID(). False where that cannot be had.
    bool Prepare(KilnUtil_RunKeepers &keepers, const QString &runID);
    /// That number; empty when nothing is prepared, or when anything of the job is another since.
    [[nodiscard]] QString PreparedRunID() const;
    void DropPreparation();
    /// To be called before the start, and before it is prepared.
    void SetLowPriority(bool isLow);
    /// Adds a line to the output of a job that runs.
    void Say(const QString &line);
    /// In place of the start of a job whose run was found again, and is Here: it is Running until the end of
    /// that run, which may have come already.
    void TakeOver(KilnUtil_FoundRun run);

    /// In place of a start, for a job of a cluster that nobody follows any more: its start is put off, and
    /// the next one follows it. False for any other.
    bool FollowOn();
    /// Before each start: the run to come is one of that number. False when it must not be started now.
    [[nodiscard]] bool PassRunOn(const QString &runID) const;

    /// Running without a process: it waits for another Start(), and its output says why.
    [[nodiscard]] bool IsStartPutOff() const { return m_isStartPutOff; }

    /// Ends a running job and everything it started; it is Killed when this returns. False, and nothing done,
    /// for a job that does not run.
    bool Kill(Taskmill_ProcessInspector &inspector);

    /// Whether it runs, and a keeper runs it.
    [[nodiscard]] bool IsKept() const;
    /// From BeginKill() on until nothing is left of it, or some of it survives.
    [[nodiscard]] bool IsBeingKilled() const { return m_isBeingKilled && IsKept(); }
    /// The first half of Kill() for a job that a keeper runs: it is Killed when nothing of it is
    /// left. False, and nothing done, for any other.
    bool BeginKill();
    /// A job that a keeper runs goes on without this object. False for any other.
    bool LetGoOn();

    /// Bytes that a program wrote, as a text that can be stored.
    [[nodiscard]] static QString TextOfOutput(QByteArray bytes);
    /// The captured output as it is now, and whether there is any.
    [[nodiscard]] QString OutputNow() const;
    [[nodiscard]] bool HasOutput() const;

public Q_SLOTS:
    /// The process has ended, or there was none. The argument plays no part: the process is asked.
    void ProcessFinishedSlot(bool status);

Q_SIGNALS:
    /// The system had too little of something to start the program, such as processes, memory or open files.
    void StartPutOffSignal(const QString &reason);
    /// Once for each run, when the final status is set.
    void JobFinishedSignal();
    /// These processes survive BeginKill() longer than they should; their end is still waited for.
    void RemainsSignal(const QList<qint64> &processIDs);

private:
    [[nodiscard]] Taskmill_JobStatus FinalStatus() const;
    [[nodiscard]] class Taskmill_ClusterRun ClusterRun() const;
    /// Whether the run has ended without the job that it has on a cluster.
    [[nodiscard]] bool IsToBeFollowedOn();
    void StartFollower(KilnUtil_RunKeepers *keepers);
    /// For a program that reads its standard input from a file that is written for it.
    bool StartWithInput(const struct Taskmill_LaunchPlan &plan, KilnUtil_RunKeepers *keepers);
    void RunProcess(KilnUtil_RunKeepers *keepers);
    void TakeMeasuresOf(const struct KilnUtil_RunEnd &end);
    void GatherLastOutput();
    [[nodiscard]] QString WorkingDirectory() const;
    [[nodiscard]] QString StandardInputDirectory() const;
    bool OpenStandardInput(QFile &file) const;
    void MakeProcess(const struct Taskmill_LaunchPlan &plan, const QString &standardInputFile);
    void UseNewProcess();
    void PutStartOff(const QString &reason);
    /// Fails the job a little later, as a process that could not be started would.
    void EndWithoutProcess(const QString &reason);

    Taskmill_JobRecord m_record;
    KilnUtil_Process *m_process = nullptr; ///< owned
    struct Prepared;
    std::unique_ptr<Prepared> m_prepared;
    bool m_held = false;
    bool m_mayStart = true;
    bool m_isHeldForFiles = false;
    bool m_isHeldForWriter = false;
    bool m_ignoresFiles = false;
    QStringList m_writtenFiles;
    bool m_hasLowPriority = false;
    bool m_runsElsewhere = false;
    bool m_isBeingKilled = false;
    bool m_isStartPutOff = false;
    bool m_isEndWanted = false; ///< somebody has killed it
    bool m_followsOn = false;   ///< the next start follows the job of the cluster that the record's run has
    qint64 m_followedSinceMs = 0;
    int m_quickEnds = 0;    ///< of followers that ended soon without the end of their job, in a row
    QString m_writtenInput; ///< the file for the standard input that Start() has made
};
