// SPDX-License-Identifier: MIT
#include "manager/queueowner.h"

#include "db/databasetestutil.h"
#include "manager/closingdialogue.h"
#include "manager/removaldialogue.h"
#include "support/testmanager.h"

using namespace Qt::Literals::StringLiterals;

using Answer = KilnUtil_UserPrompt::WarnAnswer;

namespace {
QList<int> NumbersOf(const QList<Taskmill_JobRecord> &jobs)
{
    QList<int> numbers;
    std::ranges::transform(jobs, std::back_inserter(numbers), &Taskmill_JobRecord::JobID);
    return numbers;
}
} // namespace

class TestQueueOwner : public ManagerTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init() override
    {
        ManagerTestCase::init();
        m_manager->NewProject();
        m_gated = m_manager->AddGatedJobType();
    }

    void NeighboursLeaveInTwoPasses()
    {
        Taskmill_JobQueue &queue = *m_manager->Long().Queue();
        queue.SetPaused(true);
        SubmitGated(3);
        queue.JobAt(0)->SetStatus(Taskmill_JobStatus::Completed, true);
        queue.JobAt(1)->SetStatus(Taskmill_JobStatus::Completed, true);
        m_manager->Long().QueueUpdatedSlot();
        QCOMPARE(Finished(), QList<int>{1});
        QTRY_COMPARE(Finished(), (QList<int>{1, 2}));
        QCOMPARE(queue.JobIDs(), QList<int>{3});
        QCOMPARE(NumbersOf(TestManager::Database().GetFinishedJobs()), (QList<int>{1, 2}));
        QCOMPARE(LongRows(), QList<int>{3});
    }

    void RemovalAsksAndDeletesTheRows()
    {
        SubmitGated(12);
        QList<int> all = m_manager->Long().Jobs().JobIDs();
        QVERIFY(!m_manager->Long().RemoveSelectedJobs({1, 99}));
        QVERIFY(m_manager->prompt.asked.isEmpty());
        QVERIFY(!m_manager->Long().RemoveSelectedJobs(all));
        const QString question = m_manager->prompt.asked.first().text;
        QVERIFY(question.startsWith(u"Are you sure you want to remove the following 12 selected jobs from "
                                    "the Long Jobs Queue?\n\njob 1\njob 2\n"_s));
        QVERIFY(question.endsWith(u"\njob 10\n... 2 more ..."_s));
        m_manager->prompt.answers = {Answer::Yes, Answer::Cancel};
        QVERIFY(!m_manager->Long().RemoveSelectedJobs(all));
        QCOMPARE(LongRows(), all);

        // The one that runs may stay.
        all.removeOne(7);
        m_manager->prompt.answers = {Answer::Yes, Answer::No};
        QVERIFY(m_manager->Long().RemoveSelectedJobs(all));
        QCOMPARE(m_manager->Long().Jobs().JobIDs(), (QList<int>{1, 7}));
        QCOMPARE(LongRows(), (QList<int>{1, 7}));
        QVERIFY(Finished().isEmpty());

        // A killed job is recorded once, and the next one runs in its place.
        TestManager::Release(m_manager->Path(u"7.in"_s));
        m_manager->prompt.answers = {Answer::Yes, Answer::Yes};
        QVERIFY(m_manager->Long().RemoveJob(1));
        QTRY_COMPARE(Finished(), (QList<int>{1, 7}));
        const auto rows = TestManager::Database().GetFinishedJobs();
        QCOMPARE(NumbersOf(rows), (QList<int>{1, 7}));
        QCOMPARE(rows[0].Status, Taskmill_JobStatus::Killed);
        QCOMPARE(rows[1].Status, Taskmill_JobStatus::Completed);
        QVERIFY(LongRows().isEmpty());
    }

    void WhatBeginsToRunWhileTheWarningStandsStays()
    {
        SubmitGated(2);
        Taskmill_RemovalDialogue removal{m_manager->Long(), {1, 2}};
        QVERIFY(removal.Next());
        removal.Answer({.choice = Answer::Yes});
        QVERIFY(removal.Next().value_or(Taskmill_Question{}).isWarning);
        m_manager->Long().Queue()->SetMaxRunningJobs(2);
        removal.Answer({.choice = Answer::No});
        QVERIFY(!removal.Next());
        QCOMPARE(LongRows(), (QList<int>{1, 2}));
    }

    void NothingGoesWhereNobodyCanBeAsked()
    {
        SubmitGated(1);
        KilnUtil_Error::SetUserPrompt(nullptr);
        QVERIFY(!m_manager->Long().RemoveSelectedJobs({1}));
        Taskmill_ClosingDialogue closing{m_manager->Project()};
        Taskmill_AskThroughPrompt(closing);
        KilnUtil_Error::SetUserPrompt(&m_manager->prompt);
        QVERIFY(!closing.MayClose());
        QCOMPARE(LongRows(), QList<int>{1});
    }

    void RowsThatStayAreReported()
    {
        SubmitGated(2);
        QVERIFY(m_manager->FinishedJobs().AddJob(SampleJob(m_gated, 9)));
        RefuseWrites(TestManager::Database(), true);
        m_manager->Long().RemoveNow({2});
        m_manager->FinishedJobs().Remove({0});
        m_manager->JobTypes().RemoveAll();
        const auto reports = [this] {
            QStringList texts;
            for (const auto &asked : m_manager->prompt.asked)
                texts += asked.text.section(u'\n', 2, 2);
            return texts;
        };
        QTRY_COMPARE(reports(), (QStringList{SampleJob(m_gated, 9).Name, m_gated.Name, u"job 2"_s}));
        QVERIFY(m_manager->JobTypes().Names().contains(m_gated.Name));
        RefuseWrites(TestManager::Database(), false);
        QCOMPARE(LongRows(), (QList<int>{1, 2}));
    }

    void FullDiskChangesNothingInSilence()
    {
        m_manager->Long().Queue()->SetPaused(true);
        SubmitGated(2);
        RefuseCommits(TestManager::Database(), true);
        const std::optional<QString> problem = m_manager->Long().SetLimit(7);
        QVERIFY(problem);
        QVERIFY(problem->contains("stays at 1"_L1));
        m_manager->Long().RemoveNow({1, 2});
        QTRY_COMPARE(m_manager->prompt.asked.size(), 1);
        const QString text = m_manager->prompt.asked[0].text;
        QVERIFY2(text.contains("job 1"_L1), qPrintable(text));
        QVERIFY2(text.contains("job 2"_L1), qPrintable(text));
        RefuseCommits(TestManager::Database(), false);
        QCOMPARE(LongRows(), (QList<int>{1, 2}));
        QVERIFY(m_manager->Long().IsRowKept(2));
        QVERIFY(m_manager->Project().SaveProjectAs(m_manager->Path(u"jobs.mill"_s)));
        QCOMPARE(LongRows(), QList<int>{});
        QCOMPARE(m_manager->Long().Queue()->MaxRunningJobs(), 1);
        QVERIFY(!m_manager->Long().SetLimit(7));
        QCOMPARE(TestManager::Database().GetMaxRunningJobs(u"Long"_s), 7);
    }

    void NoneThatIsRemovedStarts_data()
    {
        QTest::addColumn<QList<int>>("removed");
        QTest::addColumn<QList<Answer>>("answers");
        QTest::addColumn<QList<int>>("left");
        QTest::addColumn<QList<int>>("killed");
        const QList<int> running{1, 2, 3};
        const QList<int> waiting{4, 5, 6, 7};
        QTest::newRow("waiting") << waiting << QList{Answer::Yes} << running << QList<int>{};
        QTest::newRow("No") << running + waiting << QList{Answer::Yes, Answer::No} << running << QList<int>{};
        QTest::newRow("Yes") << running + QList{4, 6} << QList{Answer::Yes, Answer::Yes} << QList{5, 7}
                             << QList{3, 2, 1};
    }

    /// A slot is free for one more job than run.
    void NoneThatIsRemovedStarts()
    {
        QFETCH(const QList<int>, removed);
        QFETCH(const QList<int>, left);
        QFETCH(const QList<int>, killed);
        QFETCH(const QList<Answer>, answers);
        Taskmill_JobQueue &queue = *m_manager->Long().Queue();
        queue.SetMaxRunningJobs(2);
        SubmitGated(7);
        queue.SetMaxRunningJobs(4);
        m_manager->prompt.answers = answers;
        QVERIFY(m_manager->Long().RemoveSelectedJobs(removed));
        QCOMPARE(queue.JobIDs(), left);
        QCOMPARE(LongRows(), left);
        QCOMPARE(Finished(), killed);
        QCOMPARE(queue.JobAt(0)->Status(), Taskmill_JobStatus::Running);
    }

private:
    /// Jobs that run until their input files, such as 1.in, are released.
    void SubmitGated(int count)
    {
        for (int jobID = 1; jobID <= count; ++jobID)
            m_manager->SubmitGated(m_manager->Long(), u"%1.in"_s.arg(jobID));
    }

    [[nodiscard]] QList<int> Finished() const { return NumbersOf(m_manager->FinishedJobs().Jobs()); }
    [[nodiscard]] static QList<int> LongRows() { return NumbersOf(TestManager::Database().GetLongJobs()); }

    Taskmill_JobType m_gated;
};

QTEST_GUILESS_MAIN(TestQueueOwner)
#include "test_queueowner.moc"
