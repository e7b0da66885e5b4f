// SPDX-License-Identifier: MIT
#include "db/queuedjobstore.h"

#include "db/recordfields.h"

#include <QSqlRecord>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

Taskmill_QueuedJobStore::Taskmill_QueuedJobStore(Taskmill_Database &database, Taskmill_Table table,
                                                 const QString &keyColumn, const QString &queueName)
    : Taskmill_JobTableStore{database, table, keyColumn}
    , m_queueName{queueName}
{
}

bool Taskmill_QueuedJobStore::Insert(const Taskmill_JobRecord &job, bool forceNew, qint32 *outID)
{
    Taskmill_RecordFields fields = StartFields(job);
    AddLeadingFields(fields, job);
    AddClientFields(fields, job);
    AddTrailingFields(fields, job);
    return InsertJob(fields, job, forceNew, outID);
}

bool Taskmill_QueuedJobStore::Delete(qint32 jobID)
{
    return InTransaction([&] { return DeleteRows(jobID) && RemoveFieldsOfGoneJobs({jobID}); });
}

bool Taskmill_QueuedJobStore::DeleteRows(qint32 jobID)
{
    if (!IsInMemory())
        return Execute(u"DELETE FROM "_s + TableName() + u" WHERE JobID = "_s + QString::number(jobID));
    KeysOfJobs &keys = Keys();
    const QString statement = u"DELETE FROM "_s + TableName() + u" WHERE "_s + KeyColumn() + u" = ?"_s;
    const QList<qint32> rows = keys.values(jobID);
    const bool deleted = std::ranges::all_of(rows, [&](qint32 key) { return RunPrepared(statement, {key}); });
    keys.remove(jobID);
    return deleted;
}

bool Taskmill_QueuedJobStore::RecordStart(qint32 jobID)
{
    const QList<qint32> rows = Keys().values(jobID);
    if (rows.isEmpty())
        return true;
    const QString statement =
        u"UPDATE "_s + TableName() + u" SET Status = ?, Started = ? WHERE "_s + KeyColumn() + u" = ?"_s;
    const QVariantList values{Taskmill_JobStatusText(Taskmill_JobStatus::Running),
                              Taskmill_JobTime::Now().IsoText()};
    return std::ranges::all_of(
        rows, [&](qint32 key) { return RunPrepared(statement, values + QVariantList{key}); });
}

QList<Taskmill_JobRecord> Taskmill_QueuedJobStore::GetAll()
{
    if (!Open())
        return {};
    // The stored program and command line are long, and a waiting job needs them only when its job type was
    // deleted.
    static const QStringList standIns{u"ApplicationName"_s, u"ExecutablePath"_s, u"CommandLine"_s};
    QStringList columns = ColumnsToRead();
    if (!Connection().record(u"JobTypes"_s).isEmpty()) {
        for (QString &column : columns) {
            if (standIns.contains(column))
                column =
                    u"CASE WHEN JobTypeID IN (SELECT JobTypeID FROM JobTypes) THEN '' ELSE %1 END AS %1"_s
                        .arg(column);
        }
    }
    return ReadJobs(columns.join(u','), m_queueName);
}

bool Taskmill_QueuedJobStore::SetNumbers(const QList<Taskmill_JobRecord> &jobs)
{
    struct Row
    {
        qint32 key;
        qint32 jobID;
    };
    QList<Row> rows;
    {
        QSqlQuery query{Connection()};
        query.setForwardOnly(true);
        if (query.exec(u"SELECT %1, JobID FROM %2 ORDER BY rowid"_s.arg(KeyColumn(), TableName()))) {
            while (query.next())
                rows.append({query.value(0).toInt(), query.value(1).toInt()});
        }
    }
    if (rows.size() != jobs.size())
        return false;
    const QString statement =
        u"UPDATE "_s + TableName() + u" SET JobID = ? WHERE "_s + KeyColumn() + u" = ?"_s;
    for (qsizetype row = 0; row < rows.size(); ++row) {
        if (rows[row].jobID != jobs[row].JobID && !RunPrepared(statement, {jobs[row].JobID, rows[row].key}))
            return false;
    }
    ForgetKeys();
    return true;
}
