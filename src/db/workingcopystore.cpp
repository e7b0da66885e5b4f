// SPDX-License-Identifier: MIT
#include "db/workingcopystore.h"

#include "db/database.h"

#include <QSqlRecord>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString changes = u"Changes"_s;
const QString createOutbox =
    u"CREATE TABLE IF NOT EXISTS WorkingCopyOutbox (NotificationID INTEGER PRIMARY KEY, JobID INTEGER, "
    "Address TEXT, Port INTEGER, Message BLOB, EndMs INTEGER)"_s;
} // namespace

void Taskmill_WorkingCopyStore::Forget()
{
    Taskmill_TableStore::Forget();
    m_exists.reset();
}

bool Taskmill_WorkingCopyStore::Exists()
{
    if (!m_exists)
        m_exists = Connection().tables(QSql::Tables).contains(u"WorkingCopy"_s, Qt::CaseInsensitive);
    return *m_exists;
}

bool Taskmill_WorkingCopyStore::Begin()
{
    Forget();
    const bool begun = Database().Untracked([this] {
        return Execute(u"DROP TABLE IF EXISTS WorkingCopy"_s) &&
               Execute(u"DROP TABLE IF EXISTS WorkingCopyRuns"_s) &&
               Execute(u"DROP TABLE IF EXISTS WorkingCopyOutputs"_s) &&
               Execute(u"DROP TABLE IF EXISTS WorkingCopyOutbox"_s) && Execute(createOutbox) &&
               Execute(u"CREATE TABLE WorkingCopy (Name TEXT PRIMARY KEY, Value TEXT) WITHOUT ROWID"_s) &&
               Execute(u"CREATE TABLE WorkingCopyRuns (JobID INTEGER PRIMARY KEY, Run TEXT)"_s) &&
               Execute(u"INSERT INTO WorkingCopy VALUES ('Changes', 0)"_s);
    });
    Forget();
    return begun;
}

bool Taskmill_WorkingCopyStore::Set(const QString &name, const QString &value)
{
    return !Exists() || Database().Untracked([&] {
        return RunPrepared(u"INSERT OR REPLACE INTO WorkingCopy VALUES (?, ?)"_s, {name, value});
    });
}

QString Taskmill_WorkingCopyStore::Value(const QString &name)
{
    QSqlQuery *select = Exists() ? Prepared(u"SELECT Value FROM WorkingCopy WHERE Name = ?"_s) : nullptr;
    QString value;
    if (select && Taskmill_DatabaseStatements::Run(*select, {name}) && select->next())
        value = select->value(0).toString();
    if (select)
        select->finish();
    return value;
}

int Taskmill_WorkingCopyStore::Changes()
{
    return Value(changes).toInt();
}

bool Taskmill_WorkingCopyStore::SetUnchanged()
{
    return Set(changes, u"0"_s);
}

bool Taskmill_WorkingCopyStore::CountChange()
{
    return !Exists() || RunPrepared(u"UPDATE WorkingCopy SET Value = Value + 1 WHERE Name = 'Changes'"_s, {});
}

QHash<qint64, Taskmill_LeftOutput> Taskmill_WorkingCopyStore::LeftOutputs()
{
    QHash<qint64, Taskmill_LeftOutput> outputs;
    QSqlQuery query{Connection()};
    query.setForwardOnly(true);
    // The table is made with its first row.
    if (query.exec(u"SELECT FinishedJobID, Run, Said FROM WorkingCopyOutputs"_s)) {
        while (query.next())
            outputs.insert(query.value(0).toLongLong(),
                           {.Run = query.value(1).toString(), .Said = query.value(2).toString()});
    }
    return outputs;
}

bool Taskmill_WorkingCopyStore::AddLeftOutput(qint64 key, const Taskmill_LeftOutput &output)
{
    return Execute(
               u"CREATE TABLE IF NOT EXISTS WorkingCopyOutputs (FinishedJobID INTEGER PRIMARY KEY, Run TEXT, "
               "Said TEXT)"_s) &&
           RunPrepared(u"INSERT OR REPLACE INTO WorkingCopyOutputs VALUES (?, ?, ?)"_s,
                       {key, output.Run, output.Said});
}

bool Taskmill_WorkingCopyStore::RemoveLeftOutput(qint64 key)
{
    return RunPrepared(u"DELETE FROM WorkingCopyOutputs WHERE FinishedJobID = ?"_s, {key});
}

QHash<qint32, QString> Taskmill_WorkingCopyStore::Runs()
{
    QHash<qint32, QString> runs;
    QSqlQuery query{Connection()};
    query.setForwardOnly(true);
    // One of an earlier version has the numbers alone.
    if (query.exec(u"SELECT * FROM WorkingCopyRuns"_s)) {
        while (query.next())
            runs.insert(query.value(0).toInt(), query.value(1).toString());
    }
    return runs;
}

bool Taskmill_WorkingCopyStore::AddRun(qint32 jobID, const QString &run)
{
    return !Exists() || RunPrepared(u"INSERT OR REPLACE INTO WorkingCopyRuns VALUES (?, ?)"_s, {jobID, run});
}

bool Taskmill_WorkingCopyStore::RemoveRun(qint32 jobID)
{
    return !Exists() || RunPrepared(u"DELETE FROM WorkingCopyRuns WHERE JobID = ?"_s, {jobID});
}

bool Taskmill_WorkingCopyStore::RemoveAllRuns()
{
    return !Exists() || Database().Untracked([this] { return Execute(u"DELETE FROM WorkingCopyRuns"_s); });
}

bool Taskmill_WorkingCopyStore::CompleteTables()
{
    const QString runs = u"WorkingCopyRuns"_s;
    return !Exists() ||
           (Execute(createOutbox) && (Connection().record(runs).contains(u"Run"_s) ||
                                      Execute(u"ALTER TABLE WorkingCopyRuns ADD COLUMN Run TEXT"_s)));
}

QList<Taskmill_Notification> Taskmill_WorkingCopyStore::Notifications()
{
    QList<Taskmill_Notification> notifications;
    QSqlQuery query{Connection()};
    query.setForwardOnly(true);
    if (!query.exec(
            u"SELECT NotificationID, JobID, Address, Port, Message, EndMs FROM WorkingCopyOutbox ORDER BY NotificationID"_s))
        return notifications;
    while (query.next()) {
        notifications.append({.JobID = query.value(1).toInt(),
                              .Address = query.value(2).toString(),
                              .Port = query.value(3).toInt(),
                              .Message = query.value(4).toByteArray(),
                              .EndMs = query.value(5).toLongLong(),
                              .Key = query.value(0).toLongLong()});
    }
    return notifications;
}

bool Taskmill_WorkingCopyStore::AddNotification(const Taskmill_Notification &notification)
{
    return !Exists() || Database().Untracked([&] {
        return RunPrepared(u"INSERT INTO WorkingCopyOutbox VALUES (?, ?, ?, ?, ?, ?)"_s,
                           {notification.Key, notification.JobID, notification.Address, notification.Port,
                            notification.Message, notification.EndMs});
    });
}

bool Taskmill_WorkingCopyStore::RemoveNotification(qint64 key)
{
    return !Exists() || Database().Untracked([&] {
        return RunPrepared(u"DELETE FROM WorkingCopyOutbox WHERE NotificationID = ?"_s, {key});
    });
}

bool Taskmill_WorkingCopyStore::SetMessage(qint64 key, const QByteArray &message)
{
    return !Exists() || Database().Untracked([&] {
        return RunPrepared(u"UPDATE WorkingCopyOutbox SET Message = ? WHERE NotificationID = ?"_s,
                           {message, key});
    });
}
