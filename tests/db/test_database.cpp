// SPDX-License-Identifier: MIT
#include "databasetestutil.h"
#include "db/databasemanager.h"
#include "support/scriptedprompt.h"
#include "support/testcase.h"

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace {
int openedDatabases = 0;

int CountDatabase(sqlite3 *, const char **, const sqlite3_api_routines *)
{
    ++openedDatabases;
    return SQLITE_OK;
}
} // namespace

/// The tables, how those of earlier versions are upgraded, and the rows in them.
class TestDatabase : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void TablesAreThoseOfTheFormat()
    {
        const QString statements =
            QString::fromUtf8(ReadTestFile(QStringLiteral(TASKMILL_KEPT_FILES "schema.sql")));
        QCOMPARE(RowsOf(*MakeDatabase(), u"SELECT sql || ';' FROM sqlite_master WHERE sql <> ''"_s),
                 statements.trimmed().split(u'\n'));
    }

    /// The kept files were made with the sqlite3 command from the tables of their time.
    void ProjectsOfEarlierVersionsAreUpgraded_data()
    {
        QTest::addColumn<QString>("addedFields");
        QTest::newRow("without_output") << u"|||"_s;
        QTest::newRow("one_input_file") << u"captured|||"_s;
        QTest::newRow("without_class") << u"captured|/w/second.in||"_s;
        QTest::newRow("without_notification") << u"captured|/w/second.in|docking|"_s;
    }

    void ProjectsOfEarlierVersionsAreUpgraded()
    {
        QFETCH(const QString, addedFields);
        const auto database = MakeClosedDatabase();
        const QString file =
            QStringLiteral(TASKMILL_KEPT_FILES "%1.mill").arg(QString::fromLatin1(QTest::currentDataTag()));
        const QString columns = u"SELECT tables.name, columns.name, columns.type, columns.[notnull] FROM "
                                "sqlite_master tables, pragma_table_info(tables.name) columns WHERE "
                                "tables.type = 'table' ORDER BY tables.name, columns.cid"_s;
        const QStringList wanted = RowsOf(*MakeDatabase(), columns);
        for (int load = 1; load <= 2; ++load) {
            QVERIFY(database->LoadFromFile(file));
            QCOMPARE(RowsOf(*database, columns), wanted);
            QVERIFY(!database->HasUnsavedChanges());
        }
        QCOMPARE(RowsOf(*database, u"SELECT StdOutAndStdErr, InputFilePath2, JobClass, ClientNotification "
                                   "FROM FinishedJobs"_s),
                 QStringList{addedFields});
        const auto finished = database->GetFinishedJobs();
        QCOMPARE(finished.size(), 1);
        QCOMPARE(finished.first().Name + u' ' + finished.first().QueueName, u"done Short"_s);
        QCOMPARE(finished.first().StdOutAndStdErr, addedFields.section(u'|', 0, 0));
        // The same by its key alone.
        const auto rows = database->GetFinishedRows();
        QCOMPARE(rows.size(), 1);
        Taskmill_JobRecord single = database->GetFinishedJob(rows.first().Key).value_or(Taskmill_JobRecord{});
        single.StdOutAndStdErr = database->GetFinishedJobOutput(rows.first().Key);
        QCOMPARE(single, finished.first());
        QCOMPARE(single.JobID, rows.first().JobID);
        for (const QList<Taskmill_JobRecord> &jobs :
             {database->GetLongJobs(), database->GetShortJobs(), database->GetQueuelessJobs()}) {
            QCOMPARE(jobs.size(), 1);
            QCOMPARE(jobs.first().JobType.Name, u"MOPAC"_s);
            QCOMPARE(jobs.first().InputFilePath2, addedFields.section(u'|', 1, 1));
            QCOMPARE(jobs.first().JobClass, addedFields.section(u'|', 2, 2));
        }
        QVERIFY(database->InsertFinishedJob(SampleJob(SampleJobType(u"Type"_s), 10), true));
    }

    /// A driver with an SQLite of its own inside gives out handles that the program must not use.
    void DriverUsesTheLibraryOfTheProgram()
    {
        sqlite3_auto_extension(reinterpret_cast<void (*)()>(CountDatabase));
        const bool opened = MakeClosedDatabase()->Open();
        sqlite3_reset_auto_extension();
        QVERIFY(opened);
        QCOMPARE(openedDatabases, 1);
    }

    void JobTypeKeepsEveryField()
    {
        const auto database = MakeDatabase();
        Taskmill_JobType stored = SampleJobType(u"水 O'Neill"_s);
        stored.KillGraceSeconds = 30;
        stored.Cores = 4;
        stored.MemoryMB = 5000;
        stored.LeastFreeMB = 2000;
        stored.HoldsChangedInput = true;
        stored.DefaultQueue = u"None"_s;
        QVERIFY(database->InsertJobType(stored, true, &stored.JobTypeID));
        stored.DefaultQueue = u"Queueless"_s;
        QCOMPARE(database->GetJobTypes(), QList{stored});
        // An apostrophe fails unnoticed in updates.
        Taskmill_JobType changed = stored;
        changed.DefaultQueue = u"Short"_s;
        QVERIFY(database->UpdateJobType(0, changed));
        QCOMPARE(database->GetJobType(0), stored);
        changed.Name = u"100%1 plain"_s;
        changed.ExecutablePath = u"/opt/mopac"_s;
        QVERIFY(database->UpdateJobType(0, changed));
        QCOMPARE(database->GetJobTypes(), QList{changed});
        QVERIFY(database->DeleteJobType(0));
        QCOMPARE(database->GetJobTypes(), QList<Taskmill_JobType>{});
    }

    void JobKeepsEveryField()
    {
        using Database = Taskmill_Database;
        const QList inserts{&Database::InsertLongJob, &Database::InsertShortJob,
                            &Database::InsertQueuelessJob, &Database::InsertFinishedJob};
        const QList gets{&Database::GetLongJobs, &Database::GetShortJobs, &Database::GetQueuelessJobs,
                         &Database::GetFinishedJobs};
        const QList removals{&Database::DeleteLongJob, &Database::DeleteShortJob,
                             &Database::DeleteQueuelessJob, &Database::DeleteFinishedJob};
        const QStringList queues{u"Long"_s, u"Short"_s, u"None"_s, u"None"_s};
        for (int table = 0; table < 4; ++table) {
            const auto database = MakeDatabase();
            Taskmill_JobType jobType = SampleJobType(u"Type"_s);
            QVERIFY(database->InsertJobType(jobType, true, &jobType.JobTypeID));
            QList<Taskmill_JobRecord> jobs{SampleJob(jobType, 42), SampleJob(jobType, 41)};
            jobs[1].Started = {};
            AddSampleFields(jobs[0]);
            jobs[0].Run = u"run@machine"_s;
            if (table < 3)
                jobs[0].Status = Taskmill_JobStatus::Running;
            else
                AddSampleEnd(jobs[0]);
            for (Taskmill_JobRecord &job : jobs) {
                job.QueueName = queues[table];
                QVERIFY((*database.*inserts[table])(job, true, nullptr));
                job.QueueName.replace(u"None"_s, u"Queueless"_s);
                if (table == 3) {
                    job.RecordedCommandLine = job.CommandLine();
                    job.Run.clear();
                } else {
                    job.Finished = {};
                    job.StdOutAndStdErr.clear();
                }
            }
            QCOMPARE((*database.*gets[table])(), jobs);
            QCOMPARE(database->LargestJobID(), 42);
            QVERIFY((*database.*removals[table])(41));
            QVERIFY((*database.*removals[table])(0));
            QCOMPARE((*database.*gets[table])(), QList{jobs.first()});
        }
    }

    void FinishedJobShowsWhatRan()
    {
        const auto database = MakeDatabase();
        Taskmill_JobType jobType = SampleJobType(u"Type"_s);
        QVERIFY(database->InsertJobType(jobType, true));
        const Taskmill_JobRecord job = SampleJob(jobType, 1);
        QVERIFY(database->InsertFinishedJob(job, true));
        jobType.ApplicationName = u"other"_s;
        jobType.ExecutablePath = u"/opt/other"_s;
        jobType.GenericCommandLine = u"@EXEFILE --new"_s;
        jobType.Name = u"Renamed"_s;
        QVERIFY(database->UpdateJobType(0, jobType));
        // Written again it is still what ran.
        for (int row = 0; row < 2; ++row) {
            const Taskmill_JobRecord read = database->GetFinishedJobs().value(row);
            QCOMPARE(read.JobType.Name, u"Renamed"_s);
            QCOMPARE(read.JobType.ApplicationName, job.JobType.ApplicationName);
            QCOMPARE(read.JobType.ExecutablePath, job.JobType.ExecutablePath);
            QCOMPARE(read.CommandLine(), job.CommandLine());
            QVERIFY(database->InsertFinishedJob(read, true));
        }
    }

    void AddedFieldsLiveAsLongAsTheirJob()
    {
        const auto database = MakeDatabase();
        const Taskmill_JobRecord plain = SampleJob(SampleJobType(u"Type"_s), 5);
        const QString tableText = u"SELECT sql FROM sqlite_master WHERE name = 'AddedFields'"_s;
        QVERIFY(database->InsertLongJob(plain, true));
        QCOMPARE(RowsOf(*database, tableText), QStringList{});
        Taskmill_JobRecord job = plain;
        job.JobID = 6;
        job.CheckpointFile = u"a.chk"_s;
        job.PlaceholderValues = {{u"@T"_s, u"x"_s}};
        QVERIFY(database->InsertLongJob(job, true));
        QVERIFY(database->InsertLongJob(job, true));
        QCOMPARE(RowsOf(*database, tableText),
                 QStringList{u"CREATE TABLE AddedFields (Owner TEXT, OwnerID INTEGER, Name TEXT, Value TEXT, "
                             "PRIMARY KEY (Owner, OwnerID, Name))"_s});
        const QStringList fields{u"job|6|CheckpointFile|a.chk"_s, u"job|6|Placeholder 001 @T|x"_s};
        const auto content = [&] {
            return RowsOf(*database, u"SELECT * FROM AddedFields ORDER BY OwnerID, Name"_s);
        };
        QCOMPARE(content(), fields);
        // It moves; then another one ends; then it moves again.
        QVERIFY(database->InsertFinishedJob(job, true));
        QVERIFY(database->DeleteLongJob(6));
        QVERIFY(database->DeleteFinishedJobs({4, 5}));
        QCOMPARE(content(), fields);
        QVERIFY(database->InsertShortJob(job, true));
        QVERIFY(database->DeleteFinishedJobs({5, 6}));
        QCOMPARE(content(), fields);
        QVERIFY(database->DeleteShortJob(6));
        QCOMPARE(content(), QStringList{});
        // A number that is used again has nothing of the job before it.
        QVERIFY(database->InsertQueuelessJob(job, true));
        job = plain;
        job.JobID = 6;
        QVERIFY(database->InsertQueuelessJob(job, true));
        QCOMPARE(content(), QStringList{});
    }

    void FieldsWithoutAnOwnerGo()
    {
        const QString path = Path(u"orphans.mill"_s);
        const auto database = MakeDatabase();
        Taskmill_JobRecord job = SampleJob(SampleJobType(u"Type"_s), 5);
        AddSampleFields(job);
        QVERIFY(database->InsertShortJob(job, true));
        QVERIFY(database->InsertJobType(SampleJobType(u"Type"_s), true));
        QVERIFY(database->SaveToFile(path));
        // The first number belongs to nobody.
        RawDatabase{path}.Execute(
            {u"INSERT INTO AddedFields SELECT 'job', 7, Name, Value FROM AddedFields"_s,
             u"INSERT INTO AddedFields VALUES ('jobtype', 1, 'n', 'v'), "
             "('jobtype', 0, 'n', 'v'), ('queue', 0, 'n', 'v'), ('project', 0, 'n', 'v')"_s});
        database->MarkUnchanged();
        QVERIFY(database->LoadFromFile(path));
        QVERIFY(!database->HasUnsavedChanges());
        const QString owners = u"SELECT DISTINCT Owner, OwnerID FROM AddedFields"_s;
        QCOMPARE(RowsOf(*database, owners), (QStringList{u"job|5"_s, u"jobtype|0"_s, u"project|0"_s}));
        // The next job type gets its number.
        QVERIFY(database->DeleteJobType(0));
        QCOMPARE(RowsOf(*database, owners), (QStringList{u"job|5"_s, u"project|0"_s}));
        const auto jobs = database->GetShortJobs();
        QCOMPARE(jobs.value(0).PlaceholderValues, job.PlaceholderValues);
    }

    void RowsAreKnownAfterEachChange()
    {
        const QString path = Path(u"other.mill"_s);
        const auto database = MakeDatabase();
        const auto insert = [&database](const QList<int> &jobIDs) {
            for (const int jobID : jobIDs)
                QVERIFY(database->InsertLongJob(SampleJob(SampleJobType(u"Type"_s), jobID), true));
        };
        const auto content = [&database] {
            return RowsOf(*database, u"SELECT JobID FROM LongJobsQueue UNION ALL SELECT Name FROM JobTypes"_s)
                .join(u' ');
        };
        insert({5, 6, 5});
        QVERIFY(database->InsertJobType(SampleJobType(u"A"_s), true));
        QVERIFY(database->SaveToFile(path));
        QCOMPARE(content(), u"5 6 5 A"_s);
        QVERIFY(database->DeleteLongJob(5));
        // The new row has the key of a deleted one.
        insert({7, 8});
        QVERIFY(database->DeleteLongJob(5));
        QVERIFY(database->DeleteLongJob(8));
        QVERIFY(database->InsertJobType(SampleJobType(u"B"_s), true));
        QVERIFY(database->DeleteJobType(0));
        QCOMPARE(content(), u"6 7 B"_s);
        QVERIFY(database->LoadFromFile(path));
        QVERIFY(database->DeleteLongJob(7));
        QCOMPARE(content(), u"5 6 5 A"_s);
        QVERIFY(database->DeleteLongJob(5));
        QCOMPARE(content(), u"6 A"_s);
    }

    void OddRowsAreReadable()
    {
        const QString path = Path(u"odd.mill"_s);
        const auto database = MakeDatabase();
        const Taskmill_JobRecord job = SampleJob(SampleJobType(u"Type"_s), 1);
        QVERIFY(database->InsertLongJob(job, true));
        QVERIFY(database->InsertQueue(u"Long"_s, 1));
        QVERIFY(database->SaveToFile(path));
        RawDatabase{path}.Execute(
            {u"UPDATE Queues SET MaxRunningJobs = 'many'"_s,
             u"INSERT INTO FinishedJobs VALUES "
             u"(2147483647,'n','x',7,'a','e',NULL,'c','sleeping','yesterday',3,x'00',"
             "'','',99999999999,NULL,NULL,NULL,'port',NULL,NULL,NULL,NULL,NULL,NULL)"_s});
        QVERIFY(database->LoadFromFile(path));
        QCOMPARE(database->GetMaxRunningJobs(u"Long"_s), -1);
        const auto jobs = database->GetFinishedJobs();
        QCOMPARE(jobs.size(), 1);
        QCOMPARE(jobs.first().QueueName, QString{});
        QCOMPARE(jobs.first().Status, Taskmill_JobStatus::Unknown);
        QVERIFY(!jobs.first().Submitted.isValid());
        // There is no key and no job number behind these.
        QVERIFY(!database->InsertFinishedJob(jobs.first(), true));
        QCOMPARE(database->LargestJobID(), 1);
        // A job whose type is gone has what its row says.
        const auto waiting = database->GetLongJobs();
        QCOMPARE(waiting.size(), 1);
        QVERIFY(waiting.first().JobType.IsEmpty());
        QCOMPARE(waiting.first().JobType.ExecutablePath, job.JobType.ExecutablePath);
        QCOMPARE(waiting.first().JobType.GenericCommandLine, job.CommandLine());
    }

    void FailedStatementIsNoSuccess()
    {
        const auto database = MakeDatabase();
        Taskmill_JobRecord job = SampleJob(SampleJobType(u"Type"_s), 1);
        AddSampleFields(job);
        QVERIFY(database->InsertLongJob(job, true));
        QVERIFY(database->InsertFinishedJob(job, true));
        QVERIFY(database->InsertQueue(u"Long"_s, 1));
        QVERIFY(database->SetGeneralData(u"N"_s, u"1"_s) == 1);
        Taskmill_JobType jobType = SampleJobType(u"Type"_s);
        QVERIFY(database->InsertJobType(jobType, true));
        jobType.ExecutablePath = u"/opt/other"_s;
        const QByteArray before = Dump(*database);
        database->MarkUnchanged();

        RefuseWrites(*database, true);
        QVERIFY(!database->DeleteLongJob(1));
        QVERIFY(!database->DeleteFinishedJobs({1}));
        QVERIFY(!database->SetMaxRunningJobs(u"Long"_s, 2));
        QVERIFY(!database->UpdateJobType(0, jobType));
        QVERIFY(!database->DeleteJobType(0));
        QCOMPARE(database->SetGeneralData(u"N"_s, u"2"_s), 0);
        QVERIFY(database->LastErrorMessage().contains(u"readonly"_s));
        RefuseWrites(*database, false);

        QVERIFY(!database->HasUnsavedChanges());
        QCOMPARE(Dump(*database), before);
        // A half of two statements is undone, and what is remembered with it.
        QVERIFY(database->DeleteFinishedJobs({1}));
        QVERIFY(database->DeleteLongJob(1));
        QCOMPARE(RowsOf(*database, u"SELECT COUNT(*) FROM LongJobsQueue, AddedFields"_s),
                 QStringList{u"0"_s});
    }

    void WritesOfOneChangeStayTogether()
    {
        const auto database = MakeDatabase();
        const Taskmill_JobRecord job = SampleJob(SampleJobType(u"Type"_s), 1);
        for (const bool succeeds : {false, true}) {
            const bool isWritten =
                database->AsOneChange([&] { return database->InsertLongJob(job, true) && succeeds; });
            QCOMPARE(isWritten, succeeds);
            QCOMPARE(database->GetLongJobs().size(), succeeds ? 1 : 0);
            QCOMPARE(database->HasUnsavedChanges(), succeeds);
        }
    }

    void FailedInsertionDoesNotBlockLaterWrites()
    {
        const auto database = MakeDatabase();
        Taskmill_JobRecord job = SampleJob(SampleJobType(u"Type"_s), 1);
        job.Name.clear();
        QVERIFY(!database->InsertLongJob(job, true));
        QVERIFY(database->LastErrorMessage().contains(u"CHECK"_s));
        QVERIFY(!database->HasUnsavedChanges());
        QVERIFY(!database->SetMaxRunningJobs(u"Long"_s, 4));
        for (const QString &name : {u"Long"_s, u"Short"_s, u"Long"_s})
            QVERIFY(database->InsertQueue(name, 1));
        QVERIFY(database->SetMaxRunningJobs(u"Short"_s, 5));
        QVERIFY(database->HasUnsavedChanges());
        QCOMPARE(RowsOf(*database, u"SELECT QueueID, Name, MaxRunningJobs FROM Queues"_s),
                 (QStringList{u"0|Long|1"_s, u"1|Short|5"_s}));
        QCOMPARE(RowsOf(*database, u"SELECT count(*) FROM LongJobsQueue"_s), QStringList{u"0"_s});
    }

    void ManagerFindsItsDatabasesAgain()
    {
        using Kind = KilnUtil_Database_Foundation;
        ScriptedPrompt prompt;
        Taskmill_Database_Manager &manager = Taskmill_Database_Manager::Global();
        const Taskmill_Database *memory = manager.Database(Kind::SQLiteMemory, {}, true);
        QCOMPARE(manager.Database(Kind::SQLiteMemory, {}, false), memory);
        QCOMPARE(manager.Database(Kind::SQLiteFile, {}, true), nullptr);
        QCOMPARE(manager.Database(Kind::PostgreSQL, {}, false), nullptr);
        QCOMPARE(prompt.asked[0].title + prompt.asked[1].title,
                 u"Specify an SQLite Database FileSelect a MySQL Database File or Directory"_s);
        QCOMPARE(prompt.asked[0].text + prompt.asked[1].text,
                 u"SQLite Databases (*.*)PostGreSQL Databases (*.*)"_s);
        QCOMPARE(manager.CurrentDatabase(), memory);
        prompt.texts = {u"chosen"_s};
        QCOMPARE(manager.Database(Kind::PostgreSQL, {}, false)->Kind(), Kind::PostgreSQL);
        // One whose name is given is found by the number of another kind only.
        const Taskmill_Database *named = manager.Database(Kind::PostgreSQL, u"named"_s, false);
        QCOMPARE(named->Kind(), Kind::MySQL);
        QCOMPARE(manager.CurrentDatabase(), named);
        QCOMPARE(manager.Database(Kind::MySQL, u"named"_s, false), named);
        QVERIFY(manager.Database(Kind::PostgreSQL, u"named"_s, false) != named);
        manager.CloseAll();
        QCOMPARE(manager.CurrentDatabase(), nullptr);
    }

    /// A transaction that has read something is refused while somebody else holds the lock.
    void StartsAreKnownAfterEveryEnd()
    {
        const QString path = Path(u"work.db"_s);
        const auto runOf = [](Taskmill_Database &database, int jobID) {
            const QList<Taskmill_JobRecord> jobs = database.GetLongJobs();
            const auto job = std::ranges::find(jobs, jobID, &Taskmill_JobRecord::JobID);
            return job == jobs.end() ? u"none"_s : job->Run + u' ' + Taskmill_JobStatusText(job->Status);
        };
        const auto open = [](const QString &file) {
            auto database = MakeClosedDatabase();
            database->SetStoragePath(file);
            return database->Open() && database->CreateTables() ? std::move(database) : nullptr;
        };
        auto database = open(path);
        QVERIFY(database);
        QVERIFY(database->WorkingCopy().Begin());
        QList<Taskmill_JobRecord> jobs;
        for (const int number : {1, 2, 3, 4}) {
            Taskmill_JobRecord job = SampleJob(SampleJobType(u"Type"_s), number);
            job.Status = Taskmill_JobStatus::Pending;
            job.Run.clear();
            QVERIFY(database->InsertLongJob(job, true));
            job.Run = u"run-%1"_s.arg(number);
            jobs.append(job);
        }
        database->MarkUnchanged();
        // The last two were only to be started.
        for (const int number : {4, 3, 2})
            QVERIFY(database->NoteRun(number, jobs[number - 1].Run));
        database->ForgetNotedRun(4);
        QVERIFY(database->RecordStart(jobs[0]));
        QVERIFY(database->RecordStart(jobs[1]));
        database->ForgetNotedRun(2);
        // A program that is ended now has written no more than this.
        const QString left = Path(u"left.db"_s);
        QVERIFY(QFile::copy(path, left));
        QVERIFY(QFile::copy(path + u"-wal"_s, left + u"-wal"_s));
        const QStringList noted = RowsOfFile(left, u"SELECT JobID, Run FROM WorkingCopyRuns"_s);
        QCOMPARE(noted, (QStringList{u"1|run-1"_s, u"2|run-2"_s, u"3|run-3"_s}));
        const auto after = open(left);
        QVERIFY(after);
        QVERIFY(after->Untracked([&] { return after->TakeUpStarts(); }));
        QCOMPARE(runOf(*after, 1), u"run-1 Running"_s);
        QCOMPARE(runOf(*after, 3), u"run-3 Running"_s);
        QCOMPARE(runOf(*after, 4), u" Pending"_s);
        // A project that is saved in the same turn of the event loop knows them, too.
        QVERIFY(database->SaveToFile(Path(u"saved.mill"_s)));
        const QString started = u"SELECT OwnerID FROM AddedFields WHERE Name = 'Run' AND OwnerID < 3"_s;
        QCOMPARE(RowsOfFile(Path(u"saved.mill"_s), started), (QStringList{u"1"_s, u"2"_s}));
        QVERIFY(!database->HasUnsavedChanges());
    }

    void LogIsShortenedWhileNobodyWrites()
    {
        const auto database = MakeClosedDatabase();
        database->SetStoragePath(Path(u"work.db"_s));
        QVERIFY(database->InsertGeneralData(u"Large"_s, {}, true));
        database->StartCheckpoints();
        int number = 0;
        const auto write = [&](int length) {
            return database->AsOneChange([&] {
                QString text;
                return database->GetGeneralData(u"Large"_s, text) &&
                       database->InsertGeneralData(u"Text %1"_s.arg(++number), QString{length, QChar{u'x'}},
                                                   true);
            });
        };
        // Longer than the log may stay.
        while (number < 1500)
            QVERIFY2(write(60'000), QByteArray::number(number));
        const qint64 longOne = database->LastCommit();
        for (int afterwards = 0; afterwards < 2000; afterwards += database->IsStored(longOne))
            QVERIFY2(write(1), QByteArray::number(number));
        QTRY_COMPARE_WITH_TIMEOUT(QFileInfo{Path(u"work.db-wal"_s)}.size(), 0, 60'000);
    }

private:
    /// All that the tests of one database look at.
    static QByteArray Dump(Taskmill_Database &database)
    {
        QStringList rows;
        for (const auto table : {"GeneralData"_L1, "JobTypes"_L1, "Queues"_L1, "LongJobsQueue"_L1,
                                 "FinishedJobs"_L1, "AddedFields"_L1})
            rows += RowsOf(database, u"SELECT * FROM "_s + table);
        return rows.join(u'\n').toUtf8();
    }
};

QTEST_GUILESS_MAIN(TestDatabase)
#include "test_database.moc"
