// SPDX-License-Identifier: MIT
#include "db/addedfieldsstore.h"

#include "db/database.h"
#include "db/jobfields.h"
#include "db/jobtablestore.h"
#include "kilnutil/logging.h"

using namespace Qt::Literals::StringLiterals;

void Taskmill_AddedFieldsStore::Forget()
{
    Taskmill_TableStore::Forget();
    m_fields.Forget();
}

Taskmill_AddedFields &Taskmill_AddedFieldsStore::All()
{
    if (!IsInMemory())
        m_fields.Forget();
    return m_fields;
}

QString Taskmill_AddedFieldsStore::OfProject(const QString &name)
{
    return All().Read(Connection(), Taskmill_FieldOwner::Project, u"0"_s).value(0).value(name);
}

bool Taskmill_AddedFieldsStore::SetOfProject(const QString &name, const QString &value)
{
    return Database().Untracked([&] {
        auto fields = All().Read(Connection(), Taskmill_FieldOwner::Project, u"0"_s).value(0);
        fields.insert(name, value);
        return m_fields.Set(Connection(), Taskmill_FieldOwner::Project, 0, fields);
    });
}

QHash<qint32, Taskmill_AddedFields::Fields> Taskmill_AddedFieldsStore::OfJobs(const QString &jobIDs)
{
    return All().Read(Connection(), Taskmill_FieldOwner::Job, jobIDs);
}

bool Taskmill_AddedFieldsStore::SetOfJob(const Taskmill_JobRecord &job)
{
    return All().Set(Connection(), Taskmill_FieldOwner::Job, job.JobID, Taskmill_FieldsOfJob(job));
}

bool Taskmill_AddedFieldsStore::SetRunOfJob(qint32 jobID, const QString &run)
{
    return All().SetOne(Connection(), Taskmill_FieldOwner::Job, jobID, Taskmill_RunField, run);
}

bool Taskmill_AddedFieldsStore::SetResultOfJob(qint32 jobID, const Taskmill_JobResult &result)
{
    auto fields = OfJobs(QString::number(jobID)).value(jobID);
    Taskmill_SetResultField(fields, result);
    return m_fields.Set(Connection(), Taskmill_FieldOwner::Job, jobID, fields);
}

/// No table has an index on the number: one walk through each serves for all of them.
void Taskmill_AddedFieldsStore::TakeOutContained(QSet<qint32> &jobIDs, Tables tables)
{
    for (Taskmill_JobTableStore *table : tables) {
        if (!jobIDs.isEmpty())
            table->TakeOutContained(jobIDs);
    }
}

bool Taskmill_AddedFieldsStore::RemoveOfGoneJobs(const QList<qint32> &jobIDs, Tables tables)
{
    Taskmill_AddedFields &fields = All();
    QSet<qint32> gone;
    for (const qint32 jobID : jobIDs) {
        if (fields.Has(Connection(), Taskmill_FieldOwner::Job, jobID))
            gone.insert(jobID);
    }
    TakeOutContained(gone, tables);
    return fields.Remove(Connection(), Taskmill_FieldOwner::Job, gone.values());
}

void Taskmill_AddedFieldsStore::RemoveOrphans(Tables tables)
{
    const QStringList names = Connection().tables(QSql::Tables);
    const auto numbers = [&names](const QString &column, const QString &table) {
        return names.contains(table, Qt::CaseInsensitive) ? u"SELECT %1 FROM %2"_s.arg(column, table)
                                                          : QString{};
    };
    // A few jobs of a million as a rule: looking them up takes less than a list of all numbers.
    QSet<qint32> gone = All().OwnersOf(Connection(), Taskmill_FieldOwner::Job);
    TakeOutContained(gone, tables);
    const bool removed = Database().Untracked([&] {
        Taskmill_AddedFields &fields = All();
        return fields.Remove(Connection(), Taskmill_FieldOwner::Job, gone.values()) &&
               fields.RemoveOthers(Connection(), Taskmill_FieldOwner::JobType,
                                   numbers(u"JobTypeID"_s, u"JobTypes"_s)) &&
               fields.RemoveOthers(Connection(), Taskmill_FieldOwner::Queue,
                                   numbers(u"QueueID"_s, u"Queues"_s));
    });
    if (!removed)
        qCWarning(Taskmill_DBLog, "Values without an owner could not be removed");
}
