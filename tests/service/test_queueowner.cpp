#include "service/queueowner.h"

#include "db/databasemanager.h"
#include "support/testmanager.h"
#include "support/testutil.h"

#include <QtTest>

using namespace Qt::Literals::StringLiterals;

namespace {
QList<int> NumbersOf(const QList<Taskmill_JobRecord> &jobs)
{
    QList<int> numbers;
    std::ranges::transform(jobs, std::back_inserter(numbers), &Taskmill_JobRecord::JobID);
    return numbers;
}
} // namespace

class TestQueueOwner : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void SubmissionIsRecorded_data();
    void SubmissionIsRecorded();
    void WorksWithoutADatabase();
    void EndedJobMovesToTheFinishedJobs();
    void NeighboursLeaveInTwoPasses();
    void KilledJobIsRecordedOnce();
    void ClearKeepsTheRows();
    void StopKillsAndPauses();
    void ReplaceStopsWhatRan();
    void RemovalAsksAndDeletesTheRows();
    void RemovalMayLeaveRunningJobs();

private:
    QString SubmitGated(Taskmill_QueueOwner &owner, const QString &fileName);
    [[nodiscard]] QList<int> Finished() const { return NumbersOf(m_manager->finishedJobs.Jobs()); }

    std::unique_ptr<TestManager> m_manager;
    Taskmill_JobType m_gated;
};

void TestQueueOwner::init()
{
    FailOnQtWarnings();
    m_manager = std::make_unique<TestManager>();
    m_manager->NewProject();
    m_gated = m_manager->AddGatedJobType();
}

void TestQueueOwner::cleanup()
{
    m_manager.reset();
}

/// Submits a job that runs until its input file, which is returned, is released.
QString TestQueueOwner::SubmitGated(Taskmill_QueueOwner &owner, const QString &fileName)
{
    QString file = m_manager->InputFile(fileName);
    owner.Submit(m_manager->NewJob(m_gated, file));
    return file;
}

void TestQueueOwner::SubmissionIsRecorded_data()
{
    QTest::addColumn<Taskmill_Destination>("destination");
    QTest::newRow("long") << Taskmill_Destination::Long;
    QTest::newRow("short") << Taskmill_Destination::Short;
    QTest::newRow("queueless") << Taskmill_Destination::Queueless;
}

void TestQueueOwner::SubmissionIsRecorded()
{
    QFETCH(const Taskmill_Destination, destination);
    m_manager->jobNumbers = KilnUtil_IDManager{41, 1};
    SubmitGated(*m_manager->tabs.OwnerOf(destination), u"a.in"_s);
    Taskmill_Database &database = TestManager::Database();
    const auto rowsIf = [destination](Taskmill_Destination other) {
        return destination == other ? QList<int>{42} : QList<int>{};
    };
    QCOMPARE(NumbersOf(database.GetLongJobs()), rowsIf(Taskmill_Destination::Long));
    QCOMPARE(NumbersOf(database.GetShortJobs()), rowsIf(Taskmill_Destination::Short));
    QCOMPARE(NumbersOf(database.GetQueuelessJobs()), rowsIf(Taskmill_Destination::Queueless));
    QString last;
    QVERIFY(database.GetGeneralData(u"LastJobID"_s, last));
    QCOMPARE(last, u"42"_s);
}

void TestQueueOwner::WorksWithoutADatabase()
{
    Taskmill_Database_Manager::Global().CloseAll();
    TestManager::Release(SubmitGated(m_manager->longJobs, u"a.in"_s));
    QTRY_COMPARE(Finished(), QList<int>{1});
    QVERIFY(!Taskmill_Database_Manager::Global().CurrentDatabase());
}

void TestQueueOwner::EndedJobMovesToTheFinishedJobs()
{
    const Taskmill_JobType prints = m_manager->AddJobType(u"Prints"_s, u"print hello exit 3"_s);
    m_manager->longJobs.Submit(m_manager->NewJob(prints));
    QTRY_COMPARE(Finished(), QList<int>{1});
    QCOMPARE(m_manager->longJobs.Jobs().Count(), 0);
    QVERIFY(TestManager::Database().GetLongJobs().isEmpty());
    const auto rows = TestManager::Database().GetFinishedJobs();
    QCOMPARE(rows.size(), 1);
    QCOMPARE(rows[0].Status, Taskmill_JobStatus::Failed);
    QCOMPARE(rows[0].StdOutAndStdErr, u"hello\n"_s);
    QVERIFY(rows[0].Finished.isValid());
}

void TestQueueOwner::NeighboursLeaveInTwoPasses()
{
    Taskmill_LongJobsQueue &queue = m_manager->longJobs.Jobs();
    queue.SetPaused(true);
    for (int job = 0; job < 3; ++job)
        m_manager->longJobs.Submit(m_manager->NewJob(m_gated));
    queue.JobAt(0)->SetStatus(Taskmill_JobStatus::Completed, true);
    queue.JobAt(1)->SetStatus(Taskmill_JobStatus::Completed, true);
    m_manager->longJobs.QueueUpdatedSlot();
    QCOMPARE(Finished(), QList<int>{1});
    QTRY_COMPARE(Finished(), (QList<int>{1, 2}));
    QCOMPARE(queue.JobIDs(), QList<int>{3});
    QCOMPARE(NumbersOf(TestManager::Database().GetFinishedJobs()), (QList<int>{1, 2}));
}

void TestQueueOwner::KilledJobIsRecordedOnce()
{
    SubmitGated(m_manager->longJobs, u"a.in"_s);
    TestManager::Release(SubmitGated(m_manager->longJobs, u"b.in"_s));
    m_manager->longJobs.Jobs().RemoveByJobID(1);
    // The second job runs in the slot of the first and ends by itself.
    QTRY_COMPARE(Finished(), (QList<int>{1, 2}));
    const auto rows = TestManager::Database().GetFinishedJobs();
    QCOMPARE(NumbersOf(rows), (QList<int>{1, 2}));
    QCOMPARE(rows[0].Status, Taskmill_JobStatus::Killed);
    QVERIFY(rows[0].Finished.isValid());
    QCOMPARE(rows[1].Status, Taskmill_JobStatus::Completed);
}

void TestQueueOwner::ClearKeepsTheRows()
{
    SubmitGated(m_manager->shortJobs, u"a.in"_s);
    SubmitGated(m_manager->shortJobs, u"b.in"_s);
    m_manager->shortJobs.Clear();
    QCOMPARE(m_manager->shortJobs.Jobs().Count(), 0);
    QCOMPARE(NumbersOf(TestManager::Database().GetShortJobs()), (QList<int>{1, 2}));
    // Only the running one was killed.
    QCOMPARE(Finished(), QList<int>{1});
}

void TestQueueOwner::StopKillsAndPauses()
{
    SubmitGated(m_manager->longJobs, u"a.in"_s);
    SubmitGated(m_manager->longJobs, u"b.in"_s);
    m_manager->longJobs.Stop();
    QVERIFY(m_manager->longJobs.Jobs().IsPaused());
    QCOMPARE(m_manager->longJobs.Jobs().JobIDs(), QList<int>{2});
    QCOMPARE(m_manager->longJobs.Jobs().JobAt(0)->Status(), Taskmill_JobStatus::Pending);
    QCOMPARE(NumbersOf(TestManager::Database().GetLongJobs()), (QList<int>{1, 2}));

    SubmitGated(m_manager->queuelessJobs, u"c.in"_s);
    m_manager->queuelessJobs.Stop();
    QCOMPARE(m_manager->queuelessJobs.Jobs().Count(), 0);
    QCOMPARE(Finished(), (QList<int>{1, 3}));
}

void TestQueueOwner::ReplaceStopsWhatRan()
{
    SubmitGated(m_manager->longJobs, u"a.in"_s);
    Taskmill_JobRecord stored = m_manager->longJobs.Jobs().JobAt(0)->Record();
    stored.JobID = 9;
    m_manager->longJobs.Replace({stored});
    QVERIFY(m_manager->longJobs.Jobs().IsPaused());
    QCOMPARE(m_manager->longJobs.Jobs().JobIDs(), QList<int>{9});
    QCOMPARE(m_manager->longJobs.Jobs().JobAt(0)->Status(), Taskmill_JobStatus::Pending);
    QCOMPARE(Finished(), QList<int>{1});
    QCOMPARE(NumbersOf(TestManager::Database().GetLongJobs()), QList<int>{1});
    m_manager->shortJobs.Replace({});
    QVERIFY(m_manager->shortJobs.Jobs().IsPaused());
}

void TestQueueOwner::RemovalAsksAndDeletesTheRows()
{
    m_manager->longJobs.Jobs().SetPaused(true);
    for (int job = 0; job < 12; ++job)
        m_manager->longJobs.Submit(m_manager->NewJob(m_gated));
    QList<int> all = m_manager->longJobs.Jobs().JobIDs();
    QVERIFY(!m_manager->longJobs.RemoveSelectedJobs({1, 99}));
    QVERIFY(m_manager->prompt.asked.isEmpty());
    QVERIFY(!m_manager->longJobs.RemoveSelectedJobs(all));
    QCOMPARE(m_manager->longJobs.Jobs().Count(), 12);
    const ScriptedPrompt::Asked question = m_manager->prompt.asked.takeFirst();
    QCOMPARE(question.title, u"Remove Selected Jobs from Long Jobs Queue"_s);
    QVERIFY(question.text.startsWith(u"Are you sure you want to remove the following 12 selected jobs from "
                                     "the Long Jobs Queue?\n\njob 1\njob 2\n"_s));
    QVERIFY(question.text.endsWith(u"\njob 10\n... 2 more ..."_s));

    m_manager->prompt.answers = {KilnUtil_UserPrompt::WarnAnswer::Yes};
    all.removeOne(7);
    QVERIFY(m_manager->longJobs.RemoveSelectedJobs(all));
    QCOMPARE(m_manager->longJobs.Jobs().JobIDs(), QList<int>{7});
    QCOMPARE(NumbersOf(TestManager::Database().GetLongJobs()), QList<int>{7});
    QVERIFY(Finished().isEmpty());
}

void TestQueueOwner::RemovalMayLeaveRunningJobs()
{
    using Answer = KilnUtil_UserPrompt::WarnAnswer;
    SubmitGated(m_manager->longJobs, u"a.in"_s);
    SubmitGated(m_manager->longJobs, u"b.in"_s);
    m_manager->prompt.answers = {Answer::Yes, Answer::No};
    QVERIFY(m_manager->longJobs.RemoveSelectedJobs({1, 2}));
    QCOMPARE(m_manager->longJobs.Jobs().JobIDs(), QList<int>{1});
    m_manager->prompt.answers = {Answer::Yes, Answer::Cancel};
    QVERIFY(!m_manager->longJobs.RemoveJob(1));
    QCOMPARE(NumbersOf(TestManager::Database().GetLongJobs()), QList<int>{1});
    m_manager->prompt.answers = {Answer::Yes, Answer::Yes};
    QVERIFY(m_manager->longJobs.RemoveJob(1));
    QCOMPARE(Finished(), QList<int>{1});
    QVERIFY(TestManager::Database().GetLongJobs().isEmpty());
}

QTEST_GUILESS_MAIN(TestQueueOwner)
#include "test_queueowner.moc"
