#include "databasetestutil.h"
#include "support/scriptedprompt.h"
#include "support/testutil.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

/// The tables: how they are made, and how those of earlier versions are upgraded.
class TestDatabase : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FailOnQtWarnings(); }
    void TablesAndIndicesAreMadeAsFixed();
    void TablesThatExistAreAccepted();
    void CreationThatFailedIsTakenUpAgain();
    void FailedIndexIsReported();
    void NothingHappensWithoutConnection();
    void UpgradeAddsMissingColumns();
    void MissingDriverFailsToOpen();

private:
    [[nodiscard]] QString Path() const
    {
        return m_directory.filePath(u"%1.mill"_s.arg(QLatin1StringView{QTest::currentTestFunction()}));
    }

    QTemporaryDir m_directory;
};

static QStringList TablesSql()
{
    return {
        u"CREATE TABLE GeneralData "
        "(GeneralDataID INTEGER NOT NULL UNIQUE PRIMARY KEY,"
        "Name TEXT NOT NULL CHECK (length(Name) > 0),DataStr TEXT,Created timestamp NOT NULL,"
        "LastModified timestamp NOT NULL)"_s,
        u"CREATE TABLE JobTypes "
        "(JobTypeID INTEGER NOT NULL UNIQUE PRIMARY KEY,"
        "Name TEXT NOT NULL CHECK (length(Name) > 0),"
        "ApplicationName TEXT NOT NULL CHECK (length(ApplicationName) > 0),"
        "ExecutablePath TEXT NOT NULL CHECK (length(ExecutablePath) > 0),Icon BLOB,"
        "DefaultQueueID INTEGER NOT NULL REFERENCES Queues (QueueID),InputFileFilter TEXT,"
        "OutputFileFilter TEXT,EnvironmentVariables TEXT,"
        "GenericCommandLine TEXT NOT NULL CHECK (length(GenericCommandLine) > 0),"
        "Created timestamp NOT NULL,LastModified timestamp NOT NULL)"_s,
        u"CREATE TABLE Queues "
        "(QueueID INTEGER NOT NULL UNIQUE PRIMARY KEY,Name TEXT NOT NULL CHECK (length(Name) > 0),"
        "Created timestamp NOT NULL,LastModified timestamp NOT NULL,MaxRunningJobs INTEGER)"_s,
        u"CREATE TABLE LongJobsQueue "
        "(LongJobID INTEGER NOT NULL UNIQUE PRIMARY KEY,"
        "Name TEXT NOT NULL CHECK (length(Name) > 0),"
        "JobTypeID INTEGER NOT NULL REFERENCES JobTypes (JobTypeID),"
        "ApplicationName TEXT NOT NULL CHECK (length(ApplicationName) > 0),"
        "ExecutablePath TEXT NOT NULL CHECK (length(ExecutablePath) > 0),InputFilePath TEXT,"
        "CommandLine TEXT NOT NULL CHECK (length(CommandLine) > 0),Status TEXT,Submitted timestamp,"
        "Started timestamp,Created timestamp NOT NULL,LastModified timestamp NOT NULL,"
        "JobID INTEGER NOT NULL,ClientName TEXT,ClientAppName TEXT,ClientAddress TEXT,"
        "ClientPort INTEGER,ClientUID INTEGER,ClientGID INTEGER,InputFilePath2 TEXT,JobClass TEXT,"
        "ClientNotification INTEGER)"_s,
        u"CREATE TABLE ShortJobsQueue "
        "(ShortJobID INTEGER NOT NULL UNIQUE PRIMARY KEY,"
        "Name TEXT NOT NULL CHECK (length(Name) > 0),"
        "JobTypeID INTEGER NOT NULL REFERENCES JobTypes (JobTypeID),"
        "ApplicationName TEXT NOT NULL CHECK (length(ApplicationName) > 0),"
        "ExecutablePath TEXT NOT NULL CHECK (length(ExecutablePath) > 0),InputFilePath TEXT,"
        "CommandLine TEXT NOT NULL CHECK (length(CommandLine) > 0),Status TEXT,Submitted timestamp,"
        "Started timestamp,Created timestamp NOT NULL,LastModified timestamp NOT NULL,"
        "JobID INTEGER NOT NULL,ClientName TEXT,ClientAppName TEXT,ClientAddress TEXT,"
        "ClientPort INTEGER,ClientUID INTEGER,ClientGID INTEGER,InputFilePath2 TEXT,JobClass TEXT,"
        "ClientNotification INTEGER)"_s,
        u"CREATE TABLE QueuelessJobs "
        "(QueuelessJobID INTEGER NOT NULL UNIQUE PRIMARY KEY,"
        "Name TEXT NOT NULL CHECK (length(Name) > 0),"
        "JobTypeID INTEGER NOT NULL REFERENCES JobTypes (JobTypeID),"
        "ApplicationName TEXT NOT NULL CHECK (length(ApplicationName) > 0),"
        "ExecutablePath TEXT NOT NULL CHECK (length(ExecutablePath) > 0),InputFilePath TEXT,"
        "CommandLine TEXT NOT NULL CHECK (length(CommandLine) > 0),Status TEXT,Submitted timestamp,"
        "Started timestamp,Created timestamp NOT NULL,LastModified timestamp NOT NULL,"
        "JobID INTEGER NOT NULL,ClientName TEXT,ClientAppName TEXT,ClientAddress TEXT,"
        "ClientPort INTEGER,ClientUID INTEGER,ClientGID INTEGER,InputFilePath2 TEXT,JobClass TEXT,"
        "ClientNotification INTEGER)"_s,
        u"CREATE TABLE RunningJobs "
        "(RunningJobID INTEGER NOT NULL UNIQUE PRIMARY KEY,"
        "Name TEXT NOT NULL CHECK (length(Name) > 0),"
        "JobTypeID INTEGER NOT NULL REFERENCES JobTypes (JobTypeID),"
        "QueueID INTEGER NOT NULL REFERENCES Queues (QueueID),ProcessID INTEGER NOT NULL,"
        "ParentProcessID INTEGER NOT NULL,"
        "ApplicationName TEXT NOT NULL CHECK (length(ApplicationName) > 0),"
        "ExecutablePath TEXT NOT NULL CHECK (length(ExecutablePath) > 0),InputFilePath TEXT,"
        "CommandLine TEXT NOT NULL CHECK (length(CommandLine) > 0),Caption TEXT,Status TEXT,"
        "Created timestamp NOT NULL,LastModified timestamp NOT NULL,JobID INTEGER NOT NULL,"
        "ClientName TEXT,ClientAppName TEXT,ClientAddress TEXT,ClientPort INTEGER,"
        "ClientUID INTEGER,ClientGID INTEGER,InputFilePath2 TEXT,JobClass TEXT,"
        "ClientNotification INTEGER)"_s,
        u"CREATE TABLE FinishedJobs "
        "(FinishedJobID INTEGER NOT NULL UNIQUE PRIMARY KEY,"
        "Name TEXT NOT NULL CHECK (length(Name) > 0),"
        "JobTypeID INTEGER NOT NULL REFERENCES JobTypes (JobTypeID),"
        "QueueID INTEGER NOT NULL REFERENCES Queues (QueueID),"
        "ApplicationName TEXT NOT NULL CHECK (length(ApplicationName) > 0),"
        "ExecutablePath TEXT NOT NULL CHECK (length(ExecutablePath) > 0),InputFilePath TEXT,"
        "CommandLine TEXT NOT NULL CHECK (length(CommandLine) > 0),Status TEXT,Submitted timestamp,"
        "Started timestamp,Finished timestamp,Created timestamp NOT NULL,"
        "LastModified timestamp NOT NULL,JobID INTEGER NOT NULL,ClientName TEXT,ClientAppName TEXT,"
        "ClientAddress TEXT,ClientPort INTEGER,ClientUID INTEGER,ClientGID INTEGER,"
        "StdOutAndStdErr TEXT,InputFilePath2 TEXT,JobClass TEXT,ClientNotification INTEGER)"_s,
        u"CREATE TABLE Jobs "
        "(JobID INTEGER NOT NULL UNIQUE PRIMARY KEY,Name TEXT NOT NULL CHECK (length(Name) > 0),"
        "JobTypeID INTEGER NOT NULL REFERENCES JobTypes (JobTypeID),"
        "QueueID INTEGER NOT NULL REFERENCES Queues (QueueID),ProcessID INTEGER NOT NULL,"
        "ParentProcessID INTEGER NOT NULL,"
        "ApplicationName TEXT NOT NULL CHECK (length(ApplicationName) > 0),"
        "ExecutablePath TEXT NOT NULL CHECK (length(ExecutablePath) > 0),InputFilePath TEXT,"
        "CommandLine TEXT NOT NULL CHECK (length(CommandLine) > 0),Caption TEXT,Status TEXT,"
        "Submitted timestamp,Started timestamp,Finished timestamp,Created timestamp NOT NULL,"
        "LastModified timestamp NOT NULL,ClientName TEXT,ClientAppName TEXT,ClientAddress TEXT,"
        "ClientPort INTEGER,ClientUID INTEGER,ClientGID INTEGER,InputFilePath2 TEXT,JobClass TEXT,"
        "ClientNotification INTEGER)"_s,
    };
}

static QStringList IndicesSql()
{
    return {
        u"CREATE INDEX FinishedJobs_JobTypeID_Index ON FinishedJobs (JobTypeID)"_s,
        u"CREATE INDEX JobTypes_DefaultQueueID_Index ON JobTypes (DefaultQueueID)"_s,
        u"CREATE INDEX LongJobsQueue_JobTypeID_Index ON LongJobsQueue (JobTypeID)"_s,
        u"CREATE INDEX QueuelessJobs_JobTypeID_Index ON QueuelessJobs (JobTypeID)"_s,
        u"CREATE INDEX ShortJobsQueue_JobTypeID_Index ON ShortJobsQueue (JobTypeID)"_s,
    };
}

void TestDatabase::TablesAndIndicesAreMadeAsFixed()
{
    const auto database = MakeDatabase();
    QVERIFY(database->CreateTables());
    QCOMPARE(RowsOf(*database, u"SELECT sql FROM sqlite_master WHERE type = 'table' ORDER BY rowid"_s),
             TablesSql());
    QCOMPARE(
        RowsOf(*database, u"SELECT sql FROM sqlite_master WHERE type = 'index' AND sql > '' ORDER BY name"_s),
        IndicesSql());
    QVERIFY(!database->HasUnsavedChanges());
}

void TestDatabase::TablesThatExistAreAccepted()
{
    RawDatabase{Path()}.Execute(TablesSql());
    const auto database = MakeClosedDatabase(Path());
    QVERIFY(!database->UpgradeTables());
    QVERIFY(database->Open());
    QVERIFY(!database->UpgradeTables());
    QVERIFY(database->CreateTables());
    QCOMPARE(database->CreateJobTypesTable(), u"JobTypes"_s);
    database->Close();
    QCOMPARE(RowsOfFile(Path(), u"SELECT name FROM sqlite_master WHERE type = 'index' AND sql > ''"_s),
             QStringList{});
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
    QCOMPARE(RowsOfFile(Path(), u"SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY rowid"_s),
             (QStringList{u"GeneralData"_s, u"JobTypes"_s, u"Queues"_s, u"LongJobsQueue"_s}));
    RawDatabase{Path()}.Execute({u"DROP VIEW ShortJobsQueue"_s});
    QVERIFY(database->CreateTables());
    QVERIFY(database->InsertGeneralData(u"Name"_s, u"Value"_s, true));
    database->Close();
    QCOMPARE(RowsOfFile(Path(), u"SELECT sql FROM sqlite_master WHERE type = 'table' ORDER BY rowid"_s),
             TablesSql());
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
    QCOMPARE(database->CreateJobsTable(), QString{});
    QVERIFY(!database->UpdateJobType(0, {}));
    QVERIFY(!database->DeleteLongJob(0));
    QVERIFY(database->Driver() == nullptr);
    QVERIFY(prompt.asked.isEmpty());

    QVERIFY(database->Open());
    QVERIFY(database->CreateTables());
    database->Close();
    QVERIFY(database->InsertGeneralData(u"Name"_s, u"made in a new connection"_s, true));
}

void TestDatabase::UpgradeAddsMissingColumns()
{
    const QString added = u",InputFilePath2 TEXT,JobClass TEXT,ClientNotification INTEGER"_s;
    QStringList old = TablesSql();
    old.replaceInStrings(added, QString{}).replaceInStrings(u",StdOutAndStdErr TEXT"_s, QString{});
    QVERIFY(old != TablesSql());
    old.removeIf([](const QString &sql) { return sql.startsWith("CREATE TABLE RunningJobs"_L1); });
    {
        RawDatabase raw{Path()};
        raw.Execute(old);
        raw.Execute({u"INSERT INTO FinishedJobs VALUES "
                     u"(0,'old',7,1,'a','e','i','c','Failed','','','','','',9,'','','',"
                     "1,2,3)"_s});
    }
    const auto database = MakeClosedDatabase();
    for (int load = 1; load <= 2; ++load) {
        QVERIFY(database->LoadFromFile(Path()));
        const QString columns = u"SELECT name FROM pragma_table_info('%1')"_s;
        const QStringList jobColumns{u"InputFilePath2"_s, u"JobClass"_s, u"ClientNotification"_s};
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

void TestDatabase::MissingDriverFailsToOpen()
{
    Taskmill_Database database{
        Taskmill_Database::MySQL, u"name"_s, u"QNODRIVER"_s, u"localhost"_s, {}, {}, {}, {}};
    QVERIFY(!database.Open());
    QVERIFY(database.LastErrorMessage().contains(u"QNODRIVER"_s));
    QVERIFY(!database.InsertGeneralData(u"Name"_s, u"Value"_s, true));
    QVERIFY(!database.SaveToFile(Path()));
}

QTEST_GUILESS_MAIN(TestDatabase)
#include "test_database.moc"
