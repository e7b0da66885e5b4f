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
    void StartsNothingWithoutLimit();
    void StartsTheNextWhenOneEnds();
    void Pauses();
    void WritesTheLimitOnlyWhenItDiffers();
    void CountsFailedStartUntilRemoved();
    void KillsRunningAndKeepsWaiting_data();
    void KillsRunningAndKeepsWaiting();
    void RemovesAllAndStartsNothing();
    void HandsOverEachKilledJobOnce();
    void StartsQueuelessJobsAtOnce();
    void LeavesAFailedQueuelessStartAlone();
    void MakesAddedRecordsPendingAnew();
    void Removes_data();
    void Removes();
    void AnswersByNumberAndPosition_data();
    void AnswersByNumberAndPosition();
    void EndsJobsWithTheContainer();

private:
    [[nodiscard]] Taskmill_JobRecord Waiting(int jobID) const
    {
        return MakeTestJob(jobID, Path(), {u"wait"_s});
    }
    [[nodiscard]] QList<Taskmill_JobRecord> Waiting(const QList<int> &jobIDs) const;
    /// The job cannot be started: the file for its standard input cannot be made.
    [[nodiscard]] Taskmill_JobRecord Unstartable(int jobID) const;
    [[nodiscard]] Taskmill_JobContainer &Container(const QString &name);
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

Taskmill_JobContainer &TestJobQueue::Container(const QString &name)
{
    for (Taskmill_JobContainer *container : {static_cast<Taskmill_JobContainer *>(m_long.get()),
                                             static_cast<Taskmill_JobContainer *>(m_short.get())}) {
        if (container->Name() == name)
            return *container;
    }
    return *m_queueless;
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
}

void TestJobQueue::StartsNothingWithoutLimit()
{
    QCOMPARE(m_short->MaxRunningJobs(), 1);
    for (const int limit : {0, -1}) {
        m_short->SetMaxRunningJobs(limit);
        m_short->Add(new Taskmill_Job{Waiting(1)});
        QVERIFY(!States(*m_short).contains(u'R'));
    }
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

void TestJobQueue::Pauses()
{
    m_long->SetMaxRunningJobs(3);
    m_long->SetPaused(true);
    m_long->AddAll(Waiting(QList{1, 2, 3}));
    m_long->JobFinishedSlot();
    QCOMPARE(States(*m_long), u"PPP"_s);
    m_long->SetPaused(false);
    QCOMPARE(States(*m_long), u"RPP"_s);
    QVERIFY(!m_long->IsPaused());
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

void TestJobQueue::KillsRunningAndKeepsWaiting_data()
{
    QTest::addColumn<bool>("paused");
    QTest::addColumn<QString>("states");

    QTest::newRow("goes on with one job") << false << u"RPP"_s;
    QTest::newRow("stays paused") << true << u"PPP"_s;
}

void TestJobQueue::KillsRunningAndKeepsWaiting()
{
    QFETCH(bool, paused);
    m_long->SetMaxRunningJobs(2);
    m_long->AddAll(Waiting(QList{1, 2, 3, 4, 5}));
    m_long->JobFinishedSlot();
    QCOMPARE(States(*m_long), u"RRPPP"_s);
    if (paused)
        m_long->SetPaused(true);
    m_long->KillRunning();
    QTEST(States(*m_long), "states");
    QCOMPARE(m_long->IsPaused(), paused);
    QCOMPARE(m_long->JobIDs(), (QList{3, 4, 5}));
    QCOMPARE(m_finished.Summary(), (QStringList{u"1 Killed"_s, u"2 Killed"_s}));
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

void TestJobQueue::MakesAddedRecordsPendingAnew()
{
    Taskmill_JobRecord record = Waiting(1);
    const QDateTime before{{2001, 2, 3}, {4, 5, 6}};
    record.Submitted = record.Started = record.Finished = before;
    record.Status = Taskmill_JobStatus::Killed;
    m_short->SetPaused(true);
    m_short->AddAll({record});
    const Taskmill_JobRecord &added = m_short->JobAt(0)->Record();
    QCOMPARE(added.Status, Taskmill_JobStatus::Pending);
    QVERIFY(added.Submitted > before);
    QVERIFY(added.Started.isNull() && added.Finished.isNull());
}

void TestJobQueue::Removes_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"Long", "Short", "Queueless"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

void TestJobQueue::Removes()
{
    QFETCH(QString, name);
    Taskmill_JobContainer &jobs = Container(name);
    QCOMPARE(jobs.Name(), name);
    jobs.AddAll(Waiting(QList{5, 6, 5, 7}));
    const QString states = States(jobs);
    jobs.RemoveAt(-1);
    jobs.RemoveAt(4);
    jobs.RemoveByJobID(99);
    QCOMPARE(States(jobs), states);

    // Of two jobs with the same number the first is meant.
    QCOMPARE(jobs.FindByJobID(5), jobs.JobAt(0));
    jobs.RemoveByJobID(5);
    QCOMPARE(m_finished.Summary(), QStringList{u"5 Killed"_s});
    QCOMPARE(jobs.JobIDs(), (QList{6, 5, 7}));
    QCOMPARE(jobs.FindByJobID(5), jobs.JobAt(1));
    jobs.RemoveAt(1);
    QCOMPARE(jobs.JobIDs(), (QList{6, 7}));
    QCOMPARE(jobs.FindByJobID(5), nullptr);
    jobs.RemoveAll();
    QCOMPARE(jobs.Count(), 0);
}

void TestJobQueue::AnswersByNumberAndPosition_data()
{
    Removes_data();
}

void TestJobQueue::AnswersByNumberAndPosition()
{
    QFETCH(QString, name);
    Taskmill_JobContainer &jobs = Container(name);
    jobs.AddAll(Waiting(QList{5, 6, 7}));
    bool anyRunning = true;
    QVERIFY(jobs.ContainsAll({}, anyRunning));
    QVERIFY(!anyRunning);
    QVERIFY(jobs.ContainsAll({7, 5}, anyRunning));
    QVERIFY(anyRunning);
    QVERIFY(!jobs.ContainsAll({99, 5}, anyRunning));
    QVERIFY(anyRunning);
    QVERIFY(jobs.ContainsAll({6}, anyRunning));
    QCOMPARE(anyRunning, name == u"Queueless"_s);

    QStringList names;
    QVERIFY(jobs.NamesOf({7, 5}, names));
    QCOMPARE(names, (QStringList{u"job 7"_s, u"job 5"_s}));
    QVERIFY(!jobs.NamesOf({7, 99}, names));
    QCOMPARE(names, QStringList{});
    QVERIFY(jobs.NamesOf({}, names));

    QCOMPARE(jobs.JobIDsOf({2, 0, 3, 1}), (QList{7, 5}));
    QCOMPARE(jobs.JobIDsOf({-1, 0}), QList<int>{});

    QVERIFY(jobs.JobAt(0)->ProcessID() > 0);
    QCOMPARE(jobs.FindJobByProcessID(jobs.JobAt(0)->ProcessID()), 5);
    QCOMPARE(jobs.FindJobByProcessID(QCoreApplication::applicationPid()), -1);
    QCOMPARE(jobs.FindJobByProcessID(0), -1);
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
