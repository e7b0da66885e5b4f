// SPDX-License-Identifier: MIT
#include "db/jobtablestore.h"

#include "db/database.h"
#include "db/jobfields.h"
#include "db/jobrowreader.h"
#include "db/recordfields.h"
#include "db/rowcursor.h"

#include <QSqlRecord>

using namespace Qt::Literals::StringLiterals;

Taskmill_JobTableStore::Taskmill_JobTableStore(Taskmill_Database &database, Taskmill_Table table,
                                               const QString &keyColumn)
    : Taskmill_TableStore{database}
    , m_tableName{Taskmill_DatabaseSchema().at(static_cast<int>(table)).Name}
    , m_keyColumn{keyColumn}
{
}

void Taskmill_JobTableStore::Forget()
{
    Taskmill_TableStore::Forget();
    ForgetKeys();
}

Taskmill_RecordFields Taskmill_JobTableStore::StartFields(const Taskmill_JobRecord &job) const
{
    Taskmill_RecordFields fields{m_keyColumn};
    fields.AddText(u"Name"_s, job.Name);
    fields.AddInteger(u"JobTypeID"_s, job.JobType.JobTypeID);
    return fields;
}

void Taskmill_JobTableStore::AddLeadingFields(Taskmill_RecordFields &fields, const Taskmill_JobRecord &job)
{
    fields.AddText(u"ApplicationName"_s, job.JobType.ApplicationName);
    fields.AddText(u"ExecutablePath"_s, job.JobType.ExecutablePath);
    fields.AddText(u"InputFilePath"_s, job.InputFilePath);
    fields.AddText(u"CommandLine"_s, job.CommandLine());
    fields.AddText(u"Status"_s, Taskmill_JobStatusText(job.Status));
    fields.AddTime(u"Submitted"_s, job.Submitted);
    fields.AddTime(u"Started"_s, job.Started);
}

void Taskmill_JobTableStore::AddClientFields(Taskmill_RecordFields &fields, const Taskmill_JobRecord &job)
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

void Taskmill_JobTableStore::AddTrailingFields(Taskmill_RecordFields &fields, const Taskmill_JobRecord &job)
{
    fields.AddText(u"InputFilePath2"_s, job.InputFilePath2);
    fields.AddText(u"JobClass"_s, job.JobClass);
    fields.AddInteger(u"ClientNotification"_s, job.ClientNotification ? 1 : 0);
}

bool Taskmill_JobTableStore::InsertJob(const Taskmill_RecordFields &fields, const Taskmill_JobRecord &job,
                                       bool forceNew, qint32 *outID)
{
    qint32 key = -1;
    const auto writeAddedFields = [&] {
        return AddedFields().Set(Connection(), Taskmill_FieldOwner::Job, job.JobID,
                                 Taskmill_FieldsOfJob(job));
    };
    if (!InsertKeyed(m_tableName, fields, job.Name, forceNew, &key, writeAddedFields))
        return false;
    if (outID)
        *outID = key;
    // Without forceNew the key may be that of an older row.
    if (m_keys && forceNew)
        m_keys->insert(job.JobID, key);
    return true;
}

Taskmill_JobTableStore::KeysOfJobs &Taskmill_JobTableStore::Keys()
{
    if (m_keys && IsInMemory())
        return *m_keys;
    KeysOfJobs &keys = m_keys.emplace();
    QSqlQuery query{Connection()};
    query.setForwardOnly(true);
    if (query.exec(u"SELECT JobID, "_s + m_keyColumn + u" FROM "_s + m_tableName)) {
        while (query.next())
            keys.insert(query.value(0).toInt(), query.value(1).toInt());
    }
    return keys;
}

void Taskmill_JobTableStore::TakeOutContained(QSet<qint32> &jobIDs)
{
    const KeysOfJobs &keys = Keys();
    jobIDs.removeIf([&keys](qint32 jobID) { return keys.contains(jobID); });
}

qint32 Taskmill_JobTableStore::LargestJobID()
{
    // The largest number of the type is left out: numbering goes on behind the result.
    const auto maximum =
        SelectInteger(u"SELECT MAX(JobID) FROM "_s + m_tableName + u" WHERE JobID < 2147483647"_s);
    return static_cast<qint32>(maximum.value_or(-1));
}

bool Taskmill_JobTableStore::RemoveFieldsOfGoneJobs(const QList<qint32> &jobIDs)
{
    return Database().RemoveFieldsOfGoneJobs(jobIDs);
}

Taskmill_JobTypesByID Taskmill_JobTableStore::JobTypesByID() const
{
    Taskmill_JobTypesByID types;
    const QList<Taskmill_JobType> all = Database().GetJobTypes();
    for (const Taskmill_JobType &type : all)
        types.insert(type.JobTypeID, type);
    return types;
}

QStringList Taskmill_JobTableStore::ColumnsToRead() const
{
    static const QStringList neverRead{u"Created"_s, u"LastModified"_s};
    const QSqlRecord columns = Connection().record(m_tableName);
    QStringList names;
    for (int position = 0; position < columns.count(); ++position) {
        if (const QString name = columns.fieldName(position); !neverRead.contains(name))
            names.append(name);
    }
    return names;
}

QList<Taskmill_JobRecord> Taskmill_JobTableStore::ReadJobs(const QString &columns, const QString &queueName)
{
    QList<Taskmill_JobRecord> jobs;
    const auto addedFields =
        AddedFields().Read(Connection(), Taskmill_FieldOwner::Job, u"SELECT JobID FROM "_s + m_tableName);
    Taskmill_RowCursor rows{Connection(), u"SELECT "_s + columns + u" FROM "_s + m_tableName};
    Taskmill_JobRowReader reader{JobTypesByID(), rows};
    while (rows.Next()) {
        jobs.append(reader.Read(queueName));
        if (const auto fields = addedFields.constFind(jobs.last().JobID); fields != addedFields.constEnd())
            Taskmill_SetFieldsOfJob(jobs.last(), *fields);
    }
    return jobs;
}
