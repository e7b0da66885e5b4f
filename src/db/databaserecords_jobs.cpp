#include "db/database.h"
#include "db/databaseschema.h"
#include "db/recordfields.h"

#include <QHash>
#include <QSqlQuery>
#include <QSqlTableModel>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

QString TableName(Taskmill_Table table)
{
    return Taskmill_DatabaseSchema().at(static_cast<int>(table)).Name;
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
    JobReader(Taskmill_Database &database, const QSqlTableModel &model)
        : m_database{database}
        , m_model{model}
    {
    }

    Taskmill_JobRecord Read(int row, const QString &queueName)
    {
        Taskmill_JobRecord job;
        job.JobClass = Text(row, m_jobClass);
        job.Name = Text(row, m_name);
        job.ClientName = Text(row, m_clientName);
        job.ClientAppName = Text(row, m_clientAppName);
        job.ClientAddress = Text(row, m_clientAddress);
        job.ClientPort = Value(row, m_clientPort).toInt();
        job.ClientUID = Value(row, m_clientUID).toInt();
        job.ClientGID = Value(row, m_clientGID).toInt();
        job.ClientNotification = Value(row, m_clientNotification).toInt() != 0;
        job.JobType = JobType(row);
        job.QueueName = m_queueID < 0 ? queueName : Taskmill_QueueNameFromKey(Value(row, m_queueID).toInt());
        job.InputFilePath = Text(row, m_inputFilePath);
        job.InputFilePath2 = Text(row, m_inputFilePath2);
        job.Status = Taskmill_JobStatusFromText(Text(row, m_status));
        job.StdOutAndStdErr = Text(row, m_stdOutAndStdErr);
        job.Submitted = Value(row, m_submitted).toDateTime();
        job.Started = Value(row, m_started).toDateTime();
        job.Finished = Value(row, m_finished).toDateTime();
        job.JobID = Value(row, m_jobID).toInt();
        job.DeriveOutputFile();
        return job;
    }

private:
    QVariant Value(int row, int column) const
    {
        return column < 0 ? QVariant{} : m_model.data(m_model.index(row, column));
    }
    QString Text(int row, int column) const { return Value(row, column).toString(); }
    int Column(const QString &name) const { return m_model.fieldIndex(name); }

    Taskmill_JobType JobType(int row)
    {
        const qint32 jobTypeID = Value(row, m_jobTypeID).toInt();
        auto known = m_jobTypes.constFind(jobTypeID);
        if (known == m_jobTypes.constEnd())
            known = m_jobTypes.insert(jobTypeID, m_database.GetJobType(jobTypeID));
        if (!known->IsEmpty())
            return *known;
        // The job type was deleted. With what the row tells of it the job can at least be recorded again.
        Taskmill_JobType jobType;
        jobType.JobTypeID = jobTypeID;
        jobType.ApplicationName = Text(row, m_applicationName);
        jobType.ExecutablePath = Text(row, m_executablePath);
        jobType.GenericCommandLine = Text(row, m_commandLine);
        return jobType;
    }

    Taskmill_Database &m_database;
    const QSqlTableModel &m_model;
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

bool Taskmill_Database::InsertQueuedJob(Taskmill_Table table, const QString &keyColumn,
                                        const Taskmill_JobRecord &job, bool forceNew, qint32 *outID)
{
    Taskmill_RecordFields fields{keyColumn};
    fields.AddText(u"Name"_s, job.Name);
    fields.AddInteger(u"JobTypeID"_s, job.JobType.JobTypeID);
    AddLeadingFields(fields, job);
    AddClientFields(fields, job);
    AddTrailingFields(fields, job);
    return InsertKeyed(TableName(table), fields.Record(), job.Name, forceNew, outID);
}

bool Taskmill_Database::InsertLongJob(const Taskmill_JobRecord &job, bool forceNew, qint32 *outID)
{
    return InsertQueuedJob(Taskmill_Table::LongJobsQueue, u"LongJobID"_s, job, forceNew, outID);
}

bool Taskmill_Database::InsertShortJob(const Taskmill_JobRecord &job, bool forceNew, qint32 *outID)
{
    return InsertQueuedJob(Taskmill_Table::ShortJobsQueue, u"ShortJobID"_s, job, forceNew, outID);
}

bool Taskmill_Database::InsertQueuelessJob(const Taskmill_JobRecord &job, bool forceNew, qint32 *outID)
{
    return InsertQueuedJob(Taskmill_Table::QueuelessJobs, u"QueuelessJobID"_s, job, forceNew, outID);
}

bool Taskmill_Database::InsertFinishedJob(const Taskmill_JobRecord &job, bool forceNew, qint32 *outID)
{
    Taskmill_RecordFields fields{u"FinishedJobID"_s};
    fields.AddText(u"Name"_s, job.Name);
    fields.AddInteger(u"JobTypeID"_s, job.JobType.JobTypeID);
    fields.AddInteger(u"QueueID"_s, static_cast<qint32>(Taskmill_QueueKeyFromName(job.QueueName)));
    AddLeadingFields(fields, job);
    fields.AddTime(u"Finished"_s, job.Finished);
    AddClientFields(fields, job);
    fields.AddText(u"StdOutAndStdErr"_s, job.StdOutAndStdErr);
    AddTrailingFields(fields, job);
    return InsertKeyed(TableName(Taskmill_Table::FinishedJobs), fields.Record(), job.Name, forceNew, outID);
}

bool Taskmill_Database::DeleteJob(Taskmill_Table table, qint32 jobID)
{
    return ExecuteInTransaction(u"DELETE FROM "_s + TableName(table) + u" WHERE JobID = "_s +
                                QString::number(jobID));
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
    return DeleteJob(Taskmill_Table::FinishedJobs, jobID);
}

bool Taskmill_Database::DeleteFinishedJobs(const QList<qint32> &jobIDs)
{
    // The table has no index on the number, so that every statement reads it whole. The text of one is
    // limited to a million bytes.
    constexpr qsizetype mostAtOnce = 50'000;
    bool deleted = true;
    for (qsizetype first = 0; first < jobIDs.size(); first += mostAtOnce) {
        QStringList numbers;
        for (const qint32 jobID : jobIDs.sliced(first, qMin(mostAtOnce, jobIDs.size() - first)))
            numbers.append(QString::number(jobID));
        deleted = ExecuteInTransaction(u"DELETE FROM "_s + TableName(Taskmill_Table::FinishedJobs) +
                                       u" WHERE JobID IN ("_s + numbers.join(u',') + u')') &&
                  deleted;
    }
    return deleted;
}

QList<Taskmill_JobRecord> Taskmill_Database::GetJobs(Taskmill_Table table, const QString &queueName)
{
    QList<Taskmill_JobRecord> jobs;
    if (!Open())
        return jobs;
    QSqlTableModel model{nullptr, Connection()};
    model.setTable(TableName(table));
    if (!SelectAll(model))
        return jobs;
    JobReader reader{*this, model};
    const int count = model.rowCount();
    jobs.reserve(count);
    for (int row = 0; row < count; ++row)
        jobs.append(reader.Read(row, queueName));
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
    return InsertKeyed(u"Queues"_s, fields.Record(), name, false, outID);
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
    if (key < 0 || !BeginTransaction())
        return false;
    Execute(u"UPDATE Queues SET MaxRunningJobs = "_s + QString::number(maxRunningJobs) +
            u" WHERE QueueID = "_s + QString::number(key));
    Execute(u"UPDATE Queues SET LastModified = '"_s + QDateTime::currentDateTime().toString(Qt::ISODate) +
            u"' WHERE QueueID = "_s + QString::number(key));
    return Commit();
}
