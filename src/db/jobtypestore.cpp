// SPDX-License-Identifier: MIT
#include "db/jobtypestore.h"

#include "db/addedfields.h"
#include "db/recordfields.h"
#include "jobs/jobneeds.h"

#include <QSqlRecord>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

static const QString graceField = u"KillGrace"_s; // in seconds

static const QString timeLimitField = u"TimeLimit"_s; // in minutes, as the next one
static const QString noProgressField = u"NoProgress"_s;
static const QString coresField = u"Cores"_s;
static const QString memoryField = u"MemoryMB"_s; // in units of 2^20 bytes, as the next one
static const QString freeSpaceField = u"LeastFreeMB"_s;
static const QString changedInputField = u"ChangedInput"_s;
static const QString holdWord = u"hold"_s;

static Taskmill_AddedFields::Fields FieldsOf(const Taskmill_JobType &jobType)
{
    Taskmill_AddedFields::Fields fields;
    if (jobType.KillGraceSeconds != Taskmill_JobType::DefaultKillGrace)
        fields.insert(graceField, QString::number(jobType.KillGraceSeconds));
    if (jobType.Cores > 0)
        fields.insert(coresField, QString::number(jobType.Cores));
    if (jobType.MemoryMB > 0)
        fields.insert(memoryField, QString::number(jobType.MemoryMB));
    if (jobType.LeastFreeMB > 0)
        fields.insert(freeSpaceField, QString::number(jobType.LeastFreeMB));
    if (jobType.HoldsChangedInput)
        fields.insert(changedInputField, holdWord);
    if (jobType.TimeLimitMinutes > 0)
        fields.insert(timeLimitField, QString::number(jobType.TimeLimitMinutes));
    if (jobType.NoProgressMinutes > 0)
        fields.insert(noProgressField, QString::number(jobType.NoProgressMinutes));
    return fields;
}

/// Minutes of such a field; 0 where it is none.
static qint32 MinutesOf(const QString &text)
{
    const qint32 minutes = text.toInt();
    return minutes > 0 && minutes <= Taskmill_JobType::LongestMinutes ? minutes : 0;
}

static void SetFields(Taskmill_JobType &jobType, const Taskmill_AddedFields::Fields &fields)
{
    bool isNumber = false;
    const qint32 grace = fields.value(graceField).toInt(&isNumber);
    if (isNumber && grace >= 0 && grace <= Taskmill_JobType::LongestKillGrace)
        jobType.KillGraceSeconds = grace;
    jobType.TimeLimitMinutes = MinutesOf(fields.value(timeLimitField));
    jobType.NoProgressMinutes = MinutesOf(fields.value(noProgressField));
    jobType.Cores = Taskmill_CoresFromText(fields.value(coresField)).value_or(0);
    jobType.MemoryMB = Taskmill_MemoryFromText(fields.value(memoryField)).value_or(0);
    jobType.LeastFreeMB = Taskmill_MemoryFromText(fields.value(freeSpaceField)).value_or(0);
    jobType.HoldsChangedInput = fields.value(changedInputField) == holdWord;
}

static Taskmill_JobType JobTypeFromRecord(const QSqlRecord &record)
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

void Taskmill_JobTypeStore::Forget()
{
    Taskmill_TableStore::Forget();
    m_jobTypes.reset();
}

bool Taskmill_JobTypeStore::Insert(const Taskmill_JobType &jobType, bool forceNew, qint32 *outID)
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
    qint32 key = -1;
    const bool inserted = InsertKeyed(u"JobTypes"_s, fields, jobType.Name, forceNew, &key,
                                      [&] { return StoreFields(key, jobType); });
    if (inserted && outID)
        *outID = key;
    return inserted;
}

bool Taskmill_JobTypeStore::Update(qint32 jobTypeID, const Taskmill_JobType &jobType)
{
    m_jobTypes.reset();
    const QString now = Taskmill_JobTime::Now().IsoText();
    const QString statement =
        u"UPDATE JobTypes SET Name = '"_s + jobType.Name + u"', ApplicationName = '"_s +
        jobType.ApplicationName + u"', ExecutablePath = '"_s + jobType.ExecutablePath +
        u"', DefaultQueueID = "_s + QString::number(static_cast<qint32>(jobType.DefaultQueueIndex())) +
        u", InputFileFilter = '"_s + jobType.InputFileFilter + u"', OutputFileFilter = '"_s +
        jobType.OutputFileFilter + u"', EnvironmentVariables = '"_s + jobType.EnvironmentVariables +
        u"', GenericCommandLine = '"_s + jobType.GenericCommandLine + u"', LastModified = '"_s + now +
        u"' WHERE JobTypeID = "_s + QString::number(jobTypeID);
    const bool updated = InTransaction([&] { return Execute(statement) && StoreFields(jobTypeID, jobType); });
    // The outcome of a statement with a quote in its texts does not count.
    return updated || HasQuotes(jobType);
}

bool Taskmill_JobTypeStore::HasQuotes(const Taskmill_JobType &jobType)
{
    const auto texts = {jobType.Name,
                        jobType.ApplicationName,
                        jobType.ExecutablePath,
                        jobType.InputFileFilter,
                        jobType.OutputFileFilter,
                        jobType.EnvironmentVariables,
                        jobType.GenericCommandLine};
    return !std::ranges::all_of(texts, IsPlain);
}

bool Taskmill_JobTypeStore::StoreFields(qint32 jobTypeID, const Taskmill_JobType &jobType)
{
    return AddedFields().Set(Connection(), Taskmill_FieldOwner::JobType, jobTypeID, FieldsOf(jobType));
}

bool Taskmill_JobTypeStore::Delete(qint32 jobTypeID)
{
    m_jobTypes.reset();
    // The next job type may get the number.
    return InTransaction([&] {
        return Execute(u"DELETE FROM JobTypes WHERE JobTypeID = "_s + QString::number(jobTypeID)) &&
               AddedFields().Remove(Connection(), Taskmill_FieldOwner::JobType, {jobTypeID});
    });
}

Taskmill_JobType Taskmill_JobTypeStore::Get(qint32 jobTypeID)
{
    return Taskmill_JobTypeWithID(GetAll(), jobTypeID);
}

QList<Taskmill_JobType> Taskmill_JobTypeStore::GetAll()
{
    if (!Open())
        return {};
    // Every job that is made asks for them.
    if (m_jobTypes && IsInMemory())
        return *m_jobTypes;
    QSqlQuery query{Connection()};
    query.setForwardOnly(true);
    if (!query.exec(u"SELECT * FROM JobTypes"_s))
        return {};
    QList<Taskmill_JobType> jobTypes;
    const auto addedFields =
        AddedFields().Read(Connection(), Taskmill_FieldOwner::JobType, u"SELECT JobTypeID FROM JobTypes"_s);
    while (query.next()) {
        jobTypes.append(JobTypeFromRecord(query.record()));
        SetFields(jobTypes.last(), addedFields.value(jobTypes.last().JobTypeID));
    }
    m_jobTypes = jobTypes;
    return jobTypes;
}
