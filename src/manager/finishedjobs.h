// SPDX-License-Identifier: MIT
#pragma once

#include "db/workingcopystore.h"
#include "jobs/finishedjobstaker.h"
#include "jobs/jobrecord.h"
#include "manager/finishedscan.h"
#include "manager/followedoutput.h"

#include <QCache>
#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QTimer>

#include <chrono>
#include <functional>
#include <limits>

class Taskmill_Database;
class Taskmill_JobFilter;
class Taskmill_JobResults;
class Taskmill_Outbox;
struct Taskmill_FinishedJobReading;

/// The jobs that have left their queue, in the order in which they arrived. There may be a million of them:
/// their records are in the database and are read when they are asked for, apart from jobs that it does not
/// have. The tab of the window adds the table.
class Taskmill_FinishedJobs : public QObject, public Taskmill_FinishedJobsTaker
{
    Q_OBJECT

public:
    /// So many are sorted in no time; see IsRanked().
    static constexpr int FewJobs = 2000;
    static constexpr int LowestJobID = std::numeric_limits<int>::min();

    /// The outbox, which outlives this, takes the notifications of the jobs.
    explicit Taskmill_FinishedJobs(Taskmill_Outbox &outbox);
    ~Taskmill_FinishedJobs() override;
    Q_DISABLE_COPY_MOVE(Taskmill_FinishedJobs)

    [[nodiscard]] qsizetype Count() const { return m_entries.size(); }
    [[nodiscard]] int JobIDAt(qsizetype position) const { return m_entries[position].JobID; }
    /// Without its output, as are all records; see OutputOf(). It stays until another one is asked for.
    [[nodiscard]] const Taskmill_JobRecord &JobAt(qsizetype position) const;
    /// -1 when there is no such job.
    [[nodiscard]] qsizetype PositionOf(int jobID) const;
    /// Those with a higher number, one after the other. Only what follows from these columns of the stored
    /// table is wanted, or everything.
    void ForEach(const std::function<void(const Taskmill_JobRecord &job)> &take, int since = LowestJobID,
                 const QStringList &columns = {}) const;
    /// All of them, where they are known to be few.
    [[nodiscard]] QList<Taskmill_JobRecord> Jobs() const;
    /// The whole captured output of one of the jobs.
    [[nodiscard]] QString OutputOf(const Taskmill_JobRecord &job) const;
    [[nodiscard]] bool HasOutput(const Taskmill_JobRecord &job) const;
    /// Reads the same output, in UTF-8, on any thread and at any time: it is empty when the list is another
    /// one by then.
    [[nodiscard]] Taskmill_OutputText ReaderOfOutput(const Taskmill_JobRecord &job) const;

    /// Appends the job and, when a database is open, records it there, together with the notification of its
    /// client, which is sent later.
    bool AddJob(const Taskmill_JobRecord &job) override
    {
        return AddJob(job, [] {});
    }
    /// The same; what `alsoWrite` writes is part of the one change of the database.
    bool AddJob(const Taskmill_JobRecord &job, const std::function<void()> &alsoWrite);
    /// See KilnUtil_StoredOutput.
    struct OutputOfRun
    {
        QString Text;
        bool IsWhole = true;
    };
    /// Returns what reads, on any thread, what the run of a job wrote, see Taskmill_JobRecord::Run and
    /// IsOutputLeft.
    using OutputReader = std::function<std::function<OutputOfRun()>(const QString &run)>;
    void SetOutputOfRuns(const OutputReader &reader) { m_outputOfRun = reader; }
    /// Reads the results of the jobs that are added; outlives this.
    void SetResults(Taskmill_JobResults &results) { m_results = &results; }
    /// Waits for results that are not known yet, but no longer than that, and records them.
    void WaitForResults(std::chrono::milliseconds longest);
    /// Reads those of the jobs that ended last, and have none: the manager before was ended by force.
    void ReadLostResults();
    /// Writes the long outputs that are still with their runs into the rows of their jobs, so that these are
    /// whole. False when one cannot be written. One that cannot be read now stays where it is, as its row
    /// says.
    [[nodiscard]] bool TakeLeftOutputs();
    /// Nobody wants them any more.
    void GiveUpLeftOutputs();
    /// Tries again to record jobs for which that has failed.
    void RecordMissing();
    /// Makes the list that of the open database.
    void Load();
    /// The database is not touched.
    void Clear();

    /// Removes the jobs at these positions from the list and their rows from the open database, without
    /// asking: that is up to Taskmill_FinishedRemovalDialogue. The rows of many go little by little.
    void Remove(QList<int> positions);
    [[nodiscard]] bool IsRemoving() const { return !m_rowsToRemove.isEmpty(); }
    /// Removes what is left of them now.
    void FinishRemovals();

    /// Another value whenever jobs have been removed or replaced; adding one leaves it.
    [[nodiscard]] int Generation() const { return m_generation; }

    /// Whether they are so many that they are sorted by Rank(), and those are in a database.
    [[nodiscard]] bool IsRanked() const;
    /// Finds a number for each job, in the order of the list, that sorts as its value in that column of the
    /// table. They are given to the function from the event loop, unless others are asked for or the
    /// generation has changed meanwhile.
    using TakeRanks = std::function<void(const QList<quint32> &ranks)>;
    void Rank(int column, const TakeRanks &take);
    void StopRanking() { m_ranking.Cancel(); }
    /// Finds in the same way whether the filter shows each job.
    using TakeMatches = std::function<void(const QList<bool> &matches)>;
    void Match(const Taskmill_JobFilter &filter, const TakeMatches &take);
    void StopMatching() { m_matching.Cancel(); }

    /// The listing that the console prints, of those with a higher number; with a width, made to fit a
    /// terminal of so many columns.
    [[nodiscard]] QString ListingText(int width = 0, int since = LowestJobID) const;

Q_SIGNALS:
    void JobsChangedSignal();
    /// The result of that job is known now, later than its end; its place in the list is the same.
    void ResultKnownSignal(int jobID);
    /// The result of that run, see Taskmill_JobRecord::Run, is where the jobs of the project are.
    void RunStoredSignal(const QString &run);

private:
    struct Missing
    {
        qint64 key;
        std::function<void()> alsoWrite;
        qint64 notification = 0; ///< number in the outbox
    };

    /// A job whose result is still being read.
    struct Awaited
    {
        qint64 key = 0;
        qint64 notification = 0; ///< number in the outbox
    };

    class ReadingGate;

    [[nodiscard]] bool CanLeaveOutputs() const;
    [[nodiscard]] OutputOfRun ReadOutputOfRun(const QString &run) const { return m_outputOfRun(run)(); }
    /// Puts the result into the job. A number of the result when it is not known yet, else 0.
    qint64 BeginResult(Taskmill_JobRecord &job);
    void TakeResult(qint64 number, const Taskmill_JobResult &result);
    void RecordResult(const Awaited &awaited, const Taskmill_JobResult &result);
    void ForgetResults();
    /// The key of the job's row; nothing when it could not be written, -1 when no database is open.
    std::optional<qint64> Record(const Taskmill_JobRecord &job, const Missing &missing);
    [[nodiscard]] Taskmill_FinishedEntry *EntryWithKey(qint64 key);
    void Remember(Taskmill_JobRecord job, qint64 key);
    void GiveUpLeftOutput(qint64 key);
    void RemoveSomeRows(int longestMs);
    void ReportKeptRows();
    [[nodiscard]] bool IsWorthReadingAll(int since) const;
    [[nodiscard]] std::unique_ptr<Taskmill_JobRecord> Read(const Taskmill_FinishedEntry &entry) const;
    [[nodiscard]] Taskmill_FinishedScan::Task ScanOf(const Taskmill_FinishedJobReading &reading) const;

    Taskmill_Outbox &m_outbox;
    QList<Taskmill_FinishedEntry> m_entries;
    Taskmill_FinishedOrigins m_origins;
    QHash<qint64, Taskmill_JobRecord> m_held; ///< by the keys of their entries: those without a row
    qint64 m_lastHeldKey;
    mutable QCache<qint64, Taskmill_JobRecord> m_read; ///< those that were asked for last
    OutputReader m_outputOfRun;
    Taskmill_JobResults *m_results = nullptr;
    QHash<qint64, Awaited> m_awaited; ///< by the numbers of their results
    qint64 m_lastResult = 0;
    QHash<qint64, Taskmill_LeftOutput> m_leftOutputs; ///< by the keys of their rows
    QSet<qint64> m_unreadOutputs;                     ///< those of them whose rows say where they are
    QList<Missing> m_missing;                         ///< in the database
    QList<qint64> m_rowsToRemove;
    bool m_isRemovalCounted = false; ///< as one change of the project
    QTimer m_removalTimer;
    int m_generation = 0;
    Taskmill_FinishedScan m_ranking;
    Taskmill_FinishedScan m_matching;
    std::shared_ptr<ReadingGate> m_outputGate;
};
