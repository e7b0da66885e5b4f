#include "jobs/jobrecord.h"
#include "support/testutil.h"

#include <QtTest>

using namespace Qt::Literals::StringLiterals;

class TestJobRecord : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FailOnQtWarnings(); }
    void StampsStatus_data();
    void StampsStatus();
    void DerivesOutputFile_data();
    void DerivesOutputFile();
    void TellsWhetherItCanRun();
};

void TestJobRecord::StampsStatus_data()
{
    QTest::addColumn<Taskmill_JobStatus>("status");
    QTest::addColumn<QList<bool>>("stamped"); // Submitted, Started, Finished

    QTest::newRow("pending") << Taskmill_JobStatus::Pending << QList{true, false, false};
    QTest::newRow("running") << Taskmill_JobStatus::Running << QList{false, true, false};
    QTest::newRow("first final status") << Taskmill_JobStatus::Finished << QList{false, false, true};
    QTest::newRow("last final status") << Taskmill_JobStatus::Killed << QList{false, false, true};
}

void TestJobRecord::StampsStatus()
{
    QFETCH(Taskmill_JobStatus, status);
    Taskmill_JobRecord job;
    job.SetStatus(status, false);
    QCOMPARE(job.Status, status);
    QVERIFY(job.Submitted.isNull() && job.Started.isNull() && job.Finished.isNull());

    job.SetStatus(status, true);
    const QList actual{job.Submitted.isValid(), job.Started.isValid(), job.Finished.isValid()};
    QTEST(actual, "stamped");
}

void TestJobRecord::DerivesOutputFile_data()
{
    QTest::addColumn<QString>("filter");
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("output");

    const QString log = u"Gaussian Output Files (*.log *.out)"_s;
    QTest::newRow("first pattern") << log << u"/w.d/x.gjf"_s << u"/w.d/x.log"_s;
    QTest::newRow("input without extension") << log << u"/w.d/x"_s << u"/w.d/x.log"_s;
    QTest::newRow("no input") << log << QString{} << QString{};
    QTest::newRow("no pattern") << u"All Files"_s << u"/w/x.gjf"_s << QString{};
    const QString veltra = u"VELTRA OUTPUT Files (*.zzz)"_s;
    QTest::newRow("newer Veltra input") << veltra << u"/w/x.vdat"_s << u"/w/x.vout"_s;
    QTest::newRow("older Veltra input") << veltra << u"/w/x.dat"_s << u"/w/x.out"_s;
}

void TestJobRecord::DerivesOutputFile()
{
    QFETCH(QString, filter);
    QFETCH(QString, input);
    Taskmill_JobRecord job;
    job.JobType.OutputFileFilter = filter;
    job.InputFilePath = input;
    job.OutputFile = u"before"_s;
    job.DeriveOutputFile();
    QTEST(job.OutputFile, "output");
}

void TestJobRecord::TellsWhetherItCanRun()
{
    QTemporaryDir directory;
    Taskmill_JobRecord good;
    good.Name = u"water"_s;
    good.JobType.Name = u"Program"_s;
    good.JobType.ApplicationName = u"program"_s;
    good.JobType.ExecutablePath = TestProgramPath();
    good.JobType.GenericCommandLine = u"@EXEFILE @infile"_s;
    good.InputFilePath = WriteTestFile(directory.filePath(u"x.in"_s), {});
    QVERIFY(good.IsValid());

    auto without = [&good](auto change) {
        Taskmill_JobRecord job = good;
        change(job);
        return job.IsValid();
    };
    QVERIFY(!without([](Taskmill_JobRecord &job) { job.Name.clear(); }));
    QVERIFY(!without([](Taskmill_JobRecord &job) { job.JobType.Name.clear(); }));
    QVERIFY(!without([](Taskmill_JobRecord &job) { job.InputFilePath.clear(); }));
    QVERIFY(!without([](Taskmill_JobRecord &job) { job.InputFilePath += u"gone"_s; }));
    QVERIFY(!without([](Taskmill_JobRecord &job) { job.InputFilePath2 = u"a\nb"_s; }));
    QVERIFY(!without([](Taskmill_JobRecord &job) { job.OutputFile = u"a\nb"_s; }));
    QVERIFY(without([](Taskmill_JobRecord &job) {
        job.JobType.GenericCommandLine = u"@EXEFILE"_s;
        job.InputFilePath.clear();
    }));
}

QTEST_GUILESS_MAIN(TestJobRecord)
#include "test_jobrecord.moc"
