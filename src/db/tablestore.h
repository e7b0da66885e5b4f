// SPDX-License-Identifier: MIT
#pragma once

#include "db/databasestatements.h"

#include <QSqlDatabase>
#include <QString>
#include <QVariantList>

#include <functional>
#include <optional>

class Taskmill_AddedFields;
class Taskmill_Database;
class Taskmill_RecordFields;

/// Base of the classes that write and read the records of one table of the job database. Insertions open the
/// connection and create missing tables, reading only opens it, updates and deletions need it open. Every
/// write is one transaction.
class Taskmill_TableStore
{
public:
    /// The database must outlive the store.
    explicit Taskmill_TableStore(Taskmill_Database &database);
    virtual ~Taskmill_TableStore() = default;
    Q_DISABLE_COPY_MOVE(Taskmill_TableStore)

    /// Drops everything that is remembered, prepared statements too, because the content may be another one
    /// or the connection ends.
    virtual void Forget();

protected:
    /// What is written of one operation, in one transaction; false undoes all of it.
    using Writing = std::function<bool()>;

    [[nodiscard]] Taskmill_Database &Database() const { return m_database; }
    [[nodiscard]] const QSqlDatabase &Connection() const;
    [[nodiscard]] Taskmill_AddedFields &AddedFields() const;
    /// Nobody else can change a database in memory, so that what was read from it may be remembered.
    [[nodiscard]] bool IsInMemory() const;
    bool Open();
    bool OpenWithTables();

    bool InTransaction(const Writing &write);
    /// Both keep the error for LastErrorMessage() of the database.
    bool Execute(const QString &statement);
    bool RunPrepared(const QString &statement, const QVariantList &values);
    QSqlQuery *Prepared(const QString &statement);
    std::optional<qint64> SelectInteger(const QString &statement);
    /// Inserts the row with the next key and runs writeMore in the same transaction. outID receives the key;
    /// without forceNew that of the row of the same name, which makes the insertion do nothing.
    bool InsertKeyed(const QString &table, Taskmill_RecordFields fields, const QString &name, bool forceNew,
                     qint32 *outID, const Writing &writeMore = {});

    /// A text that would not stand as it is between single quotes is not taken by the statements that are
    /// meant to have it there.
    [[nodiscard]] static bool IsPlain(const QString &text);

private:
    QSqlQuery *InsertStatement(const QString &table, const QStringList &columns);
    std::optional<qint64> FindName(const QString &table, const QString &keyColumn, const QString &name);

    Taskmill_Database &m_database;
    Taskmill_DatabaseStatements m_statements;
};
