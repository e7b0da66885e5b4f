// SPDX-License-Identifier: MIT
#include "databasetestutil.h"
#include "kilnutil/database_transaction.h"
#include "support/testcase.h"

#include <csignal>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString countRows = QStringLiteral("SELECT count(*) FROM GeneralData");

std::unique_ptr<Taskmill_Database> MakeLargeDatabase()
{
    auto database = MakeDatabase();
    for (int i = 0; i < 20; ++i)
        database->InsertGeneralData(u"Large"_s, QString{100000, QChar{u'x'}}, true);
    return database;
}

/// As on a full disk; the signal of it is ignored or ends the process.
void LimitFileSize(rlim_t size, void (*handler)(int))
{
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = std::min(size, limit.rlim_max);
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, handler);
}
} // namespace

/// Whole databases to and from files, and what becomes of both when that fails.
class TestDatabaseCopy : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init() override
    {
        TestCase::init();
        m_target = Path(u"target.mill"_s);
    }

    void CopyHoldsEverything()
    {
        const auto database = MakeDatabase();
        Taskmill_JobType jobType = SampleJobType(u"Müller's"_s);
        QVERIFY(database->InsertJobType(jobType, true, &jobType.JobTypeID));
        Taskmill_JobRecord job = SampleJob(jobType, 5);
        AddSampleFields(job);
        QVERIFY(database->InsertFinishedJob(job, true));
        job.RecordedCommandLine = job.CommandLine();
        const QString name = u"Müller's 水 100%1?x#.mill"_s;
        // A crash has left its journals.
        for (const QString &old : {u""_s, u"-journal"_s, u"-wal"_s})
            WriteTestFile(Path(name + old), "old");
        QVERIFY(database->SaveToFile(Path(name)));
        QCOMPARE(Files(), QStringList{name});
        const auto copy = MakeClosedDatabase();
        QVERIFY(copy->LoadFromFile(Path(name)));
        QVERIFY(!copy->HasUnsavedChanges());
        QCOMPARE(copy->GetJobTypes(), QList{jobType});
        QCOMPARE(copy->GetFinishedJobs(), QList{job});
        QCOMPARE(Files(), QStringList{name});
    }

    void LinkAndPermissionsStay()
    {
        QVERIFY(QDir{Path()}.mkdir(u"elsewhere"_s));
        const QString file = WriteTestFile(Path(u"elsewhere/file.mill"_s), "old");
        const auto permissions =
            QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser | QFile::ReadGroup;
        QVERIFY(QFile::setPermissions(file, permissions));
        QVERIFY(QFile::link(u"elsewhere/file.mill"_s, Path(u"first"_s)));
        QVERIFY(QFile::link(u"first"_s, m_target));
        QVERIFY(MakeDatabase()->SaveToFile(m_target));
        QVERIFY(QFileInfo{m_target}.isSymbolicLink());
        QVERIFY(QFileInfo{Path(u"first"_s)}.isSymbolicLink());
        QCOMPARE(QFile::permissions(file), permissions);
        QCOMPARE(RowsOfFile(file, countRows), QStringList{u"0"_s});
    }

    void FullDiskLeavesTargetAlone()
    {
        const auto database = MakeLargeDatabase();
        WriteTestFile(m_target, "old content");
        LimitFileSize(1'000'000, SIG_IGN);
        const bool saved = database->SaveToFile(m_target);
        LimitFileSize(RLIM_INFINITY, SIG_DFL);
        QVERIFY(!saved);
        QCOMPARE(ReadTestFile(m_target), "old content");
        QCOMPARE(Files(), QStringList{u"target.mill"_s});
        QVERIFY(database->SaveToFile(m_target));
        QCOMPARE(RowsOfFile(m_target, countRows), QStringList{u"20"_s});
    }

    void KilledSaveLeavesTargetAlone()
    {
        const auto database = MakeLargeDatabase();
        WriteTestFile(m_target, "old content");
        const pid_t child = fork();
        QVERIFY(child >= 0);
        if (child == 0) {
            // The system kills the child in the middle of its writing.
            const rlimit none{.rlim_cur = 0, .rlim_max = 0};
            setrlimit(RLIMIT_CORE, &none);
            LimitFileSize(1'000'000, SIG_DFL);
            _exit(database->SaveToFile(m_target) ? 0 : 1);
        }
        int status = 0;
        QCOMPARE(waitpid(child, &status, 0), child);
        QVERIFY(WIFSIGNALED(status));
        QCOMPARE(ReadTestFile(m_target), "old content");

        // What the killed one left is cleared away once nobody can still be writing it.
        QStringList leftovers = Files();
        leftovers.removeOne(u"target.mill"_s);
        QCOMPARE(leftovers.size(), 1);
        QVERIFY(database->SaveToFile(m_target));
        QFile leftover{Path(leftovers.first())};
        QVERIFY(leftover.open(QIODevice::ReadWrite | QIODevice::ExistingOnly));
        QVERIFY(leftover.setFileTime(QDateTime::currentDateTime().addDays(-1),
                                     QFileDevice::FileModificationTime));
        leftover.close();
        QVERIFY(database->SaveToFile(m_target));
        QCOMPARE(Files(), QStringList{u"target.mill"_s});
    }

    /// Files of other content: see the tests of the project.
    void UnusableFileIsNotLoaded()
    {
        QVERIFY(MakeLargeDatabase()->SaveToFile(m_target));
        QVERIFY(QDir{Path()}.mkdir(u"directory"_s));
        QCOMPARE(mkfifo(QFile::encodeName(Path(u"pipe"_s)).constData(), 0600), 0);
        RawDatabase other{m_target};
        other.Execute({u"BEGIN EXCLUSIVE"_s});

        const auto database = MakeDatabase();
        QVERIFY(database->InsertQueue(u"Long"_s, 1));
        for (const QString &name : Files() + QStringList{u"missing"_s})
            QVERIFY2(!database->LoadFromFile(Path(name)), qPrintable(name));
        QCOMPARE(database->GetMaxRunningJobs(u"Long"_s), 1);
        QVERIFY(database->InsertQueue(u"Short"_s, 1));
        other.Execute({u"COMMIT"_s});
        const KilnUtil_Database_Transaction open{*database};
        QVERIFY(open.HasBegun());
        QVERIFY(database->LoadFromFile(m_target));
        QCOMPARE(RowsOf(*database, countRows), QStringList{u"20"_s});
    }

    void BadFileIsRefusedWithItsReason_data()
    {
        QTest::addColumn<QString>("statements");
        QTest::addColumn<int>("bytesMore");
        QTest::addColumn<QString>("reason");
        const auto add = [](const char *name, const QString &statements, int bytesMore,
                            const QString &reason) {
            QTest::newRow(name) << statements << bytesMore << reason;
        };
        add("cut inside the last page", {}, -300, u"The end of the file is missing: it"_s);
        add("cut by pages", {}, -40960, u"The end of the file is missing: it"_s);
        add("a page holds something else", {}, 0, {});
        add("longer than its pages", {}, 1, u"The end of the file is missing"_s);
        const QString drop = u"DROP TABLE FinishedJobs;"_s;
        add("a view", drop + u"CREATE VIEW FinishedJobs AS SELECT 1 AS JobID"_s, 0,
            u"It holds the view FinishedJobs,"_s);
        add("a trigger", u"CREATE TRIGGER T AFTER DELETE ON Jobs BEGIN SELECT 1; END"_s, 0,
            u"It holds the trigger T,"_s);
        add("a virtual table", drop + u"CREATE VIRTUAL TABLE FinishedJobs USING fts5(JobID)"_s, 0,
            u"It holds the virtual table FinishedJobs,"_s);
        add("a table of another program", drop + u"CREATE TABLE finishedjobs (Colour, Weight)"_s, 0,
            u"Its table FinishedJobs has none of the columns"_s);
        add("added fields of another kind", u"CREATE TABLE AddedFields (Owner, Name, Value)"_s, 0,
            u"Its table AddedFields lacks columns"_s);
    }

    void BadFileIsRefusedWithItsReason()
    {
        QFETCH(QString, statements);
        QFETCH(int, bytesMore);
        QFETCH(QString, reason);
        QVERIFY(MakeLargeDatabase()->SaveToFile(m_target));
        RawDatabase{m_target}.Execute(
            statements.split(QRegularExpression{u";(?! END)"_s}, Qt::SkipEmptyParts));
        QVERIFY(QFile::resize(m_target, QFileInfo{m_target}.size() + bytesMore));
        if (QByteArray content = ReadTestFile(m_target); reason.isEmpty())
            WriteTestFile(m_target, content.replace(content.size() / 2, 4096, QByteArray(4096, '\x7f')));
        const auto database = MakeDatabase();
        QString given;
        QVERIFY(!database->LoadFromFile(m_target, &given));
        QVERIFY2(given.startsWith(reason), qPrintable(given));
        QCOMPARE(RowsOf(*database, countRows), QStringList{u"0"_s});
    }

    /// What a program leaves that is killed in the middle of a change.
    void OpenJournalIsTheReason()
    {
        QVERIFY(MakeLargeDatabase()->SaveToFile(m_target));
        const QString copy = Path(u"copy.mill"_s);
        {
            RawDatabase other{m_target};
            other.Execute(
                {u"PRAGMA cache_size = 1"_s, u"BEGIN"_s, u"UPDATE GeneralData SET DataStr = 'x'"_s});
            QVERIFY(QFile::copy(m_target, copy));
            QVERIFY(QFile::copy(m_target + u"-journal"_s, copy + u"-journal"_s));
            other.Execute({u"ROLLBACK"_s});
        }
        const QByteArray before = ReadTestFile(copy);
        QString reason;
        QVERIFY(!MakeDatabase()->LoadFromFile(copy, &reason));
        QVERIFY2(reason.startsWith(u"A program was interrupted"_s), qPrintable(reason));
        QCOMPARE(ReadTestFile(copy), before);
    }

private:
    [[nodiscard]] QStringList Files() const
    {
        return QDir{Path()}.entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }

    QString m_target;
};

QTEST_GUILESS_MAIN(TestDatabaseCopy)
#include "test_databasecopy.moc"
