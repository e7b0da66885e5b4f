// SPDX-License-Identifier: MIT
#include "endtoend/notificationsink.h"
#include "endtoend/processtable.h"
#include "endtoend/projectfixture.h"

#include <QDir>
#include <QDirIterator>
#include <QtTest>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
// As Unix counts them.
constexpr int hangUp = 1;
constexpr int killed = 9;
constexpr int terminated = 15;
} // namespace

/// Jobs that go on without the manager, and what the next one makes of them.
class TestKeptJobs : public ManagerTest
{
    Q_OBJECT

private Q_SLOTS:
    // An empty one would not be there on Windows.
    void initTestCase() { qputenv("TASKMILL_END_JOBS", "as asked"); }
    void FindsItsJobsAgain_data();
    void FindsItsJobsAgain();
    void NeverRunsALostJobAgain_data();
    void NeverRunsALostJobAgain();
    void EndsAHostileJobWhole_data();
    void EndsAHostileJobWhole();
    void LeavesTimeToEnd_data();
    void LeavesTimeToEnd();
    void KeepsALongOutput_data();
    void KeepsALongOutput();
    void ACopyOfTheProjectStartsNothing();
    void WaitsAgainWhenItsKillWasNotSaved();
    void NeverRunsAgainUnasked_data();
    void NeverRunsAgainUnasked();
    void ALostCopyHidesNoJob();
    void AdoptingIsNoChange();

private:
    /// A job type "Gated" whose jobs count their starts and go on until Release().
    [[nodiscard]] bool AddGatedType() const
    {
        return Project().AddTestType(
            u"Gated"_s,
            u"print begun mark @INFILE.starts pid @INFILE.pid waitfor @INFILE.go print done exit 3"_s);
    }
    /// Submits one that runs at once; returns its process.
    int Submit(const QString &name, quint16 port = 0, const QString &queue = u"none"_s)
    {
        if (!Manager().Submit(u"Gated"_s, Project().InputFile(name), queue, port).startsWith("accepted"))
            return 0;
        return QTest::qWaitFor([&] { return QFile::exists(Project().Path(name + u".pid"_s)); }, 60'000)
                   ? ReadTestFile(Project().Path(name + u".pid"_s)).toInt()
                   : 0;
    }
    void Release(const QString &name) const { WriteTestFile(Project().Path(name + u".go"_s), {}); }
    [[nodiscard]] QByteArray Starts(const QString &name) const
    {
        return ReadTestFile(Project().Path(name + u".starts"_s));
    }
    /// Files of the machine's folder whose paths hold that.
    [[nodiscard]] QStringList StateFiles(const QString &part) const
    {
        QStringList files;
        QDirIterator all{Project().Path(u"."_s), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories};
        while (all.hasNext()) {
            if (const QString path = all.next(); path.contains(part))
                files += path;
        }
        return files;
    }
    [[nodiscard]] bool IsAnyResultTaken() const
    {
        return std::ranges::any_of(StateFiles(u"/runs/journal/"_s), [](const QString &journal) {
            return ReadTestFile(journal).contains("\nclaim ");
        });
    }
    [[nodiscard]] bool Save() { return Manager().Command("save").contains("The project was saved"); }
    void EndHostileJob(const QByteArray &how);
    /// How many processes have the project's folder as their directory, apart from the manager.
    [[nodiscard]] int JobProcesses() const
    {
        return ProcessTable::JobsIn(QFileInfo{Project().ProjectPath()}.canonicalPath());
    }
    /// How many outputs the keepers hold.
    [[nodiscard]] qsizetype KeptOutputs() const
    {
        qsizetype count = 0;
        QDirIterator files{Project().Path(u"."_s), QDir::Files, QDirIterator::Subdirectories};
        while (files.hasNext())
            count += files.next().contains("/runs/out/"_L1) ? 1 : 0;
        return count;
    }
};

void TestKeptJobs::FindsItsJobsAgain_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("a killed manager") << killed;
    if (!isWindows) {
        QTest::newRow("SIGTERM") << terminated;
        QTest::newRow("a terminal that hangs up") << hangUp;
    }
    QTest::newRow("quit keep") << 0;
}

void TestKeptJobs::FindsItsJobsAgain()
{
    QFETCH(int, signal);
    NotificationSink sink;
    QVERIFY(AddGatedType());
    QVERIFY(Project().Start());
    const int ends = Submit(u"ends.in"_s, sink.Port());
    const int goesOn = Submit(u"stays.in"_s, sink.Port());
    QVERIFY(ends > 0);
    QVERIFY(goesOn > 0);
    QVERIFY(Save());
    if (signal != 0)
        Manager().Signal(signal);
    else
        QVERIFY(Manager().Ask("quit keep", "?  "));
    if (signal == 0)
        Manager().Type("yes\n");
    QCOMPARE(Manager().End().status, signal == killed ? -1 : 0);
    QVERIFY(ProcessTable::IsAlive(ends));
    Release(u"ends.in"_s);
    QTRY_VERIFY(!ProcessTable::IsAlive(ends));

    QVERIFY(Project().Start());
    QTRY_COMPARE(sink.Count(), 1);
    QVERIFY(Manager().Command("list queueless jobs").contains("Running"));
    QVERIFY(Manager().Command("show job 2").contains("begun"));
    QVERIFY(ProcessTable::IsAlive(goesOn));
    Release(u"stays.in"_s);
    QTRY_COMPARE(sink.Count(), 2);
    QCOMPARE(sink.Values("jobstatus"), (QByteArrayList{"failed", "failed"}));
    QCOMPARE(sink.Values("jobexitcode"), (QByteArrayList{"3", "3"}));
    QVERIFY(Save());
    QCOMPARE(Manager().Quit({"yes"}), ManagerEnd{.status = 0});
    const ProjectRows rows = Project().Rows();
    QVERIFY(rows.queuelessJobs.isEmpty());
    QCOMPARE(rows.finishedJobs.size(), 2);
    for (const Taskmill_JobRecord &job : rows.finishedJobs) {
        QCOMPARE(job.Status, Taskmill_JobStatus::Failed);
        QCOMPARE(job.StdOutAndStdErr, u"begun\ndone\n"_s);
        QVERIFY(job.Started.isValid());
        QVERIFY(job.Finished >= job.Started);
        QCOMPARE(Starts(QFileInfo{job.InputFilePath}.fileName()), "start\n");
    }
    QTRY_VERIFY_WITH_TIMEOUT(ProcessTable::LivingChildren().isEmpty(), 60'000);
    QVERIFY(QDir{Project().Path(isWindows ? u"Taskmill"_s : u".local/state/taskmill"_s)}.exists());
}

void TestKeptJobs::NeverRunsALostJobAgain_data()
{
    QTest::addColumn<bool>("isManagerKilled");
    QTest::addColumn<QByteArray>("boot");
    QTest::addColumn<QString>("reason");
    const QString keeperLost = u"begun\n\n[... the program that kept this job"_s;
    QTest::newRow("its keeper is killed") << false << QByteArray{} << keeperLost;
    QTest::newRow("its keeper and the manager are killed") << true << QByteArray{} << keeperLost;
    QTest::newRow("the computer is started anew")
        << true << QByteArray{"next"} << u"begun\n\n[... the computer was started anew"_s;
}

void TestKeptJobs::NeverRunsALostJobAgain()
{
    QFETCH(bool, isManagerKilled);
    QFETCH(QByteArray, boot);
    QFETCH(QString, reason);
    QVERIFY(AddGatedType());
    QVERIFY(Project().Start());
    const int job = Submit(u"lost.in"_s);
    QVERIFY(job > 0);
    QVERIFY(Save());
    const int keeper = ProcessTable::ParentOf(job);
    if (isManagerKilled)
        Manager().Signal(killed);
    ProcessTable::Kill(keeper);
    QTRY_VERIFY(!ProcessTable::IsAlive(job));
    if (isManagerKilled) {
        QCOMPARE(Manager().End().status, -1);
        qputenv("TASKMILL_BOOT_ID", boot);
        QVERIFY(Project().Start());
    }
    QTRY_VERIFY(Manager().Command("list finished jobs").contains("Crashed"));
    QVERIFY(Manager().Command("run held jobs").contains("No job is held back"));
    QVERIFY(Save());
    QCOMPARE(Manager().Quit({"yes"}), ManagerEnd{.status = 0});
    const Taskmill_JobRecord crashed = Project().Rows().finishedJobs.value(0);
    QVERIFY2(crashed.StdOutAndStdErr.startsWith(reason), qPrintable(crashed.StdOutAndStdErr));
    QCOMPARE(Starts(u"lost.in"_s), "start\n");
}

void TestKeptJobs::EndsAHostileJobWhole_data()
{
    QTest::addColumn<QByteArray>("how");
    QTest::newRow("kill") << QByteArray{"kill"};
    QTest::newRow("remove") << QByteArray{"remove"};
    QTest::newRow("quit") << QByteArray{"quit"};
}

void TestKeptJobs::EndsAHostileJobWhole()
{
    QFETCH(QByteArray, how);
    // Should this fail, nothing of it is to run on.
    qputenv("TASKMILL_END_JOBS", "1");
    const auto reset = qScopeGuard([] { qputenv("TASKMILL_END_JOBS", "as asked"); });
    // On Windows a tree is as hostile as it gets.
    QVERIFY(isWindows
                ? Project().AddTestType(u"Hostile"_s,
                                        u"touch @INFILE.ready1 child touch @INFILE.ready2 child touch "
                                        "@INFILE.ready3 child touch @INFILE.ready4 wait"_s)
                : Project().AddType(u"Hostile"_s, QStringLiteral(TASKMILL_HOSTILE_JOB), u"@EXEFILE ."_s));
    QVERIFY(Project().Start());
    const int rounds = qMax(1, qEnvironmentVariableIntValue("TASKMILL_CRASH_ROUNDS"));
    for (int round = 0; round < rounds && !QTest::currentTestFailed(); ++round)
        EndHostileJob(how);
}

void TestKeptJobs::EndHostileJob(const QByteArray &how)
{
    const int processes = isWindows ? 4 : 12;
    QDir folder{Project().Path(u"."_s)};
    for (const QString &file : folder.entryList({u"*ready*"_s}))
        QVERIFY(folder.remove(file));
    const QByteArray answer = Manager().Submit(u"Hostile"_s, Project().InputFile(u"h.in"_s), u"none"_s);
    QVERIFY(answer.startsWith("accepted="));
    const QByteArray job = "job " + answer.sliced(9).trimmed();
    const auto readyCount = [&folder] {
        return folder.entryList({u"*ready*"_s}).size();
    };
    QTRY_COMPARE_WITH_TIMEOUT(readyCount(), processes, 60'000);
    QVERIFY(JobProcesses() > processes - 4);
    if (how == "quit") {
        QCOMPARE(Manager().Quit({"yes", "no"}), ManagerEnd{.status = 0});
    } else {
        QVERIFY(Manager().Ask(how + ' ' + job, how == "remove" ? "h.in  " : "?  "));
        if (how == "remove")
            QVERIFY(Manager().Ask("yes", "?  "));
        QVERIFY(Manager().Command("yes").contains("<Taskmill> J" + job.sliced(1) + " was "));
    }
    QCOMPARE(JobProcesses(), 0);
    if (how == "quit") {
        QVERIFY(Project().Start());
    } else {
        QVERIFY(Manager().Command("list finished jobs").contains("Killed"));
        QVERIFY(Manager().Command("list queueless jobs").contains("Empty"));
    }
}

void TestKeptJobs::LeavesTimeToEnd_data()
{
    QTest::addColumn<bool>("quits");
    QTest::newRow("kill") << false;
    QTest::newRow("quit") << true;
}

void TestKeptJobs::LeavesTimeToEnd()
{
    if (isWindows)
        QSKIP("Wine has no Ctrl+Break");
    QFETCH(bool, quits);
    qputenv("TASKMILL_END_JOBS", "1");
    const auto reset = qScopeGuard([] { qputenv("TASKMILL_END_JOBS", "as asked"); });
    const QString script = Project().InputFile(
        u"checkpoint.sh"_s, "trap 'sleep 0.2 && echo saved >checkpoint; exit 0' TERM\ntouch ready\n"
                            "while :; do sleep 100; touch went-on; done\n");
    QVERIFY(Project().AddType(u"Checkpoint"_s, u"/bin/sh"_s, u"@EXEFILE @INFILE"_s));
    QVERIFY(Project().Start());
    QCOMPARE(Manager().Submit(u"Checkpoint"_s, script, u"none"_s), "accepted=1\n");
    QTRY_VERIFY(QFile::exists(Project().Path(u"ready"_s)));
    if (quits) {
        QCOMPARE(Manager().Quit({"yes", "yes"}), ManagerEnd{.status = 0});
        QCOMPARE(Project().Rows().finishedJobs.size() + Project().Rows().queuelessJobs.size(), 1);
    } else {
        QVERIFY(Manager().Ask("kill job 1", "?  "));
        QVERIFY(Manager().Command("yes").contains("<Taskmill> Job 1 was killed.\n"));
        QVERIFY(Manager().Command("list finished jobs").contains("Killed"));
    }
    QCOMPARE(ReadTestFile(Project().Path(u"checkpoint"_s)), "saved\n");
    QVERIFY(!QFile::exists(Project().Path(u"went-on"_s)));
}

void TestKeptJobs::KeepsALongOutput_data()
{
    QTest::addColumn<QByteArray>("meanwhile");
    QTest::newRow("saved") << QByteArray{};
    QTest::newRow("manager killed before") << QByteArray{"SIGKILL"};
    QTest::newRow("not saved") << QByteArray{"no"};
}

/// Such an output stays with its run at first, so that the end of a job holds nothing up.
void TestKeptJobs::KeepsALongOutput()
{
    QFETCH(QByteArray, meanwhile);
    QVERIFY(Project().AddTestType(u"Long"_s, u"print first fill 2000000 print last exit 2"_s));
    QVERIFY(Project().Start());
    QCOMPARE(Manager().Submit(u"Long"_s, Project().InputFile(u"a"_s), u"none"_s), "accepted=1\n");
    QTRY_VERIFY(Manager().Command("list finished jobs").contains("Failed"));
    if (meanwhile == "SIGKILL") {
        Manager().Signal(killed);
        QCOMPARE(Manager().End().status, -1);
        QVERIFY(Project().Start());
    } else if (meanwhile == "no") {
        QCOMPARE(Manager().Quit({"yes", "no"}), ManagerEnd{.status = 0});
        QCOMPARE(Project().Rows().finishedJobs.size(), 0);
        QVERIFY(Project().Start());
        QVERIFY(Manager().Command("list finished jobs").contains("Empty"));
        QTRY_COMPARE(KeptOutputs(), 0);
        return;
    }
    const auto output = [this] {
        const QByteArray text = Manager().Command("show job 1");
        return text.sliced(qMax(0, text.indexOf("\nfirst\n")));
    };
    const QByteArray text = output();
    QVERIFY(text.size() > 2'000'000);
    QVERIFY(text.contains("\nlast\n"));
    QVERIFY(Save());
    QTRY_COMPARE(KeptOutputs(), 0);
    QCOMPARE(Manager().Quit({"yes"}), ManagerEnd{.status = 0});
    QVERIFY(Project().Start());
    QCOMPARE(output(), text);
}

void TestKeptJobs::ACopyOfTheProjectStartsNothing()
{
    QVERIFY(AddGatedType());
    QVERIFY(Project().Start());
    const int job = Submit(u"one.in"_s);
    QVERIFY(job > 0);
    QVERIFY(Save());
    // The file that stays behind is a copy now.
    const QString moved = Project().Path(u"moved.mill"_s);
    QVERIFY(Manager().Command("save moved.mill").contains("moved.mill"));
    Manager().Signal(killed);
    QCOMPARE(Manager().End().status, -1);
    QVERIFY(Project().Start());
    QVERIFY2(Manager().Greeting().contains("job 1, runs in " + moved.toUtf8()),
             Manager().Greeting().constData());
    QVERIFY(Manager().Command("list queueless jobs").contains("Pending"));
    QVERIFY(Manager().Command("run held jobs").contains("No job is held back"));
    QCOMPARE(Manager().Quit({"yes"}), ManagerEnd{.status = 0});

    QVERIFY(QFile::remove(Project().ProjectPath()));
    QVERIFY(QFile::rename(moved, Project().ProjectPath()));
    QVERIFY(Project().Start());
    QVERIFY(Manager().Command("list queueless jobs").contains("Running"));
    Release(u"one.in"_s);
    QTRY_VERIFY(Manager().Command("list finished jobs").contains("Failed"));
    QCOMPARE(Starts(u"one.in"_s), "start\n");
}

void TestKeptJobs::WaitsAgainWhenItsKillWasNotSaved()
{
    QVERIFY(AddGatedType());
    QVERIFY(Project().Start());
    const int job = Submit(u"one.in"_s);
    QVERIFY(job > 0);
    QVERIFY(Save());
    QCOMPARE(Manager().Quit({"yes"}), ManagerEnd{.status = 0});
    QVERIFY(!ProcessTable::IsAlive(job));
    // Without its run, as also those are to know it who have no journal.
    QCOMPARE(Project().Rows().queuelessJobs.value(0).Run, QString{});
    QVERIFY(Project().Start());
    QVERIFY(Manager().Command("list finished jobs").contains("Empty"));
    Release(u"one.in"_s);
    QVERIFY(Manager().Command("run held jobs").contains("1 job runs again"));
    QTRY_VERIFY(Manager().Command("list finished jobs").contains("Failed"));
    QCOMPARE(Starts(u"one.in"_s), "start\nstart\n");
}

void TestKeptJobs::NeverRunsAgainUnasked_data()
{
    QTest::addColumn<QByteArray>("what");
    QTest::addColumn<QByteArray>("isNow");
    QTest::newRow("the working copy is damaged") << QByteArray{"damaged"} << QByteArray{"Failed"};
    QTest::newRow("closed without saving") << QByteArray{"closed"} << QByteArray{"Failed"};
    QTest::newRow("a copy of the file") << QByteArray{"copy"} << QByteArray{"held"};
    QTest::newRow("nobody has recorded it") << QByteArray{"forgotten"} << QByteArray{"held"};
    QTest::newRow("another state folder") << QByteArray{"elsewhere"} << QByteArray{"held"};
}

/// What ran when the project was saved, and has ended since.
void TestKeptJobs::NeverRunsAgainUnasked()
{
    QFETCH(QByteArray, what);
    QFETCH(QByteArray, isNow);
    const auto reset = qScopeGuard([] { qunsetenv("TASKMILLPREFS_DIR"); });
    QVERIFY(AddGatedType());
    QVERIFY(Project().Start());
    QVERIFY(Manager().Command("unpause long jobs").contains("no longer paused"));
    QVERIFY(Submit(u"ran.in"_s, 0, u"long"_s) > 0);
    QVERIFY(Save());
    QVERIFY(QFile::copy(Project().ProjectPath(), Project().Path(u"copy.mill"_s)));
    Release(u"ran.in"_s);
    QTRY_VERIFY(Manager().Command("list finished jobs").contains("Failed"));
    QTRY_VERIFY(IsAnyResultTaken());
    if (what == "damaged")
        Manager().Signal(killed);
    QCOMPARE(what == "damaged" ? Manager().End().status : Manager().Quit({"yes", "no"}).status,
             what == "damaged" ? -1 : 0);
    for (const QString &path : StateFiles(what == "damaged" ? u"/work-"_s : u"/runs/journal/"_s)) {
        if (what == "damaged" && path.endsWith(".db"_L1))
            WriteTestFile(path, QByteArray(20'000, 'x'));
        else if (what == "forgotten" || (what == "damaged" && path.endsWith("-wal"_L1)))
            QVERIFY(QFile::remove(path));
    }
    if (what == "elsewhere")
        qputenv("TASKMILLPREFS_DIR", Project().Path(u"elsewhere"_s).toLocal8Bit());

    ManagerProcess next{Project().Path({})};
    QVERIFY(next.Start(
        {u"-console"_s, what == "copy" ? Project().Path(u"copy.mill"_s) : Project().ProjectPath()}));
    QVERIFY(next.Command("unpause long jobs").contains("no longer paused"));
    if (isNow == "Failed") {
        QTRY_VERIFY(next.Command("list finished jobs").contains("Failed"));
        QVERIFY(next.Command("list long jobs").contains("Empty"));
        QVERIFY(next.Command("show job 1").contains("stored with changes of the project that are gone"));
        QCOMPARE(Starts(u"ran.in"_s), "start\n");
        QCOMPARE(next.Quit({"yes", "no"}), ManagerEnd{.status = 0});
        return;
    }
    QVERIFY2(next.Greeting().contains("Job 1 ran when the project was saved"), next.Greeting());
    QVERIFY(next.Command("list long jobs").contains("Pending"));
    // However often it is saved and opened.
    QVERIFY(next.Command("save").contains("The project was saved"));
    next.Signal(killed);
    QCOMPARE(next.End().status, -1);
    ManagerProcess last{Project().Path({})};
    QVERIFY(last.Start(
        {u"-console"_s, what == "copy" ? Project().Path(u"copy.mill"_s) : Project().ProjectPath()}));
    QVERIFY(last.Command("unpause long jobs").contains("no longer paused"));
    QVERIFY(last.Command("list long jobs").contains("Pending"));
    QCOMPARE(Starts(u"ran.in"_s), "start\n");
    QVERIFY(last.Command("run job 1").contains("Job 1 runs again"));
    QTRY_VERIFY(last.Command("list finished jobs").contains("Failed"));
    QCOMPARE(Starts(u"ran.in"_s), "start\nstart\n");
    QCOMPARE(last.Quit({"yes", "no"}), ManagerEnd{.status = 0});
}

void TestKeptJobs::ALostCopyHidesNoJob()
{
    QVERIFY(AddGatedType());
    QVERIFY(Project().Start());
    const int saved = Submit(u"saved.in"_s);
    QVERIFY(Save());
    const int lost = Submit(u"lost.in"_s);
    QVERIFY(saved > 0);
    QVERIFY(lost > 0);
    Manager().Signal(killed);
    QCOMPARE(Manager().End().status, -1);
    for (const QString &path : StateFiles(u"/work-"_s)) {
        if (path.endsWith(".db"_L1))
            WriteTestFile(path, QByteArray(20'000, 'x'));
        else if (path.endsWith("-wal"_L1))
            QVERIFY(QFile::remove(path));
    }
    QVERIFY(Project().Start());
    const QByteArray greeting = Manager().Greeting();
    QVERIFY2(greeting.contains("These do: process " + QByteArray::number(lost) + " in "), greeting);
    QVERIFY2(!greeting.contains("process " + QByteArray::number(saved) + " in "), greeting);
    // Also after the next start.
    QCOMPARE(Manager().Quit({"yes", "yes"}), ManagerEnd{.status = 0});
    QVERIFY(ProcessTable::IsAlive(lost));
    QVERIFY(Project().Start());
    QCOMPARE(Manager().Submit(u"Gated"_s, Project().InputFile(u"new.in"_s), u"none"_s), "accepted=1002\n");
    QCOMPARE(Manager().Quit({"yes", "no"}), ManagerEnd{.status = 0});
    // Nobody ends it for its user.
    Release(u"lost.in"_s);
    QTRY_VERIFY_WITH_TIMEOUT(!ProcessTable::IsAlive(lost), 60'000);
}

void TestKeptJobs::AdoptingIsNoChange()
{
    QVERIFY(AddGatedType());
    QVERIFY(Project().Start());
    QVERIFY(Submit(u"one.in"_s) > 0);
    QVERIFY(Save());
    for (int start = 0; start < 2; ++start) {
        Manager().Signal(killed);
        QCOMPARE(Manager().End().status, -1);
        QVERIFY(Project().Start());
        QVERIFY(Manager().Command("list queueless jobs").contains("Running"));
    }
    QVERIFY2(!Manager().Greeting().contains("recovered"), Manager().Greeting());
    QCOMPARE(Manager().Quit({"yes"}), ManagerEnd{.status = 0});
}

QTEST_GUILESS_MAIN(TestKeptJobs)
#include "test_keptjobs.moc"
