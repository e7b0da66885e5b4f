#include "endtoend/notificationsink.h"
#include "endtoend/processtable.h"
#include "endtoend/projectfixture.h"

#include <QDir>
#include <QStandardPaths>
#include <QtTest>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
#ifdef __SANITIZE_ADDRESS__
constexpr qint64 mostMemoryKiB = 1'500'000; // it holds back what was freed
#else
constexpr qint64 mostMemoryKiB = 700'000;
#endif
} // namespace

/// What becomes of jobs, from the request to the row in the project file.
class TestRoads : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void RunsRealPrograms_data();
    void RunsRealPrograms();
    void KillsOneJobWithAllItsProcesses();
    void KeepsTheEndsOfHugeOutput();
    void RunsHundredsOfJobsTwoAtATime();
    void ClientTellsTheOutcome();
    void CarriesHardNamesToTheProgram();

private:
    [[nodiscard]] ManagerProcess &Manager() { return m_project->Manager(); }
    /// Saves the project, quits and reads the file.
    [[nodiscard]] ProjectRows SaveAndQuit();

    std::unique_ptr<ProjectFixture> m_project;
};

void TestRoads::init()
{
    FailOnQtWarnings();
    m_project = std::make_unique<ProjectFixture>();
}

void TestRoads::cleanup()
{
    m_project.reset();
}

ProjectRows TestRoads::SaveAndQuit()
{
    if (!Manager().Command("save").contains("The project was saved") ||
        Manager().Quit({"yes"}) != ManagerEnd{.status = 0} || !Manager().Errors().isEmpty())
        return {};
    return m_project->Rows();
}

void TestRoads::RunsRealPrograms_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QByteArray>("result");

    const QByteArray water = "PM7 PRECISE\nWater\n\nO  0.00 1    0.0 1  0.0 1\n"
                             "H  0.96 1    0.0 1  0.0 1  1\nH  0.96 1  104.5 1  0.0 1  1 2\n";
    QTest::newRow("MOPAC") << u"mopac"_s << u".mop"_s << QStringList{} << water
                           << QByteArray{"FINAL HEAT OF FORMATION"};
    QTest::newRow("MOPAC on a broken input") << u"mopac"_s << u".mop"_s << QStringList{}
                                             << QByteArray{"PM7 NOSUCHWORD\n\n\nXx 0 0 0\n"} << QByteArray{};
    QTest::newRow("xtb") << u"xtb"_s << u".xyz"_s << QStringList{u"--gfn"_s, u"2"_s}
                         << QByteArray{"3\n\nO 0 0 0\nH 0.96 0 0\nH -0.24 0.93 0\n"}
                         << QByteArray{"TOTAL ENERGY"};
    QTest::newRow("xtb on a broken input") << u"xtb"_s << u".xyz"_s << QStringList{u"--gfn"_s, u"2"_s}
                                           << QByteArray{"3\n\nO 0 0 0\n"} << QByteArray{};
}

void TestRoads::RunsRealPrograms()
{
    QFETCH(QString, program);
    QFETCH(QString, suffix);
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, result);
    const QString executable = QStandardPaths::findExecutable(program);
    if (executable.isEmpty())
        QSKIP("The program is not installed");

    // What the program does without a manager.
    QVERIFY(QDir{}.mkdir(m_project->Path(u"alone"_s)));
    QProcess alone;
    alone.setWorkingDirectory(m_project->Path(u"alone"_s));
    alone.start(executable,
                QStringList{m_project->InputFile(u"alone/molecule"_s + suffix, input)} + arguments);
    QVERIFY(alone.waitForFinished());
    const bool succeeds = alone.exitCode() == 0;
    QVERIFY(succeeds || result.isEmpty());

    const QString inputFile = m_project->InputFile(u"molecule"_s + suffix, input);
    QVERIFY(m_project->AddType(program, executable, u"@EXEFILE @INFILE "_s + arguments.join(u' '),
                               u"Input Files (*%1)"_s.arg(suffix)));
    QVERIFY(m_project->Start());
    const CtlResult run = Manager().Ctl({u"submit"_s, inputFile, u"--queue"_s, u"queueless"_s, u"--wait"_s});
    QCOMPARE(run.status, succeeds ? 0 : 1);
    QVERIFY(run.out.contains("jobexitcode=" + QByteArray::number(alone.exitCode()) + '\n'));

    const ProjectRows rows = SaveAndQuit();
    QCOMPARE(rows.finishedJobs.size(), 1);
    const Taskmill_JobRecord &job = rows.finishedJobs.first();
    QCOMPARE(job.Status, succeeds ? Taskmill_JobStatus::Completed : Taskmill_JobStatus::Failed);
    QCOMPARE(job.InputFilePath, inputFile);
    QCOMPARE(job.OutputFile, m_project->Path(u"molecule.out"_s));
    QVERIFY((job.StdOutAndStdErr.toUtf8() + ReadTestFile(job.OutputFile)).contains(result));
}

void TestRoads::KillsOneJobWithAllItsProcesses()
{
    NotificationSink sink;
    QVERIFY(m_project->AddTestType(u"Tree"_s, u"print begun pid @INFILE.1 child pid @INFILE.2 child session "
                                              "pid @INFILE.3 wait"_s));
    QVERIFY(m_project->AddTestType(u"Quick"_s, u"exit 0"_s));
    QVERIFY(m_project->Start());
    const QString input = m_project->InputFile(u"tree.in"_s);
    QCOMPARE(Manager().Submit(u"Tree"_s, input, u"none"_s, sink.Port()), "accepted=1\n");
    QTRY_VERIFY(QFile::exists(input + u".3"_s));
    QList<int> processIDs;
    for (const QString &suffix : {u".1"_s, u".2"_s, u".3"_s})
        processIDs.append(ReadTestFile(input + suffix).toInt());
    QVERIFY(std::ranges::all_of(processIDs, ProcessTable::IsAlive));

    QVERIFY(Manager().Ask("kill job 1", "currently running?  "));
    QVERIFY(!Manager().Command("no").contains("was killed"));
    QVERIFY(std::ranges::all_of(processIDs, ProcessTable::IsAlive));
    QVERIFY(Manager().Ask("kill job 1", "currently running?  "));
    QVERIFY(Manager().Command("yes").contains("<Taskmill> Job 1 was killed.\n"));
    QTRY_VERIFY(std::ranges::none_of(processIDs, ProcessTable::IsAlive));
    QVERIFY(Manager().Command("kill job 1").contains("no waiting or running job 1"));

    // The manager tells of one job after another, so what it tells of the first is there before this.
    QCOMPARE(Manager().Submit(u"Quick"_s, input, u"none"_s, sink.Port()), "accepted=2\n");
    QTRY_VERIFY(sink.Values("jobtypename").contains("quick"));
    QCOMPARE(sink.Values("jobstatus"), (QByteArrayList{"killed", "completed"}));

    const ProjectRows rows = SaveAndQuit();
    QVERIFY(rows.queuelessJobs.isEmpty());
    QCOMPARE(rows.finishedJobs.size(), 2);
    const Taskmill_JobRecord &killed = rows.finishedJobs.first();
    QCOMPARE(killed.JobID, 1);
    QCOMPARE(killed.Status, Taskmill_JobStatus::Killed);
    QCOMPARE(killed.StdOutAndStdErr, u"begun\n"_s);
    QVERIFY(killed.Finished.isValid() && killed.Finished >= killed.Started);
}

void TestRoads::KeepsTheEndsOfHugeOutput()
{
    constexpr qint64 kept = 64LL * 1024 * 1024;
    QVERIFY(m_project->AddTestType(u"Huge"_s, u"print begin fill 200000000 print end"_s));
    QVERIFY(m_project->Start());
    const QString input = m_project->InputFile(u"huge.in"_s);
    const CtlResult run = Manager().Ctl(
        {u"submit"_s, input, u"--type"_s, u"Huge"_s, u"--queue"_s, u"queueless"_s, u"--wait"_s});
    QCOMPARE(run.status, 0);
    const qint64 peakKiB = ProcessTable::PeakMemory(Manager().ProcessID());
    QVERIFY(peakKiB > kept / 1024);
    QVERIFY2(peakKiB < mostMemoryKiB, qPrintable(QString::number(peakKiB)));

    const ProjectRows rows = SaveAndQuit();
    QCOMPARE(rows.finishedJobs.size(), 1);
    QCOMPARE(rows.finishedJobs.first().Status, Taskmill_JobStatus::Completed);
    const QString &text = rows.finishedJobs.first().StdOutAndStdErr;
    const QString marker = u"\n[... %1 bytes of output were left out here ...]\n"_s.arg(200'000'010 - kept);
    QCOMPARE(text.size(), kept + marker.size());
    QCOMPARE(text.indexOf(marker), kept / 2);
    QVERIFY(text.startsWith(u"begin\n"_s) && text.endsWith(u"x\nend\n"_s));
}

void TestRoads::RunsHundredsOfJobsTwoAtATime()
{
    constexpr int jobCount = 500;
    if constexpr (isWindows)
        QSKIP("The program that counts is a script of another shell");
    // Each job leaves a mark while it runs, and writes down how many marks there are.
    const QString script =
        m_project->InputFile(u"count.sh"_s, "#!/bin/sh\nmkdir \"$1.runs\"\nset -- *.runs \"$1\"\n"
                                            "echo $(($# - 1)) >>counts\nshift $(($# - 1))\n"
                                            "rmdir \"$1.runs\"\necho \"$1\"\n");
    QVERIFY(QFile::setPermissions(script, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    QVERIFY(m_project->AddType(u"Count"_s, script, u"@EXEFILE @INFILE"_s));
    QVERIFY(m_project->Start());

    NotificationSink sink;
    QStringList names;
    for (int number = 1; number <= jobCount; ++number) {
        const QString input = m_project->InputFile(u"job%1.in"_s.arg(number), {});
        names.append(input);
        QCOMPARE(Manager().Submit(u"Count"_s, input, u"long"_s, sink.Port()),
                 "accepted=" + QByteArray::number(number) + '\n');
    }
    QVERIFY(Manager().Command("set long limit 2").contains("at most 2 jobs"));
    QVERIFY(Manager().Command("unpause long jobs").contains("no longer paused"));
    QTRY_COMPARE_WITH_TIMEOUT(sink.Count(), jobCount, 60'000);

    const ProjectRows rows = SaveAndQuit();
    // Nobody was told twice, also not at the end.
    QCOMPARE(sink.Values("jobstatus"), QByteArrayList(jobCount, "completed"));
    QByteArrayList told = sink.Values("jobinputfile");
    std::ranges::sort(told);
    QVERIFY(std::ranges::adjacent_find(told) == told.end());
    const QByteArrayList counts = ReadTestFile(m_project->Path(u"counts"_s)).trimmed().split('\n');
    QCOMPARE(counts.size(), jobCount);
    QCOMPARE(counts.count("1") + counts.count("2"), jobCount);
    QVERIFY(counts.contains("2"));

    QCOMPARE(rows.lastJobID, QString::number(jobCount));
    QVERIFY(rows.longJobs.isEmpty());
    QCOMPARE(rows.finishedJobs.size(), jobCount);
    for (const Taskmill_JobRecord &job : rows.finishedJobs) {
        const QString &input = names.value(job.JobID - 1);
        QCOMPARE(job.Status, Taskmill_JobStatus::Completed);
        QCOMPARE(job.InputFilePath, std::exchange(names[job.JobID - 1], {}));
        QCOMPARE(job.StdOutAndStdErr, input + u'\n');
        QCOMPARE(job.QueueName, u"Long"_s);
        QCOMPARE(job.ClientName, u"test"_s);
        QCOMPARE(job.ClientPort, sink.Port());
        QVERIFY(job.Submitted <= job.Started && job.Started <= job.Finished);
    }
}

void TestRoads::ClientTellsTheOutcome()
{
    QVERIFY(m_project->AddTestType(u"Good"_s, u"print done"_s, u"Files (*.good)"_s));
    QVERIFY(m_project->AddTestType(u"Bad"_s, u"exit 3"_s, u"Files (*.bad)"_s));
    QVERIFY(m_project->Start());
    const QString good = m_project->InputFile(u"a.good"_s);
    const auto run = [&](const QString &file) {
        return Manager().Ctl({u"submit"_s, file, u"--queue"_s, u"queueless"_s, u"--wait"_s});
    };
    const CtlResult completed = run(good);
    QCOMPARE(completed.status, 0);
    QVERIFY(completed.out.contains("jobstatus=completed\njobexitcode=0\n"));
    const CtlResult failed = run(m_project->InputFile(u"b.bad"_s));
    QCOMPARE(failed.status, 1);
    QVERIFY(failed.out.contains("jobstatus=failed\njobexitcode=3\n"));
    // The user is asked for the job type where there is a display, as always on Windows.
    if constexpr (isWindows)
        return;
    const QString unknown = m_project->InputFile(u"c.unknown"_s);
    const CtlResult refused = run(unknown);
    QCOMPARE(refused.status, 4);
    QVERIFY(refused.err.contains("no job type was chosen"));
    // The manager's own user is told which file nobody can run.
    QVERIFY(Manager().Expect("\n<Taskmill> Submit Job, Select Job Type: Auto determination"));
    QVERIFY(Manager().Expect("c.unknown"));

    QCOMPARE(Manager().Quit({"yes", "no"}), ManagerEnd{.status = 0});
    QCOMPARE(run(good).status, 3);
}

void TestRoads::CarriesHardNamesToTheProgram()
{
    QVERIFY(m_project->AddTestType(u"Arguments"_s, u"args @OUTFILE -- \"@INFILE\" @INFILE2"_s,
                                   u"Files (*.in)"_s));
    QVERIFY(m_project->Start());
    // Windows has no such names.
    const QString directory =
        isWindows ? u"it's a %PATH% ^ & directory"_s : u"it's a \"hard\\ $HOME * directory\\"_s;
    QVERIFY(QDir{m_project->Path(u""_s)}.mkdir(directory));
    const QString input = m_project->InputFile(
        directory + (isWindows ? u"/Übung 分子 ;`id` $PATH.in"_s : u"/Übung 分子 ;`id` $PATH\\\".in"_s));
    const QString second =
        m_project->InputFile(directory + (isWindows ? u"/'second' x"_s : u"/'second' \\"_s));
    const CtlResult run =
        Manager().Ctl({u"submit"_s, input, u"--input2"_s, second, u"--queue"_s, u"queueless"_s, u"--wait"_s});
    QCOMPARE(run.status, 0);
    const QString output = input.chopped(3) + u".out"_s;
    const QByteArrayList arguments{
        "--", QDir::toNativeSeparators(input).toUtf8(), QDir::toNativeSeparators(second).toUtf8(), {}};
    QCOMPARE(ReadTestFile(output).split('\0'), arguments);
    QCOMPARE(SaveAndQuit().finishedJobs.value(0).InputFilePath, input);
}

QTEST_GUILESS_MAIN(TestRoads)
#include "test_roads.moc"
