#include "fakejobstore.h"
#include "jobs/jobqueue.h"
#include "jobs/processinspector.h"
#include "jobs/queuelessjobslist.h"
#include "support/jobfakes.h"

#include <QtTest>

#include <memory>

using namespace Qt::Literals::StringLiterals;

/// The two queues and the queueless list.
class TestJobQueue : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void StartsOneJobPerChange();
    void PausesAndKillsWhatRuns();
    void StartsTheNextWhenOneEnds();
    void WritesTheLimitOnlyWhenItDiffers();
    void CountsFailedStartUntilRemoved();
    void RemovesAllAndStartsNothing();
    void HandsOverEachKilledJobOnce();
    void StartsQueuelessJobsAtOnce();
    void LeavesAFailedQueuelessStartAlone();
    void RemovesAndAnswersByNumberAndPosition();
    void EndsJobsWithTheContainer();

private:
    [[nodiscard]] Taskmill_JobRecord Waiting(int jobID) const
    {
        return MakeTestJob(jobID, Path(), {u"wait"_s});
    }
    [[nodiscard]] QList<Taskmill_JobRecord> Waiting(const QList<int> &jobIDs) const;
    /// The job cannot be started: the file for its standard input cannot be made.
    [[nodiscard]] Taskmill_JobRecord Unstartable(int jobID) const;
    [[nodiscard]] QString Path() const { return m_directory->path(); }
    [[nodiscard]] static QString States(const Taskmill_JobContainer &jobs);

    const std::unique_ptr<Taskmill_ProcessInspector> m_inspector = Taskmill_MakeSystemProcessInspector();
    FakeJobStore m_store;
    RecordingFinishedJobsTaker m_finished;
    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<Taskmill_LongJobsQueue> m_long;
    std::unique_ptr<Taskmill_ShortJobsQueue> m_short;
    std::unique_ptr<Taskmill_QueuelessJobsList> m_queueless;
};

void TestJobQueue::init()
{
    FailOnQtWarnings();
    m_store = {};
    m_finished = {};
    m_directory = std::make_unique<QTemporaryDir>();
    m_long = std::make_unique<Taskmill_LongJobsQueue>(m_store, m_finished, *m_inspector);
    m_short = std::make_unique<Taskmill_ShortJobsQueue>(m_store, m_finished, *m_inspector);
    m_queueless = std::make_unique<Taskmill_QueuelessJobsList>(m_finished, *m_inspector);
}

void TestJobQueue::cleanup()
{
    m_long.reset();
    m_short.reset();
    m_queueless.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    m_directory.reset();
}

QList<Taskmill_JobRecord> TestJobQueue::Waiting(const QList<int> &jobIDs) const
{
    QList<Taskmill_JobRecord> records;
    for (const int jobID : jobIDs)
        records.append(Waiting(jobID));
    return records;
}

Taskmill_JobRecord TestJobQueue::Unstartable(int jobID) const
{
    Taskmill_JobRecord record = MakeTestJob(jobID, Path(), {u"stdin"_s}, u"y\n"_s);
    record.OutputFile = Path() + u"/none/x.out"_s;
    return record;
}

/// One letter for each job: P(ending), R(unning), C(ompleted), K(illed) and so on.
QString TestJobQueue::States(const Taskmill_JobContainer &jobs)
{
    QString states;
    for (const Taskmill_Job *job : jobs.Jobs())
        states += Taskmill_JobStatusText(job->Status()).front();
    return states;
}

void TestJobQueue::StartsOneJobPerChange()
{
    m_long->SetMaxRunningJobs(2);
    m_long->AddAll(Waiting(QList{1, 2, 3}));
    QCOMPARE(States(*m_long), u"RPP"_s);
    m_long->Add(new Taskmill_Job{Waiting(4)});
    QCOMPARE(States(*m_long), u"RRPP"_s);
    m_long->Add(new Taskmill_Job{Waiting(5)});
    QCOMPARE(States(*m_long), u"RRPPP"_s);
    m_long->SetMaxRunningJobs(4);
    QCOMPARE(States(*m_long), u"RRRPP"_s);
    m_long->JobFinishedSlot();
    QCOMPARE(States(*m_long), u"RRRRP"_s);

    for (const int limit : {0, -1}) {
        m_short->SetMaxRunningJobs(limit);
        m_short->Add(new Taskmill_Job{Waiting(1)});
        QVERIFY(!States(*m_short).contains(u'R'));
    }
}

void TestJobQueue::PausesAndKillsWhatRuns()
{
    Taskmill_JobRecord stored = Waiting(1);
    stored.Submitted = stored.Started = stored.Finished = QDateTime{{2001, 2, 3}, {4, 5, 6}};
    stored.Status = Taskmill_JobStatus::Killed;
    m_long->SetMaxRunningJobs(2);
    m_long->SetPaused(true);
    m_long->AddAll({stored, Waiting(2), Waiting(3), Waiting(4), Waiting(5)});
    m_long->JobFinishedSlot();
    QCOMPARE(States(*m_long), u"PPPPP"_s);
    const Taskmill_JobRecord &added = m_long->JobAt(0)->Record();
    QVERIFY(added.Submitted > stored.Submitted);
    QVERIFY(added.Started.isNull() && added.Finished.isNull());

    m_long->SetPaused(false);
    m_long->JobFinishedSlot();
    QCOMPARE(States(*m_long), u"RRPPP"_s);
    m_long->KillRunning();
    QCOMPARE(States(*m_long), u"RPP"_s);
    QCOMPARE(m_long->JobIDs(), (QList{3, 4, 5}));
    QCOMPARE(m_finished.Summary(), (QStringList{u"1 Killed"_s, u"2 Killed"_s}));
    m_long->SetPaused(true);
    m_long->KillRunning();
    QCOMPARE(States(*m_long), u"PP"_s);
    QVERIFY(m_long->IsPaused());
}

void TestJobQueue::StartsTheNextWhenOneEnds()
{
    const QSignalSpy updated{m_long.get(), &Taskmill_JobQueue::QueueUpdatedSignal};
    const auto ending = [this](int jobID, const QString &verb) {
        return MakeTestJob(jobID, Path(), {verb, u"1"_s});
    };
    m_long->AddAll({ending(1, u"print"_s), ending(2, u"exit"_s), ending(3, u"print"_s)});
    QCOMPARE(updated.size(), 1);
    QTRY_COMPARE(States(*m_long), u"CFC"_s);
    QCOMPARE(updated.size(), 4);
    // Collecting what has ended is the owner's affair.
    QVERIFY(m_finished.Taken.isEmpty());
    for (int i = 1; i < 3; ++i)
        QVERIFY(m_long->JobAt(i)->Record().Started >= m_long->JobAt(i - 1)->Record().Finished);
}

void TestJobQueue::WritesTheLimitOnlyWhenItDiffers()
{
    m_store.Limits = {{u"Long"_s, 3}, {u"Short"_s, 1}};
    m_long->SetMaxRunningJobs(3);
    QCOMPARE(m_store.LimitWrites, 0);
    m_short->SetMaxRunningJobs(3);
    QCOMPARE(m_store.LimitWrites, 1);
    QCOMPARE(m_store.Limits.value(u"Short"_s), 3);
    m_store.Open = false;
    m_long->SetMaxRunningJobs(5);
    QCOMPARE(m_store.LimitWrites, 1);
    QCOMPARE(m_long->MaxRunningJobs(), 5);
}

void TestJobQueue::CountsFailedStartUntilRemoved()
{
    QTest::ignoreMessage(QtWarningMsg, "Job 1: the file for its standard input cannot be written");
    m_long->AddAll({Unstartable(1), Waiting(2)});
    m_long->JobFinishedSlot();
    QCOMPARE(States(*m_long), u"RP"_s);
    m_long->RemoveAt(0);
    QCOMPARE(States(*m_long), u"R"_s);
    QCOMPARE(m_long->JobIDs(), QList{2});
    QVERIFY(m_finished.Taken.isEmpty());
}

void TestJobQueue::RemovesAllAndStartsNothing()
{
    m_long->SetMaxRunningJobs(2);
    m_long->AddAll(Waiting(QList{1, 2, 3, 4}));
    m_long->JobFinishedSlot();
    m_long->RemoveAll();
    QCOMPARE(m_long->Count(), 0);
    // A waiting job that had been started would have been killed and handed over.
    QCOMPARE(m_finished.Summary(), (QStringList{u"1 Killed"_s, u"2 Killed"_s}));
    QCOMPARE(m_long->FindByJobID(3), nullptr);
}

void TestJobQueue::HandsOverEachKilledJobOnce()
{
    // As the owner does: whatever has ended is collected at every change.
    const auto collect = [this] {
        for (int i = 0; i < m_long->Count(); ++i) {
            if (m_long->JobAt(i)->IsFinished())
                m_finished.Taken.append(m_long->JobAt(i)->Record());
        }
    };
    connect(m_long.get(), &Taskmill_JobQueue::QueueUpdatedSignal, m_long.get(), collect);
    m_finished.OnTaken = collect;
    m_long->AddAll({MakeTestJob(1, Path(), {u"print"_s, u"before"_s, u"wait"_s}), Waiting(2)});
    QTRY_VERIFY(!m_long->JobAt(0)->GatherOutput().isEmpty());
    m_long->RemoveByJobID(1);
    QCOMPARE(States(*m_long), u"R"_s);
    QCoreApplication::processEvents();
    QCOMPARE(m_finished.Summary(), QStringList{u"1 Killed"_s});
    QCOMPARE(m_finished.Taken.first().StdOutAndStdErr.trimmed(), u"before"_s);
    QVERIFY(m_finished.Taken.first().Finished.isValid());
}

void TestJobQueue::StartsQueuelessJobsAtOnce()
{
    const QSignalSpy updated{m_queueless.get(), &Taskmill_QueuelessJobsList::ListUpdatedSignal};
    m_queueless->AddAll({MakeTestJob(1, Path(), {u"exit"_s, u"0"_s}), Waiting(2), Waiting(3)});
    QCOMPARE(States(*m_queueless), u"RRR"_s);
    QTRY_COMPARE(States(*m_queueless), u"CRR"_s);
    m_queueless->Add(new Taskmill_Job{Waiting(4)});
    QCOMPARE(States(*m_queueless), u"CRRR"_s);
    QCOMPARE(updated.size(), 3);
    m_queueless->KillRunning();
    QCOMPARE(States(*m_queueless), u"C"_s);
    QCOMPARE(m_finished.Summary(), (QStringList{u"2 Killed"_s, u"3 Killed"_s, u"4 Killed"_s}));
}

void TestJobQueue::LeavesAFailedQueuelessStartAlone()
{
    // The message comes once, so the start is tried once.
    QTest::ignoreMessage(QtWarningMsg, "Job 1: the file for its standard input cannot be written");
    QTest::failOnWarning(QRegularExpression{u"^Job"_s});
    m_queueless->AddAll({Unstartable(1), Waiting(2)});
    m_queueless->JobFinishedSlot();
    QCOMPARE(States(*m_queueless), u"RR"_s);
}

void TestJobQueue::RemovesAndAnswersByNumberAndPosition()
{
    m_long->AddAll(Waiting(QList{5, 6, 5, 7}));
    m_long->RemoveAt(-1);
    m_long->RemoveAt(4);
    m_long->RemoveByJobID(99);
    QCOMPARE(m_long->JobIDs(), (QList{5, 6, 5, 7}));
    QCOMPARE(m_long->FindJobByProcessID(m_long->JobAt(0)->ProcessID()), 5);
    QCOMPARE(m_long->FindJobByProcessID(QCoreApplication::applicationPid()), -1);
    QCOMPARE(m_long->FindJobByProcessID(0), -1);
    QCOMPARE(m_long->JobIDsOf({2, 0, 4, 1}), (QList{5, 5}));
    QCOMPARE(m_long->JobIDsOf({-1, 0}), QList<int>{});

    bool anyRunning = true;
    QVERIFY(m_long->ContainsAll({}, anyRunning) && !anyRunning);
    QVERIFY(m_long->ContainsAll({6, 5}, anyRunning) && anyRunning);
    QVERIFY(!m_long->ContainsAll({99, 5}, anyRunning) && anyRunning);
    QVERIFY(m_long->ContainsAll({6}, anyRunning) && !anyRunning);
    QStringList names;
    QVERIFY(m_long->NamesOf({7, 5}, names));
    QCOMPARE(names, (QStringList{u"job 7"_s, u"job 5"_s}));
    QVERIFY(!m_long->NamesOf({7, 99}, names));
    QCOMPARE(names, QStringList{});

    // Of two jobs with the same number the first is meant.
    m_long->RemoveByJobID(5);
    QCOMPARE(m_finished.Summary(), QStringList{u"5 Killed"_s});
    QCOMPARE(m_long->JobIDs(), (QList{6, 5, 7}));
    QCOMPARE(m_long->FindByJobID(5), m_long->JobAt(1));
    m_long->RemoveAt(1);
    QCOMPARE(m_long->FindByJobID(5), nullptr);
}

void TestJobQueue::EndsJobsWithTheContainer()
{
    m_queueless->AddAll(Waiting(QList{1, 2}));
    const qint64 processID = m_queueless->JobAt(1)->ProcessID();
    m_queueless.reset();
    const QList<Taskmill_ProcessRecord> processes = m_inspector->ListProcesses();
    QVERIFY(!processes.isEmpty());
    for (const Taskmill_ProcessRecord &process : processes)
        QVERIFY(process.ProcessIdNumber() != processID);
    QVERIFY(m_finished.Taken.isEmpty());
}

QTEST_GUILESS_MAIN(TestJobQueue)
#include "test_jobqueue.moc"
