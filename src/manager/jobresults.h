// SPDX-License-Identifier: MIT
#pragma once

#include "engines/programresult.h"
#include "jobs/jobresult.h"
#include "jobs/jobstarts.h"
#include "jobs/jobstatus.h"
#include "manager/followedoutput.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class KilnUtil_RunKeepers;
class Taskmill_Job;
class Taskmill_ResultWorker;
struct Taskmill_ResultReport;
struct Taskmill_JobRecord;

/// Reads what the outputs of jobs say of their calculations: of running jobs while their outputs grow, of
/// others when they have ended. One thread reads all of them, each byte once, some of each in turn, so that
/// no file and no drive holds up anything but other results.
///
/// The output of a job is its output file, where the job has changed that since it started and it is of a
/// known program, else what the job prints.
class Taskmill_JobResults final : public QObject, public Taskmill_JobStarts
{
    Q_OBJECT

public:
    /// How often the output of a running job is looked at. One that does not grow, or is of no known program,
    /// is looked at less often, and jobs that end before the first look cost nothing.
    static constexpr std::chrono::milliseconds Interval{1000};

    /// The keepers, if there are any, outlive this.
    explicit Taskmill_JobResults(KilnUtil_RunKeepers *keepers, std::chrono::milliseconds interval = Interval);
    ~Taskmill_JobResults() override;
    Q_DISABLE_COPY_MOVE(Taskmill_JobResults)

    /// What the output of a running job says so far; null for a job that does not run, or whose output is of
    /// no program that is known, or not yet.
    [[nodiscard]] Taskmill_ResultState StateOf(int jobID) const;

    /// Called with what was read so far, some times a second, and at last with everything. The state, which
    /// is not null, is of no program where the output is of none that is known.
    using Progress = std::function<void(const Taskmill_ResultState &state, bool isComplete)>;
    /// Reads the output of a job that has ended once more, for what is not stored with it: all energies, and
    /// the cycles of the last SCF. A file that was changed after the end of the job is not its output any
    /// more. `printed` is what the job printed, see Taskmill_FinishedJobs::ReaderOfOutput(); null stands for
    /// nothing. Nothing is called when the context is gone. A number for GiveUp().
    qint64 ReadEnded(const Taskmill_JobRecord &job, const Taskmill_OutputText &printed, QObject *context,
                     const Progress &progress);
    /// Does nothing for a reading that is complete.
    void GiveUp(qint64 reading);

    using Done = std::function<void(const Taskmill_JobResult &result)>;
    /// The result of a job that has just ended, when it is known without a file; else `done` is called with
    /// it from the event loop. What a program says because it is killed is no error.
    [[nodiscard]] std::optional<Taskmill_JobResult> ResultOfEnded(const Taskmill_JobRecord &job,
                                                                  const Done &done);
    /// The output of that run, which was left with it, has been taken away: this is it.
    void TakeLeftOutput(const QString &run, const QString &output);
    /// Waits for the results of the jobs that have ended, but no longer than that, and gives them to whoever
    /// waits for them. False when some are still not known.
    bool WaitForEnded(std::chrono::milliseconds longest);
    /// Nobody waits for any result any more.
    void Forget();

    void JobStarts(const Taskmill_Job &job) override;
    void JobIsTakenOver(const Taskmill_Job &job) override;

Q_SIGNALS:
    /// StateOf() that job is another; once in an interval at most.
    void StateChangedSignal(int jobID);

private:
    /// Of a job that runs.
    struct Running
    {
        qint64 Number = 0;
        QPointer<const Taskmill_Job> Job;
        Taskmill_ResultState State{};
        bool HasFiles = false;   ///< which the thread has looked at
        bool IsFollowed = false; ///< so is what it prints
        qint64 Taken = 0;        ///< of that, where it is in the memory of this program
    };
    /// Of a job that has ended.
    struct Ended
    {
        QString Run;
        Taskmill_JobStatus Status = Taskmill_JobStatus::Unknown;
        Done Take;
    };
    struct Reading
    {
        QPointer<QObject> Context;
        Progress Take;
    };

    void Begin(const Taskmill_Job &job, const Taskmill_OutputFiles &files);
    void Drop(int jobID, qint64 number);
    void FollowNewSlot();
    void TakePrintedSlot();
    void TakeReportsSlot();
    void TakeReport(const Taskmill_ResultReport &report);
    [[nodiscard]] KilnUtil_PrintedReader PrintedBy(const QString &run) const;
    [[nodiscard]] Taskmill_ResultWorker &Worker();

    KilnUtil_RunKeepers *const m_keepers;
    const std::chrono::milliseconds m_interval;
    std::unique_ptr<Taskmill_ResultWorker> m_worker; ///< made when it is first needed
    qint64 m_lastNumber = 0;
    QHash<int, Running> m_running; ///< by job number
    QHash<qint64, int> m_jobs;     ///< these, by number
    QHash<qint64, Ended> m_ended;  ///< by number, as the next
    QHash<qint64, Reading> m_readings;
    QTimer m_newTimer; ///< until those that were started just now are followed
    /// Bytes that are on their way to the thread.
    const std::shared_ptr<std::atomic<qint64>> m_underWay = std::make_shared<std::atomic<qint64>>(0);
    QTimer m_printedTimer; ///< while jobs print into the memory of this program
};
