#include "databasetestutil.h"
#include "support/testutil.h"

#include <QSignalSpy>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

/// The rows: what is written, and what is read again.
class TestDatabaseRecords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FailOnQtWarnings(); }
    void KeysAreCountedFromZero();
    void GeneralDataIsInsertedThenUpdated();
    void ApostropheFailsUnnoticedInUpdates();
    void JobTypeKeepsEveryField();
    void JobKeepsEveryField_data();
    void JobKeepsEveryField();
    void JobsAreDeletedByNumber();
    void NumbersAreKnownAfterEachChange();
    void JobTypesAreReadAfterEachChange();
    void JobOfDeletedTypeKeepsWhatTheRowTells();
    void OddRowsAreReadable();
    void FailedInsertionDoesNotBlockLaterWrites();
    void QueuesHaveLimits();
    void CommitsAreUnsavedChanges();
};

void TestDatabaseRecords::KeysAreCountedFromZero()
{
    const auto database = MakeDatabase();
    const Taskmill_JobType jobType = SampleJobType(u"Type"_s);
    for (qint32 key = 0; key < 3; ++key) {
        qint32 outID = -1;
        QVERIFY(database->InsertJobType(jobType, true, &outID));
        QCOMPARE(outID, key);
        QVERIFY(database->InsertFinishedJob(SampleJob(jobType, 100 + key), true, &outID));
        QCOMPARE(outID, key);
    }
    qint32 outID = -1;
    QVERIFY(database->InsertJobType(jobType, false, &outID));
    QCOMPARE(outID, 0);
    QCOMPARE(database->GetJobTypes().size(), 3);

    QVERIFY(database->DeleteJobType(1));
    QVERIFY(database->InsertJobType(jobType, true, &outID));
    QCOMPARE(outID, 3);
    QVERIFY(database->DeleteJobType(3));
    QVERIFY(database->InsertJobType(jobType, true, &outID));
    QCOMPARE(outID, 3);
}

void TestDatabaseRecords::GeneralDataIsInsertedThenUpdated()
{
    const auto database = MakeDatabase();
    QString value = u"untouched"_s;
    QVERIFY(!database->GetGeneralData(u"LastJobID"_s, value));
    QCOMPARE(value, u"untouched"_s);

    QCOMPARE(database->SetGeneralData(u"Version"_s, u"2"_s), 1);
    QCOMPARE(database->SetGeneralData(u"LastJobID"_s, u"16"_s), 1);
    QCOMPARE(database->SetGeneralData(u"LastJobID"_s, u"17"_s), 1);
    QVERIFY(database->GetGeneralData(u"LastJobID"_s, value));
    QCOMPARE(value, u"17"_s);
    QCOMPARE(RowsOf(*database, u"SELECT GeneralDataID, Name, DataStr FROM GeneralData"_s),
             (QStringList{u"0|Version|2"_s, u"1|LastJobID|17"_s}));
    const QRegularExpression isoTime{u"^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d$"_s};
    for (const QString &time : RowsOf(*database, u"SELECT Created FROM GeneralData UNION "
                                                 "SELECT LastModified FROM GeneralData"_s))
        QVERIFY2(isoTime.match(time).hasMatch(), qPrintable(time));
}

void TestDatabaseRecords::ApostropheFailsUnnoticedInUpdates()
{
    const auto database = MakeDatabase();
    Taskmill_JobType jobType = SampleJobType(u"O'Neill"_s);
    QVERIFY(database->InsertJobType(jobType, true, &jobType.JobTypeID));
    QCOMPARE(database->GetJobType(0).Name, u"O'Neill"_s);

    Taskmill_JobType changed = jobType;
    changed.DefaultQueue = u"Queueless"_s;
    QVERIFY(database->UpdateJobType(0, changed));
    QCOMPARE(database->GetJobType(0), jobType);
    changed.Name = u"100%1 plain"_s;
    changed.ExecutablePath = u"/opt/mopac"_s;
    QVERIFY(database->UpdateJobType(0, changed));
    QCOMPARE(database->GetJobType(0), changed);

    QCOMPARE(database->SetGeneralData(u"Name"_s, u"it's new"_s), 1);
    QCOMPARE(database->SetGeneralData(u"Name"_s, u"it's other"_s), 1);
    QString value;
    QVERIFY(database->GetGeneralData(u"Name"_s, value));
    QCOMPARE(value, u"it's new"_s);
}

void TestDatabaseRecords::JobTypeKeepsEveryField()
{
    const auto database = MakeDatabase();
    Taskmill_JobType stored = SampleJobType(u"水 'Typ'"_s);
    QVERIFY(database->InsertJobType(stored, true, &stored.JobTypeID));
    stored.DefaultQueue = u"None"_s;
    QVERIFY(database->InsertJobType(stored, true, &stored.JobTypeID));

    const auto read = database->GetJobTypes();
    QCOMPARE(read.size(), 2);
    QCOMPARE(read.at(0).DefaultQueue, u"Short"_s);
    stored.DefaultQueue = u"Queueless"_s;
    QCOMPARE(read.at(1), stored);
    QCOMPARE(database->GetJobType(1), stored);
    QVERIFY(database->GetJobType(2).IsEmpty());
    QCOMPARE(RowsOf(*database, u"SELECT DISTINCT typeof(Icon), length(Icon) FROM JobTypes"_s),
             QStringList{u"blob|0"_s});
}

void TestDatabaseRecords::JobKeepsEveryField_data()
{
    QTest::addColumn<int>("table");
    QTest::addColumn<QString>("queueName");
    QTest::addColumn<QString>("queueNameRead");
    QTest::newRow("long") << 0 << u"Long"_s << u"Long"_s;
    QTest::newRow("short") << 1 << u"Short"_s << u"Short"_s;
    QTest::newRow("queueless") << 2 << u"None"_s << u"Queueless"_s;
    QTest::newRow("finished, queueless") << 3 << u"None"_s << u"Queueless"_s;
    QTest::newRow("finished, no queue") << 3 << QString{} << QString{};
}

void TestDatabaseRecords::JobKeepsEveryField()
{
    QFETCH(int, table);
    QFETCH(QString, queueName);
    QFETCH(QString, queueNameRead);
    using Insert = bool (Taskmill_Database::*)(const Taskmill_JobRecord &, bool, qint32 *);
    using Get = QList<Taskmill_JobRecord> (Taskmill_Database::*)();
    const Insert insert =
        QList<Insert>{&Taskmill_Database::InsertLongJob, &Taskmill_Database::InsertShortJob,
                      &Taskmill_Database::InsertQueuelessJob, &Taskmill_Database::InsertFinishedJob}
            .at(table);
    const Get get = QList<Get>{&Taskmill_Database::GetLongJobs, &Taskmill_Database::GetShortJobs,
                               &Taskmill_Database::GetQueuelessJobs, &Taskmill_Database::GetFinishedJobs}
                        .at(table);

    const auto database = MakeDatabase();
    Taskmill_JobType jobType = SampleJobType(u"Type"_s);
    QVERIFY(database->InsertJobType(jobType, true, &jobType.JobTypeID));
    Taskmill_JobRecord job = SampleJob(jobType, 41);
    job.QueueName = queueName;
    job.RunNumber = 3;
    job.StandardInputFile = u"not stored"_s;
    Taskmill_JobRecord neverStarted = job;
    neverStarted.Started = {};
    neverStarted.Finished = {};
    QVERIFY((*database.*insert)(job, true, nullptr));
    QVERIFY((*database.*insert)(neverStarted, true, nullptr));

    for (Taskmill_JobRecord *expected : {&job, &neverStarted}) {
        expected->QueueName = queueNameRead;
        expected->RunNumber = 0;
        expected->StandardInputFile.clear();
        if (table != 3) {
            expected->Finished = {};
            expected->StdOutAndStdErr.clear();
        }
    }
    QCOMPARE(job.OutputFile, u"/tmp/Größe's.out"_s);
    QCOMPARE((*database.*get)(), (QList{job, neverStarted}));
    QCOMPARE(database->LargestJobID(), 41);
}

void TestDatabaseRecords::JobsAreDeletedByNumber()
{
    const auto database = MakeDatabase();
    const Taskmill_JobType jobType = SampleJobType(u"Type"_s);
    QCOMPARE(database->LargestJobID(), -1);
    for (const qint32 jobID : {7, 8, 9}) {
        QVERIFY(database->InsertLongJob(SampleJob(jobType, jobID), true));
        QVERIFY(database->InsertShortJob(SampleJob(jobType, jobID), true));
        QVERIFY(database->InsertQueuelessJob(SampleJob(jobType, jobID), true));
        QVERIFY(database->InsertFinishedJob(SampleJob(jobType, jobID), true));
    }
    QVERIFY(database->DeleteLongJob(9));
    QVERIFY(database->DeleteShortJob(8));
    QVERIFY(database->DeleteQueuelessJob(7));
    QVERIFY(database->DeleteFinishedJob(0));
    QCOMPARE(RowsOf(*database, u"SELECT group_concat(JobID) FROM LongJobsQueue UNION ALL "
                               "SELECT group_concat(JobID) FROM ShortJobsQueue UNION ALL "
                               "SELECT group_concat(JobID) FROM QueuelessJobs UNION ALL "
                               "SELECT group_concat(JobID) FROM FinishedJobs"_s),
             (QStringList{u"7,8"_s, u"7,9"_s, u"8,9"_s, u"7,8,9"_s}));
    QCOMPARE(database->LargestJobID(), 9);
}

void TestDatabaseRecords::NumbersAreKnownAfterEachChange()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"other.mill"_s);
    const auto other = MakeDatabase();
    for (const qint32 jobID : {5, 6, 5})
        QVERIFY(other->InsertLongJob(SampleJob(SampleJobType(u"Type"_s), jobID), true));
    QVERIFY(other->SaveToFile(path));

    const auto database = MakeDatabase();
    const auto numbers = [&database] {
        return RowsOf(*database, u"SELECT JobID FROM LongJobsQueue"_s);
    };
    for (const qint32 jobID : {1, 2, 3})
        QVERIFY(database->InsertLongJob(SampleJob(SampleJobType(u"Type"_s), jobID), true));
    QVERIFY(database->DeleteLongJob(3));
    // The new row has the key of the deleted one.
    QVERIFY(database->InsertLongJob(SampleJob(SampleJobType(u"Type"_s), 4), true));
    QVERIFY(database->DeleteLongJob(3));
    QCOMPARE(numbers(), (QStringList{u"1"_s, u"2"_s, u"4"_s}));
    QVERIFY(database->DeleteLongJob(4));
    QCOMPARE(numbers(), (QStringList{u"1"_s, u"2"_s}));

    QVERIFY(database->LoadFromFile(path));
    QVERIFY(database->DeleteLongJob(1));
    QCOMPARE(numbers(), (QStringList{u"5"_s, u"6"_s, u"5"_s}));
    QVERIFY(database->DeleteLongJob(5));
    QCOMPARE(numbers(), QStringList{u"6"_s});
}

void TestDatabaseRecords::JobTypesAreReadAfterEachChange()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"types.mill"_s);
    const auto database = MakeDatabase();
    const auto names = [&database] {
        QStringList list;
        for (const Taskmill_JobType &jobType : database->GetJobTypes())
            list.append(jobType.Name);
        return list;
    };
    QCOMPARE(names(), QStringList{});
    QVERIFY(database->InsertJobType(SampleJobType(u"A"_s), true));
    QVERIFY(database->SaveToFile(path));
    QCOMPARE(names(), QStringList{u"A"_s});
    Taskmill_JobType changed = SampleJobType(u"B"_s);
    QVERIFY(database->InsertJobType(changed, true));
    QCOMPARE(names(), (QStringList{u"A"_s, u"B"_s}));
    changed.ExecutablePath = u"/bin/true"_s;
    QVERIFY(database->UpdateJobType(0, changed));
    QCOMPARE(names(), (QStringList{u"B"_s, u"B"_s}));
    QVERIFY(database->DeleteJobType(1));
    QCOMPARE(names(), QStringList{u"B"_s});
    QVERIFY(database->LoadFromFile(path));
    QCOMPARE(names(), QStringList{u"A"_s});
    database->Close();
    QCOMPARE(names(), QStringList{});
}

void TestDatabaseRecords::JobOfDeletedTypeKeepsWhatTheRowTells()
{
    const auto database = MakeDatabase();
    const Taskmill_JobRecord job = SampleJob(SampleJobType(u"Type"_s), 1);
    QVERIFY(database->InsertLongJob(job, true));
    const auto read = database->GetLongJobs();
    QCOMPARE(read.size(), 1);
    const Taskmill_JobType &jobType = read.first().JobType;
    QVERIFY(jobType.IsEmpty());
    QCOMPARE(jobType.ApplicationName, job.JobType.ApplicationName);
    QCOMPARE(jobType.ExecutablePath, job.JobType.ExecutablePath);
    QCOMPARE(jobType.GenericCommandLine, job.CommandLine());
    QVERIFY(database->InsertFinishedJob(read.first(), true));
}

void TestDatabaseRecords::OddRowsAreReadable()
{
    QTemporaryDir directory;
    const QString path = directory.filePath(u"odd.mill"_s);
    const auto database = MakeDatabase();
    QVERIFY(database->InsertJobType(SampleJobType(u"Type"_s), true));
    QVERIFY(database->InsertQueue(u"Long"_s, 1));
    QVERIFY(database->SaveToFile(path));
    RawDatabase{path}.Execute({u"UPDATE JobTypes SET DefaultQueueID = 5"_s,
                               u"UPDATE Queues SET MaxRunningJobs = 'many'"_s,
                               u"INSERT INTO FinishedJobs VALUES "
                               u"(2147483647,'n','x',7,'a','e',NULL,'c','sleeping','yesterday',3,x'00',"
                               "'','',99999999999,NULL,NULL,NULL,'port',NULL,NULL,NULL,NULL,NULL,NULL)"_s});
    QVERIFY(database->LoadFromFile(path));
    QCOMPARE(database->GetJobType(0).DefaultQueue, QString{});
    QCOMPARE(database->GetMaxRunningJobs(u"Long"_s), -1);
    const auto jobs = database->GetFinishedJobs();
    QCOMPARE(jobs.size(), 1);
    QCOMPARE(jobs.first().QueueName, QString{});
    QCOMPARE(jobs.first().Status, Taskmill_JobStatus::Unknown);
    QVERIFY(!jobs.first().Submitted.isValid());
    // There is no key and no job number behind these.
    QVERIFY(!database->InsertFinishedJob(jobs.first(), true));
    QCOMPARE(database->LargestJobID(), -1);
    QVERIFY(database->InsertQueue(u"Short"_s, 1));
}

void TestDatabaseRecords::FailedInsertionDoesNotBlockLaterWrites()
{
    const auto database = MakeDatabase();
    const Taskmill_JobType jobType = SampleJobType(u"Type"_s);
    Taskmill_JobRecord job = SampleJob(jobType, 1);
    job.Name.clear();
    QVERIFY(!database->InsertLongJob(job, true));
    QVERIFY(database->LastErrorMessage().contains(u"CHECK"_s));
    QVERIFY(!database->InsertJobType({}, true));
    QVERIFY(!database->HasUnsavedChanges());

    QVERIFY(database->InsertJobType(jobType, true));
    QCOMPARE(database->SetGeneralData(u"Name"_s, u"Value"_s), 1);
    QCOMPARE(
        RowsOf(*database, u"SELECT count(*) FROM LongJobsQueue UNION ALL SELECT count(*) FROM JobTypes"_s),
        (QStringList{u"0"_s, u"1"_s}));
}

void TestDatabaseRecords::QueuesHaveLimits()
{
    const auto database = MakeDatabase();
    QCOMPARE(database->GetQueueID(u"Long"_s), -1);
    QVERIFY(!database->SetMaxRunningJobs(u"Long"_s, 4));
    QVERIFY(!database->HasUnsavedChanges());
    for (const auto &[name, key] :
         {std::pair{u"Long"_s, 0}, std::pair{u"Short"_s, 1}, std::pair{u"Long"_s, 0}}) {
        qint32 outID = -1;
        QVERIFY(database->InsertQueue(name, 1, &outID));
        QCOMPARE(outID, key);
    }
    QVERIFY(database->SetMaxRunningJobs(u"Short"_s, 5));
    QCOMPARE(database->GetMaxRunningJobs(u"Long"_s), 1);
    QCOMPARE(database->GetMaxRunningJobs(u"Short"_s), 5);
    QCOMPARE(database->GetQueueID(u"o'clock"_s), -1);
    QCOMPARE(RowsOf(*database, u"SELECT QueueID, Name, MaxRunningJobs FROM Queues"_s),
             (QStringList{u"0|Long|1"_s, u"1|Short|5"_s}));
}

void TestDatabaseRecords::CommitsAreUnsavedChanges()
{
    const auto database = MakeDatabase();
    QSignalSpy changed{database.get(), &Taskmill_Database::StateChangedSignal};
    QVERIFY(!database->HasUnsavedChanges());
    QCOMPARE(database->SetGeneralData(u"Name"_s, u"Value"_s), 1);
    QVERIFY(database->HasUnsavedChanges());
    QVERIFY(database->DeleteLongJob(1));
    QCOMPARE(changed.size(), 1);
    database->MarkUnchanged();
    QVERIFY(!database->HasUnsavedChanges());
    QCOMPARE(changed.size(), 2);
    QVERIFY(database->UpgradeTables());
    QVERIFY(!database->HasUnsavedChanges());
}

QTEST_GUILESS_MAIN(TestDatabaseRecords)
#include "test_databaserecords.moc"
