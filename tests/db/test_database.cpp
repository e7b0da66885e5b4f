#include "databasetestutil.h"
#include "support/scriptedprompt.h"
#include "support/testutil.h"

#include <QTemporaryDir>
#include <QtTest>

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

/// The tables: how they are made, and how those of earlier versions are upgraded.
class TestDatabase : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FailOnQtWarnings(); }
    void TablesThatExistAreAccepted();
    void CreationThatFailedIsTakenUpAgain();
    void FailedIndexIsReported();
    void NothingHappensWithoutConnection();
    void UpgradeAddsMissingColumns();
    void DriverUsesTheLibraryOfTheProgram();

private:
    [[nodiscard]] QString Path() const
    {
        return m_directory.filePath(u"%1.mill"_s.arg(QLatin1StringView{QTest::currentTestFunction()}));
    }

    QTemporaryDir m_directory;
};

static QString TablesSql()
{
    return u"SELECT sql FROM sqlite_master WHERE type = 'table' ORDER BY rowid"_s;
}

void TestDatabase::TablesThatExistAreAccepted()
{
    const auto made = MakeDatabase();
    QVERIFY(!made->HasUnsavedChanges());
    const QString indices = u"SELECT count(*) FROM sqlite_master WHERE type = 'index' AND sql > ''"_s;
    QCOMPARE(RowsOf(*made, indices), QStringList{u"5"_s});
    RawDatabase{Path()}.Execute(RowsOf(*made, TablesSql()));
    const auto database = MakeClosedDatabase(Path());
    QVERIFY(!database->UpgradeTables());
    QVERIFY(database->Open());
    QVERIFY(!database->UpgradeTables());
    QVERIFY(database->CreateTables());
    database->Close();
    QCOMPARE(RowsOfFile(Path(), indices), QStringList{u"0"_s});
}

void TestDatabase::CreationThatFailedIsTakenUpAgain()
{
    ScriptedPrompt prompt;
    RawDatabase{Path()}.Execute({u"CREATE VIEW ShortJobsQueue AS SELECT 1"_s});
    const auto database = MakeClosedDatabase(Path());
    QVERIFY(database->Open());

    for (int attempt = 1; attempt <= 2; ++attempt) {
        QVERIFY(!database->InitializeTables());
        QCOMPARE(prompt.asked.size(), attempt);
        QCOMPARE(prompt.asked.last().title, u"Creating \"ShortJobsQueue\" Table"_s);
        QVERIFY(prompt.asked.last().text.contains(u"already"_s));
    }
    QVERIFY(!database->InsertGeneralData(u"Name"_s, u"Value"_s, true));

    // The tables in front of the failed one are there, and the transaction is still open: ending it keeps
    // them.
    QVERIFY(database->DeleteLongJob(1));
    const QStringList tables = RowsOf(*MakeDatabase(), TablesSql());
    QCOMPARE(RowsOfFile(Path(), TablesSql()), tables.first(4));
    RawDatabase{Path()}.Execute({u"DROP VIEW ShortJobsQueue"_s});
    QVERIFY(database->CreateTables());
    QVERIFY(database->InsertGeneralData(u"Name"_s, u"Value"_s, true));
    database->Close();
    QCOMPARE(RowsOfFile(Path(), TablesSql()), tables);
}

void TestDatabase::FailedIndexIsReported()
{
    ScriptedPrompt prompt;
    RawDatabase{Path()}.Execute({u"CREATE TABLE JobTypes_DefaultQueueID_Index (a)"_s});
    const auto database = MakeClosedDatabase(Path());
    QVERIFY(database->Open());
    QVERIFY(!database->CreateTables());
    QCOMPARE(prompt.asked.size(), 1);
    QCOMPARE(prompt.asked.first().title, u"Creating \"JobTypes\" Table"_s);
    // Without its index the table is there all the same, which the second call accepts.
    QVERIFY(database->CreateTables());
}

void TestDatabase::NothingHappensWithoutConnection()
{
    ScriptedPrompt prompt;
    const auto database = MakeClosedDatabase();
    QVERIFY(!database->CreateTables());
    QVERIFY(!database->InitializeTables());
    QVERIFY(!database->UpdateJobType(0, {}));
    QVERIFY(!database->DeleteLongJob(0));
    QVERIFY(prompt.asked.isEmpty());
    QVERIFY(database->Open());
    QVERIFY(database->CreateTables());
    database->Close();
    QVERIFY(database->InsertGeneralData(u"Name"_s, u"made in a new connection"_s, true));

    Taskmill_Database noDriver{Taskmill_Database::MySQL, u"name"_s, u"QNODRIVER"_s, {}, {}, {}, {}, {}};
    QVERIFY(!noDriver.Open());
    QVERIFY(noDriver.LastErrorMessage().contains(u"QNODRIVER"_s));
    QVERIFY(!noDriver.InsertGeneralData(u"Name"_s, u"Value"_s, true));
}

void TestDatabase::UpgradeAddsMissingColumns()
{
    const QString oldFinishedJobs =
        u"CREATE TABLE FinishedJobs (FinishedJobID INTEGER NOT NULL UNIQUE PRIMARY KEY,Name TEXT NOT NULL,"
        "JobTypeID INTEGER NOT NULL,QueueID INTEGER NOT NULL,ApplicationName TEXT NOT NULL,"
        "ExecutablePath TEXT NOT NULL,InputFilePath TEXT,CommandLine TEXT NOT NULL,Status TEXT,"
        "Submitted timestamp,Started timestamp,Finished timestamp,Created timestamp NOT NULL,"
        "LastModified timestamp NOT NULL,JobID INTEGER NOT NULL,ClientName TEXT,ClientAppName TEXT,"
        "ClientAddress TEXT,ClientPort INTEGER,ClientUID INTEGER,ClientGID INTEGER)"_s;
    const QStringList jobColumns{u"InputFilePath2"_s, u"JobClass"_s, u"ClientNotification"_s};
    QStringList old = RowsOf(*MakeDatabase(), TablesSql());
    for (const QString &column : jobColumns)
        old.replaceInStrings(QRegularExpression{u',' + column + u" [A-Z]+"_s}, QString{});
    old.removeIf([](const QString &sql) {
        return sql.contains(" RunningJobs "_L1) || sql.contains(" FinishedJobs "_L1);
    });
    QVERIFY(!old.join(u' ').contains(u"JobClass"_s));
    RawDatabase{Path()}.Execute(old + QStringList{oldFinishedJobs,
                                                  u"INSERT INTO FinishedJobs VALUES (0,'old',7,1,'a','e','i',"
                                                  "'c','Failed','','','','','',9,'','','',1,2,3)"_s});

    const auto database = MakeClosedDatabase();
    for (int load = 1; load <= 2; ++load) {
        QVERIFY(database->LoadFromFile(Path()));
        const QString columns = u"SELECT name FROM pragma_table_info('%1')"_s;
        for (const auto table : {"LongJobsQueue"_L1, "ShortJobsQueue"_L1, "QueuelessJobs"_L1, "Jobs"_L1})
            QCOMPARE(RowsOf(*database, columns.arg(table)).last(3), jobColumns);
        QCOMPARE(RowsOf(*database, columns.arg("FinishedJobs"_L1)).last(4),
                 QStringList{u"StdOutAndStdErr"_s} + jobColumns);
        QCOMPARE(RowsOf(*database, columns.arg("RunningJobs"_L1)), QStringList{});
    }
    QVERIFY(!database->HasUnsavedChanges());
    const auto jobs = database->GetFinishedJobs();
    QCOMPARE(jobs.size(), 1);
    QCOMPARE(jobs.first().Name, u"old"_s);
    QCOMPARE(jobs.first().QueueName, u"Short"_s);
    Taskmill_JobRecord job = SampleJob(SampleJobType(u"Type"_s), 10);
    QVERIFY(database->InsertFinishedJob(job, true));
    QCOMPARE(database->GetFinishedJobs().last().StdOutAndStdErr, job.StdOutAndStdErr);
}

namespace {
int openedDatabases = 0;

int CountDatabase(sqlite3 *, const char **, const sqlite3_api_routines *)
{
    ++openedDatabases;
    return SQLITE_OK;
}
} // namespace

/// A driver with an SQLite of its own inside gives out handles that the program must not use.
void TestDatabase::DriverUsesTheLibraryOfTheProgram()
{
    sqlite3_auto_extension(reinterpret_cast<void (*)()>(CountDatabase));
    Taskmill_Database database{
        KilnUtil_Database_Foundation::SQLiteMemory, {}, u"QSQLITE"_s, {}, {}, {}, {}, {}};
    const bool opened = database.Open();
    sqlite3_reset_auto_extension();
    QVERIFY(opened);
    QCOMPARE(openedDatabases, 1);
}

QTEST_GUILESS_MAIN(TestDatabase)
#include "test_database.moc"
