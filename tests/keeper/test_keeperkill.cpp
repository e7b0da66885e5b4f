// SPDX-License-Identifier: MIT
#include "keeperfixture.h"

#include "keeper/processtree_linux.h"
#include "support/testutil.h"

#include <QTest>

#include <csignal>

#include <unistd.h>

using Kind = Taskmill_RunReport::Kind;
using How = Taskmill_RunEnd::How;
using By = Taskmill_RunEnd::By;

class TestKeeperKill : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void endsAHostileJobWhole();
    void doesNotLetAScriptGoOn();
    void letsAProgramWriteItsCheckpoint();
    void doesNotWaitLongerThanTheGrace();
    void answersWhenNothingIsLeft();
    void recordsThatTheSystemEndedARun();
    void endsAllRunsWithTheNursery();
    void signalsOnlyTheProcessThatWasMeant();

private:
    std::unique_ptr<KeeperFixture> m_keepers;
};

void TestKeeperKill::init()
{
    FailOnQtWarnings();
    m_keepers = std::make_unique<KeeperFixture>();
    QVERIFY(m_keepers->StartNursery());
}

void TestKeeperKill::cleanup()
{
    m_keepers.reset();
}

void TestKeeperKill::endsAHostileJobWhole()
{
    bool isGiven = false;
    const int given = qEnvironmentVariableIntValue("TASKMILL_KILL_ROUNDS", &isGiven);
    for (int round = 0; round < (isGiven ? given : 10); ++round) {
        m_keepers->Start(m_keepers->HostileJob());
        QTRY_VERIFY_WITH_TIMEOUT(m_keepers->IsHostileJobReady(), KeeperFixture::WaitMs);
        QVERIFY(m_keepers->ProcessCount() >= 11);
        constexpr long long graceMs = 100;
        QVERIFY(m_keepers->Run().Kill(round % 2 == 0 ? graceMs : 0));
        const Taskmill_RunReport report = m_keepers->Wait(Kind::Ended);
        QCOMPARE(report.kind, Kind::Ended);
        QCOMPARE(report.end.code, SIGKILL);
        QCOMPARE(report.end.by, By::Kill);
        QCOMPARE(m_keepers->ProcessCount(), 0);
    }
}

void TestKeeperKill::doesNotLetAScriptGoOn()
{
    for (int round = 0; round < 10; ++round) {
        const std::string ready = "ready" + std::to_string(round);
        m_keepers->Start(m_keepers->Script("touch " + ready + "; sleep 1000; touch next"));
        QTRY_VERIFY_WITH_TIMEOUT(m_keepers->Exists(ready), KeeperFixture::WaitMs);
        QVERIFY(m_keepers->Run().Kill(KeeperFixture::WaitMs));
        QCOMPARE(m_keepers->Wait(Kind::Ended).end.code, SIGTERM);
        QVERIFY(!m_keepers->Exists("next"));
    }
}

void TestKeeperKill::letsAProgramWriteItsCheckpoint()
{
    m_keepers->Start(m_keepers->Script(
        "trap 'echo state > written; mv written checkpoint; exit 6' TERM; touch ready; sleep 1000 & wait"));
    QTRY_VERIFY_WITH_TIMEOUT(m_keepers->Exists("ready"), KeeperFixture::WaitMs);
    QVERIFY(m_keepers->Run().Kill(KeeperFixture::WaitMs));
    const Taskmill_RunReport report = m_keepers->Wait(Kind::Ended);
    QCOMPARE(report.end.how, How::Exit);
    QCOMPARE(report.end.code, 6);
    QCOMPARE(report.end.by, By::Kill);
    QVERIFY(m_keepers->Exists("checkpoint"));
}

void TestKeeperKill::doesNotWaitLongerThanTheGrace()
{
    m_keepers->Start(m_keepers->Script("trap '' TERM; touch ready; while :; do sleep 1000; done"));
    QTRY_VERIFY_WITH_TIMEOUT(m_keepers->Exists("ready"), KeeperFixture::WaitMs);
    QVERIFY(m_keepers->Run().Kill(KeeperFixture::WaitMs));
    // The user asks again, and does not want to wait.
    QVERIFY(m_keepers->Run().Kill(0));
    QCOMPARE(m_keepers->Run().Receive(KeeperFixture::WaitMs).kind, Kind::Started);
    const Taskmill_RunReport report = m_keepers->Run().Receive(KeeperFixture::WaitMs / 2);
    QCOMPARE(report.kind, Kind::Ended);
    QCOMPARE(report.end.code, SIGKILL);
}

void TestKeeperKill::answersWhenNothingIsLeft()
{
    // The program itself ends at the first signal, its child does not.
    m_keepers->Start(m_keepers->Script("(trap '' TERM; touch ready; exec sleep 1000) & wait"));
    QTRY_VERIFY_WITH_TIMEOUT(m_keepers->Exists("ready"), KeeperFixture::WaitMs);
    const long long program = m_keepers->Wait(Kind::Started).processID;
    QVERIFY(m_keepers->Run().Kill(KeeperFixture::WaitMs));
    QTRY_VERIFY_WITH_TIMEOUT(!KeeperFixture::IsProcessThere(program), KeeperFixture::WaitMs);
    QVERIFY(m_keepers->Run().Kill(0));
    QCOMPARE(m_keepers->Wait(Kind::Ended).end.code, SIGTERM);
    QCOMPARE(m_keepers->ProcessCount(), 0);
}

void TestKeeperKill::recordsThatTheSystemEndedARun()
{
    const Taskmill_RunOrder order = m_keepers->HostileJob();
    m_keepers->Start(order);
    QTRY_VERIFY_WITH_TIMEOUT(m_keepers->IsHostileJobReady(), KeeperFixture::WaitMs);
    const long long keeper = KeeperFixture::KeeperOf(m_keepers->Wait(Kind::Started));
    QVERIFY(keeper > 0);
    QCOMPARE(kill(static_cast<pid_t>(keeper), SIGTERM), 0);
    QCOMPARE(m_keepers->Wait(Kind::Ended).end.by, By::System);
    QVERIFY(m_keepers->RecordedEnd(order.runID).has_value());
    QCOMPARE(m_keepers->ProcessCount(), 0);
}

void TestKeeperKill::endsAllRunsWithTheNursery()
{
    const Taskmill_RunOrder order = m_keepers->Order({"wait"});
    m_keepers->Start(order);
    Taskmill_RunConnection other = m_keepers->Nursery().StartRun(m_keepers->Order({"wait"}));
    QCOMPARE(other.Receive(KeeperFixture::WaitMs).kind, Kind::Started);
    const Taskmill_RunReport started = m_keepers->Wait(Kind::Started);
    // As at a shutdown, where the run itself may get the signal first.
    QCOMPARE(kill(static_cast<pid_t>(started.processID), SIGTERM), 0);
    QCOMPARE(kill(static_cast<pid_t>(m_keepers->NurseryID()), SIGTERM), 0);
    QCOMPARE(m_keepers->Wait(Kind::Ended).end.by, By::System);
    QCOMPARE(other.Receive(KeeperFixture::WaitMs).end.by, By::System);
    QTRY_VERIFY_WITH_TIMEOUT(!KeeperFixture::IsProcessThere(m_keepers->NurseryID()), KeeperFixture::WaitMs);
}

void TestKeeperKill::signalsOnlyTheProcessThatWasMeant()
{
    m_keepers->Start(m_keepers->Order({"wait"}));
    const auto id = static_cast<pid_t>(m_keepers->Wait(Kind::Started).processID);
    const std::optional<Taskmill_TreeProcess> process = Taskmill_ReadTreeProcess(id);
    QVERIFY(process.has_value());
    Taskmill_TreeProcess earlier = *process;
    --earlier.startTicks;
    Taskmill_SignalAll({earlier}, SIGKILL);
    // What had this number before is gone; what has it now still answers.
    QVERIFY(m_keepers->Run().Watch(0));
    QCOMPARE(m_keepers->Run().Receive().kind, Kind::None);
    QVERIFY(KeeperFixture::IsProcessThere(id));
    Taskmill_SignalAll({*process}, SIGUSR1);
    QCOMPARE(m_keepers->Wait(Kind::Ended).end.code, SIGUSR1);
}

QTEST_GUILESS_MAIN(TestKeeperKill)
#include "test_keeperkill.moc"
