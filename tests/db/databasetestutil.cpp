// SPDX-License-Identifier: MIT
#include "databasetestutil.h"

#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTemporaryDir>
#include <QUuid>

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

std::unique_ptr<Taskmill_Database> MakeClosedDatabase()
{
    return std::make_unique<Taskmill_Database>(Taskmill_Database::SQLiteMemory, QString{}, u"QSQLITE"_s,
                                               QString{}, QString{}, QString{}, u"Test database"_s,
                                               u"Database Object"_s);
}

std::unique_ptr<Taskmill_Database> MakeDatabase()
{
    auto database = MakeClosedDatabase();
    if (!database->Open() || !database->InitializeTables())
        qFatal("cannot make a database");
    return database;
}

RawDatabase::RawDatabase(const QString &path)
    : m_connection{QSqlDatabase::addDatabase(u"QSQLITE"_s, QUuid::createUuid().toString())}
{
    m_connection.setDatabaseName(path);
    if (!m_connection.open())
        qFatal("cannot open %ls", qUtf16Printable(path));
}

RawDatabase::~RawDatabase()
{
    const QString name = m_connection.connectionName();
    m_connection.close();
    m_connection = QSqlDatabase{};
    QSqlDatabase::removeDatabase(name);
}

void RawDatabase::Execute(const QStringList &statements)
{
    for (const QString &statement : statements) {
        QSqlQuery query{m_connection};
        if (!query.exec(statement))
            qFatal("%ls: %ls", qUtf16Printable(statement), qUtf16Printable(query.lastError().text()));
    }
}

QStringList RawDatabase::Rows(const QString &statement)
{
    QSqlQuery query{m_connection};
    if (!query.exec(statement))
        qFatal("%ls: %ls", qUtf16Printable(statement), qUtf16Printable(query.lastError().text()));
    QStringList rows;
    while (query.next()) {
        QStringList values;
        for (int column = 0; column < query.record().count(); ++column)
            values.append(query.value(column).toString());
        rows.append(values.join(u'|'));
    }
    return rows;
}

void RefuseWrites(const Taskmill_Database &database, bool refuse)
{
    sqlite3 *handle = *static_cast<sqlite3 *const *>(database.Driver()->handle().constData());
    sqlite3_exec(handle, refuse ? "PRAGMA query_only = ON" : "PRAGMA query_only = OFF", nullptr, nullptr,
                 nullptr);
}

void RefuseCommits(const Taskmill_Database &database, bool refuse)
{
    sqlite3 *handle = *static_cast<sqlite3 *const *>(database.Driver()->handle().constData());
    sqlite3_commit_hook(handle, refuse ? +[](void *) { return 1; } : nullptr, nullptr);
}

QStringList RowsOfFile(const QString &path, const QString &statement)
{
    return RawDatabase{path}.Rows(statement);
}

QStringList RowsOf(Taskmill_Database &database, const QString &statement)
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"copy.mill"_s);
    if (!database.SaveToFile(path))
        qFatal("cannot save");
    return RowsOfFile(path, statement);
}
