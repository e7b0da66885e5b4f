// SPDX-License-Identifier: MIT
#include "endtoend/processtable.h"
#include "endtoend/projectfixture.h"
#include "slurm/slurmcluster.h"

#include <QDir>

#include <csignal>

using namespace Qt::Literals::StringLiterals;

/// Programs that are ended while they have a job.
struct Loss
{
    QByteArrayList killed;
    int signal = SIGKILL;
};

/// Jobs of a cluster in the real manager.
class TestClusterJobs : public ManagerTest
{
    Q_OBJECT

protected:
    void init() override;
    void cleanup() override;

private Q_SLOTS:
    void initTestCase()
    {
        m_cluster = std::make_unique<SlurmCluster>();
        QVERIFY(m_cluster->Start());
    }
    void cleanupTestCase() { m_cluster.reset(); }
    void IsNeverLost_data();
    void IsNeverLost();
    void IsCancelledWithItsJob();
    void RunsAQueue();

private:
    /// What the manager has started, and it, whose command has that name.
    [[nodiscard]] QList<int> Processes(const QByteArray &name) const;
    void KillAll(const QByteArray &name, int signal) const
    {
        for (const int process : Processes(name))
            kill(process, signal);
    }
    [[nodiscard]] bool AddClusterType() const
    {
        // One start of the program is one line in a file.
        WriteTestFile(Project().Path(u"work.sh"_s),
                      "echo start >>starts\nuntil [ -e go ]; do sleep 0.2; done\n"
                      "echo all of it\nexit 7\n");
        return Project().AddType(u"Cluster"_s, SlurmFollower::Program(), u"@EXEFILE -- sh @INFILE"_s);
    }
    [[nodiscard]] QByteArray Starts() const { return ReadTestFile(Project().Path(u"starts"_s)); }

    std::unique_ptr<SlurmCluster> m_cluster;
};

void TestClusterJobs::init()
{
    // The fixture of the manager ends everything else that this process has started.
    ProcessTable::Spare(m_cluster->Processes());
    ManagerTest::init();
    qputenv("TASKMILL_END_JOBS", "as asked");
    qputenv("TASKMILL_SLURM_INTERVAL", "1");
    for (const QString &name : {u"SLURM_CONF"_s, u"PATH"_s, u"SLURM_TEST_QUERIES"_s})
        qputenv(name.toUtf8().constData(), m_cluster->Environment().value(name).toUtf8());
}

void TestClusterJobs::cleanup()
{
    Project().EndManager();
    // Of a test that has failed.
    static_cast<void>(m_cluster->Command({u"scancel"_s, u"--me"_s}));
    static_cast<void>(QTest::qWaitFor(
        [this] {
            return m_cluster->Command({u"squeue"_s, u"--noheader"_s}).isEmpty();
        },
        60'000));
    ManagerTest::cleanup();
}

QList<int> TestClusterJobs::Processes(const QByteArray &name) const
{
    QList<int> processes;
    const QByteArray home = "HOME=" + QFileInfo{Project().ProjectPath()}.absolutePath().toUtf8();
    for (const QString &number : QDir{u"/proc"_s}.entryList(QDir::Dirs)) {
        const QString folder = u"/proc/"_s + number;
        QFile environment{folder + u"/environ"_s};
        QFile command{folder + u"/cmdline"_s};
        if (number.toInt() > 0 && environment.open(QFile::ReadOnly) && command.open(QFile::ReadOnly) &&
            environment.readAll().split('\0').contains(home) &&
            command.readAll().split('\0').first().endsWith('/' + name))
            processes.append(number.toInt());
    }
    return processes;
}

void TestClusterJobs::IsNeverLost_data()
{
    using Steps = QList<Loss>;
    const QByteArrayList everything{"taskmill", "taskmill-keeper", "taskmill-slurm"};
    QTest::addColumn<Steps>("losses");
    QTest::addColumn<bool>("isProgramDone");
    QTest::newRow("its follower is killed, then its keeper")
        << Steps{{.killed = {"taskmill-slurm"}}, {.killed = {"taskmill-keeper"}}} << false;
    // What the system ends leaves the job alone.
    QTest::newRow("everything is killed, then the system ends")
        << Steps{{.killed = everything}, {.killed = {"taskmill", "taskmill-keeper"}, .signal = SIGTERM}}
        << false;
    QTest::newRow("everything is killed, and it ends before the next start")
        << Steps{{.killed = everything}} << true;
}

void TestClusterJobs::IsNeverLost()
{
    QFETCH(QList<Loss>, losses);
    QFETCH(bool, isProgramDone);
    QVERIFY(AddClusterType());
    QVERIFY(Project().Start());
    QVERIFY(Manager().Submit(u"Cluster"_s, Project().Path(u"work.sh"_s), u"none"_s).startsWith("accepted"));
    QTRY_COMPARE_WITH_TIMEOUT(Starts(), "start\n", 60'000);
    QTRY_VERIFY_WITH_TIMEOUT(Manager().Command("show job 1").contains("RUNNING on node1 since"), 60'000);
    for (const Loss &loss : losses) {
        const bool isManagerLost = loss.killed.contains("taskmill");
        if (isManagerLost)
            QVERIFY(Manager().Command("save").contains("The project was saved"));
        const QList<int> followers = Processes("taskmill-slurm");
        QVERIFY(!followers.isEmpty());
        for (const QByteArray &name : loss.killed)
            KillAll(name, loss.signal);
        if (isManagerLost) {
            QCOMPARE(Manager().End().status, loss.signal == SIGKILL ? -1 : 0);
            QTRY_VERIFY_WITH_TIMEOUT(Processes("taskmill-slurm").isEmpty(), 60'000);
            if (isProgramDone)
                WriteTestFile(Project().Path(u"go"_s), {});
            QVERIFY(Project().Start());
        }
        const auto isFollowedAgain = [&] {
            const QList<int> now = Processes("taskmill-slurm");
            return now.size() == 1 && !followers.contains(now.first());
        };
        QTRY_VERIFY_WITH_TIMEOUT(isProgramDone || isFollowedAgain(), 60'000);
    }
    WriteTestFile(Project().Path(u"go"_s), {});
    QTRY_VERIFY_WITH_TIMEOUT(Manager().Command("list finished jobs").contains("work"), 60'000);
    QCOMPARE(Manager().Quit({"yes", "yes"}), ManagerEnd{.status = 0});
    const ProjectRows rows = Project().Rows();
    QCOMPARE(rows.finishedJobs.size(), 1);
    QCOMPARE(rows.finishedJobs.first().Status, Taskmill_JobStatus::Failed);
    QCOMPARE(rows.finishedJobs.first().ExitCode, 7);
    QVERIFY2(rows.finishedJobs.first().StdOutAndStdErr.contains(u"all of it"_s),
             qPrintable(rows.finishedJobs.first().StdOutAndStdErr));
    QCOMPARE(Starts(), "start\n");
    QCOMPARE(m_cluster->Command({u"squeue"_s, u"--noheader"_s}), "");
}

void TestClusterJobs::IsCancelledWithItsJob()
{
    QVERIFY(AddClusterType());
    QVERIFY(Project().Start());
    QVERIFY(Manager().Submit(u"Cluster"_s, Project().Path(u"work.sh"_s), u"none"_s).startsWith("accepted"));
    QTRY_COMPARE_WITH_TIMEOUT(Starts(), "start\n", 60'000);
    QCOMPARE(Manager().Ctl({u"kill"_s, u"1"_s}).status, 0);
    QTRY_VERIFY_WITH_TIMEOUT(Manager().Command("list finished jobs").contains("Killed"), 60'000);
    QCOMPARE(m_cluster->Command({u"squeue"_s, u"--noheader"_s}), "");
}

void TestClusterJobs::RunsAQueue()
{
    // scripts/slurm-test runs more of them.
    const int count = qMax(6, qEnvironmentVariableIntValue("TASKMILL_TEST_CLUSTER_JOBS"));
    const int limit = qMax(2, count / 5);
    constexpr int kindsOfEnds = 3;
    QCOMPARE(RunCtl({u"project"_s, u"create"_s, Project().ProjectPath()}).status, 0);
    const CtlResult added =
        RunCtl({u"types"_s, u"add"_s, Project().ProjectPath(), u"--name"_s, u"Cluster"_s, u"--exe"_s, u"sh"_s,
                u"--slurm"_s, u"--cores 1 --prepare \"export BASE=1\""_s});
    QVERIFY2(added.status == 0, added.err.constData());
    QVERIFY(Project().Start());
    static_cast<void>(Manager().Command("set long limit " + QByteArray::number(limit)));
    for (int number = 0; number < count; ++number) {
        const QByteArray name = "water" + QByteArray::number(number);
        WriteTestFile(Project().Path(QString::fromLatin1(name + ".mop")),
                      "PM7\nWater\n\nO 0.0 0.0 0.0\nH 0.96 0.0 0.0\nH -0.24 0.93 0.0\n");
        const QString script = WriteTestFile(
            Project().Path(QString::fromLatin1(name + ".sh")),
            "ls running-* 2>/dev/null | wc -l >>counts\n: >running-" + name + "\necho start >>" + name +
                ".starts\nmopac " + name + ".mop >/dev/null || exit 99\nrm running-" + name +
                "\ngrep -q 'FINAL HEAT OF FORMATION' " + name + ".out || exit 98\nexit $((BASE - 1 + " +
                QByteArray::number(number % kindsOfEnds) + "))\n");
        QVERIFY(Manager().Submit(u"Cluster"_s, script, u"long"_s).startsWith("accepted"));
    }
    static_cast<void>(Manager().Command("unpause long jobs"));
    QTRY_COMPARE_WITH_TIMEOUT(Manager().Ctl({u"list"_s, u"finished"_s, u"--json"_s}).out.count("\"id\""),
                              count, 1000 * (60 + 10 * count));
    QCOMPARE(Manager().Quit({"yes", "yes"}), ManagerEnd{.status = 0});
    const ProjectRows rows = Project().Rows();
    QCOMPARE(rows.finishedJobs.size(), count);
    for (const Taskmill_JobRecord &job : rows.finishedJobs) {
        const QString name = QFileInfo{job.InputFilePath}.completeBaseName();
        const int code = name.mid(5).toInt() % kindsOfEnds;
        QCOMPARE(job.Status, code == 0 ? Taskmill_JobStatus::Completed : Taskmill_JobStatus::Failed);
        QCOMPARE(job.ExitCode.value_or(0), code);
        QCOMPARE(ReadTestFile(Project().Path(name + u".starts"_s)), "start\n");
    }
    for (const QByteArray &running : ReadTestFile(Project().Path(u"counts"_s)).split('\n'))
        QVERIFY(running.trimmed().toInt() < limit);
}

QTEST_GUILESS_MAIN(TestClusterJobs)
#include "test_clusterjobs.moc"
