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
    void MissingNameIsAskedFor();
    void KnownDatabasesAreFoundAgain();
    void StoreFollowsTheCurrentDatabase();

private:
    Taskmill_Database_Manager &m_manager = Taskmill_Database_Manager::Global();
};

void TestDatabaseManager::MissingNameIsAskedFor()
{
    ScriptedPrompt prompt;
    const Taskmill_Database *memory = m_manager.Database(Kind::SQLiteMemory, {}, true);
    QVERIFY(!m_manager.Database(Kind::SQLiteFile, {}, true));
    QCOMPARE(m_manager.CurrentDatabase(), memory);
    QCOMPARE(prompt.asked.size(), 1);
    prompt.texts = {u"chosen"_s};
    const Taskmill_Database *file = m_manager.Database(Kind::SQLiteFile, {}, false);
    QVERIFY(file);
    QCOMPARE(file->Name(), u"chosen"_s);
    QCOMPARE(prompt.asked.last().title, u"Select an SQLite Database File"_s);
    QCOMPARE(m_manager.Database(Kind::SQLiteFile, {}, false), file);
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
    // Without a name the current one of that kind is enough; else the one without a name is looked for.
    QCOMPARE(m_manager.Database(Kind::SQLiteMemory, {}, false), named);
    QCOMPARE(m_manager.Database(Kind::SQLiteFile, u"n"_s, false), file);
    QCOMPARE(m_manager.Database(Kind::SQLiteMemory, {}, false), memory);
    // What is chosen in a dialog is always new.
    prompt.texts = {u"n"_s};
    QVERIFY(m_manager.Database(Kind::SQLiteFile, {}, false) != file);

    // One of the third server kind is recorded as one of the second.
    const Taskmill_Database *server = m_manager.Database(Kind::PostgreSQL, u"n"_s, true);
    QVERIFY(m_manager.Database(Kind::PostgreSQL, u"n"_s, true) != server);
    QCOMPARE(m_manager.Database(Kind::MySQL, u"n"_s, true), server);
}

void TestDatabaseManager::StoreFollowsTheCurrentDatabase()
{
    Taskmill_DatabaseJobStore store;
    Taskmill_JobType jobType = SampleJobType(u"Type"_s);
    QVERIFY(!store.IsOpen() && !store.InsertJobType(jobType) && !store.DeleteJobType(0));
    QVERIFY(!store.SetMaxRunningJobs(u"Long"_s, 3) && store.GetJobTypes().isEmpty());

    for (int project = 1; project <= 2; ++project) {
        const QPointer<Taskmill_Database> database = m_manager.Database(Kind::SQLiteMemory, {}, true);
        QVERIFY(!store.IsOpen());
        QVERIFY(database->Open());
        QVERIFY(database->InsertQueue(u"Long"_s, 1));
        QVERIFY(store.SetMaxRunningJobs(u"Long"_s, 3));
        QCOMPARE(database->GetMaxRunningJobs(u"Long"_s), 3);
        QVERIFY(store.InsertJobType(jobType) && store.InsertJobType(jobType));
        QCOMPARE(jobType.JobTypeID, 1);
        QVERIFY(store.DeleteJobType(0));
        QCOMPARE(store.GetJobTypes(), QList{jobType});
        m_manager.CloseAll();
        QVERIFY(!database && !m_manager.CurrentDatabase());
        QCOMPARE(QSqlDatabase::connectionNames(), QStringList{});
    }
}

QTEST_GUILESS_MAIN(TestDatabaseManager)
#include "test_databasemanager.moc"
