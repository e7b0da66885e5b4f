// SPDX-License-Identifier: MIT
#include "db/queuestore.h"

#include "db/recordfields.h"
#include "kilnutil/database_foundation.h"

#include <QSqlRecord>

using namespace Qt::Literals::StringLiterals;

bool Taskmill_QueueStore::Insert(const QString &name, qint32 maxRunningJobs, qint32 *outID)
{
    Taskmill_RecordFields fields{u"QueueID"_s};
    fields.AddText(u"Name"_s, name);
    fields.AddCreationTimes();
    fields.AddInteger(u"MaxRunningJobs"_s, maxRunningJobs);
    return InsertKeyed(u"Queues"_s, fields, name, false, outID);
}

qint32 Taskmill_QueueStore::GetValue(const QString &name, const QString &column)
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

qint32 Taskmill_QueueStore::GetID(const QString &name)
{
    return GetValue(name, u"QueueID"_s);
}

qint32 Taskmill_QueueStore::GetMaxRunningJobs(const QString &name)
{
    return GetValue(name, u"MaxRunningJobs"_s);
}

bool Taskmill_QueueStore::SetMaxRunningJobs(const QString &name, qint32 maxRunningJobs)
{
    if (!OpenWithTables())
        return false;
    const qint32 key = GetID(name);
    return key >= 0 && InTransaction([&] {
               const QString ofQueue = u" WHERE QueueID = "_s + QString::number(key);
               return Execute(u"UPDATE Queues SET MaxRunningJobs = "_s + QString::number(maxRunningJobs) +
                              ofQueue) &&
                      Execute(u"UPDATE Queues SET LastModified = '"_s + Taskmill_JobTime::Now().IsoText() +
                              u'\'' + ofQueue);
           });
}
