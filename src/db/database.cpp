// SPDX-License-Identifier: MIT
#include "db/database.h"

#include "db/databasecopy.h"
#include "db/databaseschema.h"
#include "kilnutil/error.h"
#include "kilnutil/stringutil.h"

#include <QFile>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>

#include <array>

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

Taskmill_Database::~Taskmill_Database()
{
    ForgetContent();
}

void Taskmill_Database::ForgetContent()
{
    m_statements.Clear();
    m_addedFields.Forget();
    m_jobTypes.reset();
    m_keysOfJobs.clear();
}

void Taskmill_Database::Close()
{
    m_tablesReady = false;
    ForgetContent();
    KilnUtil_Database_Foundation::Close();
}

bool Taskmill_Database::InitializeTables()
{
    if (!CreateTables())
        return false;
    const QSqlQuery noEffect{QString{}, Connection()};
    return true;
}

bool Taskmill_Database::CreateTables()
{
    if (m_tablesReady)
        return true;
    const UntrackedScope noChange{*this};
    if (!BeginTransaction())
        return false;

    static constexpr std::array creations{
        &Taskmill_Database::CreateGeneralDataTable,    &Taskmill_Database::CreateJobTypesTable,
        &Taskmill_Database::CreateQueuesTable,         &Taskmill_Database::CreateLongJobsQueueTable,
        &Taskmill_Database::CreateShortJobsQueueTable, &Taskmill_Database::CreateQueuelessJobsTable,
        &Taskmill_Database::CreateRunningJobsTable,    &Taskmill_Database::CreateFinishedJobsTable,
        &Taskmill_Database::CreateJobsTable,
    };
    for (const auto create : creations) {
        // Not rolled back: the next call joins the transaction and goes on with the tables that are missing.
        if ((this->*create)().isEmpty())
            return false;
    }
    if (!Commit())
        return false;
    m_tablesReady = true;
    return true;
}

bool Taskmill_Database::CompleteTables()
{
    m_tablesReady = false;
    return CreateTables();
}

bool Taskmill_Database::UpgradeTables()
{
    const UntrackedScope noChange{*this};
    if (!IsOpen() || !m_tablesReady || !BeginTransaction())
        return false;
    const QStringList tables = Connection().tables(QSql::Tables);
    for (const auto &[table, columns] : Taskmill_DatabaseUpgrades()) {
        if (KilnUtil_String::FindIndex(table, tables, false) < 0)
            continue;
        // The statement fails where the column is there already.
        for (const QString &column : columns)
            Execute(u"ALTER TABLE "_s + table + u" ADD COLUMN "_s + column);
    }
    return Commit();
}

QString Taskmill_Database::CreateTable(Taskmill_Table table)
{
    if (!IsOpen())
        return {};
    const Taskmill_TableDefinition &definition = Taskmill_DatabaseSchema().at(static_cast<int>(table));
    const QString &name = definition.Name;
    if (KilnUtil_String::FindIndex(name, Connection().tables(QSql::Tables), false) >= 0)
        return name;

    const QString &column = definition.IndexedColumn;
    const bool created = Execute(u"CREATE TABLE "_s + name + definition.Columns) &&
                         (column.isEmpty() || Execute(u"CREATE INDEX "_s + name + u'_' + column +
                                                      u"_Index ON "_s + name + u" ("_s + column + u");"_s));
    if (created)
        return name;
    KilnUtil_Error::ReportWarning(u"Creating \""_s + name + u"\" Table"_s, LastErrorMessage(),
                                  KilnUtil_Error::WarnMode::Ok, KilnUtil_Error::WarnAnswer::None);
    return {};
}

QString Taskmill_Database::CreateGeneralDataTable()
{
    return CreateTable(Taskmill_Table::GeneralData);
}

QString Taskmill_Database::CreateJobTypesTable()
{
    return CreateTable(Taskmill_Table::JobTypes);
}

QString Taskmill_Database::CreateQueuesTable()
{
    return CreateTable(Taskmill_Table::Queues);
}

QString Taskmill_Database::CreateLongJobsQueueTable()
{
    return CreateTable(Taskmill_Table::LongJobsQueue);
}

QString Taskmill_Database::CreateShortJobsQueueTable()
{
    return CreateTable(Taskmill_Table::ShortJobsQueue);
}

QString Taskmill_Database::CreateQueuelessJobsTable()
{
    return CreateTable(Taskmill_Table::QueuelessJobs);
}

QString Taskmill_Database::CreateRunningJobsTable()
{
    return CreateTable(Taskmill_Table::RunningJobs);
}

QString Taskmill_Database::CreateFinishedJobsTable()
{
    return CreateTable(Taskmill_Table::FinishedJobs);
}

QString Taskmill_Database::CreateJobsTable()
{
    return CreateTable(Taskmill_Table::Jobs);
}

bool Taskmill_Database::SaveToFile(const QString &fileName)
{
    return CopyFile(fileName, true, nullptr);
}

bool Taskmill_Database::LoadFromFile(const QString &fileName, QString *reason)
{
    if (!QFile::exists(fileName) || !CopyFile(fileName, false, reason))
        return false;
    m_tablesReady = true;
    UpgradeTables();
    RemoveOrphanedFields();
    return true;
}

bool Taskmill_Database::CopyFile(const QString &fileName, bool isSave, QString *reason)
{
    if (Kind() != SQLiteMemory || !Open())
        return false;
    // All content is going to be replaced, so what a failed creation has left unfinished must not stand in
    // the way.
    if (!isSave) {
        Rollback();
        ForgetContent();
    }
    const QVariant handle = Driver()->handle();
    if (qstrcmp(handle.typeName(), "sqlite3*") != 0)
        return true;
    sqlite3 *database = *static_cast<sqlite3 *const *>(handle.constData());
    if (!database)
        return false;
    const int result = LoadOrSaveDb(database, fileName.toUtf8().constData(), isSave ? 1 : 0, reason);
    if (result != 0)
        SetLastError(QSqlError{{}, QString::fromUtf8(sqlite3_errstr(result))});
    return result == 0;
}
