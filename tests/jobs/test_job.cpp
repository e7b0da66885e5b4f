#include "jobs/job.h"
#include "jobs/processinspector.h"
#include "kilnutil/process.h"
#include "support/jobfakes.h"

#include <QtTest>

#include <algorithm>
#include <memory>

using namespace Qt::Literals::StringLiterals;

class TestJob : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void EndsAsItsProcessDoes_data();
    void EndsAsItsProcessDoes();
    void FailsWhenItCannotRun_data();
    void FailsWhenItCannotRun();
    void RunsWithoutJobTypeAsFailed();
    void RunsInTheRightDirectory();
    void GetsTheEnvironmentOfTheStart();
    void ReadsStandardInput_data();
    void ReadsStandardInput();
    void MakesNewInputFilesOnly();
    void StaysRunningWithoutItsInputFile();
    void WritesStandardOutputFile();
    void DecodesOutput_data();
    void DecodesOutput();
    void KeepsBothEndsOfHugeOutput();
    void ShowsOutputWhileRunning();
    void KillsTheWholeTree();
    void KillsWhatCannotStart();
    void KillsOnlyWhatRuns();

private:
    void Make(const Taskmill_JobRecord &record);
    void Run(const Taskmill_JobRecord &record);
    [[nodiscard]] Taskmill_JobRecord Record(const QStringList &arguments, const QString &input = {}) const
    {
        return MakeTestJob(7, m_directory->path(), arguments, input);
    }
    [[nodiscard]] QString Path(const QString &name) const { return m_directory->filePath(name); }
    [[nodiscard]] QString Output() const { return m_job->Record().StdOutAndStdErr; }

    const std::unique_ptr<Taskmill_ProcessInspector> m_inspector = Taskmill_MakeSystemProcessInspector();
    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<Taskmill_Job> m_job;
    std::unique_ptr<QSignalSpy> m_finished;
};

void TestJob::initTestCase()
{
    qputenv("TASKMILL_TEST_EARLY", "early");
    (void)KilnUtil_Process::StartEnvironment();
    qputenv("TASKMILL_TEST_EARLY", "changed");
    qputenv("TASKMILL_TEST_LATE", "late");
}

void TestJob::init()
{
    FailOnQtWarnings();
    m_directory = std::make_unique<QTemporaryDir>();
}

void TestJob::cleanup()
{
    m_finished.reset();
    m_job.reset();
    m_directory.reset();
}

void TestJob::Make(const Taskmill_JobRecord &record)
{
    m_job = std::make_unique<Taskmill_Job>(record);
    m_finished = std::make_unique<QSignalSpy>(m_job.get(), &Taskmill_Job::JobFinishedSignal);
}

void TestJob::Run(const Taskmill_JobRecord &record)
{
    Make(record);
    QVERIFY(m_job->Start());
    QCOMPARE(m_job->Status(), Taskmill_JobStatus::Running);
    QVERIFY(m_job->Record().Started.isValid());
    QCOMPARE(m_finished->size(), 0);
    QTRY_COMPARE_WITH_TIMEOUT(m_finished->size(), 1, 60'000);
    QVERIFY(m_job->IsFinished());
    QVERIFY(m_job->Record().Finished.isValid());
    QVERIFY(!m_job->Process());
}

void TestJob::EndsAsItsProcessDoes_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<Taskmill_JobStatus>("status");

    QTest::newRow("another exit status")
        << QStringList{u"print"_s, u"x"_s, u"exit"_s, u"3"_s} << Taskmill_JobStatus::Failed;
    QTest::newRow("crash") << QStringList{u"print"_s, u"x"_s, u"crash"_s} << Taskmill_JobStatus::Crashed;
}

void TestJob::EndsAsItsProcessDoes()
{
    QFETCH(QStringList, arguments);
    Run(Record(arguments));
    QTEST(m_job->Status(), "status");
    QCOMPARE(Output().trimmed(), u"x"_s);
}

void TestJob::FailsWhenItCannotRun_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("outputFile");

    QTest::newRow("no such program") << u"/none/program"_s << u"x.in"_s << QString{};
    QTest::newRow("output file in no directory") << TestProgramPath() << u"x.in"_s << u"none/out"_s;
}

void TestJob::FailsWhenItCannotRun()
{
    QFETCH(QString, program);
    QFETCH(QString, input);
    QFETCH(QString, outputFile);
    Taskmill_JobRecord record = Record({u"print"_s, u"x"_s});
    record.JobType.ExecutablePath = program;
    record.InputFilePath = Path(input);
    record.StandardOutputFile = outputFile.isEmpty() ? QString{} : Path(outputFile);
    Run(record);
    QCOMPARE(m_job->Status(), Taskmill_JobStatus::Failed);
    QVERIFY2(Output().startsWith(u"Failed to start "_s + QDir::toNativeSeparators(program)),
             qPrintable(Output()));
    QCoreApplication::processEvents();
    QCOMPARE(m_finished->size(), 1);
}

void TestJob::RunsWithoutJobTypeAsFailed()
{
    Taskmill_JobRecord record = Record({u"touch"_s, Path(u"ran"_s)});
    record.JobType.Name.clear();
    Run(record);
    QCOMPARE(m_job->Status(), Taskmill_JobStatus::Failed);
    QVERIFY(Output().contains(u"job type"_s));
    QVERIFY(!QFile::exists(Path(u"ran"_s)));
}

void TestJob::RunsInTheRightDirectory()
{
    QVERIFY(QDir{m_directory->path()}.mkdir(u"two words"_s));
    Taskmill_JobRecord record = Record({u"cwd"_s});
    record.InputFilePath = Path(u"two words/x.in"_s);
    Run(record);
    QCOMPARE(QDir{Output().trimmed()}.canonicalPath(), QDir{Path(u"two words"_s)}.canonicalPath());

    record.InputFilePath.clear();
    Run(record);
    QCOMPARE(QDir{Output().trimmed()}.canonicalPath(), QDir::current().canonicalPath());
}

void TestJob::GetsTheEnvironmentOfTheStart()
{
    Taskmill_JobRecord record = Record({u"env"_s, u"TASKMILL_TEST_EARLY"_s, u"env"_s, u"TASKMILL_TEST_LATE"_s,
                                        u"env"_s, u"TASKMILL_TEST_TYPE"_s});
    record.JobType.EnvironmentVariables = u"TASKMILL_TEST_TYPE=of the type\n"_s;
    Run(record);
    const QStringList expected{u"TASKMILL_TEST_EARLY=early"_s, u"TASKMILL_TEST_LATE"_s,
                               u"TASKMILL_TEST_TYPE=of the type"_s};
    QCOMPARE(Output().split(u'\n', Qt::SkipEmptyParts), expected);
}

void TestJob::ReadsStandardInput_data()
{
    QTest::addColumn<QString>("lines");
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("output");
    QTest::addColumn<bool>("madeFile");

    QTest::newRow("nothing to read") << QString{} << QByteArray{} << QString{} << false;
    QTest::newRow("file of the job") << QString{} << QByteArray{"from file"} << u"from file"_s << false;
    QTest::newRow("file of the job before lines of the template")
        << u"y\n"_s << QByteArray{"from file"} << u"from file"_s << true;
}

void TestJob::ReadsStandardInput()
{
    QFETCH(QString, lines);
    QFETCH(QByteArray, file);
    Taskmill_JobRecord record = Record({u"stdin"_s}, lines);
    if (!file.isEmpty())
        record.StandardInputFile = WriteTestFile(Path(u"given"_s), file);
    Run(record);
    QCOMPARE(m_job->Status(), Taskmill_JobStatus::Completed);
    QTEST(Output().remove(u'\r'), "output");
    QTEST(QFile::exists(Path(u"freqchk.inp"_s)), "madeFile");
}

void TestJob::MakesNewInputFilesOnly()
{
    QVERIFY(QDir{m_directory->path()}.mkdir(u"results"_s));
    WriteTestFile(Path(u"results/freqchk.inp"_s), "mine");
    Taskmill_JobRecord record = Record({u"stdin"_s}, u"first\n"_s);
    record.OutputFile = Path(u"results/x.out"_s);
    Run(record);
    QCOMPARE(Output().trimmed(), u"first"_s);
    record.JobType.GenericCommandLine.replace(u"first"_s, u"second"_s);
    Run(record);
    QCOMPARE(Output().trimmed(), u"second"_s);

    QCOMPARE(ReadTestFile(Path(u"results/freqchk.inp"_s)), "mine");
    QCOMPARE(ReadTestFile(Path(u"results/freqchk1.inp"_s)).trimmed(), "first");
    QCOMPARE(ReadTestFile(Path(u"results/freqchk2.inp"_s)).trimmed(), "second");
}

void TestJob::StaysRunningWithoutItsInputFile()
{
    Taskmill_JobRecord record = Record({u"stdin"_s}, u"y\n"_s);
    record.OutputFile = Path(u"none/x.out"_s);
    Make(record);
    QVERIFY(!m_job->Start());
    QCOMPARE(m_job->Status(), Taskmill_JobStatus::Running);
    QVERIFY(!m_job->Process());
    QVERIFY(!m_job->Kill(*m_inspector));
    QCoreApplication::processEvents();
    QCOMPARE(m_finished->size(), 0);
}

void TestJob::WritesStandardOutputFile()
{
    Taskmill_JobRecord record = Record({u"print"_s, u"result"_s, u"error"_s, u"complaint"_s});
    record.StandardOutputFile = WriteTestFile(Path(u"stdout"_s), QByteArray{1000, 'x'});
    Run(record);
    const QByteArray content = ReadTestFile(record.StandardOutputFile);
    QVERIFY(content.contains("result") && content.contains("complaint"));
    QVERIFY(!content.contains('x'));
    QCOMPARE(Output(), QString{});
}

void TestJob::DecodesOutput_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");

    QTest::newRow("Latin-1") << QByteArray{"\xC5ngstr\xF6m"} << u"Ångström"_s;
    QTest::newRow("NUL characters are dropped") << QByteArray{"a\0b\0\0c\0", 7} << u"abc"_s;
}

void TestJob::DecodesOutput()
{
    QFETCH(QByteArray, bytes);
    Taskmill_JobRecord record = Record({u"stdin"_s});
    record.StandardInputFile = WriteTestFile(Path(u"bytes"_s), bytes);
    Run(record);
    QTEST(Output(), "text");
}

void TestJob::KeepsBothEndsOfHugeOutput()
{
    constexpr int size = 200'000'000;
    Run(Record({u"print"_s, u"begin"_s, u"fill"_s, QString::number(size), u"print"_s, u"end"_s}));
    QCOMPARE(m_job->Status(), Taskmill_JobStatus::Completed);
    const QString output = Output();
    QVERIFY(output.startsWith(u"begin"_s));
    QVERIFY(output.endsWith(u"x\nend\n"_s));
    constexpr qint64 kept = KilnUtil_OutputBuffer::DefaultCapacity;
    const QString marker = u"\n[... %1 bytes of output were left out here ...]\n"_s.arg(size + 10 - kept);
    QCOMPARE(output.indexOf(marker), kept / 2);
    QCOMPARE(output.size(), kept + marker.size());
}

void TestJob::ShowsOutputWhileRunning()
{
    Make(Record({u"print"_s, u"so far"_s, u"waitfor"_s, Path(u"go"_s), u"print"_s, u"rest"_s}));
    QVERIFY(m_job->Start());
    QTRY_COMPARE(m_job->GatherOutput().trimmed(), u"so far"_s);
    QCOMPARE(m_job->Status(), Taskmill_JobStatus::Running);
    WriteTestFile(Path(u"go"_s), {});
    QTRY_COMPARE(m_finished->size(), 1);
    QCOMPARE(Output().split(u'\n', Qt::SkipEmptyParts), (QStringList{u"so far"_s, u"rest"_s}));
}

void TestJob::KillsTheWholeTree()
{
    // The grandchild is in no group or session of the job, and its parent is a direct child.
    const QString pidFile = Path(u"pid"_s);
    Make(Record(
        {u"print"_s, u"before"_s, u"child"_s, u"child"_s, u"session"_s, u"pid"_s, pidFile, u"wait"_s}));
    QVERIFY(m_job->Start());
    QTRY_VERIFY(QFile::exists(pidFile));
    const int grandchild = ReadTestFile(pidFile).toInt();
    const auto runs = [&] {
        return std::ranges::any_of(m_inspector->ListProcesses(), [&](const Taskmill_ProcessRecord &process) {
            return process.ProcessIdNumber() == grandchild;
        });
    };
    QVERIFY(runs());
    auto leaveNothingBehind = qScopeGuard([&] { m_inspector->Terminate(QString{}, grandchild); });

    QVERIFY(m_job->Kill(*m_inspector));
    QCOMPARE(m_job->Status(), Taskmill_JobStatus::Killed);
    QVERIFY(m_job->Record().Finished.isValid());
    QCOMPARE(Output().trimmed(), u"before"_s);
    QCOMPARE(m_finished->size(), 1);
    QVERIFY(!m_job->Process());
    QTRY_VERIFY(!runs());
    leaveNothingBehind.dismiss();
}

void TestJob::KillsWhatCannotStart()
{
    Taskmill_JobRecord record = Record({});
    record.JobType.ExecutablePath = Path(u"none"_s);
    Make(record);
    QVERIFY(m_job->Start());
    QVERIFY(m_job->Kill(*m_inspector));
    QCOMPARE(m_job->Status(), Taskmill_JobStatus::Killed);
    QCoreApplication::processEvents();
    QCOMPARE(m_finished->size(), 1);
    QCOMPARE(m_job->Status(), Taskmill_JobStatus::Killed);
}

void TestJob::KillsOnlyWhatRuns()
{
    Make(Record({u"exit"_s, u"0"_s}));
    QVERIFY(!m_job->Kill(*m_inspector));
    QCOMPARE(m_job->Status(), Taskmill_JobStatus::Unknown);
    Run(Record({u"exit"_s, u"0"_s}));
    QVERIFY(!m_job->Kill(*m_inspector));
    QCOMPARE(m_job->Status(), Taskmill_JobStatus::Completed);
}

QTEST_GUILESS_MAIN(TestJob)
#include "test_job.moc"
