// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/finishedjobstaker.h"
#include "jobs/jobrecord.h"
#include "manager/finishedoutputs.h"
#include "manager/finishedrowremoval.h"
#include "manager/finishedscan.h"

#include <QCache>
#include <QHash>
#include <QList>
#include <QObject>

#include <chrono>
#include <functional>
#include <limits>

class Taskmill_Database;
class Taskmill_JobFilter;
class Taskmill_JobResults;
class Taskmill_Outbox;
struct Taskmill_FinishedJobReading;

/// How far somebody has come who reads finished jobs in several steps; a new one is the beginning.
struct Taskmill_FinishedPlace
{
    qsizetype Position = 0;
    qint64 Key = std::numeric_limits<qint64>::min(); ///< of the entry before
    int Generation = -1;
    int Content = 0;
};

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
    /// Whether the result of the job at that position is still being read.
    [[nodiscard]] bool IsResultAwaited(qsizetype position) const;
    /// Those with a higher number, one after the other. Only what follows from these columns of the stored
    /// table is wanted, or everything.
    void ForEach(const std::function<void(const Taskmill_JobRecord &job)> &take, int since = LowestJobID,
                 const QStringList &columns = {}) const;
    /// The next ones behind the place, which is moved, whatever has come and gone since the last call. Looks
    /// at so many entries; false when there are no more, or the project is another one.
    [[nodiscard]] bool ForSome(Taskmill_FinishedPlace &place, int count,
                               const std::function<void(const Taskmill_JobRecord &job)> &take,
                               int since = LowestJobID) const;
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
    /// Where the outputs of these jobs are.
    [[nodiscard]] Taskmill_FinishedOutputs &Outputs() { return m_outputs; }
    /// Reads the results of the jobs that are added; outlives this.
    void SetResults(Taskmill_JobResults &results);
    /// Waits for results that are not known yet, but no longer than that, and records them.
    void WaitForResults(std::chrono::milliseconds longest);
    /// Reads the results of the newest jobs that have none: the manager before was ended by force.
    void ReadLostResults();
    /// Tries again to record jobs for which that has failed.
    void RecordMissing();
    /// Makes the list that of the open database.
    void Load();
    /// Empties the list; the database is not touched.
    void Clear();

    /// Removes the jobs at these positions from the list and their rows from the open database, without
    /// asking: that is up to Taskmill_FinishedRemovalDialogue. The rows of many go little by little.
    void Remove(QList<int> positions);
    [[nodiscard]] bool IsRemoving() const { return m_rowRemoval.IsAtWork(); }
    /// Removes at once the rows of removed jobs that are still there.
    void FinishRemovals() { m_rowRemoval.Finish(); }

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
    /// The result of a job is no longer awaited, whatever it is.
    void ResultSettledSignal();
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

    /// Puts the result into the job. A number of the result when it is not known yet, else 0.
    qint64 BeginResult(Taskmill_JobRecord &job);
    void TakeResult(qint64 number, const Taskmill_JobResult &result);
    void RecordResult(const Awaited &awaited, const Taskmill_JobResult &result);
    void ForgetResults();
    /// The key of the job's row; nothing when it could not be written, -1 when no database is open.
    std::optional<qint64> Record(const Taskmill_JobRecord &job, const Missing &missing);
    [[nodiscard]] Taskmill_FinishedEntry *EntryWithKey(qint64 key);
    void Remember(Taskmill_JobRecord job, qint64 key);
    [[nodiscard]] bool IsWorthReadingAll(int since) const;
    [[nodiscard]] qsizetype PositionAt(const Taskmill_FinishedPlace &place) const;
    [[nodiscard]] std::unique_ptr<Taskmill_JobRecord> Read(const Taskmill_FinishedEntry &entry) const;
    [[nodiscard]] Taskmill_FinishedScan::Task ScanOf(const Taskmill_FinishedJobReading &reading) const;

    Taskmill_Outbox &m_outbox;
    QList<Taskmill_FinishedEntry> m_entries;
    Taskmill_FinishedOrigins m_origins;
    QHash<qint64, Taskmill_JobRecord> m_held; ///< by the keys of their entries: those without a row
    qint64 m_lastHeldKey;
    mutable QCache<qint64, Taskmill_JobRecord> m_read; ///< those that were asked for last
    Taskmill_FinishedOutputs m_outputs;
    Taskmill_JobResults *m_results = nullptr;
    QHash<qint64, Awaited> m_awaited; ///< by the numbers of their results
    qint64 m_lastResult = 0;
    QList<Missing> m_missing; ///< in the database
    Taskmill_FinishedRowRemoval m_rowRemoval;
    int m_generation = 0;
    int m_content = 0; ///< another value for another project
    Taskmill_FinishedScan m_ranking;
    Taskmill_FinishedScan m_matching;
};
