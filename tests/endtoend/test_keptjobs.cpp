// SPDX-License-Identifier: MIT
#include "endtoend/notificationsink.h"
#include "endtoend/processtable.h"
#include "endtoend/projectfixture.h"

#include <QDir>
#include <QtTest>

#include <csignal>

using namespace Qt::Literals::StringLiterals;

namespace {
/// The parent of a process; that of a job's program is its keeper.
int ParentOf(int processID)
{
    const QByteArray text = ReadTestFile(u"/proc/%1/stat"_s.arg(processID));
    return text.sliced(text.lastIndexOf(')') + 2).split(' ').value(1).toInt();
}
} // namespace

/// Jobs that go on without the manager, and what the next one makes of them.
class TestKeptJobs : public ManagerTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("TASKMILL_END_JOBS", ""); }
    void FindsItsJobsAgain_data();
    void FindsItsJobsAgain();
    void NeverRunsALostJobAgain_data();
    void NeverRunsALostJobAgain();
    void EndsAHostileJobWhole_data();
    void EndsAHostileJobWhole();
    void LeavesTimeToEnd_data();
    void LeavesTimeToEnd();
    void ACopyOfTheProjectStartsNothing();
    void WaitsAgainWhenItsKillWasNotSaved();

private:
    /// A job type "Gated" whose jobs count their starts and go on until Release().
    [[nodiscard]] bool AddGatedType() const
    {
        return Project().AddType(
            u"Gated"_s, u"/bin/sh"_s,
            u"@EXEFILE -c \"echo begun; echo start >>@INFILE.starts; echo $$ >@INFILE.part; "
            "mv @INFILE.part @INFILE.pid; while [ ! -e @INFILE.go ]; do sleep 0.02; done; "
            "echo done; exit 3\""_s);
    }
    /// Submits one that runs at once; returns its process.
    int Submit(const QString &name, quint16 port = 0)
    {
        if (!Manager().Submit(u"Gated"_s, Project().InputFile(name), u"none"_s, port).startsWith("accepted"))
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
    [[nodiscard]] bool Save() { return Manager().Command("save").contains("The project was saved"); }
    /// How many processes have the project's folder as their directory, apart from the manager.
    [[nodiscard]] int JobProcesses() const;
};

int TestKeptJobs::JobProcesses() const
{
    const QString folder = QFileInfo{Project().ProjectPath()}.canonicalPath();
    int count = 0;
    for (const QString &name : QDir{u"/proc"_s}.entryList(QDir::Dirs)) {
        const int id = name.toInt();
        const QByteArray command = id > 0 ? ReadTestFile(u"/proc/%1/comm"_s.arg(id)).trimmed() : QByteArray{};
        if (id > 0 && QFile::symLinkTarget(u"/proc/%1/cwd"_s.arg(id)) == folder && command != "taskmill" &&
            ProcessTable::IsAlive(id))
            ++count;
    }
    return count;
}

void TestKeptJobs::FindsItsJobsAgain_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("a killed manager") << SIGKILL;
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("a terminal that hangs up") << SIGHUP;
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
    QVERIFY(ends > 0 && goesOn > 0);
    QVERIFY(Save());
    if (signal != 0)
        Manager().Signal(signal);
    else
        QVERIFY(Manager().Ask("quit keep", "?  "));
    if (signal == 0)
        Manager().Type("yes\n");
    QVERIFY(
        (Manager().End() == (signal == SIGKILL ? ManagerEnd{.signal = SIGKILL} : ManagerEnd{.status = 0})));
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
        QVERIFY(job.Started.isValid() && job.Finished >= job.Started);
        QCOMPARE(Starts(QFileInfo{job.InputFilePath}.fileName()), "start\n");
    }
    QTRY_VERIFY(ProcessTable::LivingChildren().isEmpty());
    QVERIFY(QDir{Project().Path(u".local/state/taskmill"_s)}.exists());
}

void TestKeptJobs::NeverRunsALostJobAgain_data()
{
    QTest::addColumn<bool>("isManagerKilled");
    QTest::newRow("its keeper is killed") << false;
    QTest::newRow("its keeper and the manager are killed") << true;
}

void TestKeptJobs::NeverRunsALostJobAgain()
{
    QFETCH(bool, isManagerKilled);
    QVERIFY(AddGatedType());
    QVERIFY(Project().Start());
    const int job = Submit(u"lost.in"_s);
    QVERIFY(job > 0);
    QVERIFY(Save());
    const int keeper = ParentOf(job);
    if (isManagerKilled)
        Manager().Signal(SIGKILL);
    QCOMPARE(kill(keeper, SIGKILL), 0);
    QTRY_VERIFY(!ProcessTable::IsAlive(job));
    if (isManagerKilled) {
        QCOMPARE(Manager().End(), ManagerEnd{.signal = SIGKILL});
        QVERIFY(Project().Start());
    }
    QTRY_VERIFY(Manager().Command("list finished jobs").contains("Crashed"));
    QVERIFY(Manager().Command("run held jobs").contains("No job is held back"));
    QVERIFY(Save());
    QCOMPARE(Manager().Quit({"yes"}), ManagerEnd{.status = 0});
    const Taskmill_JobRecord crashed = Project().Rows().finishedJobs.value(0);
    QVERIFY2(crashed.StdOutAndStdErr.startsWith(u"begun\n\n[... the program that kept this job"_s),
             qPrintable(crashed.StdOutAndStdErr));
    QCOMPARE(Starts(u"lost.in"_s), "start\n");
}

void TestKeptJobs::EndsAHostileJobWhole_data()
{
    QTest::addColumn<QByteArray>("how");
    QTest::newRow("kill") << QByteArray{"kill job 1"};
    QTest::newRow("remove") << QByteArray{"remove job 1"};
    QTest::newRow("quit") << QByteArray{};
}

void TestKeptJobs::EndsAHostileJobWhole()
{
    QFETCH(QByteArray, how);
    // Should this fail, nothing of it is to run on.
    qputenv("TASKMILL_END_JOBS", "1");
    const auto reset = qScopeGuard([] { qputenv("TASKMILL_END_JOBS", ""); });
    QVERIFY(Project().AddType(u"Hostile"_s, QStringLiteral(TASKMILL_HOSTILE_JOB), u"@EXEFILE ."_s));
    QVERIFY(Project().Start());
    QCOMPARE(Manager().Submit(u"Hostile"_s, Project().InputFile(u"h.in"_s), u"none"_s), "accepted=1\n");
    const QDir folder{Project().Path(u"."_s)};
    QTRY_COMPARE(folder.entryList({u"ready*"_s}).size(), 12);
    QVERIFY(JobProcesses() > 8);
    if (how.isEmpty()) {
        QCOMPARE(Manager().Quit({"yes", "no"}), ManagerEnd{.status = 0});
    } else {
        QVERIFY(Manager().Ask(how, how.startsWith("remove") ? "h.in  " : "?  "));
        if (how.startsWith("remove"))
            QVERIFY(Manager().Ask("yes", "?  "));
        QVERIFY(Manager().Command("yes").contains("<Taskmill> Job 1 was "));
    }
    QCOMPARE(JobProcesses(), 0);
    if (!how.isEmpty()) {
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
    QFETCH(bool, quits);
    qputenv("TASKMILL_END_JOBS", "1");
    const auto reset = qScopeGuard([] { qputenv("TASKMILL_END_JOBS", ""); });
    const QString script = Project().InputFile(
        u"checkpoint.sh"_s, "trap 'sleep 0.2; echo saved >checkpoint; exit 0' TERM\ntouch ready\n"
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
    Manager().Signal(SIGKILL);
    QCOMPARE(Manager().End(), ManagerEnd{.signal = SIGKILL});
    QVERIFY(Project().Start());
    QVERIFY2(Manager().Greeting().contains("job 1, runs in " + moved.toUtf8()),
             Manager().Greeting().constData());
    QVERIFY(Manager().Command("list queueless jobs").contains("Pending"));
    QVERIFY(Manager().Command("run held jobs").contains("No job is held back"));
    QCOMPARE(Manager().Quit({"yes"}), ManagerEnd{.status = 0});

    QVERIFY(QFile::remove(Project().ProjectPath()) && QFile::rename(moved, Project().ProjectPath()));
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
    QVERIFY(Project().Start());
    QVERIFY(Manager().Command("list finished jobs").contains("Empty"));
    Release(u"one.in"_s);
    QVERIFY(Manager().Command("run held jobs").contains("1 job runs again"));
    QTRY_VERIFY(Manager().Command("list finished jobs").contains("Failed"));
    QCOMPARE(Starts(u"one.in"_s), "start\nstart\n");
}

QTEST_GUILESS_MAIN(TestKeptJobs)
#include "test_keptjobs.moc"
