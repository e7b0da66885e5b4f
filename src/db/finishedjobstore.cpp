// SPDX-License-Identifier: MIT
#include "db/finishedjobstore.h"

#include "db/recordfields.h"

using namespace Qt::Literals::StringLiterals;

Taskmill_FinishedJobStore::Taskmill_FinishedJobStore(Taskmill_Database &database)
    : Taskmill_JobTableStore{database, Taskmill_Table::FinishedJobs, u"FinishedJobID"_s}
{
}

bool Taskmill_FinishedJobStore::Insert(const Taskmill_JobRecord &job, bool forceNew, qint32 *outID)
{
    Taskmill_RecordFields fields = StartFields(job);
    fields.AddInteger(u"QueueID"_s, static_cast<qint32>(Taskmill_QueueKeyFromName(job.QueueName)));
    AddLeadingFields(fields, job);
    fields.AddTime(u"Finished"_s, job.Finished);
    AddClientFields(fields, job);
    fields.AddText(u"StdOutAndStdErr"_s, job.StdOutAndStdErr);
    AddTrailingFields(fields, job);
    return InsertJob(fields, job, forceNew, outID);
}

bool Taskmill_FinishedJobStore::DeleteAll(const QList<qint32> &jobIDs)
{
    // The table has no index on the number, so that every statement reads it whole. The text of one is
    // limited to a million bytes.
    constexpr qsizetype mostAtOnce = 50'000;
    bool deleted = true;
    for (qsizetype first = 0; first < jobIDs.size(); first += mostAtOnce) {
        const QList<qint32> some = jobIDs.sliced(first, qMin(mostAtOnce, jobIDs.size() - first));
        deleted =
            InTransaction([&] { return DeleteRowsOf(some) && RemoveFieldsOfGoneJobs(some); }) && deleted;
    }
    return deleted;
}

bool Taskmill_FinishedJobStore::DeleteRowsOf(const QList<qint32> &jobIDs)
{
    QStringList numbers;
    for (const qint32 jobID : jobIDs)
        numbers.append(QString::number(jobID));
    if (!Execute(u"DELETE FROM "_s + TableName() + u" WHERE JobID IN ("_s + numbers.join(u',') + u')'))
        return false;
    ForgetKeysOf(jobIDs);
    return true;
}

QList<Taskmill_JobRecord> Taskmill_FinishedJobStore::GetAll(std::optional<int> longestOutput)
{
    if (!Open())
        return {};
    QString columns = ColumnsToRead().join(u',');
    if (longestOutput)
        columns.replace(u"StdOutAndStdErr"_s,
                        u"substr(StdOutAndStdErr,1,%1) AS StdOutAndStdErr"_s.arg(*longestOutput));
    return ReadJobs(columns);
}

QString Taskmill_FinishedJobStore::GetOutput(qint32 jobID)
{
    if (!Open())
        return {};
    QSqlQuery query{Connection()};
    query.setForwardOnly(true);
    const QString statement =
        u"SELECT StdOutAndStdErr FROM FinishedJobs WHERE JobID = %1 LIMIT 1"_s.arg(jobID);
    return query.exec(statement) && query.next() ? query.value(0).toString() : QString{};
}
