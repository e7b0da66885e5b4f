// SPDX-License-Identifier: MIT
#pragma once

#include "db/addedfieldsstore.h"
#include "db/checkpointer.h"
#include "db/databasetables.h"
#include "db/finishedjobstore.h"
#include "db/generaldatastore.h"
#include "db/jobtypestore.h"
#include "db/queuedjobstore.h"
#include "db/queuestore.h"
#include "db/workingcopystore.h"
#include "kilnutil/database_foundation.h"

#include <array>
#include <functional>
#include <memory>

struct sqlite3;

/// The job database: its tables, and the records of job types, queues, jobs and general values, which a store
/// for each table writes and reads. Every write is one transaction. Operations report failure by their result
/// alone, apart from the warning that a table cannot be created. Insertions open the connection and create
/// missing tables, reading only opens it, updates and deletions of job types and jobs need it open.
class Taskmill_Database final : public KilnUtil_Database_Foundation
{
    Q_OBJECT

public:
    /// Called with the stamp of what is about to take a file's place; false gives the saving up.
    using BeforeReplacing = std::function<bool(const QString &stamp)>;

    using KilnUtil_Database_Foundation::KilnUtil_Database_Foundation;
    ~Taskmill_Database() override;
    Q_DISABLE_COPY_MOVE(Taskmill_Database)

    void Close() override;

    bool InitializeTables() override;
    /// Creates the tables that are missing. A failure leaves what was created so far in an open transaction;
    /// a later call goes on from there. The connection must be open.
    bool CreateTables() override;
    /// The same for a database that was loaded from a file, which may lack tables.
    bool CompleteTables();
    /// Adds the columns that earlier versions did not have. False before CreateTables() or LoadFromFile().
    bool UpgradeTables() override;

    /// Each returns the table's name, also when the table was there already; an empty text on failure, which
    /// is reported to the user.
    QString CreateGeneralDataTable() { return m_tables.Create(Taskmill_Table::GeneralData); }
    QString CreateJobTypesTable() { return m_tables.Create(Taskmill_Table::JobTypes); }
    QString CreateQueuesTable() { return m_tables.Create(Taskmill_Table::Queues); }
    QString CreateLongJobsQueueTable() { return m_tables.Create(Taskmill_Table::LongJobsQueue); }
    QString CreateShortJobsQueueTable() { return m_tables.Create(Taskmill_Table::ShortJobsQueue); }
    QString CreateQueuelessJobsTable() { return m_tables.Create(Taskmill_Table::QueuelessJobs); }
    QString CreateRunningJobsTable() { return m_tables.Create(Taskmill_Table::RunningJobs); }
    QString CreateFinishedJobsTable() { return m_tables.Create(Taskmill_Table::FinishedJobs); }
    QString CreateJobsTable() { return m_tables.Create(Taskmill_Table::Jobs); }

    /// Writes the whole in-memory database to the file, replacing it wholly or not at all. False for any
    /// other kind. What a working copy knows beside its project is left out.
    bool SaveToFile(const QString &fileName, const BeforeReplacing &beforeReplacing = {});
    /// Replaces the whole in-memory database by the file's and upgrades it; on failure the content stays as
    /// it was, and `reason` receives what is wrong with the file, in sentences for the user, or an empty text
    /// when no more is known than LastErrorMessage(). No query or model may be active on the connection.
    /// Neither sets FilePath() nor counts as a change. With a storage path, content that was there before is
    /// gone in any case.
    bool LoadFromFile(const QString &fileName, QString *reason = nullptr);

    /// outID, here and below, receives the row's key when it is given: the new one, or that of the row of the
    /// same name which makes an insertion without forceNew do nothing.
    /// Everything that is written meanwhile is one change: all of it is there, or nothing. False when it is
    /// undone.
    bool AsOneChange(const std::function<bool()> &write) { return InTransaction(write); }
    /// The same without a change of the project.
    bool Untracked(const std::function<bool()> &write);
    /// What a working copy knows beside its project; nothing where the content is in memory.
    [[nodiscard]] Taskmill_WorkingCopyStore &WorkingCopy() { return m_workingCopy; }
    /// What is committed from now on is brought onto the disk in the background. Only with a storage path.
    void StartCheckpoints();
    /// The number of what was committed last, and whether everything up to such a number is on the disk.
    /// Without checkpoints it counts as stored.
    [[nodiscard]] qint64 LastCommit() const { return m_checkpointer ? m_checkpointer->LastChange() : 0; }
    [[nodiscard]] bool IsStored(qint64 commit) const
    {
        return !m_checkpointer || commit > m_checkpointer->LastChange() || m_checkpointer->IsStored(commit);
    }
    /// What was committed is on the disk when the next transaction has been committed.
    void SyncNextChange();
    /// The storage is about to be removed: closing it need not bring anything into it.
    void GiveUpStorage();

    /// A job of the three places where jobs wait is about to be started. It is no change of the project.
    /// False when that cannot be written. Where there is a working copy, one line there is enough for the
    /// job to be started; its row follows with the next transaction, at the end of this turn of the event
    /// loop at the latest.
    bool RecordStart(const Taskmill_JobRecord &job);
    /// The same as the one line of it, for a job that is to be started soon; false where there is none. What
    /// is not started is forgotten again.
    bool NoteRun(qint32 jobID, const QString &run);
    void ForgetNotedRun(qint32 jobID);
    /// Brings into the rows what a program that was ended had only noted of starts. In a transaction.
    bool TakeUpStarts();
    /// The job, which waits, has no run any more. No change of the project either.
    bool ForgetRun(const Taskmill_JobRecord &job);
    /// Gives the waiting jobs, which are those of GetLongJobs() and so on in their order, their numbers, and
    /// writes what no table has a column for of those that are renumbered. No change of the project.
    bool RenumberJobs(const std::array<QList<Taskmill_JobRecord>, 3> &jobs, const QSet<qint32> &renumbered);

    bool InsertGeneralData(const QString &name, const QString &dataStr, bool forceNew,
                           qint32 *outID = nullptr);
    /// 1 for success, 0 for failure. Neither text may hold a single quote: it makes the update of a row that
    /// is there already fail unnoticed.
    int SetGeneralData(const QString &name, const QString &dataStr);
    /// False, with outDataStr untouched, when there is no such name.
    bool GetGeneralData(const QString &name, QString &outDataStr);

    bool InsertJobType(const Taskmill_JobType &jobType, bool forceNew, qint32 *outID = nullptr);
    /// A text with a single quote leaves the row as it was, and the result still says success.
    bool UpdateJobType(qint32 jobTypeID, const Taskmill_JobType &jobType);
    /// Job rows of that type stay.
    bool DeleteJobType(qint32 jobTypeID);
    /// An empty record when there is no such key.
    [[nodiscard]] Taskmill_JobType GetJobType(qint32 jobTypeID);
    [[nodiscard]] QList<Taskmill_JobType> GetJobTypes();

    /// With everything but the run number: what the table has no column for goes into one of its own.
    bool InsertLongJob(const Taskmill_JobRecord &job, bool forceNew, qint32 *outID = nullptr);
    bool InsertShortJob(const Taskmill_JobRecord &job, bool forceNew, qint32 *outID = nullptr);
    bool InsertQueuelessJob(const Taskmill_JobRecord &job, bool forceNew, qint32 *outID = nullptr);
    bool InsertFinishedJob(const Taskmill_JobRecord &job, bool forceNew, qint32 *outID = nullptr);

    /// A value of the project that no table has a column for; empty when there is none.
    [[nodiscard]] QString GetProjectField(const QString &name);
    bool SetProjectField(const QString &name, const QString &value);

    /// By job number, not by the table's own key; a number that is not there succeeds. The last row of a job
    /// takes with it what no table has a column for.
    bool DeleteLongJob(qint32 jobID);
    bool DeleteShortJob(qint32 jobID);
    bool DeleteQueuelessJob(qint32 jobID);
    bool DeleteFinishedJob(qint32 jobID);
    bool DeleteFinishedJobs(const QList<qint32> &jobIDs);
    /// By the table's own keys, which are in rising order.
    bool DeleteFinishedRows(const QList<qint64> &keys);

    /// All rows in table order, those of a queue whose jobs were moved in their order. A row whose job type
    /// was deleted gets a type without a name, made of what the row itself says. Finished jobs have the
    /// program and the command line that ran.
    [[nodiscard]] QList<Taskmill_JobRecord> GetLongJobs();
    [[nodiscard]] QList<Taskmill_JobRecord> GetShortJobs();
    [[nodiscard]] QList<Taskmill_JobRecord> GetQueuelessJobs();
    [[nodiscard]] QList<Taskmill_JobRecord> GetFinishedJobs();
    /// The same without their outputs, as all of these together may be larger than the memory.
    [[nodiscard]] QList<Taskmill_JobRecord> GetFinishedJobsWithoutOutputs();
    /// The keys and numbers of the finished jobs, in table order, which are read once.
    [[nodiscard]] QList<Taskmill_FinishedRow> GetFinishedRows();
    /// One finished job by the table's own key, without its output, and with its job type as it was when the
    /// rows were read.
    [[nodiscard]] std::optional<Taskmill_JobRecord> GetFinishedJob(qint64 key);
    [[nodiscard]] QString GetFinishedJobOutput(qint64 key);
    /// Reads the same in UTF-8, on any thread. The database is not closed meanwhile.
    [[nodiscard]] std::function<QByteArray()> ReaderOfFinishedJobOutput(qint64 key);
    /// Reads none of it, as it may be long.
    [[nodiscard]] bool HasFinishedJobOutput(qint64 key);
    /// Belongs to a transaction.
    bool SetFinishedJobOutput(qint64 key, const QString &output);
    /// By job number; belongs to a transaction, too.
    bool SetFinishedJobResult(qint32 jobID, const Taskmill_JobResult &result);
    /// How long the last hundred jobs of that type took, in s, those of them that have completed.
    [[nodiscard]] QList<qint64> GetTimesOfFinishedJobs(qint32 jobTypeID);
    /// What reads many of them, with these columns or, when none is named, all but the output.
    [[nodiscard]] std::unique_ptr<Taskmill_FinishedJobReader>
    MakeFinishedJobReader(const Taskmill_FinishedJobReading &reading = {});
    /// Stores what the inputs of waiting jobs had, of each number, which is no change of the user's.
    bool SetInputHashes(const QHash<qint32, QString> &hashes);
    /// Writes what no table has a column for, of jobs that wait, as one change.
    bool SetFieldsOfWaitingJobs(const QList<Taskmill_JobRecord> &jobs);
    /// What no table has a column for, of these jobs: numbers with commas, or a statement; all by default.
    [[nodiscard]] QHash<qint32, Taskmill_AddedFields::Fields>
    GetAddedFieldsOfJobs(const QString &jobIDs = QStringLiteral("SELECT OwnerID FROM AddedFields"));
    /// The largest job number of the four job tables; -1 when they hold none.
    [[nodiscard]] qint32 LargestJobID();

    /// A queue whose name exists is not inserted again.
    bool InsertQueue(const QString &name, qint32 maxRunningJobs, qint32 *outID = nullptr);
    /// -1 when unknown, as GetMaxRunningJobs().
    [[nodiscard]] qint32 GetQueueID(const QString &name);
    [[nodiscard]] qint32 GetMaxRunningJobs(const QString &name);
    bool SetMaxRunningJobs(const QString &name, qint32 maxRunningJobs);

protected:
    [[nodiscard]] bool PrepareConnection() override;

private:
    friend class Taskmill_TableStore;
    friend class Taskmill_JobTableStore;
    friend class Taskmill_WorkingCopyStore;

    bool LoadIntoMemory(const QString &fileName, QString *reason);
    bool LoadIntoStorage(const QString &fileName, QString *reason);
    [[nodiscard]] bool IsSQLite() const;
    [[nodiscard]] sqlite3 *SQLiteHandle() const;
    /// Keeps what an SQLite result code says; true for success.
    bool TakeResult(int result);
    void ForgetContent();
    /// What is written of one operation, in one transaction; false undoes all of it.
    bool InTransaction(const std::function<bool()> &write);
    /// The same, of this alone.
    bool Transact(const std::function<bool()> &write);
    bool WriteStart(qint32 jobID, const QString &run);
    /// The rows of what has started since the last transaction, which the next one writes; true without any.
    bool CompleteNotedStarts();
    Taskmill_AddedFields &AddedFields() { return m_addedFields.All(); }
    /// Inside a transaction: removes what no table has a column for, of the jobs that are in no table any
    /// more.
    bool RemoveFieldsOfGoneJobs(const QList<qint32> &jobIDs)
    {
        return m_addedFields.RemoveOfGoneJobs(jobIDs, m_jobTables);
    }

    bool m_tablesReady = false;
    bool m_isInTransaction = false;
    bool m_syncsNextChange = false;
    /// Jobs that have started, with their runs, whose rows do not say so yet.
    QList<std::pair<qint32, QString>> m_notedStarts;
    QHash<qint32, QString> m_notedRuns; ///< of jobs that have not started yet
    std::unique_ptr<Taskmill_Checkpointer> m_checkpointer;
    Taskmill_DatabaseTables m_tables{*this};
    Taskmill_WorkingCopyStore m_workingCopy{*this};
    Taskmill_AddedFieldsStore m_addedFields{*this};
    Taskmill_GeneralDataStore m_generalData{*this};
    Taskmill_JobTypeStore m_jobTypes{*this};
    Taskmill_QueueStore m_queues{*this};
    Taskmill_QueuedJobStore m_longJobs{*this, Taskmill_Table::LongJobsQueue, QStringLiteral("LongJobID"),
                                       Taskmill_NamesOf(Taskmill_Destination::Long).Stored};
    Taskmill_QueuedJobStore m_shortJobs{*this, Taskmill_Table::ShortJobsQueue, QStringLiteral("ShortJobID"),
                                        Taskmill_NamesOf(Taskmill_Destination::Short).Stored};
    Taskmill_QueuedJobStore m_queuelessJobs{*this, Taskmill_Table::QueuelessJobs,
                                            QStringLiteral("QueuelessJobID"),
                                            Taskmill_NamesOf(Taskmill_Destination::Queueless).Stored};
    Taskmill_FinishedJobStore m_finishedJobs{*this};
    const std::array<Taskmill_JobTableStore *, 4> m_jobTables{&m_longJobs, &m_shortJobs, &m_queuelessJobs,
                                                              &m_finishedJobs};
};
