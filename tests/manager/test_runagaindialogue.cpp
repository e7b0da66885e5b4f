// SPDX-License-Identifier: MIT
#include "manager/runagaindialogue.h"

#include "db/database.h"
#include "jobs/job.h"
#include "support/testmanager.h"

using namespace Qt::Literals::StringLiterals;

namespace {
using WarnAnswer = KilnUtil_UserPrompt::WarnAnswer;
}

/// Finished jobs that are run again.
class TestRunAgainDialogue : public ManagerTestCase
{
    Q_OBJECT

private:
    /// Adds a finished job "a", "b", ... of the type, with an output file if it is to have written one.
    Taskmill_JobRecord AddFinished(bool hasOutput = false)
    {
        const auto number = static_cast<int>(m_manager->FinishedJobs().Count()) + 1;
        const QString name{QChar{u'a' + number - 1}};
        Taskmill_JobRecord job = TestManager::JobOf(m_type, number, m_manager->InputFile(name + u".in"_s));
        job.Name = name;
        job.JobClass = u"class"_s;
        job.QueueName = u"Short"_s;
        job.ClientNotification = true;
        job.PlaceholderValues = {{u"@WHAT"_s, u"x y"_s}};
        job.OutputFile = name + u".result"_s;
        job.StdOutAndStdErr = u"output"_s;
        job.Started = job.Finished = job.Submitted = Taskmill_JobTime::Now();
        if (hasOutput)
            WriteTestFile(job.OutputFilePath(), "result");
        m_manager->FinishedJobs().AddJob(job);
        return job;
    }

    QList<int> RunAgain()
    {
        QList<int> all(m_manager->FinishedJobs().Count());
        std::iota(all.begin(), all.end(), 0);
        Taskmill_RunAgainDialogue dialogue{m_manager->Submitter(), {m_manager->FinishedJobs(), all}};
        Taskmill_AskThroughPrompt(dialogue);
        return dialogue.JobIDs();
    }

    /// The arguments of the jobs that wait now.
    [[nodiscard]] QStringList Waiting() const
    {
        QStringList commands;
        for (const Taskmill_Job *job : m_manager->Short().Jobs().Jobs())
            commands += job->Record().CommandLine().section(u' ', 1);
        return commands;
    }

    void ChangeType(const QString &arguments)
    {
        Taskmill_JobType type = m_manager->JobTypes().GetAll().last();
        type.GenericCommandLine = u"@EXEFILE "_s + arguments;
        QCOMPARE(m_manager->JobTypes().TryToUpdate(type), QString{});
        m_manager->JobTypes().Refresh();
    }

    Taskmill_JobType m_type;

private Q_SLOTS:
    void init() override
    {
        ManagerTestCase::init();
        m_manager->NewProject();
        m_manager->Short().Queue()->SetPaused(true);
        m_type = m_manager->AddJobType(u"Run"_s, u"print @WHAT"_s);
    }

    void TheSameFieldsInTheSameQueue()
    {
        const Taskmill_JobRecord before = AddFinished();
        const QList<int> jobIDs = RunAgain();
        QCOMPARE(jobIDs.size(), 1);
        QVERIFY(m_manager->prompt.asked.isEmpty());
        const auto again = m_manager->FindJob(jobIDs.first());
        QVERIFY(again);
        QCOMPARE(again->Status, Taskmill_JobStatus::Pending);
        QCOMPARE((QStringList{again->Name, again->JobClass, again->InputFilePath, again->OutputFile,
                              again->CommandLine(), again->QueueName}),
                 (QStringList{before.Name, before.JobClass, before.InputFilePath, before.OutputFile,
                              before.CommandLine(), before.QueueName}));
        // Its client knows nothing of it, and nothing of the run before is in it.
        QVERIFY(!again->ClientNotification);
        QVERIFY(again->Started.isNull());
        QVERIFY(again->StdOutAndStdErr.isEmpty());
    }

    void AChangedJobTypeIsAskedAbout_data()
    {
        QTest::addColumn<bool>("isReopened");
        QTest::addColumn<WarnAnswer>("answer");
        QTest::addColumn<QStringList>("arguments");
        const QStringList asNow{u"error x y"_s, u"error x y"_s};
        const QStringList asThen{u"print x y"_s, u"print x y"_s};
        QTest::newRow("as it is now") << false << WarnAnswer::Yes << asNow;
        QTest::newRow("as it was") << false << WarnAnswer::No << asThen;
        QTest::newRow("as it was, read from the project") << true << WarnAnswer::No << asThen;
        QTest::newRow("not at all") << false << WarnAnswer::Cancel << QStringList{};
    }

    void AChangedJobTypeIsAskedAbout()
    {
        QFETCH(const bool, isReopened);
        QFETCH(const WarnAnswer, answer);
        QFETCH(const QStringList, arguments);
        AddFinished();
        AddFinished();
        ChangeType(u"error @WHAT"_s);
        if (isReopened)
            m_manager->FinishedJobs().Load();
        m_manager->prompt.answers = {answer};
        QCOMPARE(RunAgain().size(), arguments.size());
        QCOMPARE(Waiting(), arguments);
        QCOMPARE(m_manager->prompt.asked.size(), 1);
        QVERIFY(m_manager->prompt.asked.first().text.contains(u"of 2 of the jobs"_s));
    }

    void OutputsAreNotReplacedUnasked_data()
    {
        QTest::addColumn<WarnAnswer>("answer");
        QTest::addColumn<int>("submitted");
        QTest::newRow("all") << WarnAnswer::Yes << 3;
        QTest::newRow("only the others") << WarnAnswer::No << 1;
        QTest::newRow("none") << WarnAnswer::Cancel << 0;
    }

    void OutputsAreNotReplacedUnasked()
    {
        QFETCH(const WarnAnswer, answer);
        QFETCH(const int, submitted);
        AddFinished(true);
        AddFinished();
        AddFinished(true);
        m_manager->prompt.answers = {answer};
        QCOMPARE(RunAgain().size(), submitted);
        QCOMPARE(m_manager->prompt.asked.size(), 1);
        QVERIFY(m_manager->prompt.asked.first().text.endsWith(u"a\nc"_s));
    }

    void WhatCannotRunIsReported()
    {
        QFile::remove(AddFinished().InputFilePath);
        m_type = m_manager->AddJobType(u"Gone"_s, u"print"_s);
        AddFinished();
        m_manager->JobTypes().Remove(m_type);
        m_type = m_manager->JobTypes().GetAll().last();
        AddFinished();
        QCOMPARE(RunAgain().size(), 1);
        QStringList reported;
        for (const ScriptedPrompt::Asked &asked : m_manager->prompt.asked)
            reported += asked.text.section(u'\n', 0, 0) + u' ' + asked.text.section(u'\n', -1);
        QCOMPARE(reported, (QStringList{u"The input file is no longer there. a"_s,
                                        u"The job type is no longer there. b"_s}));
    }

    void AnotherProjectDuringTheQuestion()
    {
        AddFinished(true);
        QList<int> all{0};
        Taskmill_RunAgainDialogue dialogue{m_manager->Submitter(), {m_manager->FinishedJobs(), all}};
        QVERIFY(dialogue.Next());
        m_manager->NewProject();
        dialogue.Answer({.choice = WarnAnswer::Yes});
        QVERIFY(!dialogue.Next());
        QVERIFY(dialogue.JobIDs().isEmpty());
        QCOMPARE(Waiting(), QStringList{});
    }
};

QTEST_GUILESS_MAIN(TestRunAgainDialogue)
#include "test_runagaindialogue.moc"
