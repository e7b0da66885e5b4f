// SPDX-License-Identifier: MIT
#include "endtoend/notificationsink.h"
#include "endtoend/processtable.h"
#include "endtoend/projectfixture.h"

#include "db/databasetestutil.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QRandomGenerator>
#include <QThread>
#include <QtTest>

#include <csignal>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {
#ifdef TASKMILL_HAS_KEEPERS
constexpr bool hasKeepers = true;
#else
constexpr bool hasKeepers = false;
#endif
constexpr ManagerEnd killed{.signal = SIGKILL};

/// Ends a process by force some time later, whatever it does then. That the time is another in each run is
/// what it is for; nothing waits for it.
class RandomKill
{
public:
    RandomKill(int processID, int mostMilliseconds)
        : m_thread{QThread::create(
              [processID, delay = QRandomGenerator::global()->bounded(mostMilliseconds * 1000)] {
                  QThread::usleep(static_cast<unsigned long>(delay));
                  kill(processID, SIGKILL);
              })}
    {
        m_thread->start();
    }
    ~RandomKill() { m_thread->wait(); }
    Q_DISABLE_COPY_MOVE(RandomKill)

private:
    std::unique_ptr<QThread> m_thread;
};

/// One more line for each run of the job of that input file.
qsizetype RunsOf(const QString &inputFile)
{
    return ReadTestFile(inputFile + u".runs"_s).count('\n');
}
} // namespace

/// Managers that are ended by force, and those that come after them.
class TestRecovery : public ManagerTest
{
    Q_OBJECT

private Q_SLOTS:
    void GoesOnWhereTheManagerWasEnded();
    void SecondManagerOpensNothing();
    void LosesNothingAndRunsNothingTwice_data();
    void LosesNothingAndRunsNothingTwice();

private:
    struct Ledger
    {
        QMap<int, QString> accepted; ///< input file of each job
        QStringList others;          ///< input files that may have become jobs
    };

    [[nodiscard]] QStringList Arguments(bool isSaved) const
    {
        QStringList arguments{u"-console"_s};
        if (isSaved)
            arguments += Project().ProjectPath();
        return arguments;
    }
    /// Ends a manager by force while it starts.
    void StartInVain(const QStringList &arguments) const;
    /// Submits to a manager until it is ended by force.
    void Work(const QStringList &arguments, Ledger &ledger);
    /// Lets everything run that is left and saves the project; the number of managers' files that are left.
    void FinishAll(const QStringList &arguments);
    [[nodiscard]] static QString ProblemOf(const Ledger &ledger, const ProjectRows &rows);
    [[nodiscard]] QStringList WorkingCopies() const;
};

QStringList TestRecovery::WorkingCopies() const
{
    QStringList paths;
    QDirIterator files{Project().Path(u".local"_s), {u"work-*"_s}, QDir::Files, QDirIterator::Subdirectories};
    while (files.hasNext())
        paths += files.next();
    return paths;
}

void TestRecovery::GoesOnWhereTheManagerWasEnded()
{
    QVERIFY(Project().AddTestType(u"Gated"_s, u"touch @INFILE.started waitfor @INFILE.go"_s));
    QVERIFY(Project().Start());
    const QByteArray file = ReadTestFile(Project().ProjectPath());
    QVERIFY(Manager().Command("unpause long jobs").contains("no longer paused"));
    NotificationSink sink;
    QStringList inputs;
    for (const QString &name : {u"ends"_s, u"runs"_s, u"waits"_s}) {
        inputs += Project().InputFile(name);
        QVERIFY(Manager().Submit(u"Gated"_s, inputs.last(), u"long"_s, sink.Port()).startsWith("accepted="));
    }
    WriteTestFile(inputs[0] + u".go"_s, {});
    QTRY_COMPARE(sink.Values("jobstatus"), QByteArrayList{"completed"});
    QTRY_VERIFY(QFile::exists(inputs[1] + u".started"_s));
    Manager().Signal(SIGKILL);
    QCOMPARE(Manager().End(), killed);

    ManagerProcess next{Project().Path({})};
    const auto [consolePort, guiPort] = ManagerProcess::FreePorts();
    next.Launch(Arguments(true), consolePort, guiPort);
    QVERIFY(next.Expect("4 changes since the last save were recovered\n"));
    QCOMPARE(ReadTestFile(Project().ProjectPath()), file);
    if (hasKeepers) {
        QVERIFY(next.Command("list long jobs").contains("Running"));
        QVERIFY(!QFile::exists(inputs[2] + u".started"_s));
        WriteTestFile(inputs[1] + u".go"_s, {});
    }
    const QByteArray second = hasKeepers ? "completed" : "crashed";
    QTRY_COMPARE(sink.Values("jobstatus"), (QByteArrayList{"completed", second}));
    // Its turn has come, as the queue was not paused.
    QTRY_VERIFY(QFile::exists(inputs[2] + u".started"_s));
    WriteTestFile(inputs[2] + u".go"_s, {});
    QTRY_COMPARE(sink.Count(), 3);
    QCOMPARE(next.Quit({"yes", "yes"}), ManagerEnd{.status = 0});
    const ProjectRows rows = Project().Rows();
    QCOMPARE(rows.longJobs.size(), 0);
    QCOMPARE(rows.finishedJobs.size(), 3);
    QCOMPARE(rows.finishedJobs[1].StdOutAndStdErr,
             hasKeepers ? QString{} : u"The manager ended while this job was running.\n"_s);
    QCOMPARE(WorkingCopies(), QStringList{});
}

void TestRecovery::SecondManagerOpensNothing()
{
    QVERIFY(Project().AddTestType(u"Quick"_s, u"exit 0"_s));
    QVERIFY(Project().Start());
    const auto [consolePort, guiPort] = ManagerProcess::FreePorts();
    ManagerProcess second{Project().Path({})};
    second.Launch(Arguments(true), consolePort, guiPort);
    QCOMPARE(second.End(), ManagerEnd{.status = 1});
    QVERIFY2(second.Output().contains("process " + QByteArray::number(Manager().ProcessID()) + ", has"),
             second.Output());
    QCOMPARE(Manager().Quit({"yes"}), ManagerEnd{.status = 0});
    QVERIFY(Project().Start());
}

void TestRecovery::LosesNothingAndRunsNothingTwice_data()
{
    QTest::addColumn<bool>("isSaved");
    QTest::newRow("project with a file") << true;
    QTest::newRow("new project") << false;
}

void TestRecovery::LosesNothingAndRunsNothingTwice()
{
    QFETCH(bool, isSaved);
    const QString program = Project().InputFile(u"program"_s, "#!/bin/sh\n"
                                                              "echo run >>\"$3.runs\"\n"
                                                              "sleep 0.0$(($$ % 9))\n"
                                                              "exit \"$(cat \"$3\")\"\n");
    QVERIFY(QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    // A new project has it as one of the default types.
    qputenv("VELTRA_EXE", program.toLocal8Bit());
    QCOMPARE(RunCtl({u"project"_s, u"create"_s, Project().ProjectPath()}).status, 0);

    const int rounds = qEnvironmentVariableIntValue("TASKMILL_RECOVERY_ROUNDS");
    Ledger ledger;
    for (int round = 0; round < (rounds > 0 ? rounds : 4); ++round) {
        if (round % 3 == 2)
            StartInVain(Arguments(isSaved));
        Work(Arguments(isSaved), ledger);
    }
    FinishAll(Arguments(isSaved));
    QCOMPARE(ProblemOf(ledger, Project().Rows()), QString{});
    QCOMPARE(RowsOfFile(Project().ProjectPath(), u"PRAGMA integrity_check"_s), QStringList{u"ok"_s});
    QCOMPARE(WorkingCopies(), QStringList{});
    qunsetenv("VELTRA_EXE");
}

void TestRecovery::StartInVain(const QStringList &arguments) const
{
    constexpr int longestStart = 80;
    const auto [consolePort, guiPort] = ManagerProcess::FreePorts();
    ManagerProcess manager{Project().Path({})};
    manager.Launch(arguments, consolePort, guiPort);
    const RandomKill kill{manager.ProcessID(), longestStart};
    QCOMPARE(manager.End(), killed);
}

void TestRecovery::Work(const QStringList &arguments, Ledger &ledger)
{
    constexpr int longestWork = 300;
    constexpr int mostJobs = 25;
    ManagerProcess manager{Project().Path({})};
    QVERIFY(manager.Start(arguments));
    manager.Type("set short limit 3\nunpause short jobs\n");
    {
        const RandomKill kill{manager.ProcessID(), longestWork};
        for (int number = 0; number < mostJobs; ++number) {
            const int code = number % 3;
            const QString input = Project().InputFile(
                u"job%1.dat"_s.arg(ledger.accepted.size() + ledger.others.size()), QByteArray::number(code));
            const QByteArray answer = manager.Submit(u"Veltra"_s, input, u"short"_s);
            if (!answer.startsWith("accepted=")) {
                ledger.others += input;
                break;
            }
            ledger.accepted.insert(answer.sliced(9).trimmed().toInt(), input);
            if (number % 8 == 7 && arguments.size() > 1)
                manager.Type("save\n");
        }
    }
    QCOMPARE(manager.End(), killed);
}

void TestRecovery::FinishAll(const QStringList &arguments)
{
    ManagerProcess manager{Project().Path({})};
    QVERIFY(manager.Start(arguments));
    for (int limit = 2; limit < 8; ++limit)
        manager.Command("set short limit " + QByteArray::number(limit));
    manager.Command("unpause short jobs");
    QTRY_VERIFY_WITH_TIMEOUT(manager.Command("list short jobs").contains("is Empty"), 60'000);
    if (arguments.size() > 1) {
        QVERIFY(manager.Command("save").contains("was saved to"));
    } else {
        QVERIFY(QFile::remove(Project().ProjectPath()));
        QVERIFY(manager.Command("save " + Project().ProjectPath().toUtf8()).contains("was saved to"));
    }
    QCOMPARE(manager.Quit({"yes"}), ManagerEnd{.status = 0});
}

QString TestRecovery::ProblemOf(const Ledger &ledger, const ProjectRows &rows)
{
    QMap<int, Taskmill_JobRecord> finished;
    for (const Taskmill_JobRecord &job : rows.finishedJobs) {
        if (finished.contains(job.JobID))
            return u"Job %1 is there twice"_s.arg(job.JobID);
        finished.insert(job.JobID, job);
    }
    for (const auto &[jobID, input] : ledger.accepted.asKeyValueRange()) {
        const Taskmill_JobRecord job = finished.value(jobID);
        if (job.InputFilePath != input)
            return u"Job %1 is lost"_s.arg(jobID);
        if (job.Status == Taskmill_JobStatus::Crashed && !hasKeepers) {
            if (!job.StdOutAndStdErr.startsWith("The manager ended"_L1) || RunsOf(input) > 1)
                return u"Job %1 ran %2 times: %3"_s.arg(jobID).arg(RunsOf(input)).arg(job.StdOutAndStdErr);
            continue;
        }
        const auto status =
            ReadTestFile(input) == "0" ? Taskmill_JobStatus::Completed : Taskmill_JobStatus::Failed;
        if (job.Status != status || RunsOf(input) != 1)
            return u"Job %1 ran %2 times: %3"_s.arg(jobID)
                .arg(RunsOf(input))
                .arg(Taskmill_JobStatusText(job.Status));
    }
    for (const QString &input : ledger.others) {
        if (RunsOf(input) > 1)
            return u"%1 ran twice"_s.arg(input);
    }
    return {};
}

QTEST_GUILESS_MAIN(TestRecovery)
#include "test_recovery.moc"
