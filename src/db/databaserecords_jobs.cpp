// SPDX-License-Identifier: MIT
#include "db/database.h"
#include "db/databaseschema.h"
#include "db/jobfields.h"
#include "db/recordfields.h"
#include "kilnutil/logging.h"

#include <QHash>
#include <QSqlQuery>
#include <QSqlRecord>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::array jobTables{Taskmill_Table::LongJobsQueue, Taskmill_Table::ShortJobsQueue,
                               Taskmill_Table::QueuelessJobs, Taskmill_Table::FinishedJobs};

QString TableName(Taskmill_Table table)
{
    return Taskmill_DatabaseSchema().at(static_cast<int>(table)).Name;
}

QString KeyColumn(Taskmill_Table table)
{
    switch (table) {
    case Taskmill_Table::LongJobsQueue:
        return u"LongJobID"_s;
    case Taskmill_Table::ShortJobsQueue:
        return u"ShortJobID"_s;
    case Taskmill_Table::QueuelessJobs:
        return u"QueuelessJobID"_s;
    default:
        return u"FinishedJobID"_s;
    }
}

// The columns that all four job tables share, in front of Finished and behind it.
void AddLeadingFields(Taskmill_RecordFields &fields, const Taskmill_JobRecord &job)
{
    fields.AddText(u"ApplicationName"_s, job.JobType.ApplicationName);
    fields.AddText(u"ExecutablePath"_s, job.JobType.ExecutablePath);
    fields.AddText(u"InputFilePath"_s, job.InputFilePath);
    fields.AddText(u"CommandLine"_s, job.CommandLine());
    fields.AddText(u"Status"_s, Taskmill_JobStatusText(job.Status));
    fields.AddTime(u"Submitted"_s, job.Submitted);
    fields.AddTime(u"Started"_s, job.Started);
}

void AddClientFields(Taskmill_RecordFields &fields, const Taskmill_JobRecord &job)
{
    fields.AddCreationTimes();
    fields.AddInteger(u"JobID"_s, job.JobID);
    fields.AddText(u"ClientName"_s, job.ClientName);
    fields.AddText(u"ClientAppName"_s, job.ClientAppName);
    fields.AddText(u"ClientAddress"_s, job.ClientAddress);
    fields.AddInteger(u"ClientPort"_s, job.ClientPort);
    fields.AddInteger(u"ClientUID"_s, job.ClientUID);
    fields.AddInteger(u"ClientGID"_s, job.ClientGID);
}

void AddTrailingFields(Taskmill_RecordFields &fields, const Taskmill_JobRecord &job)
{
    fields.AddText(u"InputFilePath2"_s, job.InputFilePath2);
    fields.AddText(u"JobClass"_s, job.JobClass);
    fields.AddInteger(u"ClientNotification"_s, job.ClientNotification ? 1 : 0);
}

/// Reads the rows of one job table. The positions of the columns are looked up once; a column that the table
/// does not have reads as empty.
class JobReader
{
public:
    JobReader(Taskmill_Database &database, const QSqlQuery &query)
        : m_database{database}
        , m_query{query}
        , m_record{query.record()}
    {
    }

    /// Of the query's current row.
    Taskmill_JobRecord Read(const QString &queueName)
    {
        Taskmill_JobRecord job;
        job.JobClass = Text(m_jobClass);
        job.Name = Text(m_name);
        job.ClientName = Text(m_clientName);
        job.ClientAppName = Text(m_clientAppName);
        job.ClientAddress = Text(m_clientAddress);
        job.ClientPort = Value(m_clientPort).toInt();
        job.ClientUID = Value(m_clientUID).toInt();
        job.ClientGID = Value(m_clientGID).toInt();
        job.ClientNotification = Value(m_clientNotification).toInt() != 0;
        job.JobType = JobType();
        job.RecordedCommandLine = Text(m_commandLine);
        job.QueueName = m_queueID < 0 ? queueName : Taskmill_QueueNameFromKey(Value(m_queueID).toInt());
        job.InputFilePath = Text(m_inputFilePath);
        job.InputFilePath2 = Text(m_inputFilePath2);
        job.Status = Taskmill_JobStatusFromText(Text(m_status));
        job.StdOutAndStdErr = Text(m_stdOutAndStdErr);
        job.Submitted = Taskmill_JobTime::FromIsoText(Text(m_submitted));
        job.Started = Taskmill_JobTime::FromIsoText(Text(m_started));
        job.Finished = Taskmill_JobTime::FromIsoText(Text(m_finished));
        job.JobID = Value(m_jobID).toInt();
        job.DeriveOutputFile();
        return job;
    }

private:
    QVariant Value(int column) const { return column < 0 ? QVariant{} : m_query.value(column); }
    /// Most texts are those of the row before: such rows share them.
    QString Text(int column)
    {
        if (column < 0)
            return {};
        QString text = m_query.value(column).toString();
        QString &before = m_before[column];
        if (before != text)
            before = std::move(text);
        return before;
    }
    int Column(const QString &name) const { return m_record.indexOf(name); }

    Taskmill_JobType JobType()
    {
        const qint32 jobTypeID = Value(m_jobTypeID).toInt();
        auto known = m_jobTypes.constFind(jobTypeID);
        if (known == m_jobTypes.constEnd())
            known = m_jobTypes.insert(jobTypeID, m_database.GetJobType(jobTypeID));
        Taskmill_JobType jobType = *known;
        // What ran, where it is asked for. Of a job type that was deleted nothing else is known, and with
        // this the job can at least be recorded again.
        if (const QString executable = Text(m_executablePath); !executable.isEmpty()) {
            jobType.ApplicationName = Text(m_applicationName);
            jobType.ExecutablePath = executable;
        }
        if (jobType.IsEmpty()) {
            jobType.JobTypeID = jobTypeID;
            jobType.GenericCommandLine = Text(m_commandLine);
        }
        return jobType;
    }

    Taskmill_Database &m_database;
    const QSqlQuery &m_query;
    const QSqlRecord m_record;
    QList<QString> m_before{m_record.count()}; ///< the texts of the row before, by column
    QHash<qint32, Taskmill_JobType> m_jobTypes;
    const int m_name = Column(u"Name"_s);
    const int m_jobTypeID = Column(u"JobTypeID"_s);
    const int m_queueID = Column(u"QueueID"_s);
    const int m_applicationName = Column(u"ApplicationName"_s);
    const int m_executablePath = Column(u"ExecutablePath"_s);
    const int m_inputFilePath = Column(u"InputFilePath"_s);
    const int m_commandLine = Column(u"CommandLine"_s);
    const int m_status = Column(u"Status"_s);
    const int m_submitted = Column(u"Submitted"_s);
    const int m_started = Column(u"Started"_s);
    const int m_finished = Column(u"Finished"_s);
    const int m_jobID = Column(u"JobID"_s);
    const int m_clientName = Column(u"ClientName"_s);
    const int m_clientAppName = Column(u"ClientAppName"_s);
    const int m_clientAddress = Column(u"ClientAddress"_s);
    const int m_clientPort = Column(u"ClientPort"_s);
    const int m_clientUID = Column(u"ClientUID"_s);
    const int m_clientGID = Column(u"ClientGID"_s);
    const int m_stdOutAndStdErr = Column(u"StdOutAndStdErr"_s);
    const int m_inputFilePath2 = Column(u"InputFilePath2"_s);
    const int m_jobClass = Column(u"JobClass"_s);
    const int m_clientNotification = Column(u"ClientNotification"_s);
};

} // namespace

Taskmill_AddedFields &Taskmill_Database::AddedFields()
{
    // Nobody else can change a database in memory.
    if (Kind() != SQLiteMemory)
        m_addedFields.Forget();
    return m_addedFields;
}

bool Taskmill_Database::InsertJob(Taskmill_Table table, const Taskmill_RecordFields &fields,
                                  const Taskmill_JobRecord &job, bool forceNew, qint32 *outID)
{
    qint32 key = -1;
    const auto writeAddedFields = [&] {
        return AddedFields().Set(Connection(), Taskmill_FieldOwner::Job, job.JobID,
                                 Taskmill_FieldsOfJob(job));
    };
    if (!InsertKeyed(TableName(table), fields, job.Name, forceNew, &key, writeAddedFields))
        return false;
    if (outID)
        *outID = key;
    // Without forceNew the key may be that of an older row.
    if (const auto known = m_keysOfJobs.find(table); known != m_keysOfJobs.end() && forceNew)
        known->insert(job.JobID, key);
    return true;
}

bool Taskmill_Database::InsertQueuedJob(Taskmill_Table table, const Taskmill_JobRecord &job, bool forceNew,
                                        qint32 *outID)
{
    Taskmill_RecordFields fields{KeyColumn(table)};
    fields.AddText(u"Name"_s, job.Name);
    fields.AddInteger(u"JobTypeID"_s, job.JobType.JobTypeID);
    AddLeadingFields(fields, job);
    AddClientFields(fields, job);
    AddTrailingFields(fields, job);
    return InsertJob(table, fields, job, forceNew, outID);
}

bool Taskmill_Database::InsertLongJob(const Taskmill_JobRecord &job, bool forceNew, qint32 *outID)
{
    return InsertQueuedJob(Taskmill_Table::LongJobsQueue, job, forceNew, outID);
}

bool Taskmill_Database::InsertShortJob(const Taskmill_JobRecord &job, bool forceNew, qint32 *outID)
{
    return InsertQueuedJob(Taskmill_Table::ShortJobsQueue, job, forceNew, outID);
}

bool Taskmill_Database::InsertQueuelessJob(const Taskmill_JobRecord &job, bool forceNew, qint32 *outID)
{
    return InsertQueuedJob(Taskmill_Table::QueuelessJobs, job, forceNew, outID);
}

bool Taskmill_Database::InsertFinishedJob(const Taskmill_JobRecord &job, bool forceNew, qint32 *outID)
{
    Taskmill_RecordFields fields{KeyColumn(Taskmill_Table::FinishedJobs)};
    fields.AddText(u"Name"_s, job.Name);
    fields.AddInteger(u"JobTypeID"_s, job.JobType.JobTypeID);
    fields.AddInteger(u"QueueID"_s, static_cast<qint32>(Taskmill_QueueKeyFromName(job.QueueName)));
    AddLeadingFields(fields, job);
    fields.AddTime(u"Finished"_s, job.Finished);
    AddClientFields(fields, job);
    fields.AddText(u"StdOutAndStdErr"_s, job.StdOutAndStdErr);
    AddTrailingFields(fields, job);
    return InsertJob(Taskmill_Table::FinishedJobs, fields, job, forceNew, outID);
}

Taskmill_Database::KeysOfJobs &Taskmill_Database::KeysIn(Taskmill_Table table)
{
    const auto known = m_keysOfJobs.find(table);
    if (known != m_keysOfJobs.end() && Kind() == SQLiteMemory)
        return *known;
    KeysOfJobs &keys = *m_keysOfJobs.insert(table, {});
    QSqlQuery query{Connection()};
    query.setForwardOnly(true);
    if (query.exec(u"SELECT JobID, "_s + KeyColumn(table) + u" FROM "_s + TableName(table))) {
        while (query.next())
            keys.insert(query.value(0).toInt(), query.value(1).toInt());
    }
    return keys;
}

bool Taskmill_Database::DeleteJob(Taskmill_Table table, qint32 jobID)
{
    return InTransaction([&] { return DeleteRows(table, jobID) && RemoveFieldsOfGoneJobs({jobID}); });
}

bool Taskmill_Database::DeleteRows(Taskmill_Table table, qint32 jobID)
{
    // Nobody else can change a database in memory.
    if (Kind() != SQLiteMemory)
        return Execute(u"DELETE FROM "_s + TableName(table) + u" WHERE JobID = "_s + QString::number(jobID));
    KeysOfJobs &keys = KeysIn(table);
    const QString statement =
        u"DELETE FROM "_s + TableName(table) + u" WHERE "_s + KeyColumn(table) + u" = ?"_s;
    const QList<qint32> rows = keys.values(jobID);
    const bool deleted = std::ranges::all_of(rows, [&](qint32 key) { return RunPrepared(statement, {key}); });
    keys.remove(jobID);
    return deleted;
}

bool Taskmill_Database::RemoveFieldsOfGoneJobs(const QList<qint32> &jobIDs)
{
    Taskmill_AddedFields &addedFields = AddedFields();
    QList<qint32> gone;
    // Most jobs have none, and no table has an index on the number.
    for (const qint32 jobID : jobIDs) {
        if (addedFields.Has(Connection(), Taskmill_FieldOwner::Job, jobID) &&
            std::ranges::none_of(jobTables,
                                 [&](Taskmill_Table table) { return KeysIn(table).contains(jobID); }))
            gone.append(jobID);
    }
    return addedFields.Remove(Connection(), Taskmill_FieldOwner::Job, gone);
}

void Taskmill_Database::RemoveOrphanedFields()
{
    const UntrackedScope noChange{*this};
    const QStringList tables = Connection().tables(QSql::Tables);
    const auto numbers = [&tables](const QString &column, Taskmill_Table table) {
        const QString name = Taskmill_DatabaseSchema().at(static_cast<int>(table)).Name;
        return tables.contains(name, Qt::CaseInsensitive) ? u"SELECT %1 FROM %2"_s.arg(column, name)
                                                          : QString{};
    };
    QStringList ofJobs;
    for (const Taskmill_Table table : jobTables)
        ofJobs.append(numbers(u"JobID"_s, table));
    ofJobs.removeAll(QString{});
    const bool removed = InTransaction([&] {
        Taskmill_AddedFields &fields = AddedFields();
        return fields.RemoveOthers(Connection(), Taskmill_FieldOwner::Job, ofJobs.join(u" UNION ALL "_s)) &&
               fields.RemoveOthers(Connection(), Taskmill_FieldOwner::JobType,
                                   numbers(u"JobTypeID"_s, Taskmill_Table::JobTypes)) &&
               fields.RemoveOthers(Connection(), Taskmill_FieldOwner::Queue,
                                   numbers(u"QueueID"_s, Taskmill_Table::Queues));
    });
    if (!removed)
        qCWarning(Taskmill_DBLog, "Values without an owner could not be removed");
}

bool Taskmill_Database::DeleteLongJob(qint32 jobID)
{
    return DeleteJob(Taskmill_Table::LongJobsQueue, jobID);
}

bool Taskmill_Database::DeleteShortJob(qint32 jobID)
{
    return DeleteJob(Taskmill_Table::ShortJobsQueue, jobID);
}

bool Taskmill_Database::DeleteQueuelessJob(qint32 jobID)
{
    return DeleteJob(Taskmill_Table::QueuelessJobs, jobID);
}

bool Taskmill_Database::DeleteFinishedJob(qint32 jobID)
{
    return DeleteFinishedJobs({jobID});
}

bool Taskmill_Database::DeleteFinishedJobs(const QList<qint32> &jobIDs)
{
    // The table has no index on the number, so that every statement reads it whole. The text of one is
    // limited to a million bytes.
    constexpr qsizetype mostAtOnce = 50'000;
    bool deleted = true;
    for (qsizetype first = 0; first < jobIDs.size(); first += mostAtOnce) {
        const QList<qint32> some = jobIDs.sliced(first, qMin(mostAtOnce, jobIDs.size() - first));
        deleted = InTransaction([&] { return DeleteFinishedRows(some) && RemoveFieldsOfGoneJobs(some); }) &&
                  deleted;
    }
    return deleted;
}

bool Taskmill_Database::DeleteFinishedRows(const QList<qint32> &jobIDs)
{
    QStringList numbers;
    for (const qint32 jobID : jobIDs)
        numbers.append(QString::number(jobID));
    if (!Execute(u"DELETE FROM "_s + TableName(Taskmill_Table::FinishedJobs) + u" WHERE JobID IN ("_s +
                 numbers.join(u',') + u')'))
        return false;
    if (const auto known = m_keysOfJobs.find(Taskmill_Table::FinishedJobs); known != m_keysOfJobs.end()) {
        for (const qint32 jobID : jobIDs)
            known->remove(jobID);
    }
    return true;
}

QString Taskmill_Database::ColumnsToRead(Taskmill_Table table)
{
    // Of a waiting job it is long, and only stands in for a job type that was deleted. Of a finished one it
    // is what ran.
    static const QStringList standIns{u"ApplicationName"_s, u"ExecutablePath"_s, u"CommandLine"_s};
    static const QStringList neverRead{u"Created"_s, u"LastModified"_s};
    const bool onlyStandsIn =
        table != Taskmill_Table::FinishedJobs && !Connection().record(u"JobTypes"_s).isEmpty();
    const QSqlRecord columns = Connection().record(TableName(table));
    QStringList read;
    for (int position = 0; position < columns.count(); ++position) {
        const QString name = columns.fieldName(position);
        if (onlyStandsIn && standIns.contains(name))
            read.append(
                u"CASE WHEN JobTypeID IN (SELECT JobTypeID FROM JobTypes) THEN '' ELSE %1 END AS %1"_s.arg(
                    name));
        else if (!neverRead.contains(name))
            read.append(name);
    }
    return read.join(u',');
}

QList<Taskmill_JobRecord> Taskmill_Database::GetJobs(Taskmill_Table table, const QString &queueName,
                                                     std::optional<int> longestOutput)
{
    QList<Taskmill_JobRecord> jobs;
    if (!Open())
        return jobs;
    QSqlQuery query{Connection()};
    query.setForwardOnly(true);
    QString columns = ColumnsToRead(table);
    if (longestOutput)
        columns.replace(u"StdOutAndStdErr"_s,
                        u"substr(StdOutAndStdErr,1,%1) AS StdOutAndStdErr"_s.arg(*longestOutput));
    if (!query.exec(u"SELECT "_s + columns + u" FROM "_s + TableName(table)))
        return jobs;
    const auto addedFields = AddedFields().Read(Connection(), Taskmill_FieldOwner::Job,
                                                u"SELECT JobID FROM "_s + TableName(table));
    JobReader reader{*this, query};
    while (query.next()) {
        jobs.append(reader.Read(queueName));
        if (const auto fields = addedFields.constFind(jobs.last().JobID); fields != addedFields.constEnd())
            Taskmill_SetFieldsOfJob(jobs.last(), *fields);
    }
    return jobs;
}

QList<Taskmill_JobRecord> Taskmill_Database::GetLongJobs()
{
    return GetJobs(Taskmill_Table::LongJobsQueue, u"Long"_s);
}

QList<Taskmill_JobRecord> Taskmill_Database::GetShortJobs()
{
    return GetJobs(Taskmill_Table::ShortJobsQueue, u"Short"_s);
}

QList<Taskmill_JobRecord> Taskmill_Database::GetQueuelessJobs()
{
    return GetJobs(Taskmill_Table::QueuelessJobs, u"Queueless"_s);
}

QList<Taskmill_JobRecord> Taskmill_Database::GetFinishedJobs()
{
    return GetJobs(Taskmill_Table::FinishedJobs, {});
}

QList<Taskmill_JobRecord> Taskmill_Database::GetFinishedJobsWithShortOutputs(int longestOutput)
{
    return GetJobs(Taskmill_Table::FinishedJobs, {}, longestOutput);
}

QString Taskmill_Database::GetFinishedJobOutput(qint32 jobID)
{
    if (!Open())
        return {};
    QSqlQuery query{Connection()};
    query.setForwardOnly(true);
    const QString statement =
        u"SELECT StdOutAndStdErr FROM FinishedJobs WHERE JobID = %1 LIMIT 1"_s.arg(jobID);
    return query.exec(statement) && query.next() ? query.value(0).toString() : QString{};
}

qint32 Taskmill_Database::LargestJobID()
{
    qint64 largest = -1;
    if (!Open())
        return -1;
    for (const auto table : {Taskmill_Table::LongJobsQueue, Taskmill_Table::ShortJobsQueue,
                             Taskmill_Table::QueuelessJobs, Taskmill_Table::FinishedJobs}) {
        // The largest number of the type is left out: numbering goes on behind the result.
        const auto maximum =
            SelectInteger(u"SELECT MAX(JobID) FROM "_s + TableName(table) + u" WHERE JobID < 2147483647"_s);
        largest = std::max(largest, maximum.value_or(-1));
    }
    return static_cast<qint32>(largest);
}

bool Taskmill_Database::InsertQueue(const QString &name, qint32 maxRunningJobs, qint32 *outID)
{
    Taskmill_RecordFields fields{u"QueueID"_s};
    fields.AddText(u"Name"_s, name);
    fields.AddCreationTimes();
    fields.AddInteger(u"MaxRunningJobs"_s, maxRunningJobs);
    return InsertKeyed(u"Queues"_s, fields, name, false, outID);
}

qint32 Taskmill_Database::GetQueueValue(const QString &name, const QString &column)
{
    if (!Open())
        return -1;
    QSqlQuery query{Connection()};
    query.setForwardOnly(true);
    if (!query.exec(u"SELECT * FROM Queues WHERE Name = '"_s + KilnUtil_SQLEscape(name) + u"'"_s) ||
        !query.next())
        return -1;
    bool isNumber = false;
    const qint32 value = query.record().value(column).toInt(&isNumber);
    return isNumber ? value : -1;
}

qint32 Taskmill_Database::GetQueueID(const QString &name)
{
    return GetQueueValue(name, u"QueueID"_s);
}

qint32 Taskmill_Database::GetMaxRunningJobs(const QString &name)
{
    return GetQueueValue(name, u"MaxRunningJobs"_s);
}

bool Taskmill_Database::SetMaxRunningJobs(const QString &name, qint32 maxRunningJobs)
{
    if (!IsOpenAndReady())
        return false;
    const qint32 key = GetQueueID(name);
    return key >= 0 && InTransaction([&] {
               const QString ofQueue = u" WHERE QueueID = "_s + QString::number(key);
               return Execute(u"UPDATE Queues SET MaxRunningJobs = "_s + QString::number(maxRunningJobs) +
                              ofQueue) &&
                      Execute(u"UPDATE Queues SET LastModified = '"_s + Taskmill_JobTime::Now().IsoText() +
                              u'\'' + ofQueue);
           });
}
