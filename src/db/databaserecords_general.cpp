#include "db/database.h"
#include "db/recordfields.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QSqlTableModel>

#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace {

QString Now()
{
    return QDateTime::currentDateTime().toString(Qt::ISODate);
}

Taskmill_JobType JobTypeFromRecord(const QSqlRecord &record)
{
    return {
        .JobTypeID = record.value(u"JobTypeID"_s).toInt(),
        .Name = record.value(u"Name"_s).toString(),
        .ApplicationName = record.value(u"ApplicationName"_s).toString(),
        .ExecutablePath = record.value(u"ExecutablePath"_s).toString(),
        .DefaultQueue = Taskmill_QueueNameFromKey(record.value(u"DefaultQueueID"_s).toInt()),
        .GenericCommandLine = record.value(u"GenericCommandLine"_s).toString(),
        .InputFileFilter = record.value(u"InputFileFilter"_s).toString(),
        .OutputFileFilter = record.value(u"OutputFileFilter"_s).toString(),
        .EnvironmentVariables = record.value(u"EnvironmentVariables"_s).toString(),
    };
}

} // namespace

bool Taskmill_Database::IsOpenAndReady()
{
    return Open() && CreateTables();
}

bool Taskmill_Database::InsertKeyed(const QString &table, QSqlRecord record, const QString &name,
                                    bool forceNew, qint32 *outID)
{
    if (!IsOpenAndReady())
        return false;
    const QString keyColumn = record.fieldName(0);
    // Only without forceNew can the look-up change anything, and names have no index: with forceNew it would
    // read the whole table at every insertion.
    if (!forceNew) {
        const auto found = SelectInteger(u"SELECT "_s + keyColumn + u" FROM "_s + table +
                                         u" WHERE Name = '"_s + name + u"' LIMIT 1"_s);
        if (found) {
            if (outID)
                *outID = static_cast<qint32>(*found);
            return true;
        }
    }

    if (!BeginTransaction())
        return false;
    const auto maximum = SelectInteger(u"SELECT MAX("_s + keyColumn + u") FROM "_s + table);
    const qint64 key = maximum.value_or(-1) + 1;
    if (key > std::numeric_limits<qint32>::max()) {
        Rollback();
        return false;
    }
    if (outID)
        *outID = static_cast<qint32>(key);
    record.setValue(0, static_cast<qint32>(key));

    QSqlTableModel model{nullptr, Connection()};
    model.setTable(table);
    if (!model.insertRecord(-1, record)) {
        SetLastError(model.lastError());
        // An open transaction would make every later write and save fail.
        Rollback();
        return false;
    }
    return Commit();
}

std::optional<qint64> Taskmill_Database::SelectInteger(const QString &statement)
{
    QSqlQuery query{Connection()};
    if (!query.exec(statement) || !query.next())
        return std::nullopt;
    bool isNumber = false;
    const qint64 value = query.value(0).toLongLong(&isNumber);
    return isNumber ? std::optional{value} : std::nullopt;
}

bool Taskmill_Database::ExecuteInTransaction(const QString &statement)
{
    if (!BeginTransaction())
        return false;
    Execute(statement);
    return Commit();
}

bool Taskmill_Database::InsertGeneralData(const QString &name, const QString &dataStr, bool forceNew,
                                          qint32 *outID)
{
    Taskmill_RecordFields fields{u"GeneralDataID"_s};
    fields.AddText(u"Name"_s, name);
    fields.AddText(u"DataStr"_s, dataStr);
    fields.AddCreationTimes();
    return InsertKeyed(u"GeneralData"_s, fields.Record(), name, forceNew, outID);
}

int Taskmill_Database::SetGeneralData(const QString &name, const QString &dataStr)
{
    QString before;
    if (!GetGeneralData(name, before))
        return InsertGeneralData(name, dataStr, false) ? 1 : 0;
    return ExecuteInTransaction(u"UPDATE GeneralData SET DataStr = '"_s + dataStr + u"', LastModified = '"_s +
                                Now() + u"' WHERE Name = '"_s + name + u"'"_s)
               ? 1
               : 0;
}

bool Taskmill_Database::GetGeneralData(const QString &name, QString &outDataStr)
{
    if (!Open())
        return false;
    QSqlQuery query{Connection()};
    query.setForwardOnly(true);
    if (!query.exec(u"SELECT * FROM GeneralData WHERE Name = '"_s + name + u"' LIMIT 1"_s) || !query.next())
        return false;
    outDataStr = query.record().value(u"DataStr"_s).toString();
    return true;
}

bool Taskmill_Database::InsertJobType(const Taskmill_JobType &jobType, bool forceNew, qint32 *outID)
{
    Taskmill_RecordFields fields{u"JobTypeID"_s};
    fields.AddText(u"Name"_s, jobType.Name);
    fields.AddText(u"ApplicationName"_s, jobType.ApplicationName);
    fields.AddText(u"ExecutablePath"_s, jobType.ExecutablePath);
    fields.AddBytes(u"Icon"_s, QByteArray{""});
    fields.AddInteger(u"DefaultQueueID"_s, static_cast<qint32>(jobType.DefaultQueueIndex()));
    fields.AddText(u"InputFileFilter"_s, jobType.InputFileFilter);
    fields.AddText(u"OutputFileFilter"_s, jobType.OutputFileFilter);
    fields.AddText(u"EnvironmentVariables"_s, jobType.EnvironmentVariables);
    fields.AddText(u"GenericCommandLine"_s, jobType.GenericCommandLine);
    fields.AddCreationTimes();
    return InsertKeyed(u"JobTypes"_s, fields.Record(), jobType.Name, forceNew, outID);
}

bool Taskmill_Database::UpdateJobType(qint32 jobTypeID, const Taskmill_JobType &jobType)
{
    return ExecuteInTransaction(
        u"UPDATE JobTypes SET Name = '"_s + jobType.Name + u"', ApplicationName = '"_s +
        jobType.ApplicationName + u"', ExecutablePath = '"_s + jobType.ExecutablePath +
        u"', DefaultQueueID = "_s + QString::number(static_cast<qint32>(jobType.DefaultQueueIndex())) +
        u", InputFileFilter = '"_s + jobType.InputFileFilter + u"', OutputFileFilter = '"_s +
        jobType.OutputFileFilter + u"', EnvironmentVariables = '"_s + jobType.EnvironmentVariables +
        u"', GenericCommandLine = '"_s + jobType.GenericCommandLine + u"', LastModified = '"_s + Now() +
        u"' WHERE JobTypeID = "_s + QString::number(jobTypeID));
}

bool Taskmill_Database::DeleteJobType(qint32 jobTypeID)
{
    return ExecuteInTransaction(u"DELETE FROM JobTypes WHERE JobTypeID = "_s + QString::number(jobTypeID));
}

Taskmill_JobType Taskmill_Database::GetJobType(qint32 jobTypeID)
{
    if (!Open())
        return {};
    QSqlQuery query{Connection()};
    query.setForwardOnly(true);
    if (!query.exec(u"SELECT * FROM JobTypes WHERE JobTypeID = "_s + QString::number(jobTypeID)) ||
        !query.next())
        return {};
    return JobTypeFromRecord(query.record());
}

QList<Taskmill_JobType> Taskmill_Database::GetJobTypes()
{
    QList<Taskmill_JobType> jobTypes;
    if (!Open())
        return jobTypes;
    QSqlTableModel model{nullptr, Connection()};
    model.setTable(u"JobTypes"_s);
    if (!SelectAll(model))
        return jobTypes;
    for (int row = 0; row < model.rowCount(); ++row)
        jobTypes.append(JobTypeFromRecord(model.record(row)));
    return jobTypes;
}
