// SPDX-License-Identifier: MIT
#include "fakejobstore.h"
#include "jobs/jobbudget.h"
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

    void ABudgetRulesAllQueues()
    {
        qint64 now = 0;
        Taskmill_JobBudget budget{[&now] {
            return now;
        }};
        Taskmill_JobServices services = m_services;
        services.Budget = &budget;
        Taskmill_LongJobsQueue longJobs{services};
        Taskmill_ShortJobsQueue shortJobs{services};
        Taskmill_QueuelessJobsList unasked{services};
        budget.Join(longJobs);
        budget.Join(shortJobs);
        budget.JoinUnasked(unasked);
        longJobs.SetMaxRunningJobs(9);
        shortJobs.SetMaxRunningJobs(9);
        QSignalSpy shortUpdates{&shortJobs, &Taskmill_JobQueue::QueueUpdatedSignal};

        budget.SetLimits({.Cores = 4});
        longJobs.AddAll({Needing(1, 3), Needing(2, 1), Needing(3, 1)});
        // One change starts all that fit, and what fits overtakes.
        QCOMPARE(States(longJobs), u"RRP"_s);
        QCOMPARE(longJobs.JobAt(2)->Record().WaitReason.Text(), u"waits for 1 core, 0 free"_s);
        shortJobs.AddAll({Needing(4, 3), Needing(5, 1)});
        longJobs.RemoveByJobIDs({2, 3});
        QCOMPARE(States(shortJobs), u"RP"_s);
        QCOMPARE(shortJobs.JobIDs(), (QList{5, 4}));
        QCOMPARE(shortJobs.JobAt(0)->Record().WaitReason.Text(), QString{});
        // Without a queue it starts all the same, and counts.
        unasked.Add(new Taskmill_Job{Needing(6, 2)});
        QCOMPARE(States(unasked), u"R"_s);
        longJobs.RemoveAll();
        QCOMPARE(shortJobs.JobAt(1)->Record().WaitReason.Text(), u"waits for 3 cores, 1 free"_s);

        // After ten minutes nobody overtakes any more.
        now += 10 * 60'000;
        longJobs.Add(new Taskmill_Job{Needing(7, 1)});
        QCOMPARE(States(longJobs), u"P"_s);
        QCOMPARE(longJobs.JobAt(0)->Record().WaitReason.Text(), u"waits for job 4, which has waited long"_s);
        shortUpdates.clear();
        unasked.RemoveAll();
        QCOMPARE(States(shortJobs), u"RR"_s);
        QVERIFY(!shortUpdates.isEmpty());
        QCOMPARE(States(longJobs), u"P"_s);

        budget.SetLimits({.Cores = 2});
        shortJobs.Add(new Taskmill_Job{Needing(8, 3)});
        QCOMPARE(shortJobs.JobAt(2)->Record().WaitReason.Text(), u"larger than the budget (3 cores of 2)"_s);
        QVERIFY(budget.RefusalOf(Needing(9, 3)));
        {
            // While everything ends, nothing begins.
            const Taskmill_JobBudget::Rest rest{budget};
            shortJobs.KillRunning();
            QCOMPARE(States(longJobs), u"P"_s);
        }
        // Without it each queue goes on by its own limit.
        budget.SetLimits({});
        QCOMPARE(States(longJobs) + States(shortJobs), u"RR"_s);
        QVERIFY(!budget.RefusalOf(Needing(9, 99)));
    }

    void JobsOfAClusterTakeNothingOfTheBudget()
    {
        if (isWindows)
            QSKIP("There are none");
        Taskmill_JobBudget budget;
        Taskmill_JobServices services = m_services;
        services.Budget = &budget;
        Taskmill_LongJobsQueue longJobs{services};
        budget.Join(longJobs);
        longJobs.SetMaxRunningJobs(3);
        budget.SetLimits({.Cores = 2, .MemoryMB = 1000});
        QVERIFY(QFile::link(TestProgramPath(), Path(u"taskmill-slurm"_s)));
        const auto onCluster = [this](int jobID) {
            Taskmill_JobRecord job = Needing(jobID, 64);
            job.JobType.ExecutablePath = Path(u"taskmill-slurm"_s);
            return job;
        };
        QVERIFY(!budget.RefusalOf(onCluster(1)));
        // How many there are at once is what their queue says.
        longJobs.AddAll({onCluster(1), Needing(2, 2), onCluster(3), onCluster(4)});
        QCOMPARE(States(longJobs), u"RRRP"_s);
        QCOMPARE(budget.InUse().Jobs, 1);
        QCOMPARE(budget.InUse().Cores, 2);
        longJobs.RemoveByJobIDs({2});
        QCOMPARE(States(longJobs), u"RRR"_s);
        QCOMPARE(budget.InUse().Cores, 0);
    }

private:
    [[nodiscard]] Taskmill_JobRecord Needing(int jobID, int cores) const
    {
        Taskmill_JobRecord job = Waiting(jobID);
        job.AskedNeeds.Cores = cores;
        return job;
    }
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
