#include "databasetestutil.h"
#include "support/testutil.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

/// Whole databases to and from files, and what becomes of both when that fails.
class TestDatabaseCopy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void CopyHoldsEverything();
    void LinkAndPermissionsStay();
    void StaleJournalsGo();
    void FailedSaveLeavesTargetAlone_data();
    void FailedSaveLeavesTargetAlone();
    void FullDiskLeavesTargetAlone();
    void KilledSaveLeavesTargetAlone();
    void UnusableFileIsNotLoaded_data();
    void UnusableFileIsNotLoaded();
    void LockedFileIsNotLoaded();
    void OpenTransactionDoesNotStopLoading();
    void FileInWriteAheadModeIsLoaded();
    void FileOfOtherPageSizeIsLoaded();

private:
    [[nodiscard]] QString Path(const QString &name) const { return m_directory->filePath(name); }
    [[nodiscard]] QStringList Files() const
    {
        return QDir{m_directory->path()}.entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                                   QDir::NoDotAndDotDot);
    }

    std::unique_ptr<QTemporaryDir> m_directory;
    QString m_target;
};

static const QString countRows = QStringLiteral("SELECT count(*) FROM GeneralData");

static std::unique_ptr<Taskmill_Database> MakeLargeDatabase()
{
    auto database = MakeDatabase();
    for (int i = 0; i < 20; ++i)
        database->InsertGeneralData(u"Large"_s, QString{100000, QChar{u'x'}}, true);
    return database;
}

void TestDatabaseCopy::init()
{
    FailOnQtWarnings();
    m_directory = std::make_unique<QTemporaryDir>();
    m_target = Path(u"target.mill"_s);
}

void TestDatabaseCopy::CopyHoldsEverything()
{
    const auto database = MakeDatabase();
    Taskmill_JobType jobType = SampleJobType(u"Müller's"_s);
    QVERIFY(database->InsertJobType(jobType, true, &jobType.JobTypeID));
    QVERIFY(database->InsertFinishedJob(SampleJob(jobType, 5), true));
    const QString path = Path(u"Müller's 水 100%1?x#.mill"_s);
    QVERIFY(database->SaveToFile(path));
    QCOMPARE(Files(), QStringList{QFileInfo{path}.fileName()});

    const auto copy = MakeClosedDatabase();
    QVERIFY(copy->LoadFromFile(path));
    QVERIFY(!copy->HasUnsavedChanges());
    QCOMPARE(copy->GetJobTypes(), QList{jobType});
    QCOMPARE(copy->GetFinishedJobs(), QList{SampleJob(jobType, 5)});
    QVERIFY(copy->InsertFinishedJob(SampleJob(jobType, 6), true));
    QVERIFY(copy->SaveToFile(path));
    QVERIFY(database->LoadFromFile(path));
    QCOMPARE(database->GetFinishedJobs().size(), 2);
    QCOMPARE(Files(), QStringList{QFileInfo{path}.fileName()});
}

void TestDatabaseCopy::LinkAndPermissionsStay()
{
    QVERIFY(QDir{m_directory->path()}.mkdir(u"elsewhere"_s));
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

    QVERIFY(QFile::remove(file));
    QVERIFY(MakeDatabase()->SaveToFile(m_target));
    QVERIFY(QFile::exists(file));

    const mode_t mask = umask(027);
    QVERIFY(MakeDatabase()->SaveToFile(Path(u"new.mill"_s)));
    umask(mask);
    QCOMPARE(QFile::permissions(Path(u"new.mill"_s)), permissions);
}

void TestDatabaseCopy::StaleJournalsGo()
{
    for (const auto name :
         {"target.mill"_L1, "target.mill-journal"_L1, "target.mill-wal"_L1, "target.mill-shm"_L1})
        WriteTestFile(Path(name), "left by a crash");
    QVERIFY(MakeDatabase()->SaveToFile(m_target));
    QCOMPARE(Files(), QStringList{u"target.mill"_s});
}

void TestDatabaseCopy::FailedSaveLeavesTargetAlone_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("directory") << u"directory"_s;
    QTest::newRow("no such directory") << u"missing/file.mill"_s;
    QTest::newRow("links in a circle") << u"circle"_s;
    QTest::newRow("device") << u"device"_s;
    QTest::newRow("pipe") << u"pipe"_s;
}

void TestDatabaseCopy::FailedSaveLeavesTargetAlone()
{
    QFETCH(QString, name);
    QVERIFY(QDir{m_directory->path()}.mkdir(u"directory"_s));
    QVERIFY(QFile::link(u"circle"_s, Path(u"circle"_s)));
    QVERIFY(QFile::link(u"/dev/null"_s, Path(u"device"_s)));
    QCOMPARE(mkfifo(QFile::encodeName(Path(u"pipe"_s)).constData(), 0600), 0);
    const QStringList before = Files();
    const auto database = MakeDatabase();
    QVERIFY(!database->SaveToFile(Path(name)));
    QCOMPARE(Files(), before);
    QVERIFY(!QFileInfo{u"/dev/null"_s}.isFile());
    QVERIFY(database->SaveToFile(m_target));
}

void TestDatabaseCopy::FullDiskLeavesTargetAlone()
{
    const auto database = MakeLargeDatabase();
    WriteTestFile(m_target, "old content");
    rlimit before{};
    QCOMPARE(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit full{.rlim_cur = 1000000, .rlim_max = before.rlim_max};
    QCOMPARE(setrlimit(RLIMIT_FSIZE, &full), 0);
    const bool saved = database->SaveToFile(m_target);
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);

    QVERIFY(!saved);
    QCOMPARE(ReadTestFile(m_target), "old content");
    QCOMPARE(Files(), QStringList{u"target.mill"_s});
    QVERIFY(database->SaveToFile(m_target));
    QCOMPARE(RowsOfFile(m_target, countRows), QStringList{u"20"_s});
}

void TestDatabaseCopy::KilledSaveLeavesTargetAlone()
{
    const auto database = MakeLargeDatabase();
    WriteTestFile(m_target, "old content");
    const pid_t child = fork();
    QVERIFY(child >= 0);
    if (child == 0) {
        // The system kills the child in the middle of its writing.
        const rlimit none{.rlim_cur = 0, .rlim_max = 0};
        const rlimit full{.rlim_cur = 1000000, .rlim_max = 1000000};
        setrlimit(RLIMIT_CORE, &none);
        setrlimit(RLIMIT_FSIZE, &full);
        std::signal(SIGXFSZ, SIG_DFL);
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
    QVERIFY(Files().contains(leftovers.first()));
    QFile leftover{Path(leftovers.first())};
    QVERIFY(leftover.open(QIODevice::ReadWrite));
    QVERIFY(
        leftover.setFileTime(QDateTime::currentDateTime().addDays(-1), QFileDevice::FileModificationTime));
    leftover.close();
    QVERIFY(database->SaveToFile(m_target));
    QCOMPARE(Files(), QStringList{u"target.mill"_s});
}

void TestDatabaseCopy::UnusableFileIsNotLoaded_data()
{
    QTest::addColumn<int>("keptBytes");
    QTest::addColumn<int>("damagedFrom");
    QTest::newRow("missing") << -1 << -1;
    QTest::newRow("directory") << -2 << -1;
    QTest::newRow("pipe") << -3 << -1;
    QTest::newRow("no database") << 100000 << 0;
    QTest::newRow("damaged in the middle") << 1000000 << 8192;
    QTest::newRow("header alone") << 100 << -1;
    QTest::newRow("cut behind a page") << 8192 << -1;
}

void TestDatabaseCopy::UnusableFileIsNotLoaded()
{
    QFETCH(int, keptBytes);
    QFETCH(int, damagedFrom);
    if (keptBytes >= 0) {
        QVERIFY(MakeLargeDatabase()->SaveToFile(m_target));
        QByteArray content = ReadTestFile(m_target).left(keptBytes);
        if (damagedFrom >= 0)
            content.replace(damagedFrom, 60000, QByteArray(60000, '\xA5'));
        WriteTestFile(m_target, content);
    } else if (keptBytes == -2) {
        QVERIFY(QDir{}.mkpath(m_target));
    } else if (keptBytes == -3) {
        QCOMPARE(mkfifo(QFile::encodeName(m_target).constData(), 0600), 0);
    }

    const auto fresh = MakeClosedDatabase();
    QVERIFY(!fresh->LoadFromFile(m_target));
    QVERIFY(fresh->InsertQueue(u"Long"_s, 1));

    const auto used = MakeDatabase();
    QVERIFY(used->InsertQueue(u"Long"_s, 1));
    QVERIFY(!used->LoadFromFile(m_target));
    QCOMPARE(used->GetMaxRunningJobs(u"Long"_s), 1);
    QVERIFY(used->InsertQueue(u"Short"_s, 1));
}

void TestDatabaseCopy::LockedFileIsNotLoaded()
{
    QVERIFY(MakeDatabase()->SaveToFile(m_target));
    RawDatabase other{m_target};
    other.Execute({u"BEGIN EXCLUSIVE"_s});
    const auto database = MakeClosedDatabase();
    QVERIFY(!database->LoadFromFile(m_target));
    other.Execute({u"COMMIT"_s});
    QVERIFY(database->LoadFromFile(m_target));
}

void TestDatabaseCopy::OpenTransactionDoesNotStopLoading()
{
    QVERIFY(MakeLargeDatabase()->SaveToFile(m_target));
    const auto database = MakeDatabase();
    QVERIFY(database->BeginTransaction());
    QVERIFY(database->CreateTables());
    QVERIFY(database->LoadFromFile(m_target));
    QCOMPARE(RowsOf(*database, countRows), QStringList{u"20"_s});
}

void TestDatabaseCopy::FileInWriteAheadModeIsLoaded()
{
    QVERIFY(MakeDatabase()->SaveToFile(m_target));
    RawDatabase other{m_target};
    other.Execute({u"PRAGMA journal_mode = WAL"_s, u"PRAGMA wal_autocheckpoint = 0"_s,
                   u"INSERT INTO GeneralData VALUES (0, 'Name', 'only in the log', '', '')"_s});
    QCOMPARE(ReadTestFile(m_target).at(18), '\2');

    const auto database = MakeClosedDatabase();
    QVERIFY(database->LoadFromFile(m_target));
    QString value;
    QVERIFY(database->GetGeneralData(u"Name"_s, value));
    QCOMPARE(value, u"only in the log"_s);
    QCOMPARE(database->SetGeneralData(u"Name"_s, u"new"_s), 1);
    const QString copy = Path(u"copy.mill"_s);
    QVERIFY(database->SaveToFile(copy));
    QCOMPARE(ReadTestFile(copy).at(18), '\1');
    QCOMPARE(RowsOfFile(copy, u"SELECT DataStr FROM GeneralData"_s), QStringList{u"new"_s});
}

void TestDatabaseCopy::FileOfOtherPageSizeIsLoaded()
{
    QVERIFY(MakeLargeDatabase()->SaveToFile(m_target));
    RawDatabase{m_target}.Execute({u"PRAGMA page_size = 1024"_s, u"VACUUM"_s});
    const auto fresh = MakeClosedDatabase();
    QVERIFY(fresh->LoadFromFile(m_target));
    QCOMPARE(RowsOf(*fresh, countRows), QStringList{u"20"_s});

    const auto used = MakeDatabase();
    QVERIFY(!used->LoadFromFile(m_target));
    QVERIFY(used->InsertQueue(u"Long"_s, 1));
}

QTEST_GUILESS_MAIN(TestDatabaseCopy)
#include "test_databasecopy.moc"
