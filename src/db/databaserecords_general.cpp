// SPDX-License-Identifier: MIT
#include "db/database.h"
#include "db/recordfields.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>

#include <algorithm>
#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace {

QString Now()
{
    return QDateTime::currentDateTime().toString(Qt::ISODate);
}

/// A text that would not stand as it is between single quotes is not taken by the statements that are meant
/// to have it there.
bool IsPlain(const QString &text)
{
    return !text.contains(u'\'') && !text.contains(QChar::Null);
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

QSqlQuery *Taskmill_Database::InsertStatement(const QString &table, const QStringList &columns)
{
    return m_statements.Find(Connection(), u"INSERT INTO "_s + table, [&] {
        QStringList marks;
        marks.fill(u"?"_s, columns.size());
        return u"INSERT INTO "_s + table + u" ("_s + columns.join(u',') + u") VALUES ("_s + marks.join(u',') +
               u')';
    });
}

std::optional<qint64> Taskmill_Database::SelectInteger(const QString &statement)
{
    QSqlQuery *query = m_statements.Find(Connection(), statement);
    return query ? Taskmill_DatabaseStatements::FirstInteger(*query, {}) : std::nullopt;
}

std::optional<qint64> Taskmill_Database::FindName(const QString &table, const QString &keyColumn,
                                                  const QString &name)
{
    QSqlQuery query{Connection()};
    if (!query.exec(u"SELECT "_s + keyColumn + u" FROM "_s + table + u" WHERE Name = '"_s + name +
                    u"' LIMIT 1"_s) ||
        !query.next())
        return std::nullopt;
    return query.value(0).toLongLong();
}

bool Taskmill_Database::InsertKeyed(const QString &table, Taskmill_RecordFields fields, const QString &name,
                                    bool forceNew, qint32 *outID, const Writing &writeMore)
{
    if (!IsOpenAndReady())
        return false;
    // Only without forceNew can the look-up change anything, and names have no index: with forceNew it would
    // read the whole table at every insertion.
    if (!forceNew) {
        if (const auto found = FindName(table, fields.KeyColumn(), name)) {
            if (outID)
                *outID = static_cast<qint32>(*found);
            return true;
        }
    }

    return InTransaction([&] {
        const auto maximum = SelectInteger(u"SELECT MAX("_s + fields.KeyColumn() + u") FROM "_s + table);
        const qint64 key = maximum.value_or(-1) + 1;
        if (key > std::numeric_limits<qint32>::max())
            return false;
        if (outID)
            *outID = static_cast<qint32>(key);
        fields.SetKey(static_cast<qint32>(key));

        QSqlQuery *insert = InsertStatement(table, fields.Columns());
        if (insert && Taskmill_DatabaseStatements::Run(*insert, fields.Values()))
            return !writeMore || writeMore();
        if (insert)
            SetLastError(insert->lastError());
        return false;
    });
}

bool Taskmill_Database::InTransaction(const Writing &write)
{
    if (!BeginTransaction())
        return false;
    if (write()) {
        if (Commit())
            return true;
    } else {
        // An open transaction would make every later write and save fail.
        Rollback();
    }
    m_addedFields.Forget();
    m_keysOfJobs.clear();
    return false;
}

bool Taskmill_Database::RunPrepared(const QString &statement, const QVariantList &values)
{
    QSqlQuery *prepared = m_statements.Find(Connection(), statement);
    if (prepared && Taskmill_DatabaseStatements::Run(*prepared, values))
        return true;
    if (prepared)
        SetLastError(prepared->lastError());
    return false;
}

bool Taskmill_Database::ExecuteInTransaction(const QString &statement)
{
    return InTransaction([&] { return Execute(statement); });
}

bool Taskmill_Database::InsertGeneralData(const QString &name, const QString &dataStr, bool forceNew,
                                          qint32 *outID)
{
    Taskmill_RecordFields fields{u"GeneralDataID"_s};
    fields.AddText(u"Name"_s, name);
    fields.AddText(u"DataStr"_s, dataStr);
    fields.AddCreationTimes();
    return InsertKeyed(u"GeneralData"_s, fields, name, forceNew, outID);
}

int Taskmill_Database::SetGeneralData(const QString &name, const QString &dataStr)
{
    QString before;
    if (!GetGeneralData(name, before))
        return InsertGeneralData(name, dataStr, false) ? 1 : 0;
    if (!IsPlain(name) || !IsPlain(dataStr)) {
        // The outcome of a statement with a quote in its texts does not count.
        ExecuteInTransaction(u"UPDATE GeneralData SET DataStr = '"_s + dataStr + u"', LastModified = '"_s +
                             Now() + u"' WHERE Name = '"_s + name + u"'"_s);
        return 1;
    }
    return InTransaction([&] {
        return RunPrepared(u"UPDATE GeneralData SET DataStr = ?, LastModified = ? WHERE Name = ?"_s,
                           {dataStr.isNull() ? u""_s : dataStr, Now(), name});
    })
               ? 1
               : 0;
}

bool Taskmill_Database::GetGeneralData(const QString &name, QString &outDataStr)
{
    if (!Open() || !IsPlain(name))
        return false;
    QSqlQuery *select =
        m_statements.Find(Connection(), u"SELECT DataStr FROM GeneralData WHERE Name = ? LIMIT 1"_s);
    if (!select || !Taskmill_DatabaseStatements::Run(*select, {name}))
        return false;
    const bool found = select->next();
    if (found)
        outDataStr = select->value(0).toString();
    select->finish();
    return found;
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
    m_jobTypes.reset();
    return InsertKeyed(u"JobTypes"_s, fields, jobType.Name, forceNew, outID);
}

bool Taskmill_Database::UpdateJobType(qint32 jobTypeID, const Taskmill_JobType &jobType)
{
    m_jobTypes.reset();
    const bool updated = ExecuteInTransaction(
        u"UPDATE JobTypes SET Name = '"_s + jobType.Name + u"', ApplicationName = '"_s +
        jobType.ApplicationName + u"', ExecutablePath = '"_s + jobType.ExecutablePath +
        u"', DefaultQueueID = "_s + QString::number(static_cast<qint32>(jobType.DefaultQueueIndex())) +
        u", InputFileFilter = '"_s + jobType.InputFileFilter + u"', OutputFileFilter = '"_s +
        jobType.OutputFileFilter + u"', EnvironmentVariables = '"_s + jobType.EnvironmentVariables +
        u"', GenericCommandLine = '"_s + jobType.GenericCommandLine + u"', LastModified = '"_s + Now() +
        u"' WHERE JobTypeID = "_s + QString::number(jobTypeID));
    const auto texts = {jobType.Name,
                        jobType.ApplicationName,
                        jobType.ExecutablePath,
                        jobType.InputFileFilter,
                        jobType.OutputFileFilter,
                        jobType.EnvironmentVariables,
                        jobType.GenericCommandLine};
    // The outcome of a statement with a quote in its texts does not count.
    return updated || !std::ranges::all_of(texts, IsPlain);
}

bool Taskmill_Database::DeleteJobType(qint32 jobTypeID)
{
    m_jobTypes.reset();
    // The next job type may get the number.
    return InTransaction([&] {
        return Execute(u"DELETE FROM JobTypes WHERE JobTypeID = "_s + QString::number(jobTypeID)) &&
               AddedFields().Remove(Connection(), Taskmill_FieldOwner::JobType, {jobTypeID});
    });
}

Taskmill_JobType Taskmill_Database::GetJobType(qint32 jobTypeID)
{
    const QList<Taskmill_JobType> jobTypes = GetJobTypes();
    const auto found = std::ranges::find(jobTypes, jobTypeID, &Taskmill_JobType::JobTypeID);
    return found == jobTypes.end() ? Taskmill_JobType{} : *found;
}

QList<Taskmill_JobType> Taskmill_Database::GetJobTypes()
{
    if (!Open())
        return {};
    // Every job that is made asks for them. Nobody else can change a database in memory.
    if (m_jobTypes && Kind() == SQLiteMemory)
        return *m_jobTypes;
    QSqlQuery query{Connection()};
    query.setForwardOnly(true);
    if (!query.exec(u"SELECT * FROM JobTypes"_s))
        return {};
    QList<Taskmill_JobType> jobTypes;
    while (query.next())
        jobTypes.append(JobTypeFromRecord(query.record()));
    m_jobTypes = jobTypes;
    return jobTypes;
}
