// SPDX-License-Identifier: MIT
#include "manager/jobresults.h"

#include "support/sampleoutput.h"
#include "support/testmanager.h"

#include <QJsonObject>
#include <QSignalSpy>

#include <utility>

using namespace Qt::Literals::StringLiterals;
using namespace SampleOutput;

/// Results on their way from the outputs of jobs to the history and to clients.
class TestJobResults : public ManagerTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init() override
    {
        ManagerTestCase::init();
        m_manager->NewProject();
        m_gated = m_manager->AddGatedJobType();
        m_gated.OutputFileFilter = u"Output (*.out)"_s;
    }

    void SaysWhatARunningJobHasReached()
    {
        QSignalSpy changed{&m_manager->Results(), &Taskmill_JobResults::StateChangedSignal};
        const QString input = Start();
        WriteTestFile(OutputOf(input), Banner() + Step(1));
        QTRY_VERIFY(m_manager->Results().StateOf(1));
        QCOMPARE(m_manager->Results().StateOf(1)->Steps, 1);
        QCOMPARE(changed.first().first().toInt(), 1);
        QCOMPARE(m_manager->FindJob(1)->Result.Steps, 1);
        WriteTestFile(OutputOf(input), Banner() + Step(1) + Step(2));
        QTRY_COMPARE(m_manager->Results().StateOf(1)->Steps, 2);
        TestManager::Release(input);
        QTRY_COMPARE(m_manager->FinishedJobs().Count(), 1);
        QVERIFY(!m_manager->Results().StateOf(1));
    }

    /// The status comes first, and the result is a change of the project when it comes.
    void AddsTheResultToTheRowOfTheJob()
    {
        QSignalSpy known{&m_manager->FinishedJobs(), &Taskmill_FinishedJobs::ResultKnownSignal};
        EndWith(Banner() + Step(1) + Unconverged() + End());
        QTRY_COMPARE(known.size(), 1);
        const Taskmill_JobResult result = m_manager->FinishedJobs().JobAt(0).Result;
        QCOMPARE(result.Verdict, Taskmill_Verdict::NotConverged);
        QVERIFY(result.Message.contains(u"FAILED TO CONVERGE"_s));
        QCOMPARE(result.Energies, QList{-5.07});
        QVERIFY(m_manager->Project().SaveProjectAs(m_manager->Path(u"a.mill"_s)));
        QVERIFY(m_manager->Project().OpenProject(m_manager->Path(u"a.mill"_s)));
        QCOMPARE(m_manager->FinishedJobs().JobAt(0).Result, result);
        QCOMPARE(m_manager->FinishedJobs().JobAt(0).Result.Json().value("result"_L1), "not-converged"_L1);
    }

    void SavesTheResultOfAJobThatHasJustEnded()
    {
        connect(&m_manager->FinishedJobs(), &Taskmill_FinishedJobs::JobsChangedSignal, this, [this] {
            m_isSaved = m_isSaved || m_manager->Project().SaveProjectAs(m_manager->Path(u"a.mill"_s));
        });
        EndWith(Normal());
        QTRY_VERIFY(m_isSaved);
        disconnect(&m_manager->FinishedJobs(), nullptr, this, nullptr);
        QCOMPARE(m_manager->FinishedJobs().JobAt(0).Result.Verdict, Taskmill_Verdict::Normal);
        QVERIFY(!m_manager->Project().HasUnsavedChanges());
    }

    void ForgetsTheResultOfWhatIsGone_data()
    {
        QTest::addColumn<bool>("isClosed");
        QTest::newRow("the job is removed") << false;
        QTest::newRow("another project is opened") << true;
    }

    /// Between the end of the job and the reading of its output.
    void ForgetsTheResultOfWhatIsGone()
    {
        QFETCH(bool, isClosed);
        QSignalSpy known{&m_manager->FinishedJobs(), &Taskmill_FinishedJobs::ResultKnownSignal};
        m_manager->FinishedJobs().AddJob(Ended(1));
        if (isClosed)
            m_manager->FinishedJobs().Clear();
        else
            m_manager->FinishedJobs().Remove({0});
        m_manager->FinishedJobs().AddJob(Ended(2));
        QTRY_COMPARE(known.size(), 1);
        QCOMPARE(known.first().first().toInt(), 2);
        QCOMPARE(m_manager->FinishedJobs().JobAt(0).Result.Verdict, Taskmill_Verdict::Normal);
    }

    /// The manager before was ended between the end of a job and the reading of its output.
    void ReadsTheResultsThatWereLost()
    {
        QSignalSpy known{&m_manager->FinishedJobs(), &Taskmill_FinishedJobs::ResultKnownSignal};
        Taskmill_JobRecord job = Ended(1);
        job.StandardOutputFile = std::exchange(job.OutputFile, {});
        m_manager->FinishedJobs().AddJob(job);
        m_manager->FinishedJobs().Load();
        QCOMPARE(m_manager->FinishedJobs().JobAt(0).Result, Taskmill_JobResult{});
        m_manager->FinishedJobs().ReadLostResults();
        QTRY_COMPARE(known.size(), 1);
        QCOMPARE(m_manager->Database().GetFinishedJobs().first().Result.Verdict, Taskmill_Verdict::Normal);
    }

    void ReadsWhatAJobPrints_data()
    {
        QTest::addColumn<int>("rest");
        QTest::newRow("little, at once") << 0;
        QTest::newRow("much") << 300'000;
    }

    void ReadsWhatAJobPrints()
    {
        QFETCH(int, rest);
        Taskmill_JobRecord job = m_manager->JobOf(m_manager->AddJobType(u"Printing"_s, {}), 1);
        job.StdOutAndStdErr = QString::fromUtf8(Banner() + QByteArray(rest, 'x') + '\n' + Step(1) + End());
        m_manager->FinishedJobs().AddJob(job);
        QCOMPARE(m_manager->FinishedJobs().JobAt(0).Result.IsOfKnownProgram(), rest == 0);
        QTRY_COMPARE(m_manager->FinishedJobs().JobAt(0).Result.Verdict, Taskmill_Verdict::Normal);
    }

    void NotifiesWithTheResultWhoAskedForIt_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<bool>("isAsked");
        QTest::addColumn<QByteArray>("lastLine");
        QTest::newRow("normal") << Normal() << true << "jobresult=normal"_ba;
        QTest::newRow("not converged")
            << Normal() + Banner() + Unconverged() << true << "jobresult=not-converged"_ba;
        QTest::newRow("of no program that is known") << "no banner"_ba << true << "jobresult=none"_ba;
        QTest::newRow("nobody asked") << Normal() << false << "jobchkfile1=b.chk"_ba;
    }

    void NotifiesWithTheResultWhoAskedForIt()
    {
        QFETCH(QByteArray, output);
        QFETCH(bool, isAsked);
        QFETCH(QByteArray, lastLine);
        Taskmill_JobRecord job = Ended(1, output);
        job.ClientResult = isAsked;
        job.CheckpointFile = u"a.chk"_s;
        job.CheckpointFile2 = u"b.chk"_s;
        m_manager->FinishedJobs().AddJob(job);
        QTRY_COMPARE(m_manager->notifier.Messages.size(), 1);
        QCOMPARE(m_manager->notifier.Messages.first().split('\n').last(), lastLine);
    }

    /// What a reader may do with the output of a job long after its end.
    void ReadsTheOutputOfAnEndedJobOnceMore()
    {
        const Taskmill_JobRecord job = Ended(1);
        Taskmill_ResultState read;
        const auto take = [&read](const Taskmill_ResultState &state, bool isComplete) {
            read = isComplete ? state : nullptr;
        };
        m_manager->Results().ReadEnded(job, {}, this, take);
        QTRY_VERIFY(read);
        QCOMPARE(read->Steps, 1);

        // Another job has written the same file since.
        Taskmill_JobRecord earlier = job;
        earlier.Started = job.Started.ClockTime().addSecs(-100);
        earlier.Finished = job.Started.ClockTime().addSecs(-50);
        read.reset();
        std::atomic<QThread *> reader = nullptr;
        const auto printed = [&reader] {
            reader = QThread::currentThread();
            return Normal() + Normal();
        };
        m_manager->Results().ReadEnded(earlier, printed, this, take);
        QTRY_VERIFY(read);
        QCOMPARE(read->Steps, 2);
        QVERIFY(reader.load() != thread());
    }

private:
    [[nodiscard]] static QString OutputOf(const QString &input) { return input.chopped(3) + u".out"_s; }

    /// Starts job 1, which runs until its input file is released.
    QString Start()
    {
        QString input = m_manager->InputFile(u"a.in"_s);
        m_manager->Long().Submit(m_manager->NewJob(m_gated, input));
        return input;
    }

    void EndWith(const QByteArray &output)
    {
        const QString input = Start();
        WriteTestFile(OutputOf(input), output);
        TestManager::Release(input);
        QTRY_COMPARE(m_manager->FinishedJobs().Count(), 1);
    }

    /// A job that has just ended, and has written its output; its client is notified.
    [[nodiscard]] Taskmill_JobRecord Ended(int jobID, const QByteArray &output = Normal()) const
    {
        const QString input = m_manager->InputFile(u"%1.in"_s.arg(jobID));
        Taskmill_JobRecord job = TestManager::JobOf(m_gated, jobID, input);
        job.SetStatus(Taskmill_JobStatus::Running, true);
        job.OutputFile = WriteTestFile(OutputOf(input), output);
        job.SetStatus(Taskmill_JobStatus::Completed, true);
        job.ClientNotification = true;
        job.ClientName = job.ClientAppName = u"test"_s;
        job.ClientAddress = u"127.0.0.1"_s;
        job.ClientPort = 7;
        return job;
    }

    Taskmill_JobType m_gated;
    bool m_isSaved = false;
};

QTEST_GUILESS_MAIN(TestJobResults)
#include "test_jobresults.moc"
