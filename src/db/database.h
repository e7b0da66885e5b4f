// SPDX-License-Identifier: MIT
#pragma once

#include "db/addedfields.h"
#include "db/databasestatements.h"
#include "jobs/jobrecord.h"
#include "kilnutil/database_foundation.h"

#include <QHash>
#include <QMultiHash>

#include <functional>
#include <optional>

class Taskmill_RecordFields;
enum class Taskmill_Table;

/// The job database: its tables, and the records of job types, queues, jobs and general values. Every write
/// is one transaction. Operations report failure by their result alone, apart from the warning that a table
/// cannot be created. Insertions open the connection and create missing tables, reading only opens it,
/// updates and deletions of job types and jobs need it open.
class Taskmill_Database final : public KilnUtil_Database_Foundation
{
    Q_OBJECT

public:
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
    QString CreateGeneralDataTable();
    QString CreateJobTypesTable();
    QString CreateQueuesTable();
    QString CreateLongJobsQueueTable();
    QString CreateShortJobsQueueTable();
    QString CreateQueuelessJobsTable();
    QString CreateRunningJobsTable();
    QString CreateFinishedJobsTable();
    QString CreateJobsTable();

    /// Writes the whole in-memory database to the file, replacing it wholly or not at all. False for any
    /// other kind.
    bool SaveToFile(const QString &fileName);
    /// Replaces the whole in-memory database by the file's and upgrades it; on failure the content stays as
    /// it was, and `reason` receives what is wrong with the file, in sentences for the user, or an empty text
    /// when no more is known than LastErrorMessage(). No query or model may be active on the connection.
    /// Neither sets FilePath() nor counts as a change.
    bool LoadFromFile(const QString &fileName, QString *reason = nullptr);

    /// outID, here and below, receives the row's key when it is given: the new one, or that of the row of the
    /// same name which makes an insertion without forceNew do nothing.
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

    /// By job number, not by the table's own key; a number that is not there succeeds. The last row of a job
    /// takes with it what no table has a column for.
    bool DeleteLongJob(qint32 jobID);
    bool DeleteShortJob(qint32 jobID);
    bool DeleteQueuelessJob(qint32 jobID);
    bool DeleteFinishedJob(qint32 jobID);
    bool DeleteFinishedJobs(const QList<qint32> &jobIDs);

    /// All rows in table order. A row whose job type was deleted gets a type without a name, made of what the
    /// row itself says. Finished jobs have the program and the command line that ran.
    [[nodiscard]] QList<Taskmill_JobRecord> GetLongJobs();
    [[nodiscard]] QList<Taskmill_JobRecord> GetShortJobs();
    [[nodiscard]] QList<Taskmill_JobRecord> GetQueuelessJobs();
    [[nodiscard]] QList<Taskmill_JobRecord> GetFinishedJobs();
    /// The same with no more than so many characters of each output, as all of them together may be larger
    /// than the memory.
    [[nodiscard]] QList<Taskmill_JobRecord> GetFinishedJobsWithShortOutputs(int longestOutput);
    /// The captured output of the finished job of that number; empty when there is none.
    [[nodiscard]] QString GetFinishedJobOutput(qint32 jobID);
    /// The largest job number of the four job tables; -1 when they hold none.
    [[nodiscard]] qint32 LargestJobID();

    /// A queue whose name exists is not inserted again.
    bool InsertQueue(const QString &name, qint32 maxRunningJobs, qint32 *outID = nullptr);
    /// -1 when unknown, as GetMaxRunningJobs().
    [[nodiscard]] qint32 GetQueueID(const QString &name);
    [[nodiscard]] qint32 GetMaxRunningJobs(const QString &name);
    bool SetMaxRunningJobs(const QString &name, qint32 maxRunningJobs);

private:
    using KeysOfJobs = QMultiHash<qint32, qint32>;

    QString CreateTable(Taskmill_Table table);
    bool CopyFile(const QString &fileName, bool isSave, QString *reason);
    void RemoveOrphanedFields();
    bool IsOpenAndReady();
    void ForgetContent();
    /// What is written of one operation, in one transaction; false undoes all of it.
    using Writing = std::function<bool()>;
    bool InTransaction(const Writing &write);
    bool RunPrepared(const QString &statement, const QVariantList &values);
    bool InsertKeyed(const QString &table, Taskmill_RecordFields fields, const QString &name, bool forceNew,
                     qint32 *outID, const Writing &writeMore = {});
    QSqlQuery *InsertStatement(const QString &table, const QStringList &columns);
    std::optional<qint64> FindName(const QString &table, const QString &keyColumn, const QString &name);
    std::optional<qint64> SelectInteger(const QString &statement);
    bool ExecuteInTransaction(const QString &statement);
    bool InsertJob(Taskmill_Table table, const Taskmill_RecordFields &fields, const Taskmill_JobRecord &job,
                   bool forceNew, qint32 *outID);
    bool InsertQueuedJob(Taskmill_Table table, const Taskmill_JobRecord &job, bool forceNew, qint32 *outID);
    bool DeleteJob(Taskmill_Table table, qint32 jobID);
    bool DeleteRows(Taskmill_Table table, qint32 jobID);
    bool DeleteFinishedRows(const QList<qint32> &jobIDs);
    bool RemoveFieldsOfGoneJobs(const QList<qint32> &jobIDs);
    Taskmill_AddedFields &AddedFields();
    KeysOfJobs &KeysIn(Taskmill_Table table);
    QString ColumnsToRead(Taskmill_Table table);
    QList<Taskmill_JobRecord> GetJobs(Taskmill_Table table, const QString &queueName,
                                      std::optional<int> longestOutput = {});
    qint32 GetQueueValue(const QString &name, const QString &column);

    bool m_tablesReady = false;
    Taskmill_DatabaseStatements m_statements;
    Taskmill_AddedFields m_addedFields;
    std::optional<QList<Taskmill_JobType>> m_jobTypes; ///< nothing while they have to be read
    /// The rows of each job number, of the tables that were asked for: no table has an index on the number.
    QHash<Taskmill_Table, KeysOfJobs> m_keysOfJobs;
};
