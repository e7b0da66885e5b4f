// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobrecord.h"

#include <QObject>

class KilnUtil_Process;
class QFile;
class Taskmill_Notifier;
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

    /// Whether the job waits for the user's word although nothing else keeps it from running.
    [[nodiscard]] bool IsHeld() const { return m_held; }
    void SetHeld(bool held) { m_held = held; }

    /// The live process; nullptr when the job does not run.
    [[nodiscard]] KilnUtil_Process *Process() const { return m_process; }
    /// The operating system's number of the live process; 0 when there is none.
    [[nodiscard]] qint64 ProcessID() const;

    /// Makes the process and starts it. False when the file for its standard input cannot be opened: the job
    /// then stays Running without a process, and its output says why. A program that cannot be started ends
    /// the job as Failed, through the signal, and so does a standard input that cannot be written.
    /// The notifier, which reaches the job's client, outlives the job.
    bool Start(Taskmill_Notifier &notifier);

    /// Ends a running job and everything it started; it is Killed, and its client notified, when this
    /// returns. False, and nothing done, for a job that does not run.
    bool Kill(Taskmill_ProcessInspector &inspector);

    /// Takes over what the process has written so far and returns it.
    QString GatherOutput();
    /// The same without keeping it: the captured output as it is now, and whether there is any.
    [[nodiscard]] QString OutputNow() const;
    [[nodiscard]] bool HasOutput() const;

public Q_SLOTS:
    /// The process has ended, or there was none. The argument plays no part: the process is asked.
    void ProcessFinishedSlot(bool status);

Q_SIGNALS:
    /// Once for each run, when the final status is set.
    void JobFinishedSignal();

private:
    [[nodiscard]] Taskmill_JobStatus FinalStatus() const;
    [[nodiscard]] QString WorkingDirectory() const;
    [[nodiscard]] QString StandardInputDirectory() const;
    bool OpenStandardInput(QFile &file) const;
    void MakeProcess(const struct Taskmill_LaunchPlan &plan, const QString &standardInputFile);
    /// Fails the job a little later, as a process that could not be started would.
    void EndWithoutProcess(const QString &reason);
    bool SendJobFinishedNotification(int exitCode) const;

    Taskmill_JobRecord m_record;
    KilnUtil_Process *m_process = nullptr;   ///< owned
    Taskmill_Notifier *m_notifier = nullptr; ///< of the run
    bool m_held = false;
};
