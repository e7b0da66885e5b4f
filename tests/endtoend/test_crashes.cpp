// SPDX-License-Identifier: MIT
#include "endtoend/notificationsink.h"
#include "endtoend/processtable.h"
#include "endtoend/projectfixture.h"

#include "db/databasetestutil.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QRandomGenerator>
#include <QSet>
#include <QThread>
#include <QtTest>

#include <csignal>
#include <memory>
#include <numeric>

using namespace Qt::Literals::StringLiterals;

namespace {
int Random(int below)
{
    return QRandomGenerator::global()->bounded(below);
}

/// Sends a process a signal some time later, whatever it does then. That the time is another in each run is
/// what it is for; nothing waits for it.
class RandomSignal
{
public:
    RandomSignal(int processID, int signal, int mostMilliseconds)
        : m_thread{QThread::create([processID, signal, delay = Random(mostMilliseconds * 1000)] {
            QThread::usleep(static_cast<unsigned long>(delay));
            kill(processID, signal);
        })}
    {
        m_thread->start();
    }
    ~RandomSignal() { m_thread->wait(); }
    Q_DISABLE_COPY_MOVE(RandomSignal)

private:
    std::unique_ptr<QThread> m_thread;
};

/// The parent of a process; that of a job's program is its keeper. 0 when there is none.
int KeeperOf(int processID)
{
    const QByteArray text = ReadTestFile(u"/proc/%1/stat"_s.arg(processID));
    const int parent = text.sliced(text.lastIndexOf(')') + 1).trimmed().split(' ').value(1).toInt();
    const QByteArray name = ReadTestFile(u"/proc/%1/comm"_s.arg(parent));
    return name.startsWith("taskmill-keeper") ? parent : 0;
}
} // namespace

/// Managers that are ended by force at any moment, again and again, while they work on the same jobs: nothing
/// is lost, and nothing runs twice.
class TestCrashes : public ManagerTest
{
    Q_OBJECT

private Q_SLOTS:
    void LosesNothingAndRunsNothingTwice_data();
    void LosesNothingAndRunsNothingTwice();
#ifdef TASKMILL_FULL_DISK
    void LosesNothingOnAFullDisk();
#endif

private:
    /// A job that was accepted. Its input file says what it does, and each run adds a line beside it.
    struct Job
    {
        QString input;
        bool isLong = false;        ///< runs until it is killed
        bool hasLostKeeper = false; ///< which may have been too late
    };
    struct Ledger
    {
        QMap<int, Job> accepted;
        QStringList others; ///< input files that may have become jobs
        int submitted = 0;
        int ends = 0; ///< of managers
    };

    [[nodiscard]] QStringList Arguments() const
    {
        QStringList arguments{u"-console"_s};
        if (m_isSaved)
            arguments += Project().ProjectPath();
        return arguments;
    }
    [[nodiscard]] static QByteArray ContentOf(const QString &input)
    {
        return ReadTestFile(input);
    }
    [[nodiscard]] static qsizetype RunsOf(const QString &input)
    {
        return ReadTestFile(input + u".runs"_s).count('\n');
    }
    /// The process of a long job; 0 when it was not started yet.
    [[nodiscard]] static int ProgramOf(const Job &job)
    {
        return ReadTestFile(job.input + u".runs"_s).trimmed().toInt();
    }
    /// Makes the project, the program of the jobs, and who hears of their ends.
    void Prepare();
    /// Ends a manager by force while it starts.
    void StartInVain();
    /// Works with a manager until it is ended by force or, now and then, by the system.
    void Work();
#ifdef TASKMILL_FULL_DISK
    /// Works with a manager whose disk is full for some time, from that writing on.
    void WorkOnAFullDisk(int firstWriting);
#endif
    /// False when it is not accepted. Where there is no working copy, nothing is kept.
    [[nodiscard]] bool SubmitOne(const ManagerProcess &manager, int number, bool isKept = true);
    /// Asks the manager to kill all long jobs that run.
    void KillLongJobs(ManagerProcess &manager) const;
    void KillSomeKeeper();
    /// Lets everything end that is left, saves the project, and looks whether all is there.
    void FinishAll();
    [[nodiscard]] QString ProblemOfFiles() const;
    [[nodiscard]] QString ProblemOf(const ProjectRows &rows) const;
    [[nodiscard]] QString ProblemOf(const Job &job, const Taskmill_JobRecord &record) const;
    [[nodiscard]] QString ProblemOfNotifications(const ProjectRows &rows) const;

    bool m_isSaved = false;
    bool m_killsKeepers = false;
    Ledger m_ledger;
    std::unique_ptr<NotificationSink> m_sink;
};

void TestCrashes::LosesNothingAndRunsNothingTwice_data()
{
    QTest::addColumn<bool>("isSaved");
    QTest::addColumn<bool>("killsKeepers");
    QTest::newRow("project with a file") << true << false;
    QTest::newRow("new project") << false << false;
    QTest::newRow("keepers are killed too") << true << true;
}

void TestCrashes::LosesNothingAndRunsNothingTwice()
{
    QFETCH(bool, isSaved);
    QFETCH(bool, killsKeepers);
    if (killsKeepers && !hasKeepers)
        QSKIP("there are no keepers");
    m_isSaved = isSaved;
    m_killsKeepers = killsKeepers;
    Prepare();
    const int rounds = qEnvironmentVariableIntValue("TASKMILL_CRASH_ROUNDS");
    for (int round = 0; round < (rounds > 0 ? rounds : 4); ++round) {
        if (round % 3 == 2)
            StartInVain();
        Work();
        QCOMPARE(ProblemOfFiles(), QString{});
        if (QTest::currentTestFailed())
            return;
    }
    FinishAll();
}

#ifdef TASKMILL_FULL_DISK
void TestCrashes::LosesNothingOnAFullDisk()
{
    constexpr int mostWritings = 250; // more than there are
    m_isSaved = true;
    Prepare();
    QList<int> writings{Random(10), 40 + Random(20), 60 + Random(40), 100 + Random(80)};
    if (qEnvironmentVariableIntValue("TASKMILL_CRASH_ROUNDS") > 0) {
        writings.resize(mostWritings);
        std::iota(writings.begin(), writings.end(), 1);
    }
    for (const int writing : writings) {
        WorkOnAFullDisk(writing);
        QCOMPARE(ProblemOfFiles(), QString{});
        if (QTest::currentTestFailed())
            return;
    }
    FinishAll();
}

void TestCrashes::WorkOnAFullDisk(int firstWriting)
{
    qputenv("LD_PRELOAD", TASKMILL_FULL_DISK);
    qputenv("ASAN_OPTIONS", qgetenv("ASAN_OPTIONS") + ":verify_asan_link_order=0");
    qputenv("TASKMILL_FULL_DISK_FIRST", QByteArray::number(firstWriting));
    qputenv("TASKMILL_FULL_DISK_COUNT", QByteArray::number(1 + Random(20)));
    const auto [consolePort, guiPort] = ManagerProcess::FreePorts();
    ManagerProcess manager{Project().Path({})};
    manager.Launch(Arguments(), consolePort, guiPort);
    qunsetenv("LD_PRELOAD");
    QVERIFY(QTest::qWaitFor(
        [&] { return manager.Output().endsWith("<Taskmill> ") || manager.ProcessID() == 0; }, 60'000));
    // It may be too early for it to start.
    if (manager.ProcessID() == 0) {
        QCOMPARE(manager.End(), ManagerEnd{.status = 1});
        return;
    }
    const bool isKept = !manager.Output().contains("No working copy");
    manager.Type("set short limit 3\nunpause short jobs\n");
    for (int number = 0; number < 4; ++number)
        (void)SubmitOne(manager, number, isKept);
    // When it cannot be saved, the empty line leaves it at that.
    QVERIFY(manager.Ask("save\n\nlist short jobs", "Short Jobs"));
    manager.Signal(SIGKILL);
    QCOMPARE(manager.End(), ManagerEnd{.signal = SIGKILL});
    ++m_ledger.ends;
}
#endif

void TestCrashes::Prepare()
{
    m_ledger = {};
    m_sink = std::make_unique<NotificationSink>();
    const QString program = Project().InputFile(u"program"_s, "#!/bin/sh\n"
                                                              "echo $$ >>\"$3.runs\"\n"
                                                              "read what <\"$3\"\n"
                                                              "[ \"$what\" = long ] && exec sleep 50000\n"
                                                              "sleep 0.0$(($$ % 9))\n"
                                                              "exit \"$what\"\n");
    QVERIFY(QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    // A new project has it as one of the default types.
    qputenv("VELTRA_EXE", program.toLocal8Bit());
    // What becomes of the jobs when the system ends the manager.
    qputenv("TASKMILL_END_JOBS", "0");
    QCOMPARE(RunCtl({u"project"_s, u"create"_s, Project().ProjectPath()}).status, 0);
}

void TestCrashes::StartInVain()
{
    constexpr int longestStart = 80;
    const auto [consolePort, guiPort] = ManagerProcess::FreePorts();
    ManagerProcess manager{Project().Path({})};
    manager.Launch(Arguments(), consolePort, guiPort);
    {
        const RandomSignal kill{manager.ProcessID(), SIGKILL, longestStart};
        QCOMPARE(manager.End(), ManagerEnd{.signal = SIGKILL});
    }
    ++m_ledger.ends;
}

bool TestCrashes::SubmitOne(const ManagerProcess &manager, int number, bool isKept)
{
    const bool isLong = number % 5 == 4;
    const QString input = Project().InputFile(u"job%1.dat"_s.arg(m_ledger.submitted++),
                                              isLong ? "long\n" : QByteArray::number(number % 3) + '\n');
    const QByteArray answer =
        manager.Submit(u"Veltra"_s, input, isLong ? u"none"_s : u"short"_s, m_sink->Port());
    if (!answer.startsWith("accepted=")) {
        m_ledger.others += input;
        return false;
    }
    const int jobID = answer.sliced(9).trimmed().toInt();
    if (!isKept)
        m_ledger.others += input;
    else if (m_ledger.accepted.contains(jobID))
        qWarning("Job %d is accepted twice", jobID);
    else
        m_ledger.accepted.insert(jobID, {.input = input, .isLong = isLong});
    return true;
}

void TestCrashes::KillLongJobs(ManagerProcess &manager) const
{
    for (const auto &[jobID, job] : m_ledger.accepted.asKeyValueRange()) {
        if (job.isLong && ProcessTable::IsAlive(ProgramOf(job)))
            manager.Type("kill job " + QByteArray::number(jobID) + "\nyes\n");
    }
}

void TestCrashes::KillSomeKeeper()
{
    for (auto &&[jobID, job] : m_ledger.accepted.asKeyValueRange()) {
        const int program = job.isLong && !job.hasLostKeeper ? ProgramOf(job) : 0;
        const int keeper = program > 0 && ProcessTable::IsAlive(program) ? KeeperOf(program) : 0;
        if (keeper == 0)
            continue;
        job.hasLostKeeper = true;
        kill(keeper, SIGKILL);
        return;
    }
}

void TestCrashes::Work()
{
    constexpr int longestWork = 400;
    constexpr int mostJobs = 30;
    ManagerProcess manager{Project().Path({})};
    QVERIFY(manager.Start(Arguments()));
    manager.Type("set short limit 3\nunpause short jobs\nrun held jobs\n");
    const int signal = Random(6) == 0 ? SIGTERM : SIGKILL;
    {
        const RandomSignal end{manager.ProcessID(), signal, longestWork};
        for (int number = 0; number < mostJobs && SubmitOne(manager, number); ++number) {
            if (number % 8 == 7 && m_isSaved)
                manager.Type("save\n");
            if (number % 7 == 6)
                KillLongJobs(manager);
            if (m_killsKeepers && number % 6 == 5)
                KillSomeKeeper();
        }
        if (m_killsKeepers)
            KillSomeKeeper();
    }
    const ManagerEnd end = manager.End();
    QCOMPARE(end, signal == SIGKILL ? ManagerEnd{.signal = SIGKILL} : ManagerEnd{.status = 0});
    ++m_ledger.ends;
}

void TestCrashes::FinishAll()
{
    constexpr int longestEnd = 300'000;
    ManagerProcess manager{Project().Path({})};
    QVERIFY(manager.Start(Arguments()));
    manager.Command("set short limit 3");
    manager.Command("unpause short jobs");
    manager.Command("run held jobs");
    const auto isAllFinished = [&] {
        bool isFinished = true;
        const QByteArray listing = manager.Ctl({u"list"_s, u"--json"_s}).out;
        for (const auto job : QJsonDocument::fromJson(listing).array()) {
            isFinished = isFinished && job[u"list"_s].toString() == "finished"_L1;
            const QString jobID = QString::number(job[u"id"_s].toInt());
            // One that is being killed counts as running.
            if (job[u"list"_s].toString() == "none"_L1 || job[u"list"_s].toString() == "queueless"_L1)
                (void)manager.Ctl({u"kill"_s, jobID});
        }
        return isFinished && !listing.isEmpty();
    };
    QTRY_VERIFY_WITH_TIMEOUT(isAllFinished(), longestEnd);
    QSet<QByteArray> told;
    const auto isAllTold = [&] {
        for (const QByteArray &input : m_sink->Values("jobinputfile"))
            told += input;
        return std::ranges::all_of(m_ledger.accepted,
                                   [&](const Job &job) { return told.contains(job.input.toUtf8()); });
    };
    QTRY_VERIFY_WITH_TIMEOUT(isAllTold(), longestEnd);
    if (!m_isSaved)
        QVERIFY(QFile::remove(Project().ProjectPath()));
    const QByteArray save = m_isSaved ? "save"_ba : "save " + Project().ProjectPath().toUtf8();
    QVERIFY(manager.Command(save).contains("was saved to"));
    QCOMPARE(manager.Quit({"yes"}), ManagerEnd{.status = 0});
    const ProjectRows rows = Project().Rows();
    QCOMPARE(ProblemOf(rows), QString{});
    QCOMPARE(ProblemOfNotifications(rows), QString{});
    QCOMPARE(ProblemOfFiles(), QString{});
    QCOMPARE(Project().WorkingCopies(), QStringList{});
}

QString TestCrashes::ProblemOfFiles() const
{
    const QStringList sound{u"ok"_s};
    const QString check = u"PRAGMA integrity_check"_s;
    if (QFile::exists(Project().ProjectPath()) && RowsOfFile(Project().ProjectPath(), check) != sound)
        return u"The project file is damaged"_s;
    // Looking at them would change what the next manager finds.
    const QString copied = Project().Path(u"copied.db"_s);
    for (const QString &path : Project().WorkingCopies()) {
        if (!path.endsWith(".db"_L1) || QFileInfo{path}.size() == 0)
            continue;
        for (const QString &suffix : {u""_s, u"-wal"_s, u"-shm"_s}) {
            QFile::remove(copied + suffix);
            if (suffix != "-shm"_L1)
                QFile::copy(path + suffix, copied + suffix);
        }
        if (RowsOfFile(copied, check) != sound)
            return path + u" is damaged"_s;
    }
    return {};
}

QString TestCrashes::ProblemOf(const ProjectRows &rows) const
{
    QMap<int, Taskmill_JobRecord> finished;
    for (const Taskmill_JobRecord &job : rows.finishedJobs) {
        if (finished.contains(job.JobID))
            return u"Job %1 is there twice"_s.arg(job.JobID);
        finished.insert(job.JobID, job);
    }
    for (const auto &[jobID, job] : m_ledger.accepted.asKeyValueRange()) {
        if (finished.value(jobID).InputFilePath != job.input)
            return u"Job %1 is lost"_s.arg(jobID);
        if (const QString problem = ProblemOf(job, finished.value(jobID)); !problem.isEmpty())
            return u"Job %1 %2"_s.arg(jobID).arg(problem);
    }
    for (const QString &input : m_ledger.others) {
        if (RunsOf(input) > 1)
            return u"%1 ran twice"_s.arg(input);
    }
    return {};
}

QString TestCrashes::ProblemOf(const Job &job, const Taskmill_JobRecord &record) const
{
    const qsizetype runs = RunsOf(job.input);
    const QString text = u"(%1, code %2) ran %3 times: %4"_s.arg(Taskmill_JobStatusText(record.Status))
                             .arg(record.ExitCode.value_or(0))
                             .arg(runs)
                             .arg(record.StdOutAndStdErr);
    if (runs > 1)
        return text;
    if (record.Status == Taskmill_JobStatus::Crashed && (!hasKeepers || job.hasLostKeeper))
        return {};
    // A keeper may have been killed when its job was being killed.
    if (job.isLong)
        return record.Status == Taskmill_JobStatus::Killed ? QString{} : text;
    const int code = ContentOf(job.input).trimmed().toInt();
    const auto status = code == 0 ? Taskmill_JobStatus::Completed : Taskmill_JobStatus::Failed;
    return runs == 1 && record.Status == status && record.ExitCode.value_or(0) == code ? QString{} : text;
}

QString TestCrashes::ProblemOfNotifications(const ProjectRows &rows) const
{
    QMap<QByteArray, QByteArray> told; // by the input file
    int again = 0;
    for (const QByteArray &message : m_sink->Messages()) {
        const qsizetype begin = message.indexOf("\njobinputfile=") + 14;
        const QByteArray input = message.sliced(begin, message.indexOf('\n', begin) - begin);
        if (told.contains(input) && told.value(input) != message)
            return u"Two ends of one job: "_s + QString::fromUtf8(message);
        again += told.contains(input) ? 1 : 0;
        told.insert(input, message);
    }
    for (const Taskmill_JobRecord &job : rows.finishedJobs) {
        const QByteArray message = told.value(job.InputFilePath.toUtf8());
        const QByteArray status = Taskmill_JobStatusText(job.Status).toLower().toUtf8();
        if (m_ledger.accepted.contains(job.JobID) &&
            !message.contains("\njobstatus=" + status +
                              "\njobexitcode=" + QByteArray::number(job.ExitCode.value_or(0)) + '\n'))
            return u"Job %1 has another notification: "_s.arg(job.JobID) + QString::fromUtf8(message);
    }
    // Only where a manager ended between sending one and recording that.
    return again <= 2 + m_ledger.ends / 10 ? QString{} : u"%1 came again"_s.arg(again);
}

QTEST_GUILESS_MAIN(TestCrashes)
#include "test_crashes.moc"
