// SPDX-License-Identifier: MIT
#include "jobs/job.h"
#include "jobs/runofjob.h"
#include "kilnutil/computerdata.h"
#include "processes/process.h"
#include "processes/processinspector.h"
#include "processes/runkeepers.h"
#include "support/jobfakes.h"
#include "support/resourcelimit.h"
#include "support/testcase.h"
#include "wire/runlocks.h"

using namespace Qt::Literals::StringLiterals;

class TestJob : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("TASKMILL_TEST_EARLY", "early");
        (void)KilnUtil_Process::StartEnvironment();
        qputenv("TASKMILL_TEST_EARLY", "changed");
        qputenv("TASKMILL_TEST_LATE", "late");
        if (const QString keeper = qEnvironmentVariable("TASKMILL_TEST_KEEPER"); !keeper.isEmpty()) {
            m_keepers = KilnUtil_RunKeepers::Make(keeper, m_keeperDirectory.filePath(u"runs"_s));
            QVERIFY(m_keepers);
        }
    }

    void cleanup() override
    {
        m_finished.reset();
        m_job.reset();
        TestCase::cleanup();
    }

    void EndsAsItsProcessDoes()
    {
        QCOMPARE(Run(Record({u"print"_s, u"x"_s})), Taskmill_JobStatus::Completed);
        QCOMPARE(Run(Record({u"print"_s, u"x"_s, u"exit"_s, u"3"_s})), Taskmill_JobStatus::Failed);
        QCOMPARE(Output(), u"x"_s);
        QCOMPARE(Run(Record({u"print"_s, u"x"_s, u"crash"_s})), Taskmill_JobStatus::Crashed);
        QCOMPARE(Output(), u"x"_s);
        QVERIFY(!m_job->Kill(*m_inspector));
        QCOMPARE(m_job->Status(), Taskmill_JobStatus::Crashed);
    }

    void FailsWhenItCannotRun()
    {
        Taskmill_JobRecord record = Record({u"touch"_s, Path(u"ran"_s)});
        record.JobType.ExecutablePath = Path(u"none"_s);
        QCOMPARE(Run(record), Taskmill_JobStatus::Failed);
        QVERIFY2(Output().startsWith(u"Failed to start "_s), qPrintable(Output()));
        // It may be killed while it starts, whether or not that succeeds.
        for (const QString &program : {Path(u"none"_s), TestProgramPath()}) {
            record.JobType.ExecutablePath = program;
            Make(record);
            QVERIFY(m_job->Start(m_keepers.get()));
            QVERIFY(m_job->Kill(*m_inspector));
            QCoreApplication::processEvents();
            QCOMPARE(m_finished->size(), 1);
            QCOMPARE(m_job->Status(), Taskmill_JobStatus::Killed);
        }
        (void)QFile::remove(Path(u"ran"_s));

        // The directories that it needs may be gone.
        for (const auto file :
             {&Taskmill_JobRecord::InputFilePath, &Taskmill_JobRecord::StandardOutputFile}) {
            Taskmill_JobRecord late = Record({u"exit"_s, u"0"_s});
            late.*file = Path(u"gone/x"_s);
            QCOMPARE(Run(late), Taskmill_JobStatus::Failed);
        }

        // The type of a job that waited in a file may be gone.
        record.JobType.Name.clear();
        QCOMPARE(Run(record), Taskmill_JobStatus::Failed);
        QVERIFY(Output().contains(u"job type"_s));
        // Nor is such a file anywhere, and Qt warns when it is asked for it.
        Taskmill_JobRecord impossible = Record({u"exit"_s, u"0"_s});
        impossible.InputFilePath += QChar::Null;
        QTest::failOnWarning(QRegularExpression{u"Broken filename"_s});
        QCOMPARE(Run(impossible), Taskmill_JobStatus::Failed);
        QVERIFY(!QFile::exists(Path(u"ran"_s)));
    }

    /// A keeper finds them all; without one those of Gaussian name the process that they belong to.
    void EndsWithItsProcesses()
    {
        const QString program = Path(isWindows ? u"g16.exe"_s : u"g16"_s);
        QVERIFY(QFile::copy(TestProgramPath(), program));
        Taskmill_JobRecord record =
            Record({u"pid"_s, Path(u"job.id"_s), u"child"_s, u"pid"_s, Path(u"child.id"_s), u"wait"_s});
        record.JobType.ExecutablePath = program;
        Make(record);
        QVERIFY(m_job->Start(m_keepers.get()));
        QTRY_VERIFY(!ReadTestFile(Path(u"child.id"_s)).isEmpty());
        QProcess elsewhere;
        elsewhere.start(TestProgramPath(),
                        {u"wait"_s, u"Gau-%1.inp"_s.arg(ReadTestFile(Path(u"job.id"_s)).toInt())});
        QVERIFY(elsewhere.waitForStarted());
        QVERIFY(m_job->Kill(*m_inspector));
        QTRY_VERIFY(!IsThere(ReadTestFile(Path(u"child.id"_s)).toInt()));
        if (!m_keepers)
            QVERIFY(elsewhere.waitForFinished(60'000));
        elsewhere.kill();
        elsewhere.waitForFinished();
    }

    /// Also of one that had another run before.
    void EndsWithItsKeeper()
    {
        if (!m_keepers)
            QSKIP("Without a keeper");
        for (int round = 0; round < 2; ++round) {
            QCOMPARE(Run(Record({u"print"_s, u"x"_s})), Taskmill_JobStatus::Completed);
            const QString idFile = Path(u"job%1.id"_s.arg(round));
            Make(Record({u"pid"_s, idFile, u"wait"_s}));
            QVERIFY(m_job->Start(m_keepers.get()));
            QTRY_VERIFY(!ReadTestFile(idFile).isEmpty());
            const int processID = ReadTestFile(idFile).toInt();
            for (const Taskmill_ProcessRecord &process : m_inspector->ListProcesses()) {
                if (process.ProcessIdNumber() == processID)
                    QVERIFY(m_inspector->TerminateParent(process));
            }
            QTRY_COMPARE(m_finished->size(), 1);
            QCOMPARE(m_job->Status(), Taskmill_JobStatus::Crashed);
            QTRY_VERIFY(!IsThere(processID));
        }
    }

    void PutsItsStartOffForLackOfSomething()
    {
        if (isWindows)
            QSKIP("No such limits");
        const auto isPutOff = [this](KilnUtil_RunKeepers *keepers) {
            QSignalSpy putOff{m_job.get(), &Taskmill_Job::StartPutOffSignal};
            return m_job->Start(keepers) && (!putOff.isEmpty() || putOff.wait(60'000)) &&
                   m_job->IsStartPutOff() && m_finished->isEmpty() &&
                   m_job->Status() == Taskmill_JobStatus::Running &&
                   m_job->OutputNow().contains(putOff[0][0].toString());
        };
        for (const QString &input : {u""_s, u"answer\n"_s}) {
            Make(Record({u"stdin"_s, u"print"_s, u"x"_s}, input));
            for (int tries = 0; tries < 2; ++tries) {
                const OpenFilesLimit noFiles;
                QVERIFY(isPutOff(m_keepers.get()));
            }
            QVERIFY(m_job->Start(m_keepers.get()));
            QTRY_COMPARE_WITH_TIMEOUT(m_job->Status(), Taskmill_JobStatus::Completed, 60'000);
            QCOMPARE(Output(), input + u'x');
            Make(Record({u"wait"_s}, input));
            const OpenFilesLimit noFiles;
            QVERIFY(isPutOff(m_keepers.get()));
            QVERIFY(m_job->Kill(*m_inspector));
            QCOMPARE(m_job->Status(), Taskmill_JobStatus::Killed);
            QCOMPARE(m_finished->size(), 1);
        }
        if (!m_keepers)
            return;
        // No room for the record of the start, which is not made without it.
        std::unique_ptr<KilnUtil_RunKeepers> keepers;
        {
            const FileSizeLimit noRoom;
            keepers = KilnUtil_RunKeepers::Make(qEnvironmentVariable("TASKMILL_TEST_KEEPER"),
                                                m_keeperDirectory.filePath(u"full"_s));
        }
        QVERIFY(keepers);
        Make(Record({u"touch"_s, Path(u"ran"_s)}, u"answer\n"_s));
        QVERIFY(isPutOff(keepers.get()));
        QVERIFY(!QFile::exists(Path(u"ran"_s)));
        QVERIFY(!QFile::exists(Path(u"freqchk2.inp"_s)));
    }

    void IsPreparedForItsStart_data()
    {
        QTest::addColumn<QString>("between");
        QTest::addColumn<bool>("isGood");
        QTest::newRow("nothing comes between") << QString{} << true;
        QTest::newRow("the job is changed") << u"change"_s << false;
        QTest::newRow("its priority is") << u"priority"_s << false;
        // The order that its keeper has names another one.
        QTest::newRow("its project gets another name") << u"owner"_s << false;
    }

    void IsPreparedForItsStart()
    {
        QFETCH(const QString, between);
        if (isWindows || !m_keepers)
            QSKIP("Nothing is prepared there");
        Taskmill_JobRecord record = Record({u"mark"_s, Path(u"ran"_s), u"print"_s, u"x"_s});
        m_job = std::make_unique<Taskmill_Job>(record);
        m_finished = std::make_unique<QSignalSpy>(m_job.get(), &Taskmill_Job::JobFinishedSignal);
        const QString runID = m_keepers->NewRunID();
        QVERIFY(m_job->Prepare(*m_keepers, runID));
        QCOMPARE(m_job->PreparedRunID(), runID);
        QVERIFY(!m_job->HasOutput());
        if (between == "change"_L1)
            m_job->SetOrderNumber(9);
        else if (between == "priority"_L1)
            m_job->SetLowPriority(true);
        else if (between == "owner"_L1)
            m_keepers->SetOwner(u"one"_s, u"other"_s, [](const QString &) { return true; });
        const QString goodID = m_job->PreparedRunID();
        QTEST(!goodID.isEmpty(), "isGood");
        const std::string folder = m_keeperDirectory.filePath(u"runs"_s).toStdString();
        if (between == "owner"_L1)
            QTRY_VERIFY_WITH_TIMEOUT(!Taskmill_IsKeeperAlive(folder, runID.toStdString()), 60'000);
        if (goodID.isEmpty())
            m_job->DropPreparation();
        // The keeper that waited has had all the time it could want.
        const auto prepared = std::move(m_job);
        const auto itsEnd = std::move(m_finished);
        QCOMPARE(Run(Record({u"print"_s, u"y"_s})), Taskmill_JobStatus::Completed);
        QVERIFY(!QFile::exists(Path(u"ran"_s)));

        const QString startID = goodID.isEmpty() ? m_keepers->NewRunID() : goodID;
        prepared->SetRun(Taskmill_RunOfJob{startID, KilnUtil_ComputerData::MachineID()}.Text());
        QVERIFY(prepared->Start(m_keepers.get()));
        QVERIFY(itsEnd->wait(60'000));
        QCOMPARE(prepared->Status(), Taskmill_JobStatus::Completed);
        QCOMPARE(prepared->Record().StdOutAndStdErr.trimmed(), u"x"_s);
        QCOMPARE(ReadTestFile(Path(u"ran"_s)).count('\n'), 1);
    }

    void WhatIsPreparedNeverRunsUnasked()
    {
        if (isWindows || !m_keepers)
            QSKIP("Nothing is prepared there");
        const std::string folder = m_keeperDirectory.filePath(u"runs"_s).toStdString();
        const QString runID = m_keepers->NewRunID();
        {
            Taskmill_Job dropped{Record({u"mark"_s, Path(u"ran"_s)})};
            QVERIFY(dropped.Prepare(*m_keepers, runID));
            QVERIFY(Taskmill_IsKeeperAlive(folder, runID.toStdString()));
        }
        QTRY_VERIFY_WITH_TIMEOUT(!Taskmill_IsKeeperAlive(folder, runID.toStdString()), 60'000);
        QVERIFY(!QFile::exists(Path(u"ran"_s)));
        QCOMPARE(m_keepers->Find(runID).Where, KilnUtil_FoundRun::Place::NotKnown);
        // A file would have to be written for its standard input.
        Taskmill_Job prompted{Record({u"stdin"_s}, u"answer\n"_s)};
        QVERIFY(!prompted.Prepare(*m_keepers, m_keepers->NewRunID()));
    }

    void LeavesAnOutputThatCannotBeRead()
    {
        if (isWindows || !m_keepers)
            QSKIP("No keepers, or no such link");
        Make(Record({u"print"_s, u"x"_s, u"waitfor"_s, Path(u"go"_s)}));
        QVERIFY(m_job->Start(m_keepers.get()));
        const QString runID = Taskmill_RunOfJob{m_job->Record().Run}.RunID;
        const QString stored = m_keeperDirectory.filePath(u"runs/out/"_s + runID);
        QTRY_VERIFY_WITH_TIMEOUT(m_job->HasOutput(), 60'000);
        // A link to itself cannot be opened, whoever tries.
        QVERIFY(QFile::rename(stored, stored + u"-"_s));
        QVERIFY(QFile::link(stored, stored));
        WriteTestFile(Path(u"go"_s), {});
        QTest::ignoreMessage(QtWarningMsg, "The output of job 7 cannot be read now, and stays where it is");
        QVERIFY(m_finished->wait(60'000));
        QVERIFY(m_job->Record().IsOutputLeft);
        QVERIFY(!m_keepers->OutputOf(runID)().IsWhole);
        QVERIFY(QFile::remove(stored));
        QVERIFY(QFile::rename(stored + u"-"_s, stored));
        QCOMPARE(m_keepers->OutputOf(runID)().Bytes.trimmed(), "x");
    }

    void HasAnExitCodeWithoutAProcess()
    {
        Taskmill_JobRecord record = Record({u"stdin"_s}, u"answer\n"_s);
        const auto codeOf = [this](const Taskmill_JobRecord &failing) {
            return Run(failing) == Taskmill_JobStatus::Failed ? m_job->Record().ExitCode.value_or(-1) : -1;
        };
        // No room for the standard input, no program, and no job type.
        if (!isWindows) {
            const FileSizeLimit noRoom;
            QCOMPARE(codeOf(record), 255);
            QVERIFY2(Output().contains(u"freqchk"_s), qPrintable(Output()));
            QVERIFY(QDir{Path()}.isEmpty());
        }
        record.JobType.ExecutablePath = Path(u"none"_s);
        QCOMPARE(codeOf(record), 255);
        record.JobType.Name.clear();
        QCOMPARE(codeOf(record), 255);
    }

    void RunsARelativeProgramOfTheCurrentDirectory()
    {
        QVERIFY(QDir::setCurrent(QFileInfo{TestProgramPath()}.path()));
        Taskmill_JobRecord record = Record({u"cwd"_s});
        record.JobType.ExecutablePath = QFileInfo{TestProgramPath()}.fileName();
        record.JobType.ApplicationName = record.JobType.ExecutablePath;
        QVERIFY(record.JobType.IsValid());
        Make(record);
        QVERIFY(QDir::setCurrent(Path()));
        QVERIFY(m_job->Start(m_keepers.get()));
        QTRY_COMPARE(m_job->Status(), Taskmill_JobStatus::Completed);
        QCOMPARE(QFileInfo{m_job->Record().JobType.ExecutablePath}.canonicalFilePath(),
                 QFileInfo{TestProgramPath()}.canonicalFilePath());
        QCOMPARE(QDir{Output()}.canonicalPath(), QDir{Path()}.canonicalPath());
    }

    void RunsInTheRightSurroundings()
    {
        QVERIFY(QDir{Path()}.mkdir(u"two words"_s));
        Taskmill_JobRecord record = Record({u"cwd"_s, u"env"_s, u"TASKMILL_TEST_EARLY"_s, u"env"_s,
                                            u"TASKMILL_TEST_LATE"_s, u"env"_s, u"TASKMILL_TEST_TYPE"_s});
        record.InputFilePath = Path(u"two words/x.in"_s);
        record.JobType.EnvironmentVariables = u"TASKMILL_TEST_TYPE=of the type\n"_s;
        Run(record);
        const QStringList lines = Output().split(u'\n');
        QCOMPARE(lines.sliced(1), (QStringList{u"TASKMILL_TEST_EARLY=early"_s, u"TASKMILL_TEST_LATE"_s,
                                               u"TASKMILL_TEST_TYPE=of the type"_s}));
        QCOMPARE(QDir{lines.first()}.canonicalPath(), QDir{Path(u"two words"_s)}.canonicalPath());
    }

    void ReadsItsStandardInput()
    {
        // Without any it would wait for ever.
        QCOMPARE(Run(Record({u"stdin"_s})), Taskmill_JobStatus::Completed);
        QCOMPARE(Output(), QString{});

        QVERIFY(QDir{Path()}.mkdir(u"results"_s));
        WriteTestFile(Path(u"results/freqchk.inp"_s), "mine");
        Taskmill_JobRecord record = Record({u"stdin"_s}, u"first\n"_s);
        record.OutputFile = Path(u"results/x.out"_s);
        Run(record);
        QCOMPARE(Output(), u"first"_s);
        record.JobType.GenericCommandLine.replace(u"first"_s, u"second"_s);
        Run(record);
        QCOMPARE(Output(), u"second"_s);
        QCOMPARE(ReadTestFile(Path(u"results/freqchk.inp"_s)), "mine");
        QCOMPARE(ReadTestFile(Path(u"results/freqchk1.inp"_s)).trimmed(), "first");
        QCOMPARE(ReadTestFile(Path(u"results/freqchk2.inp"_s)).trimmed(), "second");

        record.StandardInputFile = WriteTestFile(Path(u"given"_s), QByteArray{"\xC5ng\0str\0\0\xF6m\0", 12});
        Run(record);
        QCOMPARE(Output(), u"Ångström"_s);
    }

    void WritesStandardOutputFile()
    {
        Taskmill_JobRecord record = Record({u"print"_s, u"result"_s, u"error"_s, u"complaint"_s});
        record.StandardOutputFile = WriteTestFile(Path(u"stdout"_s), QByteArray{1000, 'x'});
        Run(record);
        const QByteArray content = ReadTestFile(record.StandardOutputFile);
        QVERIFY(content.contains("result"));
        QVERIFY(content.contains("complaint"));
        QVERIFY(!content.contains('x'));
        QCOMPARE(Output(), QString{});
    }

private:
    void Make(const Taskmill_JobRecord &record)
    {
        m_job = std::make_unique<Taskmill_Job>(record);
        if (m_keepers)
            m_job->SetRun(
                Taskmill_RunOfJob{m_keepers->NewRunID(), KilnUtil_ComputerData::MachineID()}.Text());
        m_finished = std::make_unique<QSignalSpy>(m_job.get(), &Taskmill_Job::JobFinishedSignal);
    }
    /// Runs the job to its end; returns its status.
    Taskmill_JobStatus Run(const Taskmill_JobRecord &record)
    {
        Make(record);
        const bool started =
            m_job->Start(m_keepers.get()) && m_finished->isEmpty() && m_job->Record().Started.isValid();
        const bool ended = m_finished->wait(60'000);
        QCoreApplication::processEvents();
        const bool wellEnded = m_finished->size() == 1 && m_job->Record().Finished.isValid();
        return started && ended && wellEnded ? m_job->Status() : Taskmill_JobStatus::Unknown;
    }
    [[nodiscard]] bool IsThere(int processID) const
    {
        return std::ranges::any_of(m_inspector->ListProcesses(), [processID](const auto &process) {
            return process.ProcessIdNumber() == processID;
        });
    }
    [[nodiscard]] Taskmill_JobRecord Record(const QStringList &arguments, const QString &input = {}) const
    {
        return MakeTestJob(7, Path(), arguments, input);
    }
    /// With the line ends of every other system.
    [[nodiscard]] QString Output() const { return m_job->Record().StdOutAndStdErr.trimmed().remove(u'\r'); }

    const std::unique_ptr<Taskmill_ProcessInspector> m_inspector = Taskmill_MakeSystemProcessInspector();
    QTemporaryDir m_keeperDirectory;
    std::unique_ptr<KilnUtil_RunKeepers> m_keepers; ///< when it is to be tested with them
    std::unique_ptr<Taskmill_Job> m_job;
    std::unique_ptr<QSignalSpy> m_finished;
};

QTEST_GUILESS_MAIN(TestJob)
#include "test_job.moc"
