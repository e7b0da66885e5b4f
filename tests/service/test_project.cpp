#include "service/project.h"

#include "db/databasetestutil.h"
#include "jobs/job.h"
#include "kilnutil/registry.h"
#include "support/testmanager.h"
#include "support/testutil.h"

#include <QDir>
#include <QFile>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

using SaveAnswer = Taskmill_Project::SaveAnswer;
using WarnAnswer = KilnUtil_UserPrompt::WarnAnswer;

class TestProject : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void NewProjectIsEmptyAndRuns();
    void NewProjectEndsTheOldOne();
    void OpenedProjectWaitsWhereItStopped();
    void NumbersContinue_data();
    void NumbersContinue();
    void LimitsOfOpenedQueues_data();
    void LimitsOfOpenedQueues();
    void QueuelessJobsStartWhenAllIsLoaded();
    void JobsGoOnAfterSaving();
    void FailedSaveLeavesEverything();
    void AnswersBeforeClosing();
    void CancelledQuestionKeepsTheProject();

private:
    [[nodiscard]] QString File() const { return m_manager->Path(u"jobs.mill"_s); }
    void MakeProjectFile();
    QString SubmitGated(const QString &fileName);
    [[nodiscard]] static QStringList RowsNow(const QString &statement)
    {
        return RowsOf(TestManager::Database(), statement);
    }

    std::unique_ptr<TestManager> m_manager;
};

void TestProject::init()
{
    FailOnQtWarnings();
    m_manager = std::make_unique<TestManager>();
}

void TestProject::cleanup()
{
    m_manager.reset();
}

QString TestProject::SubmitGated(const QString &fileName)
{
    QString file = m_manager->InputFile(fileName);
    const auto result = m_manager->submitter.Submit(TestManager::Request(u"Gated"_s, file));
    if (result.JobIDs.isEmpty())
        qFatal("%ls", qUtf16Printable(result.Refusal));
    return file;
}

/// A project with the job types "Gated" and "Quick" and the finished job 1, saved and replaced by a new one.
void TestProject::MakeProjectFile()
{
    m_manager->NewProject();
    m_manager->AddGatedJobType();
    m_manager->AddJobType(u"Quick"_s, u"print quick"_s, u"Queueless"_s);
    (void)m_manager->submitter.Submit(TestManager::Request(u"Quick"_s));
    QTRY_COMPARE(m_manager->finishedJobs.Jobs().size(), 1);
    QVERIFY(m_manager->project.SaveProjectAs(File()));
    m_manager->NewProject();
}

void TestProject::NewProjectIsEmptyAndRuns()
{
    WriteTestFile(m_manager->Path(u"g16.exe"_s), {});
    m_manager->NewProject();
    QVERIFY(!m_manager->project.HasUnsavedChanges());
    QVERIFY(m_manager->project.FilePath().isEmpty());
    QCOMPARE(RowsNow(u"SELECT QueueID, Name, MaxRunningJobs FROM Queues ORDER BY QueueID"_s),
             (QStringList{u"0|Long|1"_s, u"1|Short|1"_s}));
    QCOMPARE(RowsNow(u"SELECT Name, DataStr FROM GeneralData"_s), QStringList{u"Version|2"_s});
    QCOMPARE(m_manager->jobTypes.Names(), QStringList{u"Gaussian"_s});
    QCOMPARE(RowsNow(u"SELECT JobTypeID, Name FROM JobTypes"_s), QStringList{u"0|Gaussian"_s});
    QVERIFY(!m_manager->longJobs.Jobs().IsPaused());
    QVERIFY(!m_manager->shortJobs.Jobs().IsPaused());

    m_manager->AddGatedJobType();
    QVERIFY(m_manager->project.HasUnsavedChanges());
    TestManager::Release(SubmitGated(u"a.in"_s));
    QTRY_COMPARE(m_manager->finishedJobs.Jobs().size(), 1);
    QCOMPARE(m_manager->finishedJobs.Jobs().first().JobID, 1);
}

void TestProject::NewProjectEndsTheOldOne()
{
    m_manager->NewProject();
    m_manager->AddGatedJobType();
    m_manager->longJobs.Jobs().SetMaxRunningJobs(2);
    SubmitGated(u"a.in"_s);
    SubmitGated(u"b.in"_s);
    m_manager->shortJobs.Jobs().SetPaused(true);
    m_manager->NewProject();
    QCOMPARE(m_manager->longJobs.Jobs().Count(), 0);
    QVERIFY(m_manager->finishedJobs.Jobs().isEmpty());
    QVERIFY(m_manager->jobTypes.Names().isEmpty());
    QCOMPARE(m_manager->longJobs.Jobs().MaxRunningJobs(), 1);
    QVERIFY(!m_manager->longJobs.Jobs().IsPaused());
    QVERIFY(!m_manager->shortJobs.Jobs().IsPaused());
    QCOMPARE(RowsNow(u"SELECT COUNT(*) FROM FinishedJobs"_s), QStringList{u"0"_s});
    QCOMPARE(m_manager->jobNumbers.NewID(), 1);
}

void TestProject::OpenedProjectWaitsWhereItStopped()
{
    MakeProjectFile();
    QVERIFY(m_manager->project.OpenProject(File()));
    m_manager->longJobs.Jobs().SetPaused(false);
    SubmitGated(u"running.in"_s);
    SubmitGated(u"waiting.in"_s);
    m_manager->longJobs.Jobs().SetMaxRunningJobs(3);
    QVERIFY(m_manager->project.SaveProject());
    m_manager->NewProject();

    QVERIFY(m_manager->project.OpenProject(File()));
    QVERIFY(!m_manager->project.HasUnsavedChanges());
    QCOMPARE(m_manager->project.FilePath(), File());
    QCOMPARE(TestManager::Database().Title(), u"jobs.mill"_s);
    QCOMPARE(KilnUtil_Registry::Value(u"/Files/Last_Directory_Path"_s).toString(),
             m_manager->directory.path());
    QCOMPARE(m_manager->jobTypes.Names(), (QStringList{u"Gated"_s, u"Quick"_s}));
    QCOMPARE(m_manager->longJobs.Jobs().MaxRunningJobs(), 3);
    QVERIFY(m_manager->longJobs.Jobs().IsPaused());
    QVERIFY(m_manager->shortJobs.Jobs().IsPaused());
    QCOMPARE(m_manager->longJobs.Jobs().JobIDs(), (QList<int>{2, 3}));
    for (const Taskmill_Job *job : m_manager->longJobs.Jobs().Jobs())
        QCOMPARE(job->Status(), Taskmill_JobStatus::Pending);
    QCOMPARE(m_manager->finishedJobs.Jobs().size(), 1);
    QCOMPARE(m_manager->finishedJobs.Jobs().first().StdOutAndStdErr, u"quick\n"_s);
}

void TestProject::NumbersContinue_data()
{
    QTest::addColumn<QString>("statement");
    QTest::addColumn<int>("next");
    const QString update = u"UPDATE GeneralData SET DataStr = '%1' WHERE Name = 'LastJobID'"_s;
    QTest::newRow("after the stored number") << update.arg(41) << 42;
    QTest::newRow("none stored") << u"DELETE FROM GeneralData WHERE Name = 'LastJobID'"_s << 8;
    QTest::newRow("no number") << update.arg(u"many"_s) << 8;
    QTest::newRow("negative") << update.arg(-3) << 8;
    QTest::newRow("range used up") << update.arg(std::numeric_limits<int>::max()) << 1;
}

void TestProject::NumbersContinue()
{
    QFETCH(const QString, statement);
    MakeProjectFile();
    RawDatabase{File()}.Execute({u"UPDATE FinishedJobs SET JobID = 7"_s, statement});
    QVERIFY(m_manager->project.OpenProject(File()));
    m_manager->longJobs.Jobs().SetPaused(true);
    SubmitGated(u"a.in"_s);
    QFETCH(const int, next);
    QCOMPARE(m_manager->longJobs.Jobs().JobIDs(), QList<int>{next});
}

void TestProject::LimitsOfOpenedQueues_data()
{
    QTest::addColumn<QString>("statement");
    QTest::addColumn<int>("limit");
    const QString update = u"UPDATE Queues SET MaxRunningJobs = %1 WHERE Name = 'Short'"_s;
    QTest::newRow("stored") << update.arg(4) << 4;
    QTest::newRow("zero") << update.arg(0) << 1;
    QTest::newRow("negative") << update.arg(-2) << 1;
    QTest::newRow("unknown") << u"DELETE FROM Queues"_s << 1;
}

void TestProject::LimitsOfOpenedQueues()
{
    QFETCH(const QString, statement);
    MakeProjectFile();
    RawDatabase{File()}.Execute({statement});
    // Nothing of the project before is left over.
    m_manager->shortJobs.Jobs().SetMaxRunningJobs(9);
    m_manager->prompt.answers = {WarnAnswer::No};
    QVERIFY(m_manager->project.OpenProject(File()));
    QTEST(m_manager->shortJobs.Jobs().MaxRunningJobs(), "limit");
    QCOMPARE(m_manager->longJobs.Jobs().MaxRunningJobs(), 1);
    QVERIFY(!m_manager->project.HasUnsavedChanges());
}

void TestProject::QueuelessJobsStartWhenAllIsLoaded()
{
    MakeProjectFile();
    QVERIFY(m_manager->project.OpenProject(File()));
    m_manager->queuelessJobs.Submit(m_manager->NewJob(m_manager->jobTypes.GetAll().last()));
    QVERIFY(m_manager->project.SaveProject());
    m_manager->NewProject();

    QVERIFY(m_manager->project.OpenProject(File()));
    QTRY_COMPARE(m_manager->finishedJobs.Jobs().size(), 2);
    QCOMPARE(RowsNow(u"SELECT JobID, Status FROM FinishedJobs ORDER BY FinishedJobID"_s),
             (QStringList{u"1|Completed"_s, u"2|Completed"_s}));
    QCOMPARE(RowsNow(u"SELECT COUNT(*) FROM QueuelessJobs"_s), QStringList{u"0"_s});
    QVERIFY(m_manager->project.HasUnsavedChanges());
}

void TestProject::JobsGoOnAfterSaving()
{
    m_manager->NewProject();
    m_manager->AddGatedJobType();
    const QString input = SubmitGated(u"a.in"_s);
    QVERIFY(m_manager->project.SaveProjectAs(File()));
    QVERIFY(!m_manager->project.HasUnsavedChanges());
    QCOMPARE(m_manager->project.FilePath(), File());
    QVERIFY(!m_manager->longJobs.Jobs().IsPaused());
    QCOMPARE(m_manager->longJobs.Jobs().JobAt(0)->Status(), Taskmill_JobStatus::Running);

    TestManager::Release(input);
    QTRY_COMPARE(m_manager->finishedJobs.Jobs().size(), 1);
    QVERIFY(m_manager->project.HasUnsavedChanges());
    const QString count =
        u"SELECT (SELECT COUNT(*) FROM LongJobsQueue), (SELECT COUNT(*) FROM FinishedJobs)"_s;
    QCOMPARE(RowsOfFile(File(), count), QStringList{u"1|0"_s});
    QVERIFY(m_manager->project.SaveProject());
    QCOMPARE(RowsOfFile(File(), count), QStringList{u"0|1"_s});
}

void TestProject::FailedSaveLeavesEverything()
{
    MakeProjectFile();
    QVERIFY(m_manager->project.OpenProject(File()));
    m_manager->longJobs.Jobs().SetPaused(false);
    const QString input = SubmitGated(u"a.in"_s);
    const QByteArray content = ReadTestFile(File());

    QVERIFY(!m_manager->project.SaveProjectAs(m_manager->Path(u"missing/other.mill"_s)));
    QCOMPARE(m_manager->project.FilePath(), File());
    QVERIFY(QFile::rename(File(), m_manager->Path(u"aside"_s)));
    QVERIFY(QDir{}.mkdir(File()));
    QVERIFY(!m_manager->project.SaveProject());
    QCOMPARE(m_manager->prompt.asked.size(), 2);
    QCOMPARE(ReadTestFile(m_manager->Path(u"aside"_s)), content);
    QVERIFY(m_manager->project.HasUnsavedChanges());
    QCOMPARE(m_manager->project.FilePath(), File());

    TestManager::Release(input);
    QTRY_COMPARE(m_manager->finishedJobs.Jobs().size(), 2);
    QVERIFY(QDir{}.rmdir(File()));
    QVERIFY(m_manager->project.SaveProject());
    QCOMPARE(RowsOfFile(File(), u"SELECT JobID FROM FinishedJobs"_s), (QStringList{u"1"_s, u"2"_s}));
}

void TestProject::AnswersBeforeClosing()
{
    Taskmill_Project &project = m_manager->project;
    QCOMPARE(project.AskToSave(), SaveAnswer::GoOn);
    m_manager->NewProject();
    QCOMPARE(project.AskToSave(), SaveAnswer::GoOn);
    QVERIFY(m_manager->prompt.asked.isEmpty());

    m_manager->AddGatedJobType();
    m_manager->prompt.answers = {WarnAnswer::Cancel, WarnAnswer::No, WarnAnswer::Yes, WarnAnswer::Yes};
    m_manager->prompt.texts = {QString{}, m_manager->Path(u"typed"_s)};
    QCOMPARE(project.AskToSave(), SaveAnswer::Cancel);
    QCOMPARE(project.AskToSave(), SaveAnswer::GoOn);
    QCOMPARE(project.AskToSave(), SaveAnswer::Cancel);
    QCOMPARE(m_manager->prompt.asked.first().title, u"Save Current Project?"_s);
    QCOMPARE(m_manager->prompt.asked.first().text,
             u"Would you like to save the current Taskmill project to a file before closing it?\n\nIf you "
             "choose No, the project will be lost."_s);
    QCOMPARE(m_manager->prompt.asked.last().title, u"Specify a Taskmill Project File"_s);
    QCOMPARE(project.AskToSave(), SaveAnswer::Saved);
    QCOMPARE(project.FilePath(), m_manager->Path(u"typed.mill"_s));

    m_manager->longJobs.Jobs().SetMaxRunningJobs(2);
    m_manager->prompt.asked.clear();
    m_manager->prompt.answers = {WarnAnswer::Yes};
    QCOMPARE(project.AskToSave(), SaveAnswer::Saved);
    QCOMPARE(m_manager->prompt.asked.size(), 1);
    QCOMPARE(m_manager->prompt.asked.first().title, u"Save Changes to Current Project?"_s);
    QCOMPARE(m_manager->prompt.asked.first().text,
             u"Would you like to save changes to the current Taskmill project before closing it?\n\nIf you "
             "choose No, the changes to the database will be lost."_s);
    QVERIFY(!project.HasUnsavedChanges());
}

void TestProject::CancelledQuestionKeepsTheProject()
{
    MakeProjectFile();
    m_manager->AddGatedJobType();
    SubmitGated(u"a.in"_s);
    QVERIFY(!m_manager->project.OpenProject(File()));
    QCOMPARE(m_manager->longJobs.Jobs().JobIDs(), QList<int>{1});
    m_manager->prompt.answers = {WarnAnswer::No};
    QVERIFY(m_manager->project.OpenProject(File()));
    QCOMPARE(m_manager->longJobs.Jobs().Count(), 0);
}

QTEST_GUILESS_MAIN(TestProject)
#include "test_project.moc"
