// SPDX-License-Identifier: MIT
#include "db/finishedjobstore.h"

#include "db/database.h"
#include "db/jobfields.h"
#include "db/recordfields.h"
#include "db/rowcursor.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

Taskmill_FinishedJobStore::Taskmill_FinishedJobStore(Taskmill_Database &database)
    : Taskmill_JobTableStore{database, Taskmill_Table::FinishedJobs, u"FinishedJobID"_s}
{
}

void Taskmill_FinishedJobStore::Forget()
{
    Taskmill_JobTableStore::Forget();
    m_jobTypes.clear();
    m_single.reset();
}

void Taskmill_FinishedJobStore::ForgetKeys()
{
    Taskmill_JobTableStore::ForgetKeys();
    m_rows.reset();
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
    qint32 key = -1;
    if (!InsertJob(fields, job, forceNew, &key))
        return false;
    if (outID)
        *outID = key;
    // Without forceNew the key may be that of an older row.
    if (m_rows && (m_rows->isEmpty() || m_rows->last().Key < key)) {
        m_rows->append({key, job.JobID});
        m_largestJobID.reset();
    }
    return true;
}

bool Taskmill_FinishedJobStore::DeleteAll(const QList<qint32> &jobIDs)
{
    QList<qint64> keys;
    const QList<Taskmill_FinishedRow> rows = Rows();
    const QSet<qint32> wanted{jobIDs.begin(), jobIDs.end()};
    for (const Taskmill_FinishedRow &row : rows) {
        if (wanted.contains(row.JobID))
            keys.append(row.Key);
    }
    return DeleteRows(keys);
}

QList<qint32> Taskmill_FinishedJobStore::TakeOut(const QList<qint64> &keys)
{
    QList<qint32> jobIDs;
    if (!m_rows)
        Load();
    // The rows are in rising order too, and what is removed stands together as a rule.
    const auto begin = std::ranges::lower_bound(*m_rows, keys.first(), {}, &Taskmill_FinishedRow::Key);
    const auto end = std::ranges::upper_bound(*m_rows, keys.last(), {}, &Taskmill_FinishedRow::Key);
    auto key = keys.cbegin();
    const auto left = std::remove_if(begin, end, [&](const Taskmill_FinishedRow &row) {
        while (key != keys.cend() && *key < row.Key)
            ++key;
        const bool isGone = key != keys.cend() && *key == row.Key;
        if (isGone)
            jobIDs.append(row.JobID);
        return isGone;
    });
    m_rows->erase(left, end);
    m_largestJobID.reset();
    return jobIDs;
}

bool Taskmill_FinishedJobStore::DeleteRows(const QList<qint64> &keys)
{
    if (keys.isEmpty() || !Database().IsOpen())
        return keys.isEmpty();
    const QString statement = u"DELETE FROM FinishedJobs WHERE %1 BETWEEN ? AND ?"_s.arg(RowKeyColumn());
    const bool deleted = InTransaction([&] {
        // Neighbours at once.
        for (auto first = keys.cbegin(); first != keys.cend();) {
            auto last = first;
            while (last + 1 != keys.cend() && *(last + 1) == *last + 1)
                ++last;
            if (!RunPrepared(statement, {*first, *last}))
                return false;
            first = last + 1;
        }
        return RemoveFieldsOfGoneJobs(TakeOut(keys));
    });
    if (!deleted)
        ForgetKeys();
    return deleted;
}

QString Taskmill_FinishedJobStore::RowKeyColumn() const
{
    return IsInMemory() ? u"rowid"_s : KeyColumn();
}

void Taskmill_FinishedJobStore::Load()
{
    m_single.reset();
    m_jobTypes = JobTypesByID();
    QList<Taskmill_FinishedRow> &rows = m_rows.emplace();
    m_largestJobID = -1;
    // All that opening a project reads of them.
    Taskmill_RowCursor cursor{
        Connection(),
        u"SELECT %1, JobID, JobID < 2147483647 FROM FinishedJobs ORDER BY 1"_s.arg(RowKeyColumn())};
    while (cursor.Next()) {
        rows.append({cursor.LongInteger(0), cursor.Integer(1)});
        if (cursor.Integer(2) != 0)
            m_largestJobID = std::max(*m_largestJobID, rows.last().JobID);
    }
}

QList<Taskmill_FinishedRow> Taskmill_FinishedJobStore::Rows()
{
    if (!Open())
        return {};
    // Another program may have changed what is no database in memory.
    if (!m_rows || !IsInMemory())
        Load();
    return *m_rows;
}

void Taskmill_FinishedJobStore::TakeOutContained(QSet<qint32> &jobIDs)
{
    const QList<Taskmill_FinishedRow> rows = jobIDs.isEmpty() ? QList<Taskmill_FinishedRow>{} : Rows();
    for (const Taskmill_FinishedRow &row : rows)
        jobIDs.remove(row.JobID);
}

qint32 Taskmill_FinishedJobStore::LargestJobID()
{
    if (!m_rows && Open())
        Load();
    return m_largestJobID && IsInMemory() ? *m_largestJobID : Taskmill_JobTableStore::LargestJobID();
}

QList<Taskmill_JobRecord> Taskmill_FinishedJobStore::GetAll()
{
    return Open() ? ReadJobs(ColumnsToRead().join(u',')) : QList<Taskmill_JobRecord>{};
}

QStringList Taskmill_FinishedJobStore::ColumnsWithoutOutput() const
{
    QStringList columns = ColumnsToRead();
    columns.removeAll(u"StdOutAndStdErr"_s);
    return columns;
}

QList<Taskmill_JobRecord> Taskmill_FinishedJobStore::GetAllWithoutOutputs()
{
    return Open() ? ReadJobs(ColumnsWithoutOutput().join(u',')) : QList<Taskmill_JobRecord>{};
}

std::optional<Taskmill_JobRecord> Taskmill_FinishedJobStore::Get(qint64 key)
{
    if (!m_single)
        m_single = MakeReader({});
    std::optional<Taskmill_JobRecord> job = m_single->Find(key);
    if (job && AddedFields().Has(Connection(), Taskmill_FieldOwner::Job, job->JobID)) {
        const auto fields =
            AddedFields().Read(Connection(), Taskmill_FieldOwner::Job, QString::number(job->JobID));
        Taskmill_SetFieldsOfJob(*job, fields.value(job->JobID));
    }
    return job;
}

QString Taskmill_FinishedJobStore::GetOutput(qint64 key)
{
    QSqlQuery *query =
        Open() ? Prepared(u"SELECT StdOutAndStdErr FROM FinishedJobs WHERE %1 = ?"_s.arg(RowKeyColumn()))
               : nullptr;
    QString output;
    if (query && Taskmill_DatabaseStatements::Run(*query, {key}) && query->next())
        output = query->value(0).toString();
    if (query)
        query->finish();
    return output;
}

std::function<QByteArray()> Taskmill_FinishedJobStore::ReaderOfOutput(qint64 key)
{
    if (Database().StoragePath().isEmpty())
        return [output = GetOutput(key)] {
            return output.toUtf8();
        };
    return [path = Database().StoragePath(), column = RowKeyColumn(), key] {
        return Taskmill_FinishedJobReader::ReadOutput(path, column, key);
    };
}

bool Taskmill_FinishedJobStore::SetOutput(qint64 key, const QString &output)
{
    return RunPrepared(u"UPDATE FinishedJobs SET StdOutAndStdErr = ? WHERE %1 = ?"_s.arg(RowKeyColumn()),
                       {output, key});
}

std::unique_ptr<Taskmill_FinishedJobReader>
Taskmill_FinishedJobStore::MakeReader(Taskmill_FinishedJobReading reading)
{
    if (!m_rows && Open())
        Load();
    QStringList columns = ColumnsWithoutOutput();
    if (!reading.Columns.isEmpty())
        columns.removeIf([&reading](const QString &name) { return !reading.Columns.contains(name); });
    reading.Columns = columns;
    if (!AddedFields().Exists(Connection()))
        reading.Fields.clear();
    return std::make_unique<Taskmill_FinishedJobReader>(Connection(), Database().StoragePath(),
                                                        RowKeyColumn(), reading, m_jobTypes);
}
