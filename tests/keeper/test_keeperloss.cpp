// SPDX-License-Identifier: MIT
#include "keeperfixture.h"

#include "processes/runkeepers.h"
#include "support/testutil.h"
#include "wire/runlocks.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>

#include <array>
#include <csignal>
#include <fstream>
#include <functional>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using Kind = Taskmill_RunReport::Kind;
using How = Taskmill_RunEnd::How;
using Adoption = Taskmill_RunConnection::Adoption;

namespace {
constexpr int waitMs = KeeperFixture::WaitMs;

/// A process that does that and ends with its result.
pid_t InProcess(const std::function<bool()> &act)
{
    const pid_t child = fork();
    if (child == 0)
        _exit(act() ? 0 : 1);
    return child;
}

bool HasSucceeded(pid_t child)
{
    int status = -1;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

QList<std::string> PlannedRuns(const std::string &list)
{
    QList<std::string> runs;
    std::ifstream file{list};
    for (std::string run; std::getline(file, run) && !file.eof();)
        runs.append(run);
    return runs;
}
} // namespace

/// What is left when a manager, a keeper or the nursery is killed.
class TestKeeperLoss : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void nothingOutlivesAKilledKeeper_data();
    void nothingOutlivesAKilledKeeper();
    void nothingOutlivesKilledKeepersAndNursery();
    void noStartWaitsForASweepThatHangs();
    void aRecordedEndCountsWhenItsKeeperIsLost();
    void aRunOutlivesAKilledManager();
    void aManagerKilledAtAnyMomentLosesNoRun();
    void whatAnAdoptedRunLeavesIsSweptWhenAsked();
    void aRunIsFoundWhenItsFilesWereTidiedUp();
    void aRunThatEndedMeanwhileIsFound();
    void onlyItsOwnerAdoptsARun();
    void aResultIsClaimedOnce();
    void tidyingKeepsWhatIsNotClaimed();
    void tornLinesAreSkipped_data();
    void tornLinesAreSkipped();

private:
    [[nodiscard]] Adoption Adopt(const std::string &runID, Taskmill_RunConnection &connection,
                                 std::string owner = "project", int limitMs = waitMs) const
    {
        return Taskmill_RunConnection::Adopt(m_keepers->Folder(), runID, owner, limitMs, connection);
    }

    [[nodiscard]] bool StartRunsForEver(const std::string &planned);

    std::unique_ptr<KeeperFixture> m_keepers;
};

void TestKeeperLoss::init()
{
    FailOnQtWarnings();
    m_keepers = std::make_unique<KeeperFixture>();
}

void TestKeeperLoss::cleanup()
{
    m_keepers.reset();
}

void TestKeeperLoss::nothingOutlivesAKilledKeeper_data()
{
    QTest::addColumn<bool>("hadOtherRun");
    QTest::newRow("in its first run") << false;
    QTest::newRow("in its second run") << true;
}

void TestKeeperLoss::nothingOutlivesAKilledKeeper()
{
    QFETCH(bool, hadOtherRun);
    QVERIFY(m_keepers->StartNursery());
    if (hadOtherRun)
        QVERIFY(m_keepers->LeaveFreeKeeper(m_keepers->Order({"waitfor", "end"}), "end") > 0);
    const Taskmill_RunOrder order = m_keepers->HostileJob();
    m_keepers->Start(order);
    QCOMPARE(m_keepers->Run().HadOtherRun(), hadOtherRun);
    // Another run, which is not touched.
    Taskmill_RunConnection other =
        m_keepers->Nursery().StartRun(m_keepers->Order({"waitfor", "go", "exit", "7"}));
    QTRY_VERIFY_WITH_TIMEOUT(m_keepers->IsHostileJobReady(), waitMs);
    const long long keeper = KeeperFixture::KeeperOf(m_keepers->Wait(Kind::Started));
    QCOMPARE(other.Receive(waitMs).kind, Kind::Started);
    QVERIFY(keeper > 0);
    QCOMPARE(kill(static_cast<pid_t>(keeper), SIGKILL), 0);
    QCOMPARE(m_keepers->Run().Receive(waitMs).kind, Kind::Lost);
    // Of a keeper's second run the nursery does not know the name.
    if (hadOtherRun) {
        QVERIFY(m_keepers->Nursery().ReceiveSwept(waitMs) != order.runID);
        QVERIFY(m_keepers->Nursery().Sweep(order.runID));
    }
    QCOMPARE(m_keepers->Nursery().ReceiveSwept(waitMs).value_or(""), order.runID);
    QCOMPARE(m_keepers->ProcessCount(), 1);
    QVERIFY(!m_keepers->RecordedEnd(order.runID));
    QVERIFY(!Taskmill_IsKeeperAlive(m_keepers->Folder(), order.runID));
    m_keepers->Touch("go");
    QCOMPARE(other.Receive(waitMs).end.code, 7);
}

void TestKeeperLoss::nothingOutlivesKilledKeepersAndNursery()
{
    QVERIFY(m_keepers->StartNursery());
    const Taskmill_RunOrder order = m_keepers->HostileJob(true);
    m_keepers->Start(order);
    QTRY_VERIFY_WITH_TIMEOUT(m_keepers->IsHostileJobReady(), waitMs);
    const long long keeper = KeeperFixture::KeeperOf(m_keepers->Wait(Kind::Started));
    QVERIFY(keeper > 0);
    QCOMPARE(kill(static_cast<pid_t>(m_keepers->NurseryID()), SIGKILL), 0);
    QCOMPARE(kill(static_cast<pid_t>(keeper), SIGKILL), 0);
    QCOMPARE(m_keepers->Run().Receive(waitMs).kind, Kind::Lost);
    QVERIFY(m_keepers->ProcessCount() > 0);
    QVERIFY(m_keepers->StartNursery());
    QTRY_COMPARE_WITH_TIMEOUT(m_keepers->ProcessCount(), 0, waitMs);
    QVERIFY(!m_keepers->RecordedEnd(order.runID));
}

void TestKeeperLoss::noStartWaitsForASweepThatHangs()
{
    // Whoever reads the journals is held up, as by a process in an uninterruptible wait.
    const QString folder = QString::fromStdString(m_keepers->Folder() + "/journal");
    const QByteArray pipe = QFile::encodeName(folder + QStringLiteral("/pipe"));
    QVERIFY(QDir{}.mkpath(folder));
    QCOMPARE(mkfifo(pipe.constData(), S_IRUSR | S_IWUSR), 0);
    const auto release = qScopeGuard([this, &pipe] {
        const int writer = open(pipe.constData(), O_RDWR | O_CLOEXEC);
        unlink(pipe.constData());
        QVERIFY(QTest::qWaitFor([this] { return m_keepers->ProcessCount() <= 1; }, waitMs));
        close(writer);
    });
    QVERIFY(m_keepers->StartNursery());
    m_keepers->Start(m_keepers->Order({"exit", "5"}));
    QCOMPARE(m_keepers->Wait(Kind::Ended).end.code, 5);
    // Nor does a manager wait for whoever tidies up.
    QTRY_VERIFY_WITH_TIMEOUT(!Taskmill_ClaimLock(m_keepers->Folder(), 0).IsHeld(), waitMs);
    QCOMPARE(Taskmill_RunJournals{m_keepers->Folder()}.ClaimAll({"run"}, "manager"),
             Taskmill_RunJournals::Claims::Busy);
}

void TestKeeperLoss::aRecordedEndCountsWhenItsKeeperIsLost()
{
    const auto keepers = KilnUtil_RunKeepers::Make(QString::fromStdString(KeeperFixture::Program()),
                                                   QString::fromStdString(m_keepers->Folder()));
    QVERIFY(keepers);
    const QString runID = keepers->NewRunID();
    const auto run = keepers->NewRun(runID);
    QSignalSpy ended{run.get(), &KilnUtil_ProcessRun::EndedSignal};
    KilnUtil_RunOrder order;
    order.Program = QString::fromStdString(m_keepers->Order({}).program);
    order.Argument = QStringLiteral("wait");
    order.Directory = QString::fromStdString(m_keepers->JobFolder());
    QVERIFY(run->Start(order));
    QTRY_VERIFY_WITH_TIMEOUT(run->ProcessID() > 0, waitMs);
    // Another start of this user had to use another folder.
    using Place = KilnUtil_FoundRun::Place;
    const QString folder = QString::fromStdString(m_keepers->Folder());
    const auto other = KilnUtil_RunKeepers::Make(QString::fromStdString(KeeperFixture::Program()),
                                                 order.Directory + QStringLiteral("/other"), {folder});
    QVERIFY(other);
    QVERIFY(other->Find(runID).Where == Place::Elsewhere);
    QVERIFY(other->Find(keepers->NewRunID()).Where == Place::NotKnown);
    Taskmill_RunReport started;
    started.processID = run->ProcessID();
    const long long keeper = KeeperFixture::KeeperOf(started);
    // As if it were ended before it could report that.
    Taskmill_RunRecord record{Taskmill_RunRecord::Kind::End, runID.toStdString()};
    record.end.code = 5;
    const QDir journals{QString::fromStdString(m_keepers->Folder() + "/journal")};
    QVERIFY(Taskmill_AppendToJournal(journals.filePath(journals.entryList(QDir::Files).first()).toStdString(),
                                     record.ToLine()));
    QVERIFY(keeper > 1);
    QCOMPARE(kill(static_cast<pid_t>(keeper), SIGKILL), 0);
    QVERIFY(ended.wait(waitMs));
    QCOMPARE(run->End().How, KilnUtil_RunEnd::Kind::Exit);
    QCOMPARE(run->End().Code, 5);
    QCoreApplication::processEvents();
    QVERIFY(other->Find(runID).Where == Place::Taken);
}

void TestKeeperLoss::aRunOutlivesAKilledManager()
{
    const Taskmill_RunOrder order =
        m_keepers->Order({"print", "before", "waitfor", "go", "print", "after", "exit", "8"});
    const pid_t manager = InProcess([&] {
        if (!m_keepers->StartNursery())
            return false;
        m_keepers->Start(order);
        if (m_keepers->Wait(Kind::Started).kind == Kind::Started)
            m_keepers->Touch("started");
        return pause() == 0;
    });
    QTRY_VERIFY_WITH_TIMEOUT(m_keepers->Exists("started"), waitMs);
    QCOMPARE(kill(manager, SIGKILL), 0);
    QVERIFY(!HasSucceeded(manager));

    Taskmill_RunConnection run;
    QCOMPARE(Adopt(order.runID, run), Adoption::Adopted);
    const Taskmill_RunReport started = run.Receive(waitMs);
    QCOMPARE(started.kind, Kind::Started);
    QVERIFY(KeeperFixture::IsProcessThere(started.processID));
    const long long keeper = KeeperFixture::KeeperOf(started);
    // A second one finds it taken, and the first one keeps it.
    Taskmill_RunConnection second;
    QCOMPARE(Adopt(order.runID, second, "project", 0), Adoption::Occupied);
    Taskmill_RunJournals journals{m_keepers->Folder()};
    QVERIFY(!journals.Claim(order.runID, "manager"));
    QVERIFY(run.Watch(0));
    QCOMPARE(run.Receive(waitMs).outputBytes, 7LL);

    // This manager ends too, and the next one sees the end.
    run = {};
    QCOMPARE(Adopt(order.runID, run), Adoption::Adopted);
    QCOMPARE(run.Receive(waitMs).kind, Kind::Started);
    m_keepers->Touch("go");
    const Taskmill_RunReport ended = run.Receive(waitMs);
    QCOMPARE(ended.end.code, 8);
    QCOMPARE(m_keepers->Output(order.runID), QByteArray{"before\nafter\n"});
    QVERIFY(m_keepers->RecordedEnd(order.runID) == ended.end);
    QCOMPARE(Adopt(order.runID, run), Adoption::Gone);
    // Neither the keeper nor what starts keepers stays without a manager and a run.
    QTRY_VERIFY_WITH_TIMEOUT(!KeeperFixture::IsProcessThere(keeper), waitMs);
}

void TestKeeperLoss::aManagerKilledAtAnyMomentLosesNoRun()
{
    bool isGiven = false;
    const int given = qEnvironmentVariableIntValue("TASKMILL_CRASH_ROUNDS", &isGiven);
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("Seed %u", seed);
    QRandomGenerator random{seed};
    for (int round = 0; round < (isGiven ? given : 10); ++round) {
        const std::string planned = m_keepers->JobFolder() + "/planned" + std::to_string(round);
        const pid_t manager =
            InProcess([&] { return m_keepers->StartNursery() && StartRunsForEver(planned); });
        // Sometimes while it starts runs faster than their keepers come, sometimes before the first.
        const int wanted = random.bounded(60);
        QTRY_VERIFY_WITH_TIMEOUT(PlannedRuns(planned).size() >= wanted, waitMs);
        QCOMPARE(kill(manager, SIGKILL), 0);
        QVERIFY(!HasSucceeded(manager));
        const QList<std::string> runs = PlannedRuns(planned);
        for (qsizetype number = 0; number < runs.size(); ++number) {
            Taskmill_RunConnection run;
            std::optional<Taskmill_RunEnd> end;
            if (Adopt(runs[number], run) == Adoption::Adopted) {
                Taskmill_RunReport report;
                while (run.IsOpen())
                    report = run.Receive(waitMs);
                end = report.end;
            }
            Taskmill_RunJournals journals{m_keepers->Folder()};
            journals.Refresh();
            const bool wasStarted = journals.Find(runs[number]) != nullptr;
            // Only the last may have been planned without its order being sent.
            QVERIFY(wasStarted || number == runs.size() - 1);
            QCOMPARE(m_keepers->Exists("run" + runs[number]), wasStarted);
            if (!wasStarted)
                continue;
            QVERIFY(journals.Claim(runs[number], "manager"));
            if (!end)
                end = journals.Find(runs[number])->end;
            QVERIFY(end.has_value());
            QCOMPARE(end->how, How::Exit);
            QCOMPARE(end->code, static_cast<int>(number % 100));
            QCOMPARE(ReadTestFile(QString::fromStdString(m_keepers->JobFolder() + "/run" + runs[number])),
                     QByteArray{"once\n"});
        }
    }
}

/// Each is written down before its order is sent.
bool TestKeeperLoss::StartRunsForEver(const std::string &planned)
{
    std::ofstream list{planned};
    std::vector<Taskmill_RunConnection> runs;
    for (int number = 0;; ++number) {
        Taskmill_RunOrder order = m_keepers->Script({});
        order.arguments = {"-c", "echo once >> run" + order.runID + "; exit " + std::to_string(number % 100)};
        list << order.runID << std::endl;
        runs.push_back(m_keepers->Nursery().StartRun(order));
        if (!runs.back().IsOpen())
            return false;
    }
}

void TestKeeperLoss::whatAnAdoptedRunLeavesIsSweptWhenAsked()
{
    QVERIFY(m_keepers->StartNursery());
    const Taskmill_RunOrder order = m_keepers->HostileJob(true);
    m_keepers->Start(order);
    QTRY_VERIFY_WITH_TIMEOUT(m_keepers->IsHostileJobReady(), waitMs);
    QCOMPARE(m_keepers->Wait(Kind::Started).kind, Kind::Started);
    QCOMPARE(kill(static_cast<pid_t>(m_keepers->NurseryID()), SIGKILL), 0);
    m_keepers->LoseManager();
    QVERIFY(m_keepers->StartNursery());
    Taskmill_RunConnection run;
    QCOMPARE(Adopt(order.runID, run), Adoption::Adopted);
    const long long keeper = KeeperFixture::KeeperOf(run.Receive(waitMs));
    QVERIFY(keeper > 0);
    // Its connection may close before the lock that shows it living.
    QVERIFY(m_keepers->Nursery().Sweep(order.runID));
    QCOMPARE(kill(static_cast<pid_t>(keeper), SIGKILL), 0);
    QCOMPARE(run.Receive(waitMs).kind, Kind::Lost);
    QCOMPARE(m_keepers->Nursery().ReceiveSwept(waitMs).value_or(""), order.runID);
    QCOMPARE(m_keepers->ProcessCount(), 0);
}

/// As by a program that removes what has not been written for a month.
void TestKeeperLoss::aRunIsFoundWhenItsFilesWereTidiedUp()
{
    QVERIFY(m_keepers->StartNursery());
    const Taskmill_RunOrder order = m_keepers->Order({"waitfor", "go", "exit", "8"});
    m_keepers->Start(order);
    QCOMPARE(m_keepers->Wait(Kind::Started).kind, Kind::Started);
    // Most of these programs keep away from a folder that is locked.
    const int folder = open((m_keepers->Folder() + "/..").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    QVERIFY(flock(folder, LOCK_EX | LOCK_NB) != 0);
    close(folder);
    const std::string locks = m_keepers->Folder() + "/living";
    for (int round = 0; round < 2; ++round) {
        QCOMPARE(unlink(locks.c_str()), 0);
        m_keepers->LoseManager();
        const std::string socket = m_keepers->Folder() + "/socket/" + order.runID;
        QTRY_COMPARE_WITH_TIMEOUT(access(socket.c_str(), F_OK), 0, waitMs);
        QCOMPARE(round == 0 ? 0 : unlink(locks.c_str()), 0);
        // The new one looks for lost runs first.
        QVERIFY(m_keepers->StartNursery());
        QCOMPARE(Adopt(order.runID, m_keepers->Run()), Adoption::Adopted);
        QCOMPARE(m_keepers->Wait(Kind::Started).kind, Kind::Started);
        QVERIFY(Taskmill_IsKeeperAlive(m_keepers->Folder(), order.runID));
    }
    m_keepers->Touch("go");
    QCOMPARE(m_keepers->Wait(Kind::Ended).end.code, 8);
}

void TestKeeperLoss::aRunThatEndedMeanwhileIsFound()
{
    QVERIFY(m_keepers->StartNursery());
    const Taskmill_RunOrder order = m_keepers->Order({"waitfor", "go", "print", "alone", "exit", "9"});
    m_keepers->Start(order);
    QCOMPARE(m_keepers->Wait(Kind::Started).kind, Kind::Started);
    m_keepers->LoseManager();
    m_keepers->Touch("go");
    QTRY_VERIFY_WITH_TIMEOUT(!Taskmill_IsKeeperAlive(m_keepers->Folder(), order.runID), waitMs);
    const std::optional<Taskmill_RunEnd> end = m_keepers->RecordedEnd(order.runID);
    QVERIFY(end.has_value());
    QCOMPARE(end->code, 9);
    QCOMPARE(m_keepers->Output(order.runID), QByteArray{"alone\n"});
    QTRY_VERIFY_WITH_TIMEOUT(!KeeperFixture::IsProcessThere(m_keepers->NurseryID()), waitMs);
}

void TestKeeperLoss::onlyItsOwnerAdoptsARun()
{
    QVERIFY(m_keepers->StartNursery());
    const Taskmill_RunOrder order = m_keepers->Order({"wait"});
    m_keepers->Start(order);
    QCOMPARE(m_keepers->Wait(Kind::Started).kind, Kind::Started);
    m_keepers->LoseManager();
    Taskmill_RunConnection run;
    std::string owner = "copy";
    QCOMPARE(Taskmill_RunConnection::Adopt(m_keepers->Folder(), order.runID, owner, waitMs, run),
             Adoption::Refused);
    QCOMPARE(owner, std::string{"project"});
    QCOMPARE(Adopt(order.runID, run), Adoption::Adopted);
    QVERIFY(run.Kill(0));
    QCOMPARE(run.Receive(waitMs).kind, Kind::Started);
    QCOMPARE(run.Receive(waitMs).end.by, Taskmill_RunEnd::By::Kill);
}

void TestKeeperLoss::aResultIsClaimedOnce()
{
    QVERIFY(m_keepers->StartNursery());
    const Taskmill_RunOrder order = m_keepers->Order({"exit", "0"});
    m_keepers->Start(order);
    QCOMPARE(m_keepers->Wait(Kind::Ended).end.how, How::Exit);
    std::array<pid_t, 8> claimants{};
    for (std::size_t number = 0; number < claimants.size(); ++number) {
        claimants.at(number) = InProcess([&] {
            return Taskmill_RunJournals{m_keepers->Folder()}.Claim(order.runID,
                                                                   "manager" + std::to_string(number));
        });
    }
    int successes = 0;
    std::string winner;
    for (std::size_t number = 0; number < claimants.size(); ++number) {
        if (!HasSucceeded(claimants.at(number)))
            continue;
        ++successes;
        winner = "manager" + std::to_string(number);
    }
    QCOMPARE(successes, 1);
    // It may have been ended before it stored the result.
    QVERIFY(Taskmill_RunJournals{m_keepers->Folder()}.Claim(order.runID, winner));
    QVERIFY(!Taskmill_RunJournals{m_keepers->Folder()}.Claim(Taskmill_NewRunID(), winner));
}

void TestKeeperLoss::tidyingKeepsWhatIsNotClaimed()
{
    QVERIFY(m_keepers->StartNursery());
    const Taskmill_RunOrder order = m_keepers->Order({"print", "kept", "exit", "0"});
    m_keepers->Start(order);
    QCOMPARE(m_keepers->Wait(Kind::Ended).end.how, How::Exit);
    m_keepers->LoseManager();
    QTRY_VERIFY_WITH_TIMEOUT(!KeeperFixture::IsProcessThere(m_keepers->NurseryID()), waitMs);
    Taskmill_RunJournals journals{m_keepers->Folder()};
    journals.Tidy();
    QVERIFY(m_keepers->RecordedEnd(order.runID).has_value());
    QCOMPARE(m_keepers->Output(order.runID), QByteArray{"kept\n"});
    QVERIFY(journals.Claim(order.runID, "manager:here"));
    QVERIFY(journals.Claim(order.runID, "manager:elsewhere"));
    QVERIFY(!journals.Claim(order.runID, "man"));
    journals.Tidy();
    QCOMPARE(m_keepers->Output(order.runID), QByteArray{});
    // What became of it is known until there are enough newer ones.
    QVERIFY(m_keepers->RecordedEnd(order.runID).has_value());
    const QDir folder{QString::fromStdString(m_keepers->Folder() + "/journal")};
    const QString journal = folder.filePath(folder.entryList(QDir::Files).value(0));
    for (int copy = 0; copy < 4; ++copy) {
        Taskmill_RunRecord end{Taskmill_RunRecord::Kind::End, Taskmill_NewRunID()};
        Taskmill_RunRecord claim{Taskmill_RunRecord::Kind::Claim, end.runID};
        claim.claimant = "manager";
        WriteTestFile(folder.filePath(QString::number(copy)),
                      QByteArray::fromStdString(end.ToLine() + claim.ToLine()));
    }
    QFile older{journal};
    QVERIFY(older.open(QIODevice::ReadWrite));
    QVERIFY(older.setFileTime(QDateTime::currentDateTime().addDays(-1), QFileDevice::FileModificationTime));
    older.close();
    journals.Tidy();
    QVERIFY(!m_keepers->RecordedEnd(order.runID));
    QCOMPARE(folder.entryList(QDir::Files).size(), 4);
}

void TestKeeperLoss::tornLinesAreSkipped_data()
{
    QTest::addColumn<int>("kept");
    QTest::addColumn<bool>("isGluedTo");

    Taskmill_RunRecord record{Taskmill_RunRecord::Kind::End, std::string(32, 'a')};
    record.end.peakMemoryKB = 1234;
    const auto whole = static_cast<int>(record.ToLine().size());
    QTest::newRow("whole") << whole << false;
    QTest::newRow("line feed is missing") << whole - 1 << false;
    QTest::newRow("mark of its end is missing") << whole - 2 << true;
    QTest::newRow("last number is cut") << whole - 4 << true;
    QTest::newRow("only its word is there") << 3 << true;
    QTest::newRow("nothing is there") << 0 << true;
}

void TestKeeperLoss::tornLinesAreSkipped()
{
    QFETCH(int, kept);
    QFETCH(bool, isGluedTo);
    // Without a nursery, at whose start files are removed that no keeper writes.
    QVERIFY(QDir{}.mkpath(QString::fromStdString(m_keepers->Folder() + "/journal")));
    Taskmill_RunRecord record{Taskmill_RunRecord::Kind::End, std::string(32, 'a')};
    record.end.peakMemoryKB = 1234;
    const std::string line = record.ToLine();
    const std::string journal = m_keepers->Folder() + "/journal/torn";
    WriteTestFile(QString::fromStdString(journal), QByteArray::fromStdString(line.substr(0, kept)));
    const bool isWhole = kept == static_cast<int>(line.size());
    QCOMPARE(m_keepers->RecordedEnd(record.runID).has_value(), isWhole);

    // What comes later is read all the same.
    Taskmill_RunRecord later{Taskmill_RunRecord::Kind::End, std::string(32, 'b')};
    QVERIFY(Taskmill_AppendToJournal(journal, later.ToLine()));
    QVERIFY(m_keepers->RecordedEnd(later.runID).has_value());
    if (isGluedTo)
        QVERIFY(!m_keepers->RecordedEnd(record.runID));
    else
        QVERIFY(m_keepers->RecordedEnd(record.runID) == record.end);
}

QTEST_GUILESS_MAIN(TestKeeperLoss)
#include "test_keeperloss.moc"
