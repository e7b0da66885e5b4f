// SPDX-License-Identifier: MIT
#include "manager/outbox.h"

#include "support/samplejobs.h"
#include "support/testmanager.h"

#include <algorithm>
#include <vector>

using namespace Qt::Literals::StringLiterals;

using Outcome = Taskmill_Notifier::Outcome;

namespace {
/// Sends nothing until a test says what becomes of it.
class FakeNotifier : public Taskmill_Notifier
{
public:
    void Send(const Taskmill_Notification &notification, std::chrono::milliseconds, Done done) override
    {
        m_pending.push_back({notification, std::move(done)});
        Sent += notification.Message;
    }
    void Abort() override { m_pending.clear(); }

    /// Ends the one that is on its way to that port.
    void Finish(int port, Outcome outcome)
    {
        const auto found = std::ranges::find(m_pending, port, [](const auto &one) { return one.first.Port; });
        if (found == m_pending.end())
            qFatal("nothing is sent to %d", port);
        const Done done = found->second;
        m_pending.erase(found);
        done(outcome, u"nobody is there"_s);
    }
    [[nodiscard]] std::size_t Count() const { return m_pending.size(); }

    QByteArrayList Sent;

private:
    std::vector<std::pair<Taskmill_Notification, Done>> m_pending;
};
} // namespace

/// The order and the times of notifications, by a clock of the test's own, and their rows in a working copy.
class TestOutbox : public ManagerTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init() override
    {
        ManagerTestCase::init();
        m_manager->NewProject();
        m_now = 1'700'000'000'000;
        m_notifier = std::make_unique<FakeNotifier>();
        MakeOutbox();
    }
    void cleanup() override
    {
        m_outbox.reset();
        ManagerTestCase::cleanup();
    }

    void TriesAgainAndGivesUp()
    {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression{u"job 1 to 127.0.0.1, port 7, is dropped: 5 "
                                                              "tries have failed, .* nobody is there"_s});
        Add(1, 7);
        for (const int seconds : {0, 1, 5, 30, 120}) {
            const qsizetype before = m_notifier->Sent.size();
            if (seconds > 0)
                Pass(1000 * seconds - 1);
            QCOMPARE(m_notifier->Sent.size(), before);
            Pass(1);
            QCOMPARE(m_notifier->Sent.size(), before + 1);
            QCOMPARE(Rows().size(), 1);
            m_notifier->Finish(7, Outcome::Failed);
        }
        QVERIFY(Rows().isEmpty());
    }

    void DeliversWhatWasRefused()
    {
        Add(1, 7);
        Pass(0);
        m_notifier->Finish(7, Outcome::Failed);
        Pass(1000);
        m_notifier->Finish(7, Outcome::Delivered);
        QVERIFY(Rows().isEmpty());
        Pass(200'000);
        QCOMPARE(m_notifier->Sent, (QByteArrayList{"1", "1"}));
    }

    void NeverSendsWhatIsTooOld_data()
    {
        QTest::addColumn<int>("age");
        QTest::addColumn<int>("sent");
        QTest::newRow("the last second") << 156'999 << 1;
        QTest::newRow("a second later") << 157'000 << 0;
        QTest::newRow("the clock was set back") << -3'600'000 << 0;
    }

    /// Whether it comes late because its job ended while no manager was there, or waits behind others.
    void NeverSendsWhatIsTooOld()
    {
        QFETCH(int, age);
        QFETCH(int, sent);
        if (sent == 0)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression{u"job 1 .*its job ended"_s});
        Add(1, 7, m_now - age);
        Pass(0);
        QCOMPARE(m_notifier->Count(), static_cast<std::size_t>(sent));
        QCOMPARE(Rows().size(), sent);
    }

    void WaitsForAResultSomeSeconds_data()
    {
        QTest::addColumn<int>("known");
        QTest::addColumn<QByteArray>("result");
        QTest::newRow("at once") << 0 << "jobresult=error"_ba;
        QTest::newRow("in time") << 9'999 << "jobresult=error"_ba;
        QTest::newRow("too late") << 10'000 << "jobresult=none"_ba;
    }

    void WaitsForAResultSomeSeconds()
    {
        QFETCH(int, known);
        QFETCH(QByteArray, result);
        Taskmill_JobRecord job = SampleJob(SampleJobType(u"Type"_s), 1);
        job.ClientResult = true;
        job.EndMs = m_now;
        const qint64 number = m_outbox->Add(job);
        QVERIFY(m_outbox->Store(number));
        m_outbox->HoldForResult(number);
        Pass(qMin(known, 9'999));
        QVERIFY(m_notifier->Sent.isEmpty());
        Pass(known - qMin(known, 9'999));
        QCOMPARE(m_notifier->Sent.isEmpty(), known < 10'000);
        job.Result.Verdict = Taskmill_Verdict::Error;
        QVERIFY(m_outbox->SetResult(number, job.Result));
        Pass(0);
        QCOMPARE(m_notifier->Sent.size(), 1);
        QCOMPARE(m_notifier->Sent.first().split('\n').last(), result);
        // So does the next manager, when this one is ended by force.
        QVERIFY(TestManager::Database().WorkingCopy().Notifications().first().Message.endsWith(result));
    }

    void KeepsTheOrderOfOneAddress()
    {
        Add(1, 7);
        Add(2, 7);
        Add(3, 8);
        Pass(0);
        QCOMPARE(m_notifier->Sent, (QByteArrayList{"1", "3"}));
        m_notifier->Finish(8, Outcome::Delivered);
        m_notifier->Finish(7, Outcome::Failed);
        // Another job of a client that was not there: it may be back.
        Pass(1000);
        m_notifier->Finish(7, Outcome::Failed);
        Pass(2000);
        Add(4, 7);
        Pass(0);
        QCOMPARE(m_notifier->Sent, (QByteArrayList{"1", "3", "1", "1"}));
        m_notifier->Finish(7, Outcome::Delivered);
        m_notifier->Finish(7, Outcome::Useless);
        m_notifier->Finish(7, Outcome::Delivered);
        QCOMPARE(m_notifier->Sent, (QByteArrayList{"1", "3", "1", "1", "2", "4"}));
        QVERIFY(Rows().isEmpty());
    }

    void SendsToEightAtOnce()
    {
        for (int number = 1; number <= 10; ++number)
            Add(number, number);
        Pass(0);
        QCOMPARE(m_notifier->Count(), std::size_t{8});
        // Those that nobody takes do not keep the others waiting.
        m_notifier->Finish(3, Outcome::Failed);
        Pass(1000);
        QCOMPARE(m_notifier->Sent.last(), "9");
        m_notifier->Finish(4, Outcome::Delivered);
        QCOMPARE(m_notifier->Sent.last(), "10");
        m_notifier->Finish(5, Outcome::Delivered);
        QCOMPARE(m_notifier->Sent.last(), "3");
    }

    void NextManagerSendsWhatWasLeft()
    {
        Add(1, 7);
        Pass(0);
        Add(2, 7);
        // As it is at an end by force: the first is on its way.
        const QStringList rows = Rows();
        QCOMPARE(rows, (QStringList{u"1"_s, u"2"_s}));
        m_notifier->Abort();
        m_outbox->LeaveStored();
        MakeOutbox();
        m_outbox->Join();
        Pass(0);
        m_notifier->Finish(7, Outcome::Delivered);
        Add(3, 7);
        m_notifier->Finish(7, Outcome::Delivered);
        QCOMPARE(m_notifier->Sent, (QByteArrayList{"1", "1", "2", "3"}));
        QCOMPARE(Rows(), QStringList{u"3"_s});
    }

    void GoesOverToTheNextProject()
    {
        Add(1, 7);
        Pass(0);
        m_notifier->Finish(7, Outcome::Failed);
        m_outbox->KeepStored();
        m_manager->NewProject();
        QVERIFY(Rows().isEmpty());
        m_outbox->Join();
        QCOMPARE(Rows(), QStringList{u"1"_s});
        Pass(1000);
        m_notifier->Finish(7, Outcome::Delivered);
        QVERIFY(Rows().isEmpty());
    }

    void EndWaitsForWhatIsOnItsWay()
    {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression{u"job 1 .*the manager ends"_s});
        m_manager->Project().CloseProject();
        Add(1, 7);
        Add(2, 8);
        QTimer::singleShot(0, this, [this] {
            m_notifier->Finish(7, Outcome::Failed);
            m_notifier->Finish(8, Outcome::Delivered);
        });
        m_outbox->Drain();
        QCOMPARE(m_notifier->Count(), std::size_t{0});
        m_outbox->Stop();
        Add(3, 7);
        Pass(1000);
        QCOMPARE(m_notifier->Sent, (QByteArrayList{"1", "2"}));
    }

    /// The manager's own outbox: stored with the end, sent behind it.
    void IsStoredWithTheEndOfItsJob()
    {
        const Taskmill_JobType jobType = m_manager->AddJobType(u"Fails"_s, u"exit 3"_s);
        for (int number = 0; number < 2; ++number) {
            Taskmill_JobRecord job = m_manager->JobOf(jobType, m_manager->JobNumbers().NewID());
            job.ClientNotification = number == 0;
            job.ClientName = job.ClientAppName = u"client"_s;
            job.ClientAddress = u"127.0.0.1"_s;
            m_manager->Long().Submit(new Taskmill_Job{job});
        }
        connect(&m_manager->FinishedJobs(), &Taskmill_FinishedJobs::JobsChangedSignal, this, [this] {
            QVERIFY(m_manager->notifier.Messages.isEmpty());
            QCOMPARE(m_manager->Long().Jobs().FindByJobID(2)->Status(), Taskmill_JobStatus::Running);
            QCOMPARE(Rows().size(), 1);
            m_manager->FinishedJobs().disconnect(this);
        });
        QTRY_COMPARE(m_manager->FinishedJobs().Jobs().size(), 2);
        QTRY_COMPARE(m_manager->notifier.Messages.size(), 1);
        QVERIFY(m_manager->notifier.Messages.first().contains("jobstatus=failed\njobexitcode=3\n"));
        QTRY_VERIFY(Rows().isEmpty());
        // What a client has missed.
        QCOMPARE(m_manager->Database().GetFinishedJobs().first().ExitCode, 3);
    }

private:
    void MakeOutbox()
    {
        m_outbox = std::make_unique<Taskmill_Outbox>(*m_notifier, [this] { return m_now; });
    }
    void Pass(int ms)
    {
        m_now += ms;
        m_outbox->SendDueSlot();
    }
    /// Of a job that has ended just now, or then; the message is its number.
    void Add(int jobID, int port, qint64 endMs = 0)
    {
        Taskmill_Notification notification{.JobID = jobID,
                                           .Address = u"127.0.0.1"_s,
                                           .Port = port,
                                           .Message = QByteArray::number(jobID),
                                           .EndMs = endMs == 0 ? m_now : endMs};
        m_outbox->AddLeft({notification});
    }
    /// The numbers of the jobs whose notifications the working copy holds.
    [[nodiscard]] static QStringList Rows()
    {
        QStringList rows;
        for (const Taskmill_Notification &one : TestManager::Database().WorkingCopy().Notifications())
            rows += QString::fromUtf8(one.Message).left(2);
        return rows;
    }

    qint64 m_now = 0;
    std::unique_ptr<FakeNotifier> m_notifier;
    std::unique_ptr<Taskmill_Outbox> m_outbox;
};

QTEST_GUILESS_MAIN(TestOutbox)
#include "test_outbox.moc"
