// SPDX-License-Identifier: MIT
#include "slurm/slurmcluster.h"
#include "support/testcase.h"
#include "wire/clusterrun.h"

#include <QDirIterator>

#include <csignal>

using namespace Qt::Literals::StringLiterals;

namespace {
/// What a job leaves when it starts, so that none is started twice unseen.
const QString countStart = u"echo start >>starts; "_s;
/// Until the test says so.
const QString waitForGo = u"until [ -e go ]; do sleep 0.2; done; "_s;
} // namespace

/// taskmill-slurm with a real cluster.
class TestSlurmFollower : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void EndsAsItsProgram_data();
    void EndsAsItsProgram();
    void IsWrittenDownBeforeItIsSubmitted();
    void TakesUpAJob_data();
    void TakesUpAJob();
    void CancelsItsJob_data();
    void CancelsItsJob();
    void SaysHowTheClusterEndsAJob_data();
    void SaysHowTheClusterEndsAJob();
    void FollowsARequeuedJob();
    void WaitsForTheController();
    void SharesItsQuestions();

private:
    /// A shell's lines as the job's program.
    [[nodiscard]] static QStringList Script(const QString &lines, const QStringList &options = {})
    {
        return options + QStringList{u"--"_s, u"sh"_s, u"-c"_s, lines};
    }
    /// The folder of the one run of a folder.
    [[nodiscard]] static QString RunFolder(const QString &folder)
    {
        QDir above{folder};
        const QStringList names = above.entryList({u".taskmill-slurm-*"_s}, QDir::Dirs | QDir::Hidden);
        if (names.isEmpty() || !above.cd(names.first()))
            return {};
        const QStringList runs = above.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        return runs.size() == 1 ? above.filePath(runs.first()) : QString{};
    }
    [[nodiscard]] static Taskmill_ClusterState State(const QString &folder)
    {
        return Taskmill_ReadClusterState(QFile::encodeName(RunFolder(folder)).toStdString())
            .value_or(Taskmill_ClusterState{});
    }
    static void SetState(const QString &folder, const Taskmill_ClusterState &state)
    {
        WriteTestFile(RunFolder(folder) + u"/state"_s, QByteArray::fromStdString(state.ToText()));
    }
    [[nodiscard]] QByteArray StateOf(const QString &job) const
    {
        return m_cluster
            .Command({u"squeue"_s, u"--noheader"_s, u"--states=all"_s, u"--jobs="_s + job, u"--format=%T"_s})
            .trimmed();
    }
    [[nodiscard]] static QString Folder(const QString &path)
    {
        QDir{}.mkpath(path);
        return path;
    }

    SlurmCluster m_cluster;
    QTemporaryDir m_shared; ///< of the rows that run at the same time
    std::map<QByteArray, std::unique_ptr<SlurmFollower>> m_runs;
};

void TestSlurmFollower::initTestCase()
{
    // What takes time otherwise is that the cluster is asked every ten seconds only.
    qputenv("TASKMILL_SLURM_INTERVAL", "1");
    QVERIFY(m_cluster.Start());
}

void TestSlurmFollower::EndsAsItsProgram_data()
{
    QTest::addColumn<int>("end");
    QTest::addColumn<QByteArray>("output");
    // All of them at once.
    const auto add = [this](const char *name, int end, const QByteArray &output, const QStringList &arguments,
                            const QString &folder = {}) {
        QTest::newRow(name) << end << output;
        const QString place =
            Folder(m_shared.filePath(folder.isEmpty() ? QString::fromLatin1(name) : folder));
        WriteTestFile(place + u"/typed"_s, "typed line\n");
        m_runs[name] = std::make_unique<SlurmFollower>(m_cluster, place, arguments);
    };
    add("its output and its success", 0, "\nout\nerr\n", Script(u"echo out; echo err >&2"_s));
    add("its exit code", 3, "ended with exit code 3\n", Script(u"exit 3"_s));
    add("its signal", endedBySignal + SIGSEGV, "ended by signal 11\n", Script(u"kill -SEGV $$"_s));
    add("a high exit code", 200, "ended with exit code 200\n", Script(u"exit 200"_s));
    add("its standard input", 0, "got typed line", Script(u"read line; echo got $line"_s));
    add("its cores and prepare lines", 0, "cores 2 prepared",
        Script(u"echo cores $SLURM_CPUS_PER_TASK $WORD"_s,
               {u"--cores=2"_s, u"--memory=100"_s, u"--prepare"_s, u"export WORD=prepared"_s, u"--sbatch"_s,
                u"--comment=mine --job-name 'a b'"_s}));
    const QString hard = u"a'b \"c\n$(touch broken)`\\x%j*-é"_s;
    add("hard names", 0, (u"<-x><"_s + hard + u"><>"_s).toUtf8(),
        {u"--"_s, u"sh"_s, u"-c"_s, u"printf '<%s>' \"$@\""_s, u"sh"_s, u"-x"_s, hard, QString{}},
        u"in "_s + hard);
    add("a partition that is not there", 1, "Invalid partition name",
        Script(u"true"_s, {u"--partition=none"_s}));
    add("more cores than there are", 1, "More processors requested than permitted",
        Script(u"true"_s, {u"--cores=99"_s}));
    add("more memory than there is", 1, "Memory specification can not be satisfied",
        Script(u"true"_s, {u"--memory=99999999"_s}));
    add("a time that is none", 255, "Invalid --time specification", Script(u"true"_s, {u"--time=soon"_s}));
    add("an option that is none", 255, "unrecognized option", Script(u"true"_s, {u"--sbatch=--nonsense"_s}));
    add("a program that is not there", 127, "not found", {u"--"_s, u"no-such-program"_s});
    QTest::newRow("bytes that are no text") << 0 << QByteArray{"<\xff>"};
    m_cluster.AddProgram(u"bytes"_s, "exec \"$1\" -- printf '<%s>' \"$(printf '\\377')\"\n");
    m_runs["bytes that are no text"] = std::make_unique<SlurmFollower>(
        m_cluster, Folder(m_shared.filePath(u"bytes"_s)), QStringList{SlurmFollower::Program()},
        m_cluster.ProgramFolder() + u"/bytes"_s);
}

void TestSlurmFollower::EndsAsItsProgram()
{
    QFETCH(int, end);
    QFETCH(QByteArray, output);
    SlurmFollower &run = *m_runs.at(QTest::currentDataTag());
    QCOMPARE(run.End(), end);
    QVERIFY2(run.Output().contains(output), run.Output().constData());
    QVERIFY(!QFile::exists(m_shared.filePath(u"broken"_s)));
}

void TestSlurmFollower::IsWrittenDownBeforeItIsSubmitted()
{
    const QByteArray sbatch = QFile::encodeName(QStandardPaths::findExecutable(u"sbatch"_s));
    const QByteArray folder = QFile::encodeName(Path());
    QDir{}.mkpath(Path(u"then"_s));
    m_cluster.AddProgram(u"sbatch"_s, "cp '" + folder + "'/.taskmill-slurm-*/*/state '" + folder +
                                          "/then/state'\nexec " + sbatch + " \"$@\"\n");
    SlurmFollower run{m_cluster, Path(), Script(u"exit 4"_s)};
    const int end = run.End();
    QVERIFY(QFile::remove(m_cluster.ProgramFolder() + u"/sbatch"_s));
    QCOMPARE(end, 4);
    // A follower that is ended from here on finds that it may be on the cluster, and looks for it there.
    const auto then = Taskmill_ReadClusterState((folder + "/then").toStdString());
    QVERIFY(then);
    QVERIFY(then->phase == Taskmill_ClusterState::Phase::Submitting);
}

void TestSlurmFollower::TakesUpAJob_data()
{
    QTest::addColumn<QString>("lost");
    QTest::addColumn<int>("starts");
    QTest::newRow("by its number") << QString{} << 1;
    QTest::newRow("by what sbatch has printed") << u"state"_s << 1;
    QTest::newRow("by its comment") << u"state number"_s << 1;
    QTest::newRow("by the mark of its script, when the cluster has forgotten it")
        << u"state number cluster"_s << 1;
    QTest::newRow("and does not submit it again when nothing is left of it")
        << u"state number mark cluster"_s << 0;
    QTest::newRow("that was not submitted yet") << u"everything"_s << 1;
}

void TestSlurmFollower::TakesUpAJob()
{
    QFETCH(QString, lost);
    QFETCH(int, starts);
    const bool isNothingLeft = starts == 0;
    const bool isForgotten = lost.contains(u"cluster"_s);
    // What the cluster forgets must have ended, or its node would bring it back.
    const QString waits = isForgotten ? QString{} : waitForGo;
    const QString hold = isNothingLeft ? u"--sbatch=--hold"_s : u"--sbatch=--no-requeue"_s;
    auto first = std::make_unique<SlurmFollower>(m_cluster, Path(),
                                                 Script(countStart + waits + u"echo all; exit 4"_s, {hold}));
    QVERIFY(first->Says("is submitted"));
    if (!isNothingLeft)
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(Path(u"starts"_s)), 60'000);
    first->Signal(SIGKILL);
    QCOMPARE(first->End(), endedBySignal + SIGKILL);
    Taskmill_ClusterState state = State(Path());
    const QString job = QString::fromStdString(state.job);
    if (isForgotten && !isNothingLeft)
        QTRY_COMPARE_WITH_TIMEOUT(StateOf(job), "FAILED", 60'000);
    if (isForgotten) {
        m_cluster.StopController();
        m_cluster.ForgetJobs();
        QVERIFY(m_cluster.StartController());
    }
    state.job.clear();
    state.phase = Taskmill_ClusterState::Phase::Submitting;
    if (lost == u"everything"_s) {
        QVERIFY(!m_cluster.Command({u"scancel"_s, job}).contains("error"));
        QTRY_COMPARE_WITH_TIMEOUT(StateOf(job), "CANCELLED", 60'000);
        for (const QString &name : {u"/number"_s, u"/begun"_s, u"/owner"_s, u"/output"_s})
            QFile::remove(RunFolder(Path()) + name);
        QFile::remove(Path(u"starts"_s));
        state.phase = Taskmill_ClusterState::Phase::Prepared;
    }
    if (!lost.isEmpty())
        SetState(Path(), state);
    if (lost.contains(u"number"_s))
        QVERIFY(QFile::remove(RunFolder(Path()) + u"/number"_s));
    WriteTestFile(Path(u"go"_s), {});

    SlurmFollower second{m_cluster, Path(), {u"--resume"_s, RunFolder(Path())}};
    QCOMPARE(second.End(), isNothingLeft ? endedBySignal + SIGKILL : 4);
    QVERIFY2(second.Output().contains(isNothingLeft ? "it is not known whether it ran" : "all\n"),
             second.Output().constData());
    QCOMPARE(ReadTestFile(Path(u"starts"_s)).count('\n'), starts);
    // Once more, as when the keeper was ended before it could store the end.
    SlurmFollower third{m_cluster, Path(), {u"--resume"_s, RunFolder(Path())}};
    QCOMPARE(third.End(), isNothingLeft ? endedBySignal + SIGKILL : 4);
    QCOMPARE(ReadTestFile(Path(u"starts"_s)).count('\n'), starts);
}

void TestSlurmFollower::CancelsItsJob_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<bool>("isControllerAway");
    QTest::newRow("that waits") << u"--sbatch=--hold"_s << false;
    QTest::newRow("that runs") << u"--cores=1"_s << false;
    QTest::newRow("that waits, when the cluster confirms it later") << u"--sbatch=--hold"_s << true;
}

void TestSlurmFollower::CancelsItsJob()
{
    QFETCH(QString, option);
    QFETCH(bool, isControllerAway);
    m_cluster.AddProgram(u"scancel"_s, "echo >>\"$XDG_STATE_HOME/attempts\"\nexec /usr/bin/scancel \"$@\"\n");
    SlurmFollower run{m_cluster, Path(), Script(countStart + u"sleep 100"_s, {option})};
    QVERIFY(run.Says("is submitted"));
    const QString job = QString::fromStdString(State(Path()).job);
    if (option == u"--cores=1"_s)
        QVERIFY(run.Says("running on node1"));
    if (isControllerAway) {
        m_cluster.StopController();
        QVERIFY(run.Says("the cluster does not answer", 15'000));
    }
    run.Signal(SIGTERM);
    if (isControllerAway) {
        QVERIFY(run.Says("has not confirmed the cancellation"));
        QTRY_VERIFY_WITH_TIMEOUT(ReadTestFile(Path(u"attempts"_s)).size() > 1, 60'000);
        QVERIFY(m_cluster.StartController());
    }
    QCOMPARE(run.End(), endedBySignal + SIGTERM);
    QCOMPARE(StateOf(job), "CANCELLED");
    QVERIFY(!State(Path()).IsToBeFollowed());
}

void TestSlurmFollower::SaysHowTheClusterEndsAJob_data()
{
    QTest::addColumn<QByteArray>("end");
    QTest::addColumn<int>("signal");
    QTest::newRow("cancelled there") << QByteArray{"CANCELLED, it was cancelled"} << SIGTERM;
    // Slurm counts minutes, and looks twice in one.
    if (qEnvironmentVariableIsSet("TASKMILL_TEST_TIME_LIMIT"))
        QTest::newRow("at its time limit")
            << QByteArray{"TIMEOUT (TimeLimit), its time limit was reached"} << SIGKILL;
}

void TestSlurmFollower::SaysHowTheClusterEndsAJob()
{
    QFETCH(QByteArray, end);
    QFETCH(int, signal);
    SlurmFollower run{m_cluster, Path(), Script(u"sleep 300"_s, {u"--time=1"_s})};
    QVERIFY(run.Says("running on node1"));
    QCOMPARE(State(Path()).state, "RUNNING");
    QCOMPARE(State(Path()).node, "node1");
    if (signal == SIGTERM)
        static_cast<void>(m_cluster.Command({u"scancel"_s, QString::fromStdString(State(Path()).job)}));
    QCOMPARE(run.End(180'000), endedBySignal + signal);
    QVERIFY2(run.Output().endsWith("ended: " + end + '\n'), run.Output().constData());
}

void TestSlurmFollower::FollowsARequeuedJob()
{
    SlurmFollower run{m_cluster, Path(), Script(countStart + waitForGo + u"exit 5"_s)};
    QVERIFY(run.Says("running on node1"));
    QTRY_COMPARE(ReadTestFile(Path(u"starts"_s)).count('\n'), 1);
    const QString job = QString::fromStdString(State(Path()).job);
    static_cast<void>(m_cluster.Command({u"scontrol"_s, u"requeue"_s, job}));
    // A job that was put back waits two minutes, unless somebody wants it sooner; in the second in which it
    // was ended its node would refuse it, and it would have failed.
    QTRY_VERIFY_WITH_TIMEOUT(StateOf(job) == "PENDING", 60'000);
    static_cast<void>(
        m_cluster.Command({u"scontrol"_s, u"update"_s, u"JobId="_s + job, u"StartTime=now+2seconds"_s}));
    QTRY_COMPARE_WITH_TIMEOUT(ReadTestFile(Path(u"starts"_s)).count('\n'), 2, 60'000);
    WriteTestFile(Path(u"go"_s), {});
    QCOMPARE(run.End(), 5);
}

void TestSlurmFollower::WaitsForTheController()
{
    m_cluster.StopController();
    SlurmFollower run{m_cluster, Path(), Script(countStart + u"exit 6"_s)};
    QVERIFY(run.Says("the cluster does not take the job now", 15'000));
    QVERIFY(run.Output().contains("Unable to contact slurm controller"));
    QVERIFY(m_cluster.StartController());
    QCOMPARE(run.End(), 6);
    QCOMPARE(ReadTestFile(Path(u"starts"_s)), "start\n");
}

void TestSlurmFollower::SharesItsQuestions()
{
    // scripts/slurm-test has more of them, and the interval that users have.
    const bool isLong = qEnvironmentVariableIsSet("TASKMILL_TEST_WAITING");
    const int count = isLong ? qEnvironmentVariableIntValue("TASKMILL_TEST_WAITING") : 20;
    const int intervalMs = isLong ? 10'000 : 3000;
    qputenv("TASKMILL_SLURM_INTERVAL", isLong ? "10" : "3");
    const int before = m_cluster.Queries();
    QElapsedTimer clock;
    clock.start();
    std::vector<std::unique_ptr<SlurmFollower>> runs;
    for (int number = 0; number < count; ++number)
        runs.push_back(
            std::make_unique<SlurmFollower>(m_cluster, Path(), Script(u"true"_s, {u"--sbatch=--hold"_s})));
    for (const auto &run : runs)
        QVERIFY(run->Says("pending (JobHeldUser)"));
    QVERIFY(m_cluster.Queries() - before <= 1 + clock.elapsed() / intervalMs);
    static_cast<void>(m_cluster.Command({u"scancel"_s, u"--me"_s}));
    for (const auto &run : runs)
        QCOMPARE(run->End(), endedBySignal + SIGTERM);
    QVERIFY(m_cluster.Queries() - before <= 1 + clock.elapsed() / intervalMs);
}

QTEST_GUILESS_MAIN(TestSlurmFollower)
#include "test_slurmfollower.moc"
