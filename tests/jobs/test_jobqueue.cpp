// SPDX-License-Identifier: MIT
#include "fakejobstore.h"
#include "jobs/jobqueue.h"
#include "jobs/queuelessjobslist.h"
#include "processes/processinspector.h"
#include "support/jobfakes.h"
#include "support/resourcelimit.h"
#include "support/testcase.h"

using namespace Qt::Literals::StringLiterals;

/// The two queues and the queueless list.
class TestJobQueue : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init() override
    {
        TestCase::init();
        m_store = {};
        m_finished = {};
        m_long = std::make_unique<Taskmill_LongJobsQueue>(m_services);
        m_queueless = std::make_unique<Taskmill_QueuelessJobsList>(m_services);
    }

    void cleanup() override
    {
        m_long.reset();
        m_queueless.reset();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        TestCase::cleanup();
    }

    void StartsOneJobPerChange()
    {
        m_long->SetMaxRunningJobs(0);
        m_long->AddAll(Waiting({1, 2, 3}));
        QCOMPARE(States(*m_long), u"PPP"_s);
        m_long->SetMaxRunningJobs(2);
        QCOMPARE(States(*m_long), u"RPP"_s);
        m_long->Add(new Taskmill_Job{Waiting(4)});
        QCOMPARE(States(*m_long), u"RRPP"_s);
        m_long->Add(new Taskmill_Job{Waiting(5)});
        QCOMPARE(States(*m_long), u"RRPPP"_s);
        m_store.Limits = {{u"Long"_s, 4}};
        m_store.LimitWrites = 0;
        m_long->SetMaxRunningJobs(4);
        QCOMPARE(States(*m_long), u"RRRPP"_s);
        QCOMPARE(m_store.LimitWrites, 0);
        m_long->SetMaxRunningJobs(5);
        QCOMPARE(States(*m_long), u"RRRRP"_s);
        QCOMPARE(m_store.Limits.value(u"Long"_s), 5);
    }

    void PausesAndKillsWhatRuns()
    {
        Taskmill_JobRecord stored = Waiting(1);
        stored.Submitted = stored.Started = stored.Finished = QDateTime{{2001, 2, 3}, {4, 5, 6}};
        stored.Status = Taskmill_JobStatus::Killed;
        m_long->SetMaxRunningJobs(2);
        m_long->SetPaused(true);
        m_long->AddAll(QList{stored} + Waiting({2, 3, 4, 5}));
        m_long->JobFinishedSlot();
        QCOMPARE(States(*m_long), u"PPPPP"_s);
        const Taskmill_JobRecord &added = m_long->JobAt(0)->Record();
        QVERIFY(added.Submitted > stored.Submitted);
        QVERIFY(added.Started.isNull());
        QVERIFY(added.Finished.isNull());

        m_long->SetPaused(false);
        m_long->JobFinishedSlot();
        QCOMPARE(States(*m_long), u"RRPPP"_s);
        m_long->KillRunning();
        QCOMPARE(States(*m_long), u"RPP"_s);
        QCOMPARE(m_finished.Summary(), (QStringList{u"1 Killed"_s, u"2 Killed"_s}));
        m_long->SetPaused(true);
        m_long->KillRunning();
        QCOMPARE(States(*m_long), u"PP"_s);
        m_long->SetPaused(false);
        QCOMPARE(States(*m_long), u"RP"_s);
        m_long->RemoveAll();
        // A waiting job that had been started would have been killed and handed over.
        QCOMPARE(m_finished.Taken.size(), 4);
    }

    void CountsFailedStartUntilRemoved()
    {
        // The message comes once, so the start is tried once.
        QTest::ignoreMessage(QtWarningMsg, "Job 1: the file for its standard input cannot be written");
        QTest::failOnWarning(QRegularExpression{u"^Job"_s});
        Taskmill_JobRecord unstartable = MakeTestJob(1, Path(), {u"stdin"_s}, u"y\n"_s);
        unstartable.OutputFile = Path() + u"/none/x.out"_s;
        m_long->AddAll({unstartable, Waiting(2)});
        m_long->JobFinishedSlot();
        QCOMPARE(States(*m_long), u"RP"_s);
        m_long->RemoveAt(0);
        QCOMPARE(States(*m_long), u"R"_s);
        QVERIFY(m_finished.Taken.isEmpty());
    }

    void TriesAgainWhatWasPutOff()
    {
        if (isWindows)
            QSKIP("No such limit");
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression{u"^Job 1 cannot be started now, and is tried again: "_s});
        QTest::failOnWarning(QRegularExpression{u"^Job"_s});
        m_long->SetMaxRunningJobs(2);
        {
            const OpenFilesLimit noFiles;
            m_long->AddAll({MakeTestJob(1, Path(), {u"exit"_s, u"0"_s}), Waiting(2), Waiting(3)});
            m_long->JobFinishedSlot();
            const auto arePutOff = [this] {
                return m_long->JobAt(0)->IsStartPutOff() && m_long->JobAt(1)->IsStartPutOff();
            };
            QTRY_VERIFY(arePutOff());
            m_long->TryAgainSlot();
            QTRY_VERIFY(arePutOff());
            QCOMPARE(States(*m_long), u"RRP"_s);
        }
        m_long->RemoveAt(1);
        QCOMPARE(m_finished.Summary(), QStringList{u"2 Killed"_s});
        m_long->TryAgainSlot();
        QTRY_COMPARE(States(*m_long), u"CR"_s);
    }

    void StartsQueuelessJobsAtOnce()
    {
        m_queueless->AddAll({MakeTestJob(1, Path(), {u"exit"_s, u"0"_s}), Waiting(2), Waiting(3)});
        QCOMPARE(States(*m_queueless), u"RRR"_s);
        QTRY_COMPARE(States(*m_queueless), u"CRR"_s);
        m_queueless->Add(new Taskmill_Job{Waiting(4)});
        QCOMPARE(States(*m_queueless), u"CRRR"_s);
        m_queueless->KillRunning();
        QCOMPARE(States(*m_queueless), u"C"_s);
        QCOMPARE(m_finished.Summary(), (QStringList{u"2 Killed"_s, u"3 Killed"_s, u"4 Killed"_s}));
    }

    void HeldJobsWaitUntilTheyAreReleased()
    {
        QList<Taskmill_JobRecord> stored = Waiting({1, 2, 3, 4});
        for (const int ran : {0, 2, 3})
            stored[ran].Status = Taskmill_JobStatus::Running;
        m_queueless->AddAll(stored);
        QCOMPARE(States(*m_queueless), u"RPPP"_s);
        QCOMPARE(m_queueless->HeldJobIDs(), (QList{1, 3, 4}));
        // No change starts them, nor hides those that start meanwhile behind them.
        m_queueless->Add(new Taskmill_Job{MakeTestJob(5, Path(), {u"exit"_s, u"0"_s})});
        QCOMPARE(States(*m_queueless), u"RRPPP"_s);
        QTRY_COMPARE(States(*m_queueless), u"RCPPP"_s);
        QCOMPARE(m_queueless->Release({5, 3, 99}), 1);
        QCOMPARE(States(*m_queueless), u"RCRPP"_s);
        QCOMPARE(m_queueless->JobIDs(), (QList{2, 5, 3, 1, 4}));
        QCOMPARE(m_queueless->Release({3}), 0);
        m_queueless->RemoveByJobIDs({1});
        m_queueless->KillRunning();
        QCOMPARE(m_finished.Summary(), (QStringList{u"2 Killed"_s, u"3 Killed"_s}));
        QCOMPARE(States(*m_queueless), u"CP"_s);
        QCOMPARE(m_queueless->Release({4}), 1);
        QCOMPARE(States(*m_queueless), u"CR"_s);
    }

private:
    [[nodiscard]] Taskmill_JobRecord Waiting(int jobID) const
    {
        return MakeTestJob(jobID, Path(), {u"wait"_s});
    }
    [[nodiscard]] QList<Taskmill_JobRecord> Waiting(const QList<int> &jobIDs) const
    {
        QList<Taskmill_JobRecord> records;
        for (const int jobID : jobIDs)
            records.append(Waiting(jobID));
        return records;
    }
    /// One letter for each job: P(ending), R(unning), C(ompleted), K(illed) and so on.
    [[nodiscard]] static QString States(const Taskmill_JobContainer &jobs)
    {
        QString states;
        for (const Taskmill_Job *job : jobs.Jobs())
            states += Taskmill_JobStatusText(job->Status()).front();
        return states;
    }

    const std::unique_ptr<Taskmill_ProcessInspector> m_inspector = Taskmill_MakeSystemProcessInspector();
    FakeJobStore m_store;
    RecordingFinishedJobsTaker m_finished;
    const Taskmill_JobServices m_services{
        .Store = m_store, .FinishedJobs = m_finished, .Inspector = *m_inspector};
    std::unique_ptr<Taskmill_LongJobsQueue> m_long;
    std::unique_ptr<Taskmill_QueuelessJobsList> m_queueless;
};

QTEST_GUILESS_MAIN(TestJobQueue)
#include "test_jobqueue.moc"
