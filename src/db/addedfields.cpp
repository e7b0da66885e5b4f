// SPDX-License-Identifier: MIT
#include "db/addedfields.h"

#include "kilnutil/logging.h"

#include <QSqlError>

#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
QString OwnerText(Taskmill_FieldOwner owner)
{
    constexpr std::array texts{"job"_L1, "jobtype"_L1, "queue"_L1, "project"_L1};
    return texts.at(static_cast<std::size_t>(owner));
}

bool Execute(const QSqlDatabase &connection, const QString &statement)
{
    QSqlQuery query{connection};
    if (query.exec(statement))
        return true;
    qCWarning(Taskmill_DBLog, "Added fields: %ls", qUtf16Printable(query.lastError().text()));
    return false;
}
} // namespace

QString Taskmill_AddedFields::TableName()
{
    return u"AddedFields"_s;
}

QStringList Taskmill_AddedFields::ColumnNames()
{
    return {u"Owner"_s, u"OwnerID"_s, u"Name"_s, u"Value"_s};
}

void Taskmill_AddedFields::Forget()
{
    m_statements.Clear();
    m_exists.reset();
    m_owners.clear();
}

bool Taskmill_AddedFields::Exists(const QSqlDatabase &connection)
{
    if (!m_exists)
        m_exists = connection.tables(QSql::Tables).contains(TableName(), Qt::CaseInsensitive);
    return *m_exists;
}

bool Taskmill_AddedFields::Create(const QSqlDatabase &connection)
{
    if (Exists(connection))
        return true;
    m_exists =
        Execute(connection, u"CREATE TABLE AddedFields (Owner TEXT, OwnerID INTEGER, Name TEXT, Value TEXT, "
                            "PRIMARY KEY (Owner, OwnerID, Name))"_s);
    return *m_exists;
}

QSet<qint32> &Taskmill_AddedFields::Owners(const QSqlDatabase &connection, Taskmill_FieldOwner owner)
{
    const auto known = m_owners.find(owner);
    if (known != m_owners.end())
        return *known;
    QSet<qint32> &owners = *m_owners.insert(owner, {});
    QSqlQuery query{connection};
    query.setForwardOnly(true);
    if (Exists(connection) &&
        query.exec(u"SELECT DISTINCT OwnerID FROM AddedFields WHERE Owner = '%1'"_s.arg(OwnerText(owner)))) {
        while (query.next())
            owners.insert(query.value(0).toInt());
    }
    return owners;
}

bool Taskmill_AddedFields::Has(const QSqlDatabase &connection, Taskmill_FieldOwner owner, qint32 ownerID)
{
    return Owners(connection, owner).contains(ownerID);
}

QHash<qint32, Taskmill_AddedFields::Fields>
Taskmill_AddedFields::Read(const QSqlDatabase &connection, Taskmill_FieldOwner owner, const QString &ownerIDs)
{
    QHash<qint32, Fields> fields;
    QSqlQuery query{connection};
    query.setForwardOnly(true);
    if (!Exists(connection) ||
        !query.exec(
            u"SELECT OwnerID, Name, Value FROM AddedFields WHERE Owner = '%1' AND OwnerID IN (%2)"_s.arg(
                OwnerText(owner), ownerIDs)))
        return fields;
    while (query.next())
        fields[query.value(0).toInt()].insert(query.value(1).toString(), query.value(2).toString());
    return fields;
}

bool Taskmill_AddedFields::Set(const QSqlDatabase &connection, Taskmill_FieldOwner owner, qint32 ownerID,
                               const Fields &fields)
{
    // A number may have had fields before: those of an owner that was lost, or of this one in another table.
    if (!Remove(connection, owner, {ownerID}))
        return false;
    if (fields.isEmpty())
        return true;
    if (!Create(connection))
        return false;
    for (const auto &[name, value] : fields.asKeyValueRange()) {
        if (!RunPrepared(connection,
                         u"INSERT INTO AddedFields (Owner, OwnerID, Name, Value) VALUES (?, ?, ?, ?)"_s,
                         {OwnerText(owner), ownerID, name, value}))
            return false;
    }
    Owners(connection, owner).insert(ownerID);
    return true;
}

bool Taskmill_AddedFields::SetOne(const QSqlDatabase &connection, Taskmill_FieldOwner owner, qint32 ownerID,
                                  const QString &name, const QString &value)
{
    if (value.isEmpty())
        return !Has(connection, owner, ownerID) ||
               RunPrepared(connection,
                           u"DELETE FROM AddedFields WHERE Owner = ? AND OwnerID = ? AND Name = ?"_s,
                           {OwnerText(owner), ownerID, name});
    if (!Create(connection) ||
        !RunPrepared(
            connection,
            u"INSERT OR REPLACE INTO AddedFields (Owner, OwnerID, Name, Value) VALUES (?, ?, ?, ?)"_s,
            {OwnerText(owner), ownerID, name, value}))
        return false;
    Owners(connection, owner).insert(ownerID);
    return true;
}

bool Taskmill_AddedFields::RunPrepared(const QSqlDatabase &connection, const QString &statement,
                                       const QVariantList &values)
{
    QSqlQuery *prepared = m_statements.Find(connection, statement);
    if (prepared && Taskmill_DatabaseStatements::Run(*prepared, values))
        return true;
    if (prepared)
        qCWarning(Taskmill_DBLog, "Added fields: %ls", qUtf16Printable(prepared->lastError().text()));
    return false;
}

bool Taskmill_AddedFields::Remove(const QSqlDatabase &connection, Taskmill_FieldOwner owner,
                                  const QList<qint32> &ownerIDs)
{
    QSet<qint32> &owners = Owners(connection, owner);
    // At every start and end of a job.
    if (ownerIDs.size() == 1) {
        if (!owners.remove(ownerIDs.first()))
            return true;
        return RunPrepared(connection, u"DELETE FROM AddedFields WHERE Owner = ? AND OwnerID = ?"_s,
                           {OwnerText(owner), ownerIDs.first()});
    }
    // The text of a statement is limited to a million bytes.
    constexpr qsizetype mostAtOnce = 50'000;
    QStringList numbers;
    const auto remove = [&] {
        const QString list = std::exchange(numbers, {}).join(u',');
        return list.isEmpty() ||
               Execute(connection, u"DELETE FROM AddedFields WHERE Owner = '%1' AND OwnerID IN (%2)"_s.arg(
                                       OwnerText(owner), list));
    };
    for (const qint32 ownerID : ownerIDs) {
        if (owners.remove(ownerID))
            numbers.append(QString::number(ownerID));
        if (numbers.size() == mostAtOnce && !remove())
            return false;
    }
    return remove();
}

bool Taskmill_AddedFields::RemoveOthers(const QSqlDatabase &connection, Taskmill_FieldOwner owner,
                                        const QString &ownerIDs)
{
    m_owners.remove(owner);
    return !Exists(connection) ||
           Execute(connection, u"DELETE FROM AddedFields WHERE Owner = '%1' AND OwnerID NOT IN (%2)"_s.arg(
                                   OwnerText(owner), ownerIDs));
}
