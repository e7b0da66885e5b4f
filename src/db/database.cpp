// SPDX-License-Identifier: MIT
#include "db/database.h"

#include "db/checkpointer.h"
#include "db/databasecopy.h"
#include "db/jobfields.h"
#include "kilnutil/database_transaction.h"
#include "kilnutil/logging.h"

#include <QFile>
#include <QScopedValueRollback>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>

#include <algorithm>
#include <array>
#include <utility>

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

Taskmill_Database::~Taskmill_Database()
{
    m_checkpointer.reset();
    ForgetContent();
}

void Taskmill_Database::ForgetContent()
{
    m_notedStarts.clear();
    m_notedRuns.clear();
    m_tables.Forget();
    m_workingCopy.Forget();
    m_addedFields.Forget();
    m_generalData.Forget();
    m_jobTypes.Forget();
    m_queues.Forget();
    for (Taskmill_JobTableStore *table : m_jobTables)
        table->Forget();
}

void Taskmill_Database::Close()
{
    if (IsOpen())
        CompleteNotedStarts();
    m_tablesReady = false;
    // The checkpointer has a connection of its own to the same file.
    m_checkpointer.reset();
    ForgetContent();
    KilnUtil_Database_Foundation::Close();
}

bool Taskmill_Database::InitializeTables()
{
    if (!CreateTables())
        return false;
    const QSqlQuery noEffect{QString{}, Connection()};
    return true;
}

bool Taskmill_Database::CreateTables()
{
    if (m_tablesReady)
        return true;
    const UntrackedScope noChange{*this};
    KilnUtil_Database_Transaction transaction{*this};
    if (!transaction.HasBegun())
        return false;

    static constexpr std::array creations{
        &Taskmill_Database::CreateGeneralDataTable,    &Taskmill_Database::CreateJobTypesTable,
        &Taskmill_Database::CreateQueuesTable,         &Taskmill_Database::CreateLongJobsQueueTable,
        &Taskmill_Database::CreateShortJobsQueueTable, &Taskmill_Database::CreateQueuelessJobsTable,
        &Taskmill_Database::CreateRunningJobsTable,    &Taskmill_Database::CreateFinishedJobsTable,
        &Taskmill_Database::CreateJobsTable,
    };
    for (const auto create : creations) {
        if ((this->*create)().isEmpty()) {
            // The next call joins it and goes on with the tables that are missing.
            transaction.LeaveOpen();
            return false;
        }
    }
    m_tablesReady = transaction.Commit();
    return m_tablesReady;
}

bool Taskmill_Database::CompleteTables()
{
    m_tablesReady = false;
    return CreateTables();
}

bool Taskmill_Database::UpgradeTables()
{
    const UntrackedScope noChange{*this};
    if (!IsOpen() || !m_tablesReady)
        return false;
    KilnUtil_Database_Transaction transaction{*this};
    if (!transaction.HasBegun())
        return false;
    m_tables.AddMissingColumns();
    return transaction.Commit();
}

bool Taskmill_Database::SaveToFile(const QString &fileName, const BeforeReplacing &beforeReplacing)
{
    if (Kind() != SQLiteMemory || !Open())
        return false;
    if (!IsSQLite())
        return true;
    if (!CompleteNotedStarts())
        return false;
    sqlite3 *database = SQLiteHandle();
    return database &&
           TakeResult(LoadOrSaveDb(database, fileName.toUtf8().constData(), 1, nullptr, beforeReplacing));
}

bool Taskmill_Database::LoadFromFile(const QString &fileName, QString *reason)
{
    if (Kind() != SQLiteMemory || !QFile::exists(fileName))
        return false;
    const bool loaded =
        StoragePath().isEmpty() ? LoadIntoMemory(fileName, reason) : LoadIntoStorage(fileName, reason);
    if (!loaded)
        return false;
    m_tablesReady = true;
    UpgradeTables();
    m_addedFields.RemoveOrphans(m_jobTables);
    return true;
}

bool Taskmill_Database::LoadIntoMemory(const QString &fileName, QString *reason)
{
    if (!Open())
        return false;
    // All content is going to be replaced, so what a failed creation has left unfinished must not stand in
    // the way.
    Rollback();
    ForgetContent();
    if (!IsSQLite())
        return true;
    sqlite3 *database = SQLiteHandle();
    return database && TakeResult(LoadOrSaveDb(database, fileName.toUtf8().constData(), 0, reason));
}

bool Taskmill_Database::LoadIntoStorage(const QString &fileName, QString *reason)
{
    // The file is written in one go, without a log, and only then opened to be changed.
    Close();
    return TakeResult(Taskmill_CopyIntoFile(fileName, StoragePath(), reason)) && Open();
}

bool Taskmill_Database::IsSQLite() const
{
    return Driver() && qstrcmp(Driver()->handle().typeName(), "sqlite3*") == 0;
}

sqlite3 *Taskmill_Database::SQLiteHandle() const
{
    const QVariant handle = Driver()->handle();
    return *static_cast<sqlite3 *const *>(handle.constData());
}

bool Taskmill_Database::TakeResult(int result)
{
    if (result != SQLITE_OK)
        SetLastError(QSqlError{{}, QString::fromUtf8(sqlite3_errstr(result))});
    return result == SQLITE_OK;
}

bool Taskmill_Database::PrepareConnection()
{
    if (StoragePath().isEmpty())
        return true;
    QSqlQuery query{Connection()};
    // The checkpointer brings the base onto the disk, and later the log; the last statement is for one that
    // cannot keep up. It holds the event loop, so it comes long after the log would be begun anew if there
    // were a pause.
    const bool isInLogMode = Execute(u"PRAGMA synchronous = OFF"_s) &&
                             query.exec(u"PRAGMA journal_mode = WAL"_s) && query.next() &&
                             query.value(0).toString().compare("wal"_L1, Qt::CaseInsensitive) == 0;
    query.finish();
    return isInLogMode && Execute(u"PRAGMA synchronous = NORMAL"_s) &&
           query.exec(u"PRAGMA wal_autocheckpoint = 100000"_s);
}

void Taskmill_Database::StartCheckpoints()
{
    if (!StoragePath().isEmpty() && IsOpen())
        m_checkpointer = std::make_unique<Taskmill_Checkpointer>(StoragePath());
}

void Taskmill_Database::SyncNextChange()
{
    m_syncsNextChange = !StoragePath().isEmpty() && Execute(u"PRAGMA synchronous = FULL"_s);
}

void Taskmill_Database::GiveUpStorage()
{
    if (!StoragePath().isEmpty() && IsOpen() && IsSQLite())
        sqlite3_db_config(SQLiteHandle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
}

bool Taskmill_Database::InTransaction(const std::function<bool()> &write)
{
    if (m_isInTransaction)
        return write();
    const QList<std::pair<qint32, QString>> starts = m_notedStarts;
    const auto writeStart = [this](const auto &start) {
        return WriteStart(start.first, start.second);
    };
    if (!Transact([&] { return std::ranges::all_of(starts, writeStart) && write(); }))
        return false;
    m_notedStarts.remove(0, starts.size());
    return true;
}

bool Taskmill_Database::Transact(const std::function<bool()> &write)
{
    // The writing becomes part of the transaction that is under way.
    if (m_isInTransaction)
        return write();
    const QScopedValueRollback inside{m_isInTransaction, true};
    const auto log = m_checkpointer ? m_checkpointer->HoldLog() : std::unique_lock<std::mutex>{};
    KilnUtil_Database_Transaction transaction{*this};
    if (!transaction.HasBegun())
        return false;
    const auto countChange = [this] {
        return !TracksChanges() || m_workingCopy.CountChange();
    };
    const bool committed = write() && countChange() && transaction.Commit();
    if (std::exchange(m_syncsNextChange, false))
        Execute(u"PRAGMA synchronous = NORMAL"_s);
    if (committed) {
        if (m_checkpointer)
            m_checkpointer->NoteChange();
        return true;
    }
    m_addedFields.Forget();
    for (Taskmill_JobTableStore *table : m_jobTables)
        table->ForgetKeys();
    return false;
}

bool Taskmill_Database::Untracked(const std::function<bool()> &write)
{
    const UntrackedScope noChange{*this};
    return InTransaction(write);
}

bool Taskmill_Database::RecordStart(const Taskmill_JobRecord &job)
{
    if (!IsOpen())
        return true;
    if (!m_workingCopy.Exists())
        return Untracked([&] { return WriteStart(job.JobID, job.Run); });
    const bool isNoted = !job.Run.isEmpty() && m_notedRuns.value(job.JobID) == job.Run;
    if (!isNoted && !NoteRun(job.JobID, job.Run))
        return false;
    m_notedRuns.remove(job.JobID);
    if (m_notedStarts.isEmpty())
        QMetaObject::invokeMethod(this, &Taskmill_Database::CompleteNotedStarts, Qt::QueuedConnection);
    m_notedStarts.append({job.JobID, job.Run});
    return true;
}

bool Taskmill_Database::NoteRun(qint32 jobID, const QString &run)
{
    const UntrackedScope noChange{*this};
    if (!IsOpen() || !m_workingCopy.Exists() || !Transact([&] { return m_workingCopy.AddRun(jobID, run); }))
        return false;
    m_notedRuns.insert(jobID, run);
    return true;
}

void Taskmill_Database::ForgetNotedRun(qint32 jobID)
{
    // Where that cannot be stored, a later start finds that nobody knows the run.
    if (m_notedRuns.remove(jobID))
        Untracked([&] { return m_workingCopy.RemoveRun(jobID); });
}

bool Taskmill_Database::WriteStart(qint32 jobID, const QString &run)
{
    // Where its run is found. Its other fields are there.
    return m_addedFields.SetRunOfJob(jobID, run) && m_longJobs.RecordStart(jobID) &&
           m_shortJobs.RecordStart(jobID) && m_queuelessJobs.RecordStart(jobID);
}

bool Taskmill_Database::CompleteNotedStarts()
{
    if (m_notedStarts.isEmpty() || Untracked([] { return true; }))
        return true;
    qCWarning(Taskmill_DBLog, "The rows of jobs that have started cannot be written now: %ls",
              qUtf16Printable(LastErrorMessage()));
    return false;
}

bool Taskmill_Database::TakeUpStarts()
{
    const QHash<qint32, QString> runs = m_workingCopy.Runs();
    for (const auto &[jobID, run] : runs.asKeyValueRange()) {
        // One of an earlier version has its run in its row alone.
        if (!run.isEmpty() && !WriteStart(jobID, run))
            return false;
    }
    return true;
}

bool Taskmill_Database::ForgetRun(const Taskmill_JobRecord &job)
{
    return !IsOpen() ||
           Untracked([&] { return m_addedFields.SetOfJob(job) && m_workingCopy.RemoveRun(job.JobID); });
}

bool Taskmill_Database::RenumberJobs(const std::array<QList<Taskmill_JobRecord>, 3> &jobs,
                                     const QSet<qint32> &renumbered)
{
    return Untracked([&] {
        if (!m_longJobs.SetNumbers(jobs[0]) || !m_shortJobs.SetNumbers(jobs[1]) ||
            !m_queuelessJobs.SetNumbers(jobs[2]))
            return false;
        const auto writeFields = [&](const Taskmill_JobRecord &job) {
            return !renumbered.contains(job.JobID) || m_addedFields.SetOfJob(job);
        };
        return std::ranges::all_of(jobs, [&](const QList<Taskmill_JobRecord> &some) {
            return std::ranges::all_of(some, writeFields);
        });
    });
}

bool Taskmill_Database::InsertGeneralData(const QString &name, const QString &dataStr, bool forceNew,
                                          qint32 *outID)
{
    return m_generalData.Insert(name, dataStr, forceNew, outID);
}

int Taskmill_Database::SetGeneralData(const QString &name, const QString &dataStr)
{
    return m_generalData.Set(name, dataStr);
}

bool Taskmill_Database::GetGeneralData(const QString &name, QString &outDataStr)
{
    return m_generalData.Get(name, outDataStr);
}

bool Taskmill_Database::InsertJobType(const Taskmill_JobType &jobType, bool forceNew, qint32 *outID)
{
    return m_jobTypes.Insert(jobType, forceNew, outID);
}

bool Taskmill_Database::UpdateJobType(qint32 jobTypeID, const Taskmill_JobType &jobType)
{
    return m_jobTypes.Update(jobTypeID, jobType);
}

bool Taskmill_Database::DeleteJobType(qint32 jobTypeID)
{
    return m_jobTypes.Delete(jobTypeID);
}

Taskmill_JobType Taskmill_Database::GetJobType(qint32 jobTypeID)
{
    return m_jobTypes.Get(jobTypeID);
}

QList<Taskmill_JobType> Taskmill_Database::GetJobTypes()
{
    return m_jobTypes.GetAll();
}

bool Taskmill_Database::InsertLongJob(const Taskmill_JobRecord &job, bool forceNew, qint32 *outID)
{
    return m_longJobs.Insert(job, forceNew, outID);
}

bool Taskmill_Database::InsertShortJob(const Taskmill_JobRecord &job, bool forceNew, qint32 *outID)
{
    return m_shortJobs.Insert(job, forceNew, outID);
}

bool Taskmill_Database::InsertQueuelessJob(const Taskmill_JobRecord &job, bool forceNew, qint32 *outID)
{
    return m_queuelessJobs.Insert(job, forceNew, outID);
}

bool Taskmill_Database::InsertFinishedJob(const Taskmill_JobRecord &job, bool forceNew, qint32 *outID)
{
    // Creating tables is a transaction of its own.
    return Open() && CreateTables() && InTransaction([&] {
               return m_finishedJobs.Insert(job, forceNew, outID) && m_workingCopy.RemoveRun(job.JobID);
           });
}

QString Taskmill_Database::GetProjectField(const QString &name)
{
    return Open() ? m_addedFields.OfProject(name) : QString{};
}

bool Taskmill_Database::SetProjectField(const QString &name, const QString &value)
{
    return Open() && CreateTables() && m_addedFields.SetOfProject(name, value);
}

bool Taskmill_Database::DeleteLongJob(qint32 jobID)
{
    return InTransaction([&] { return m_longJobs.Delete(jobID) && m_workingCopy.RemoveRun(jobID); });
}

bool Taskmill_Database::DeleteShortJob(qint32 jobID)
{
    return InTransaction([&] { return m_shortJobs.Delete(jobID) && m_workingCopy.RemoveRun(jobID); });
}

bool Taskmill_Database::DeleteQueuelessJob(qint32 jobID)
{
    return InTransaction([&] { return m_queuelessJobs.Delete(jobID) && m_workingCopy.RemoveRun(jobID); });
}

bool Taskmill_Database::DeleteFinishedJob(qint32 jobID)
{
    return m_finishedJobs.DeleteAll({jobID});
}

bool Taskmill_Database::DeleteFinishedJobs(const QList<qint32> &jobIDs)
{
    return m_finishedJobs.DeleteAll(jobIDs);
}

bool Taskmill_Database::DeleteFinishedRows(const QList<qint64> &keys)
{
    return m_finishedJobs.DeleteRows(keys);
}

QList<Taskmill_JobRecord> Taskmill_Database::GetLongJobs()
{
    CompleteNotedStarts();
    return m_longJobs.GetAll();
}

QList<Taskmill_JobRecord> Taskmill_Database::GetShortJobs()
{
    CompleteNotedStarts();
    return m_shortJobs.GetAll();
}

QList<Taskmill_JobRecord> Taskmill_Database::GetQueuelessJobs()
{
    CompleteNotedStarts();
    return m_queuelessJobs.GetAll();
}

QList<Taskmill_JobRecord> Taskmill_Database::GetFinishedJobs()
{
    return m_finishedJobs.GetAll();
}

QList<Taskmill_JobRecord> Taskmill_Database::GetFinishedJobsWithoutOutputs()
{
    return m_finishedJobs.GetAllWithoutOutputs();
}

QList<Taskmill_FinishedRow> Taskmill_Database::GetFinishedRows()
{
    return m_finishedJobs.Rows();
}

std::optional<Taskmill_JobRecord> Taskmill_Database::GetFinishedJob(qint64 key)
{
    return m_finishedJobs.Get(key);
}

QString Taskmill_Database::GetFinishedJobOutput(qint64 key)
{
    return m_finishedJobs.GetOutput(key);
}

std::function<QByteArray()> Taskmill_Database::ReaderOfFinishedJobOutput(qint64 key)
{
    return m_finishedJobs.ReaderOfOutput(key);
}

bool Taskmill_Database::HasFinishedJobOutput(qint64 key)
{
    if (!IsOpen() || !IsSQLite())
        return !GetFinishedJobOutput(key).isEmpty();
    // It fails where there is no text.
    sqlite3_blob *output = nullptr;
    const bool isText = sqlite3_blob_open(SQLiteHandle(), "main", "FinishedJobs", "StdOutAndStdErr", key, 0,
                                          &output) == SQLITE_OK;
    const bool hasOutput = isText && sqlite3_blob_bytes(output) > 0;
    sqlite3_blob_close(output);
    return hasOutput;
}

bool Taskmill_Database::SetFinishedJobOutput(qint64 key, const QString &output)
{
    return m_finishedJobs.SetOutput(key, output);
}

bool Taskmill_Database::SetFinishedJobResult(qint32 jobID, const Taskmill_JobResult &result)
{
    return m_addedFields.SetResultOfJob(jobID, result);
}

QList<qint64> Taskmill_Database::GetTimesOfFinishedJobs(qint32 jobTypeID)
{
    QList<qint64> seconds;
    if (!Open())
        return seconds;
    // The index on the type holds the keys in their order.
    QSqlQuery query{Connection()};
    query.setForwardOnly(true);
    if (!query.exec(u"SELECT Status, Started, Finished FROM FinishedJobs WHERE JobTypeID = %1 "
                    "ORDER BY FinishedJobID DESC LIMIT 100"_s.arg(jobTypeID)))
        return seconds;
    while (query.next()) {
        const auto started = Taskmill_JobTime::FromIsoText(query.value(1).toString());
        const auto finished = Taskmill_JobTime::FromIsoText(query.value(2).toString());
        const bool isCompleted =
            Taskmill_JobStatusFromText(query.value(0).toString()) == Taskmill_JobStatus::Completed;
        if (isCompleted && started.isValid() && finished >= started)
            seconds.append(finished.SecondsSince(started));
    }
    return seconds;
}

bool Taskmill_Database::SetInputHashes(const QHash<qint32, QString> &hashes)
{
    return Open() && Untracked([&] {
               return std::all_of(hashes.keyValueBegin(), hashes.keyValueEnd(), [this](const auto &entry) {
                   return AddedFields().SetOne(Connection(), Taskmill_FieldOwner::Job, entry.first,
                                               Taskmill_InputHashField, entry.second);
               });
           });
}

bool Taskmill_Database::SetFieldsOfWaitingJobs(const QList<Taskmill_JobRecord> &jobs)
{
    return Open() && InTransaction([&] {
               return std::ranges::all_of(jobs, [this](const Taskmill_JobRecord &job) {
                   return AddedFields().Set(Connection(), Taskmill_FieldOwner::Job, job.JobID,
                                            Taskmill_FieldsOfJob(job));
               });
           });
}

std::unique_ptr<Taskmill_FinishedJobReader>
Taskmill_Database::MakeFinishedJobReader(const Taskmill_FinishedJobReading &reading)
{
    return m_finishedJobs.MakeReader(reading);
}

QHash<qint32, Taskmill_AddedFields::Fields> Taskmill_Database::GetAddedFieldsOfJobs(const QString &jobIDs)
{
    CompleteNotedStarts();
    return m_addedFields.OfJobs(jobIDs);
}

qint32 Taskmill_Database::LargestJobID()
{
    qint32 largest = -1;
    if (!Open())
        return largest;
    for (Taskmill_JobTableStore *table : m_jobTables)
        largest = std::max(largest, table->LargestJobID());
    return largest;
}

bool Taskmill_Database::InsertQueue(const QString &name, qint32 maxRunningJobs, qint32 *outID)
{
    return m_queues.Insert(name, maxRunningJobs, outID);
}

qint32 Taskmill_Database::GetQueueID(const QString &name)
{
    return m_queues.GetID(name);
}

qint32 Taskmill_Database::GetMaxRunningJobs(const QString &name)
{
    return m_queues.GetMaxRunningJobs(name);
}

bool Taskmill_Database::SetMaxRunningJobs(const QString &name, qint32 maxRunningJobs)
{
    return m_queues.SetMaxRunningJobs(name, maxRunningJobs);
}
