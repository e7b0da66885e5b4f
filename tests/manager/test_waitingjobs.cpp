// SPDX-License-Identifier: MIT
#include "manager/waitingjobs.h"

#include "db/databasetestutil.h"
#include "manager/queueestimate.h"
#include "support/testmanager.h"

using namespace Qt::Literals::StringLiterals;

namespace {
const Taskmill_JobTime noon = QDateTime{{2026, 3, 4}, {12, 0}};
}

/// Jobs that are moved and held, and what the time does to them.
class TestWaitingJobs : public ManagerTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init() override
    {
        ManagerTestCase::init();
        m_manager->NewProject();
        m_gated = m_manager->AddGatedJobType();
        m_time = noon;
        m_manager->StartRules().SetClock([this] { return m_time; });
    }

    void ANewOrderIsStored()
    {
        Queue().SetPaused(true);
        SubmitGated(5);
        QCOMPARE(Waiting().Move({2, 5}, Taskmill_Move::Top).Text, u"2 jobs were moved to the top."_s);
        QCOMPARE(Waiting().Move({4, 1}, Taskmill_Move::Bottom).Problem, QString{});
        SubmitGated(1);
        const QList<int> order{2, 5, 3, 1, 4, 6};
        QCOMPARE(Queue().JobIDs(), order);
        QVERIFY(m_manager->Project().SaveProjectAs(m_manager->Path(u"p.mill"_s)));
        QVERIFY(m_manager->Project().OpenProject(m_manager->Path(u"p.mill"_s)));
        QCOMPARE(Queue().JobIDs(), order);

        // What cannot be stored is not done.
        RefuseCommits(TestManager::Database(), true);
        QVERIFY(!Waiting().Move({6}, Taskmill_Move::Up).Problem.isEmpty());
        QVERIFY(!Waiting().Hold({6}).Problem.isEmpty());
        RefuseCommits(TestManager::Database(), false);
        QCOMPARE(Queue().JobIDs(), order);
        QVERIFY(Queue().FindByJobID(6)->MayStart());
        QVERIFY(!m_manager->Long().MoveBefore({6, 1}, 5));
        QCOMPARE(Queue().JobIDs(), (QList{2, 1, 6, 5, 3, 4}));
    }

    void ANewJobIsTheLast()
    {
        Queue().SetPaused(true);
        // As when a thousand have been moved to the bottom.
        Taskmill_Job *far = m_manager->NewJob(m_gated, m_manager->InputFile(u"far.in"_s));
        far->SetOrderNumber(Taskmill_OrderNumber::OfJobID(100));
        m_manager->Long().Submit(far);
        SubmitGated(1);
        QVERIFY(m_manager->Project().SaveProjectAs(m_manager->Path(u"p.mill"_s)));
        QVERIFY(m_manager->Project().OpenProject(m_manager->Path(u"p.mill"_s)));
        QCOMPARE(Queue().JobIDs(), (QList{1, 2}));
    }

    void WhatIsDoneIsSaid()
    {
        Queue().SetPaused(true);
        SubmitGated(3);
        QCOMPARE(Taskmill_WaitingJobs::NumbersFromText(u"3 1, 3"_s), (QList{3, 1}));
        QCOMPARE(Taskmill_WaitingJobs::NumbersFromText(u"3 x"_s), QList<int>{});
        QCOMPARE(Waiting().Release({1}).Problem, u"Job 1 is not held."_s);
        QCOMPARE(Waiting().Release({1, 2}).Problem, u"None of these jobs is held."_s);
        QCOMPARE(Waiting().Hold({2}).Text, u"Job 2 is held."_s);
        QCOMPARE(Waiting().Release({1, 2}).Text, u"Job 2 was released."_s);
        QCOMPARE(Waiting().NotBefore({1, 3}, u"2020-01-01 00:00"_s).Text,
                 u"2 jobs may start from 2020-01-01 00:00 on, which has passed."_s);
        const QString noTime = Waiting().NotBefore({1}, u"2031-02-30 10:00"_s).Problem;
        QVERIFY2(noTime.startsWith(u"This is no time: 2031-02-30 10:00; a time is \""_s), qPrintable(noTime));
        QCOMPARE(Waiting().After({1}, 9).Problem, u"There is no job 9 to wait for."_s);
    }

    /// Only what was moved is written, however many wait.
    void AMoveWritesLittle()
    {
        Queue().SetPaused(true);
        SubmitGated(60);
        for (const Taskmill_Move move :
             {Taskmill_Move::Top, Taskmill_Move::Down, Taskmill_Move::Bottom, Taskmill_Move::Up})
            QCOMPARE(Waiting().Move({30}, move).Problem, QString{});
        QList<int> moved;
        const auto fields = TestManager::Database().GetAddedFieldsOfJobs();
        for (const auto &[jobID, ofJob] : fields.asKeyValueRange()) {
            if (ofJob.contains(u"Place"_s))
                moved.append(jobID);
        }
        QCOMPARE(moved, QList<int>{30});
    }

    void ReleasedJobsStartInTheirTurn()
    {
        Queue().SetPaused(true);
        SubmitGated(3);
        QCOMPARE(Waiting().Hold({1}).Text, u"Job 1 is held."_s);
        QCOMPARE(Waiting().NotBefore({2}, u"2026-03-04 13:00"_s).Problem, QString{});
        QVERIFY(m_manager->Project().SaveProjectAs(m_manager->Path(u"p.mill"_s)));
        QVERIFY(m_manager->Project().OpenProject(m_manager->Path(u"p.mill"_s)));
        QCOMPARE(ReasonOf(1), u"held"_s);
        QCOMPARE(ReasonOf(2), u"not before 13:00"_s);
        Queue().SetMaxRunningJobs(2);
        Queue().SetPaused(false);
        QCOMPARE(Running(), QList{3});
        m_time = QDateTime{{2026, 3, 4}, {13, 0}};
        m_manager->StartRules().LookAgain();
        QCOMPARE(Running(), (QList{3, 2}));
        Queue().SetMaxRunningJobs(3);
        QCOMPARE(Running(), (QList{3, 2}));
        QCOMPARE(Waiting().Release({1}).Problem, QString{});
        QCOMPARE(Running(), (QList{3, 2, 1}));
        QCOMPARE(Waiting().Move({1}, Taskmill_Move::Up).Problem, u"Job 1 does not wait any more."_s);
    }

    void AJobAfterAnother_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<QString>("deed");
        QTest::addColumn<QString>("reason"); // empty when it starts
        QTest::newRow("that ends well") << u"waitfor @INFILE.go"_s << u"release"_s << QString{};
        QTest::newRow("that ends well and is forgotten")
            << u"waitfor @INFILE.go"_s << u"forget"_s << QString{};
        QTest::newRow("that fails") << u"exit 3"_s << QString{} << u"held: job 1 has failed"_s;
        QTest::newRow("that is killed") << u"wait"_s << u"kill"_s << u"held: job 1 was killed"_s;
        QTest::newRow("that is removed") << u"wait"_s << u"remove"_s << u"held: job 1 was removed"_s;
    }

    void AJobAfterAnother()
    {
        QFETCH(const QString, arguments);
        QFETCH(const QString, deed);
        QFETCH(const QString, reason);
        const Taskmill_JobType first = m_manager->AddJobType(u"First"_s, arguments, u"Short"_s);
        Queue().SetPaused(true);
        m_manager->Short().Queue()->SetPaused(true);
        const QString input = m_manager->InputFile(u"first.in"_s);
        m_manager->Short().Submit(m_manager->NewJob(first, input));
        SubmitGated(1);
        QCOMPARE(Waiting().After({2}, 1).Text, u"Job 2 waits for the end of job 1."_s);
        QVERIFY(!Waiting().After({1}, 2).Problem.isEmpty());
        Queue().SetPaused(deed == "forget"_L1);
        QCOMPARE(ReasonOf(2), u"waits for the end of job 1"_s);
        if (deed == "remove"_L1)
            m_manager->Short().RemoveNow({1});
        else
            m_manager->Short().Queue()->SetPaused(false);
        if (deed == "kill"_L1)
            m_manager->Short().RemoveNow({1});
        TestManager::Release(input);
        QTRY_VERIFY(ReasonOf(2) == reason);
        if (deed == "forget"_L1) {
            QTRY_COMPARE(Queue().FindByJobID(2)->Record().Conditions.AfterJobID, 0);
            m_manager->FinishedJobs().Remove({0});
            Queue().SetPaused(false);
        }
        QTRY_COMPARE(Running(), reason.isEmpty() ? QList{2} : QList<int>{});
    }

    void NothingStartsInQuietHours()
    {
        m_manager->StartRules().SetQuietHours({.From = 11 * 60, .To = 13 * 60});
        SubmitGated(2);
        QCOMPARE(Running(), QList<int>{});
        m_time = QDateTime{{2026, 3, 4}, {13, 0}};
        m_manager->StartRules().LookAgain();
        QCOMPARE(Running(), QList{1});
        QCOMPARE(m_manager->StartRules().SetQuietHoursFrom(u"now"_s).Problem.isEmpty(), false);
        QCOMPARE(Taskmill_StartRules{}.QuietHours().Text(), u"11:00-13:00"_s);
    }

    void AChangedInputIsNoticed()
    {
        const QString changed = u"its input has changed since it was submitted"_s;
        Queue().SetPaused(true);
        const QStringList inputs = SubmitGated(2);
        const auto isHashed = [this](int jobID) {
            return !Queue().FindByJobID(jobID)->Record().InputHash.isEmpty();
        };
        QTRY_VERIFY(isHashed(1));
        QTRY_VERIFY(isHashed(2));
        // What is written with a move is all of it.
        QCOMPARE(Waiting().Move({2}, Taskmill_Move::Top).Problem, QString{});
        QVERIFY(m_manager->Project().SaveProjectAs(m_manager->Path(u"p.mill"_s)));
        WriteTestFile(inputs[0], "another input");
        QVERIFY(m_manager->Project().OpenProject(m_manager->Path(u"p.mill"_s)));
        QVERIFY(isHashed(1));
        QVERIFY(isHashed(2));
        Queue().SetMaxRunningJobs(2);
        Queue().SetPaused(false);
        Queue().LookAgain();
        QTRY_COMPARE(Running(), (QList{2, 1}));
        QCOMPARE(ReasonOf(1), changed);
        QCOMPARE(ReasonOf(2), QString{});
        TestManager::Release(inputs[0]);
        QTRY_COMPARE(m_manager->FinishedJobs().Count(), 1);
        QCOMPARE(ReasonOf(1), changed);
    }

    void AChangedInputHoldsItsJob()
    {
        m_gated.HoldsChangedInput = true;
        QCOMPARE(m_manager->JobTypes().TryToUpdate(m_gated), QString{});
        Queue().SetPaused(true);
        const QStringList inputs = SubmitGated(2);
        QTRY_VERIFY(!Queue().FindByJobID(2)->Record().InputHash.isEmpty());
        WriteTestFile(inputs[0], "another input");
        Queue().SetPaused(false);
        QTRY_COMPARE(Running(), QList{2});
        QCOMPARE(ReasonOf(1), u"held: its input has changed since it was submitted"_s);
        Queue().SetMaxRunningJobs(2);
        QCOMPARE(Waiting().Release({1}).Text, u"Job 1 was released."_s);
        QTRY_COMPARE(Running(), (QList{2, 1}));
        QCOMPARE(ReasonOf(1), u"its input has changed since it was submitted"_s);
    }

    void PausesWhenItsJobsHaveEnded()
    {
        const QStringList inputs = SubmitGated(3);
        QCOMPARE(Waiting().Hold({3}).Problem, QString{});
        m_gated.Cores = 3;
        SubmitGated(1);
        // The fourth one does not fit and never will.
        m_manager->Destinations().Budget().SetLimits({.Cores = 2});
        Queue().PauseWhenJobsHaveEnded();
        m_gated.Cores = 1;
        SubmitGated(1);
        QCOMPARE(Waiting().Move({5}, Taskmill_Move::Top).Problem, QString{});
        TestManager::Release(inputs[0]);
        QTRY_COMPARE(Running(), QList{2});
        QVERIFY(!Queue().IsPaused());
        TestManager::Release(inputs[1]);
        QTRY_VERIFY(Queue().IsPaused());
        QCOMPARE(Queue().JobIDs(), (QList{5, 3, 4}));
    }

    void JobsThatComeLaterWaitForThePause()
    {
        const QStringList inputs = SubmitGated(1);
        Queue().PauseWhenJobsHaveEnded();
        SubmitGated(1);
        TestManager::Release(inputs[0]);
        QTRY_VERIFY(Queue().IsPaused());
        QCOMPARE(Running(), QList<int>{});
        QCOMPARE(Queue().JobIDs(), QList{2});
    }

    void TimeLimitKills()
    {
        Taskmill_JobType limited = m_gated;
        limited.TimeLimitMinutes = 60;
        QCOMPARE(m_manager->JobTypes().TryToUpdate(limited), QString{});
        m_manager->JobTypes().Refresh();
        m_gated = m_manager->JobTypes().GetAll().first();
        QCOMPARE(m_gated.TimeLimitMinutes, 60);
        SubmitGated(1);
        const QDateTime start = Queue().JobAt(0)->Record().Started.ClockTime();
        m_manager->JobWatch().SetClock([start] { return Taskmill_JobTime{start.addSecs(3598)}; });
        m_manager->JobWatch().LookNow();
        QCOMPARE(Running(), QList{1});
        m_manager->JobWatch().SetClock([start] { return Taskmill_JobTime{start.addSecs(3600)}; });
        m_manager->JobWatch().LookNow();
        QTRY_COMPARE(m_manager->FinishedJobs().Count(), 1);
        const Taskmill_JobRecord job = *m_manager->FindJobWithOutput(1);
        QCOMPARE(job.Status, Taskmill_JobStatus::Killed);
        QVERIFY(job.StdOutAndStdErr.contains("its time limit of 60 minutes has passed"_L1));
    }

    void ReportsOnceThatNothingHappens()
    {
        Taskmill_JobType watched = m_gated;
        watched.NoProgressMinutes = 40;
        QCOMPARE(m_manager->JobTypes().TryToUpdate(watched), QString{});
        m_manager->JobTypes().Refresh();
        m_gated = m_manager->JobTypes().GetAll().first();
        SubmitGated(1);
        Taskmill_JobWatch &watch = m_manager->JobWatch();
        QSignalSpy told{&watch, &Taskmill_JobWatch::NoProgressSignal};
        const auto look = [&](int minute, const QString &output, qint64 processorMs) {
            watch.SetClock([minute] { return Taskmill_JobTime{noon.ClockTime().addSecs(60 * minute)}; });
            watch.TakeActivities({{1, {.Output = output, .ProcessorMs = processorMs}}});
            return ReasonOf(1);
        };
        QCOMPARE(look(0, u"1"_s, 5000), QString{});
        QCOMPARE(look(39, u"1"_s, 5050), QString{});
        QCOMPARE(look(40, u"1"_s, 5050), u"no progress for 40 min"_s);
        QCOMPARE(look(41, u"1"_s, 5050), u"no progress for 41 min"_s);
        QCOMPARE(told.size(), 1);
        QCOMPARE(look(42, u"2"_s, 5050), QString{});
        QCOMPARE(look(81, u"2"_s, 6050), QString{});
        QCOMPARE(look(120, u"2"_s, 6050), QString{});
        QCOMPARE(look(121, u"2"_s, 6050), u"no progress for 40 min"_s);
        QCOMPARE(told.size(), 2);
        QCOMPARE(Running(), QList{1});
    }

    void SeesWhatAJobDoes()
    {
        SubmitGated(1);
        const Taskmill_Job &job = *Queue().JobAt(0);
        const auto look = Taskmill_JobWatch::LookThrough(Taskmill_MakeSystemProcessInspector());
        const QString file = m_manager->InputFile(u"out"_s);
        const Taskmill_JobWatch::Watched watched{.JobID = 1, .ProcessID = job.ProcessID(), .Files = {file}};
        const Taskmill_JobActivity before = look({watched}).value(1);
        QVERIFY(!look({watched}).value(1).ShowsProgressSince(before));
        WriteTestFile(file, "more output than before\n");
        QVERIFY(look({watched}).value(1).ShowsProgressSince(before));
    }

    void EstimatesFromFiveJobs()
    {
        const Taskmill_UsualSeconds usual{{1, 100}, {2, 10}};
        using Jobs = QList<Taskmill_EstimatedJob>;
        const Jobs jobs{{1, 40}, {2, 90}, {1, {}}, {2, {}}};
        QCOMPARE(Taskmill_SecondsToEnd(jobs, 2, usual), 100);
        QCOMPARE(Taskmill_SecondsToEnd(jobs, 0, usual), std::nullopt);
        QCOMPARE(Taskmill_SecondsToEnd(jobs + Jobs{{3, {}}}, 2, usual), std::nullopt);

        SubmitGated(2);
        const auto finish = [this](int jobID, int seconds, Taskmill_JobStatus status) {
            Taskmill_JobRecord job = TestManager::JobOf(m_gated, jobID);
            job.Status = status;
            job.Started = noon;
            job.Finished = noon.ClockTime().addSecs(seconds);
            QVERIFY(m_manager->FinishedJobs().AddJob(job));
        };
        for (const int seconds : {60, 6000, 1200, 60})
            finish(seconds + 100, seconds, Taskmill_JobStatus::Completed);
        finish(1000, 1, Taskmill_JobStatus::Killed);
        QCOMPARE(Taskmill_EstimateOf(Queue(), noon), QString{});
        finish(1001, 1800, Taskmill_JobStatus::Completed);
        const Taskmill_JobTime started = Queue().JobAt(0)->Record().Started;
        const QDateTime end = started.ClockTime().addSecs(2400);
        const QString text = Taskmill_EstimateOf(Queue(), started);
        QVERIFY2(text.startsWith("probably done about "_L1), qPrintable(text));
        QVERIFY2(text.endsWith(end.toString(u"hh:mm"_s)), qPrintable(text));
    }

private:
    [[nodiscard]] Taskmill_JobQueue &Queue() { return *m_manager->Long().Queue(); }
    [[nodiscard]] Taskmill_WaitingJobs Waiting() { return Taskmill_WaitingJobs{m_manager->Destinations()}; }
    [[nodiscard]] QString ReasonOf(int jobID) const
    {
        const auto job = m_manager->FindJob(jobID);
        return job ? job->WhyItWaits() : u"no job"_s;
    }
    [[nodiscard]] QList<int> Running()
    {
        QList<int> jobIDs;
        for (const Taskmill_Job *job : Queue().Jobs()) {
            if (job->Status() == Taskmill_JobStatus::Running)
                jobIDs.append(job->JobID());
        }
        return jobIDs;
    }
    /// Jobs that run until their input files, which are returned, are released.
    QStringList SubmitGated(int count)
    {
        QStringList inputs;
        while (count-- > 0) {
            inputs += m_manager->InputFile(u"%1.in"_s.arg(m_manager->JobNumbers().LastID() + 1));
            m_manager->Long().Submit(m_manager->NewJob(m_gated, inputs.last()));
        }
        return inputs;
    }

    Taskmill_JobType m_gated;
    Taskmill_JobTime m_time;
};

QTEST_GUILESS_MAIN(TestWaitingJobs)
#include "test_waitingjobs.moc"
