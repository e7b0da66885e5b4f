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
    void TimesShowWhatTheClockShowed_data();
    void TimesShowWhatTheClockShowed();
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

void TestJobRecord::TimesShowWhatTheClockShowed_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("iso"); // empty when it is no time

    const QString written = u"2024-02-29T23:59:58"_s;
    QTest::newRow("as it is written") << written << written;
    QTest::newRow("in an hour that a clock leaves out")
        << u"2024-03-31T02:30:00"_s << u"2024-03-31T02:30:00"_s;
    QTest::newRow("with a zone") << u"2024-02-29T23:59:58Z"_s << written;
    QTest::newRow("without seconds") << u"2024-02-29T23:59"_s << u"2024-02-29T23:59:00"_s;
    QTest::newRow("a day that there is not") << u"2023-02-29T00:00:00"_s << QString{};
    QTest::newRow("a sign for a digit") << u"2023-01-+1T00:00:00"_s << QString{};
    QTest::newRow("some words") << u"some time after lunch"_s << QString{};
    QTest::newRow("nothing") << QString{} << QString{};
}

void TestJobRecord::TimesShowWhatTheClockShowed()
{
    QFETCH(QString, text);
    QFETCH(QString, iso);
    const auto time = Taskmill_JobTime::FromIsoText(text);
    QCOMPARE(time.IsoText(), iso);
    QCOMPARE(time.isValid(), !iso.isEmpty());
    QVERIFY(Taskmill_JobTime{} <= time && time < Taskmill_JobTime::Now());
    if (time.isValid())
        QVERIFY(time == Taskmill_JobTime(QDateTime::fromString(iso + u'Z', Qt::ISODate)));
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
