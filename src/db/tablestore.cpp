// SPDX-License-Identifier: MIT
#include "db/tablestore.h"

#include "db/database.h"
#include "db/recordfields.h"

#include <QSqlError>

#include <limits>

using namespace Qt::Literals::StringLiterals;

Taskmill_TableStore::Taskmill_TableStore(Taskmill_Database &database)
    : m_database{database}
{
}

void Taskmill_TableStore::Forget()
{
    m_statements.Clear();
}

const QSqlDatabase &Taskmill_TableStore::Connection() const
{
    return m_database.Connection();
}

Taskmill_AddedFields &Taskmill_TableStore::AddedFields() const
{
    return m_database.AddedFields();
}

bool Taskmill_TableStore::IsInMemory() const
{
    return m_database.Kind() == Taskmill_Database::SQLiteMemory;
}

bool Taskmill_TableStore::Open()
{
    return m_database.Open();
}

bool Taskmill_TableStore::OpenWithTables()
{
    return Open() && m_database.CreateTables();
}

bool Taskmill_TableStore::InTransaction(const Writing &write)
{
    return m_database.InTransaction(write);
}

bool Taskmill_TableStore::Execute(const QString &statement)
{
    return m_database.Execute(statement);
}

QSqlQuery *Taskmill_TableStore::Prepared(const QString &statement)
{
    return m_statements.Find(Connection(), statement);
}

bool Taskmill_TableStore::IsPlain(const QString &text)
{
    return !text.contains(u'\'') && !text.contains(QChar::Null);
}

QSqlQuery *Taskmill_TableStore::InsertStatement(const QString &table, const QStringList &columns)
{
    return m_statements.Find(Connection(), u"INSERT INTO "_s + table, [&] {
        QStringList marks;
        marks.fill(u"?"_s, columns.size());
        return u"INSERT INTO "_s + table + u" ("_s + columns.join(u',') + u") VALUES ("_s + marks.join(u',') +
               u')';
    });
}

std::optional<qint64> Taskmill_TableStore::SelectInteger(const QString &statement)
{
    QSqlQuery *query = Prepared(statement);
    return query ? Taskmill_DatabaseStatements::FirstInteger(*query, {}) : std::nullopt;
}

std::optional<qint64> Taskmill_TableStore::FindName(const QString &table, const QString &keyColumn,
                                                    const QString &name)
{
    QSqlQuery query{Connection()};
    if (!query.exec(u"SELECT "_s + keyColumn + u" FROM "_s + table + u" WHERE Name = '"_s + name +
                    u"' LIMIT 1"_s) ||
        !query.next())
        return std::nullopt;
    return query.value(0).toLongLong();
}

bool Taskmill_TableStore::InsertKeyed(const QString &table, Taskmill_RecordFields fields, const QString &name,
                                      bool forceNew, qint32 *outID, const Writing &writeMore)
{
    if (!OpenWithTables())
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
            m_database.SetLastError(insert->lastError());
        return false;
    });
}

bool Taskmill_TableStore::RunPrepared(const QString &statement, const QVariantList &values)
{
    QSqlQuery *prepared = Prepared(statement);
    if (prepared && Taskmill_DatabaseStatements::Run(*prepared, values))
        return true;
    if (prepared)
        m_database.SetLastError(prepared->lastError());
    return false;
}
