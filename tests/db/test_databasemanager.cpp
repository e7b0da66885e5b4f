#include "databasetestutil.h"
#include "db/databasejobstore.h"
#include "db/databasemanager.h"
#include "support/scriptedprompt.h"
#include "support/testutil.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;
using Kind = Taskmill_Database_Manager::DatabaseTypeEnum;

class TestDatabaseManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FailOnQtWarnings(); }
    void cleanup() { m_manager.CloseAll(); }
    void DatabasesCarryTheirKind_data();
    void DatabasesCarryTheirKind();
    void MissingNameIsAskedFor_data();
    void MissingNameIsAskedFor();
    void CancelledDialogChangesNothing();
    void KnownDatabasesAreFoundAgain();
    void PostgreSQLOfGivenNameIsFoundAsMySQLOnly();
    void CloseAllEndsEveryDatabase();
    void StoreFollowsTheCurrentDatabase();

private:
    Taskmill_Database_Manager &m_manager = Taskmill_Database_Manager::Global();
};

void TestDatabaseManager::DatabasesCarryTheirKind_data()
{
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<QString>("name");
    QTest::addColumn<Kind>("recordedKind");
    QTest::addColumn<QString>("driver");
    QTest::addColumn<QString>("host");
    QTest::addColumn<QString>("description");
    QTest::newRow("memory without name")
        << Kind::SQLiteMemory << QString{} << Kind::SQLiteMemory << u"QSQLITE"_s << QString{}
        << u"Connection to SQLite memory database:  <no name>"_s;
    QTest::newRow("memory with name") << Kind::SQLiteMemory << u"n"_s << Kind::SQLiteMemory << u"QSQLITE"_s
                                      << QString{} << u"Connection to SQLite memory database:  n"_s;
    QTest::newRow("file") << Kind::SQLiteFile << u"/a/b"_s << Kind::SQLiteFile << u"QSQLITE"_s << QString{}
                          << u"Connection to SQLite file database:  /a/b"_s;
    QTest::newRow("MySQL") << Kind::MySQL << u"n"_s << Kind::MySQL << u"QMYSQL"_s << u"localhost"_s
                           << u"Connection to MySQL file/directory database:  n"_s;
    QTest::newRow("PostgreSQL is recorded as MySQL")
        << Kind::PostgreSQL << u"n"_s << Kind::MySQL << u"QPSQL"_s << u"localhost"_s
        << u"Connection to PostgresQL file/directory database:  n"_s;
}

void TestDatabaseManager::DatabasesCarryTheirKind()
{
    QFETCH(Kind, kind);
    QFETCH(QString, name);
    const Taskmill_Database *database = m_manager.Database(kind, name, true);
    QVERIFY(database);
    QCOMPARE(m_manager.CurrentDatabase(), database);
    QTEST(database->Kind(), "recordedKind");
    QTEST(database->Name(), "name");
    QTEST(database->DriverName(), "driver");
    QTEST(database->Host(), "host");
    QTEST(database->Description(), "description");
    QCOMPARE(database->objectName(), u"Database Object"_s);
    QCOMPARE(database->Title(), QString{});
    QVERIFY(!database->IsOpen());
}

void TestDatabaseManager::MissingNameIsAskedFor_data()
{
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<bool>("create");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("filter");
    QTest::newRow("new file") << Kind::SQLiteFile << true << u"Specify an SQLite Database File"_s
                              << u"SQLite Databases (*.*)"_s;
    QTest::newRow("file") << Kind::SQLiteFile << false << u"Select an SQLite Database File"_s
                          << u"SQLite Databases (*.*)"_s;
    QTest::newRow("new MySQL") << Kind::MySQL << true << u"Specify a MySQL Database File or Directory"_s
                               << u"MySQL Databases (*.*)"_s;
    QTest::newRow("MySQL") << Kind::MySQL << false << u"Select a MySQL Database File or Directory"_s
                           << u"MySQL Databases (*.*)"_s;
    QTest::newRow("new PostgreSQL") << Kind::PostgreSQL << true
                                    << u"Specify a MySQL Database File or Directory"_s
                                    << u"PostGreSQL Databases (*.*)"_s;
    QTest::newRow("PostgreSQL") << Kind::PostgreSQL << false << u"Select a MySQL Database File or Directory"_s
                                << u"PostGreSQL Databases (*.*)"_s;
}

void TestDatabaseManager::MissingNameIsAskedFor()
{
    QFETCH(Kind, kind);
    QFETCH(bool, create);
    ScriptedPrompt prompt;
    prompt.texts = {u"chosen"_s};
    Taskmill_Database *database = m_manager.Database(kind, {}, create);
    QVERIFY(database);
    QCOMPARE(database->Kind(), kind);
    QCOMPARE(database->Name(), u"chosen"_s);
    QCOMPARE(prompt.asked.size(), 1);
    QTEST(prompt.asked.first().title, "title");
    QTEST(prompt.asked.first().text, "filter");
    QCOMPARE(prompt.asked.first().items, QStringList{QDir::currentPath()});
    QCOMPARE(m_manager.Database(kind, {}, create), database);
    QCOMPARE(prompt.asked.size(), 1);
}

void TestDatabaseManager::CancelledDialogChangesNothing()
{
    ScriptedPrompt prompt;
    QVERIFY(!m_manager.Database(Kind::SQLiteFile, {}, true));
    QVERIFY(!m_manager.CurrentDatabase());
    const Taskmill_Database *memory = m_manager.Database(Kind::SQLiteMemory, {}, true);
    QVERIFY(!m_manager.Database(Kind::SQLiteFile, {}, false));
    QCOMPARE(m_manager.CurrentDatabase(), memory);
    QCOMPARE(prompt.asked.size(), 2);
}

void TestDatabaseManager::KnownDatabasesAreFoundAgain()
{
    ScriptedPrompt prompt;
    const Taskmill_Database *memory = m_manager.Database(Kind::SQLiteMemory, {}, true);
    const Taskmill_Database *named = m_manager.Database(Kind::SQLiteMemory, u"n"_s, true);
    const Taskmill_Database *file = m_manager.Database(Kind::SQLiteFile, u"n"_s, true);
    QVERIFY(memory != named && named != file);
    QCOMPARE(m_manager.Database(Kind::SQLiteMemory, u"n"_s, false), named);
    QCOMPARE(m_manager.CurrentDatabase(), named);
    // Without a name the current one of that kind is enough; else the one without a name is looked for.
    QCOMPARE(m_manager.Database(Kind::SQLiteMemory, {}, false), named);
    QCOMPARE(m_manager.Database(Kind::SQLiteFile, u"n"_s, false), file);
    QCOMPARE(m_manager.Database(Kind::SQLiteMemory, {}, false), memory);
    // What is chosen in a dialog is always new.
    prompt.texts = {u"n"_s};
    QVERIFY(m_manager.Database(Kind::SQLiteFile, {}, false) != file);
}

void TestDatabaseManager::PostgreSQLOfGivenNameIsFoundAsMySQLOnly()
{
    const Taskmill_Database *first = m_manager.Database(Kind::PostgreSQL, u"n"_s, true);
    QVERIFY(m_manager.Database(Kind::PostgreSQL, u"n"_s, true) != first);
    QCOMPARE(m_manager.Database(Kind::MySQL, u"n"_s, true), first);
}

void TestDatabaseManager::CloseAllEndsEveryDatabase()
{
    QPointer<Taskmill_Database> first = m_manager.Database(Kind::SQLiteMemory, {}, true);
    QPointer<Taskmill_Database> second = m_manager.Database(Kind::SQLiteMemory, u"n"_s, true);
    QVERIFY(first->InsertQueue(u"Long"_s, 1));
    QVERIFY(second->InsertQueue(u"Long"_s, 2));
    QCOMPARE(first->GetMaxRunningJobs(u"Long"_s), 1);
    m_manager.CloseAll();
    QVERIFY(!first && !second);
    QVERIFY(!m_manager.CurrentDatabase());
    QCOMPARE(QSqlDatabase::connectionNames(), QStringList{});
    QCOMPARE(m_manager.Database(Kind::SQLiteMemory, {}, true)->GetMaxRunningJobs(u"Long"_s), -1);
}

void TestDatabaseManager::StoreFollowsTheCurrentDatabase()
{
    Taskmill_DatabaseJobStore store;
    Taskmill_JobType jobType = SampleJobType(u"Type"_s);
    QVERIFY(!store.IsOpen());
    QVERIFY(!store.InsertJobType(jobType));
    QVERIFY(!store.DeleteJobType(0));
    QVERIFY(!store.SetMaxRunningJobs(u"Long"_s, 3));
    QCOMPARE(store.GetMaxRunningJobs(u"Long"_s), -1);
    QVERIFY(store.GetJobTypes().isEmpty());

    for (int project = 1; project <= 2; ++project) {
        Taskmill_Database *database = m_manager.Database(Kind::SQLiteMemory, {}, true);
        QVERIFY(!store.IsOpen());
        QVERIFY(database->Open());
        QVERIFY(store.IsOpen());
        QVERIFY(database->InsertQueue(u"Long"_s, 1));
        QVERIFY(store.SetMaxRunningJobs(u"Long"_s, 3));
        QCOMPARE(database->GetMaxRunningJobs(u"Long"_s), 3);
        QCOMPARE(store.GetMaxRunningJobs(u"Long"_s), 3);
        QVERIFY(store.InsertJobType(jobType));
        QCOMPARE(jobType.JobTypeID, 0);
        QVERIFY(store.InsertJobType(jobType));
        QCOMPARE(jobType.JobTypeID, 1);
        QVERIFY(store.DeleteJobType(0));
        QCOMPARE(store.GetJobTypes(), QList{jobType});
        m_manager.CloseAll();
    }
    QVERIFY(!store.IsOpen());
}

QTEST_GUILESS_MAIN(TestDatabaseManager)
#include "test_databasemanager.moc"
