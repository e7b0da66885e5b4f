// SPDX-License-Identifier: MIT
#include "manager/project.h"

#include "db/databasetestutil.h"
#include "jobs/job.h"
#include "jobs/queuelessjobslist.h"
#include "manager/heldjobsdialogue.h"
#include "manager/recentprojects.h"
#include "manager/spareproject.h"
#include "support/testmanager.h"

using namespace Qt::Literals::StringLiterals;

using WarnAnswer = KilnUtil_UserPrompt::WarnAnswer;

class TestProject : public ManagerTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void NewProjectEndsTheOldOne()
    {
        m_manager->NewProject();
        m_manager->SubmitGated(m_manager->Long());
        m_manager->SubmitGated(m_manager->Long());
        m_manager->Long().Queue()->SetMaxRunningJobs(2);
        m_manager->Short().Queue()->SetPaused(true);
        WriteTestFile(m_manager->Path(u"g16.exe"_s), {});
        m_manager->NewProject();
        QVERIFY(!Project().HasUnsavedChanges());
        QVERIFY(Project().WindowTitle().endsWith(u", New Project"_s));
        QCOMPARE(m_manager->JobTypes().Names(), QStringList{u"Gaussian"_s});
        QCOMPARE(m_manager->Long().Jobs().Count() + FinishedCount(), 0);
        QVERIFY(TestManager::Database().GetFinishedJobs().isEmpty());
        QCOMPARE(m_manager->Long().Queue()->MaxRunningJobs(), 1);
        QVERIFY(!m_manager->Short().Queue()->IsPaused());
        QCOMPARE(m_manager->JobNumbers().NewID(), 1);
    }

    void JobsGoOnAsTheEndWantsIt_data()
    {
        using Ending = Taskmill_Ending;
        QTest::addColumn<Ending>("ending");
        QTest::addColumn<QByteArray>("variable");
        QTest::addColumn<bool>("remembered");
        QTest::addColumn<bool>("goOn");
        QTest::newRow("nobody can be asked") << Ending::Unasked << QByteArray{} << false << true;
        QTest::newRow("nobody can be asked, 1") << Ending::Unasked << QByteArray{"1"} << true << false;
        QTest::newRow("Ctrl+C at first") << Ending::Interrupted << QByteArray{} << false << false;
        QTest::newRow("Ctrl+C as remembered") << Ending::Interrupted << QByteArray{} << true << true;
        QTest::newRow("Ctrl+C, 0") << Ending::Interrupted << QByteArray{"0"} << false << true;
        QTest::newRow("asked to end") << Ending::AskedToEnd << QByteArray{"x"} << true << false;
        QTest::newRow("asked to end, 0") << Ending::AskedToEnd << QByteArray{"0"} << false << true;
        QTest::newRow("asked to keep") << Ending::AskedToKeep << QByteArray{} << false << true;
    }

    void JobsGoOnAsTheEndWantsIt()
    {
        QFETCH(Taskmill_Ending, ending);
        QFETCH(QByteArray, variable);
        QFETCH(bool, remembered);
        qputenv("TASKMILL_END_JOBS", variable);
        Taskmill_RememberJobsGoOn(remembered);
        QTEST(Taskmill_JobsGoOn(ending), "goOn");
        qunsetenv("TASKMILL_END_JOBS");
    }

    void OpenedProjectGoesOn()
    {
        m_manager->NewProject();
        m_manager->SubmitGated(m_manager->Long(), u"running.in"_s);
        m_manager->SubmitGated(m_manager->Long(), u"waiting.in"_s);
        m_manager->SubmitGated(m_manager->Short());
        const QString queueless = m_manager->SubmitGated(m_manager->Queueless(), u"queueless.in"_s);
        Taskmill_JobRecord finished = SampleJob(m_manager->JobTypes().GetAll().first(), 9);
        // It is held in the database only.
        finished.StdOutAndStdErr = QString{1000, u'\u00e4'};
        QVERIFY(m_manager->FinishedJobs().AddJob(finished));
        QVERIFY(Project().SaveProjectAs(File()));
        m_manager->NewProject();
        // One that is open and changed stays unless the user lets it go.
        m_manager->SubmitGated(m_manager->Short());
        for (const auto &answers : {QList<WarnAnswer>{}, QList{WarnAnswer::Yes}}) {
            Prompt().answers = answers;
            QVERIFY(!Project().OpenProject(File()));
            QCOMPARE(m_manager->Short().Jobs().JobIDs(), QList<int>{1});
            QCOMPARE(Prompt().asked.takeLast().title,
                     answers.isEmpty() ? u"Close Current Project?"_s : u"Save Current Project?"_s);
        }
        Prompt().answers = {WarnAnswer::Yes, WarnAnswer::No};
        QVERIFY(Project().OpenProject(File()));

        QVERIFY(!Project().HasUnsavedChanges());
        QCOMPARE(Project().FilePath(), File());
        QVERIFY(Project().WindowTitle().endsWith(u", jobs.mill"_s));
        QCOMPARE(m_manager->JobTypes().Names(), QStringList{u"Gated"_s});
        QVERIFY(m_manager->Long().Queue()->IsPaused());
        QVERIFY(m_manager->Short().Queue()->IsPaused());
        QCOMPARE(m_manager->Long().Jobs().JobIDs(), (QList<int>{1, 2}));
        QCOMPARE(m_manager->Long().Jobs().JobAt(0)->Status(), Taskmill_JobStatus::Pending);
        QCOMPARE(m_manager->Short().Jobs().JobIDs(), QList<int>{3});
        QCOMPARE(m_manager->JobNumbers().LastID(), 9);
        QCOMPARE(FinishedCount(), 1);
        QCOMPARE(m_manager->FinishedJobs().OutputOf(m_manager->FinishedJobs().Jobs().first()),
                 finished.StdOutAndStdErr);
        // Jobs without a queue that ran do so again when the user says so, however often they are saved.
        TestManager::Release(queueless);
        SaveAndOpen();
        QCOMPARE(m_manager->Queueless().List()->HeldJobIDs(), QList<int>{4});
        QCOMPARE(m_manager->Queueless().Jobs().JobAt(0)->Status(), Taskmill_JobStatus::Pending);
        Taskmill_HeldJobsDialogue heldJobs{m_manager->Destinations()};
        Prompt().answers = {WarnAnswer::Yes};
        Taskmill_AskThroughPrompt(heldJobs);
        QCOMPARE(heldJobs.Released(), 1);
        QTRY_COMPARE(FinishedCount(), 2);
        QCOMPARE(RowsOf(TestManager::Database(), u"SELECT JobID, Status FROM FinishedJobs WHERE JobID = 4"_s),
                 QStringList{u"4|Completed"_s});
        QVERIFY(TestManager::Database().GetQueuelessJobs().isEmpty());
        QVERIFY(Project().HasUnsavedChanges());
    }

    void ReloadedJobsAreWhole()
    {
        m_manager->NewProject();
        const Taskmill_JobType jobType =
            m_manager->AddJobType(u"Echo"_s, u"print @TITLE print @OUTFILE stdin"_s);
        m_manager->Long().Queue()->SetPaused(true);
        Taskmill_JobRequest request = TestManager::Request(jobType.Name, m_manager->InputFile(u"water.in"_s));
        request.PlaceholderValues = {{u"@TITLE"_s, u"H2O"_s}};
        request.JobStandardInputFile = WriteTestFile(m_manager->Path(u"answers"_s), "yes\n");
        request.JobOutputFile = u"other.log"_s;
        request.JobChkFile = u"a.chk"_s;
        request.JobChkFile1 = u"b.chk"_s;
        QCOMPARE(m_manager->Submitter().Submit(request).JobIDs.size(), 1);
        request.JobStandardOutputFile = m_manager->Path(u"stdout"_s);
        QCOMPARE(m_manager->Submitter().Submit(request).JobIDs.size(), 1);
        const auto records = [this] {
            QList<Taskmill_JobRecord> jobs;
            for (const Taskmill_Job *job : m_manager->Long().Jobs().Jobs()) {
                jobs.append(job->Record());
                // The queue gives it anew; the number of its destination is of no use later.
                jobs.last().Submitted = {};
                jobs.last().RunNumber = 0;
            }
            return jobs;
        };
        const auto before = records();
        SaveAndOpen();
        QCOMPARE(records(), before);

        m_manager->Long().Queue()->SetPaused(false);
        QTRY_COMPARE(FinishedCount(), 2);
        const QByteArray output = "H2O\nother.log\nyes\n";
        QCOMPARE(WithPlainLineEnds(
                     m_manager->FinishedJobs().OutputOf(m_manager->FinishedJobs().Jobs()[0]).toUtf8()),
                 output);
        QCOMPARE(WithPlainLineEnds(ReadTestFile(request.JobStandardOutputFile)), output);
        const auto ran = [this] {
            QStringList texts;
            for (const Taskmill_JobRecord &job : m_manager->FinishedJobs().Jobs()) {
                texts += {job.OutputFile, job.CommandLine()};
                for (const auto &[name, value] : job.PlaceholderValues)
                    texts += name + value;
            }
            return texts;
        };
        const QStringList finished = ran();
        QVERIFY(m_manager->Save());
        QVERIFY(Project().OpenProject(File()));
        QCOMPARE(ran(), finished);
        m_manager->FinishedJobs().Remove({0, 1});
        QCOMPARE(RowsOf(TestManager::Database(), u"SELECT COUNT(*) FROM AddedFields"_s), QStringList{u"0"_s});
    }

    void StoredNumbersAreUsedWhereTheyCanBe()
    {
        m_manager->NewProject();
        QVERIFY(TestManager::Database().InsertFinishedJob(SampleJob(m_manager->AddGatedJobType(), 7), true));
        QVERIFY(TestManager::Database().SetGeneralData(u"LastJobID"_s, u"7"_s) != 0);
        QVERIFY(Project().SaveProjectAs(File()));
        // The number of the next job, and the limit of a queue, after opening a file with these.
        const auto opened = [this](const QString &lastJobID, int limit) {
            RawDatabase{File()}.Execute(
                {u"UPDATE GeneralData SET DataStr = '%1' WHERE Name = 'LastJobID'"_s.arg(lastJobID),
                 u"UPDATE Queues SET MaxRunningJobs = %1 WHERE Name = 'Short'"_s.arg(limit)});
            // Nothing of the project before is left over.
            m_manager->Short().Queue()->SetMaxRunningJobs(9);
            Prompt().answers = {WarnAnswer::No};
            if (!Project().OpenProject(File()))
                return std::pair{0, 0};
            return std::pair{m_manager->JobNumbers().NewID(), m_manager->Short().Queue()->MaxRunningJobs()};
        };
        QCOMPARE(opened(u"41"_s, 4), (std::pair{42, 4}));
        QCOMPARE(opened(u"many"_s, 0), (std::pair{8, 1}));
        QCOMPARE(opened(u"-3"_s, -2), (std::pair{8, 1}));
        QCOMPARE(opened(QString::number(std::numeric_limits<int>::max()), 1), (std::pair{8, 1}));
    }

    void NumbersThatAreThereTwiceAreMadeAnew()
    {
        m_manager->NewProject();
        const Taskmill_JobType jobType = m_manager->AddGatedJobType();
        for (Taskmill_QueueOwner *owner : {&m_manager->Long(), &m_manager->Short()}) {
            owner->Queue()->SetPaused(true);
            m_manager->SubmitGated(*owner);
            m_manager->SubmitGated(*owner);
        }
        Taskmill_JobRecord ended = SampleJob(jobType, 9);
        ended.SetStatus(Taskmill_JobStatus::Failed, true);
        ended.ExitCode = 3;
        QVERIFY(TestManager::Database().InsertFinishedJob(ended, true));
        QVERIFY(Project().SaveProjectAs(File()));
        const QString fields =
            u"SELECT OwnerID, Name, Value FROM AddedFields WHERE Name IN ('Run', 'ExitCode')"_s;
        // As somebody else wrote it: 7 runs, and 9 has ended.
        RawDatabase{File()}.Execute(
            {u"UPDATE LongJobsQueue SET JobID = 7"_s,
             u"UPDATE ShortJobsQueue SET JobID = 7, Status = 'Running' WHERE JobID = 3"_s,
             u"UPDATE ShortJobsQueue SET JobID = 9 WHERE JobID = 4"_s,
             u"INSERT INTO AddedFields (Owner, OwnerID, Name, Value) VALUES ('job', 7, 'Run', 'r@elsewhere')"_s,
             // It was moved before the other one.
             u"INSERT INTO AddedFields (Owner, OwnerID, Name, Value) VALUES ('job', 9, 'Place', '1')"_s});
        Prompt().answers = {WarnAnswer::No};
        QVERIFY(Project().OpenProject(File()));
        QVERIFY(!Project().HasUnsavedChanges());
        QCOMPARE(m_manager->Long().Jobs().JobIDs(), (QList{10, 11}));
        QCOMPARE(m_manager->Short().Jobs().JobIDs(), (QList{12, 7}));
        QVERIFY(m_manager->Long().Jobs().JobAt(0)->Record().Run.isEmpty());
        const Taskmill_Job *elsewhere = m_manager->Short().Jobs().FindByJobID(7);
        QVERIFY(elsewhere->RunsElsewhere());
        QCOMPARE(elsewhere->Record().WaitReason.Text(), u"runs on another computer"_s);
        // What one comes to is not the other's.
        m_manager->Long().RemoveNow({10});
        QVERIFY(Project().SaveProjectAs(File()));
        QCOMPARE(RowsOfFile(File(), u"SELECT JobID FROM LongJobsQueue"_s), QStringList{u"11"_s});
        QCOMPARE(RowsOfFile(File(), u"SELECT JobID FROM ShortJobsQueue"_s), (QStringList{u"7"_s, u"12"_s}));
        QCOMPARE(RowsOfFile(File(), fields), (QStringList{u"9|ExitCode|3"_s, u"7|Run|r@elsewhere"_s}));
    }

    void JobsGoOnAfterSaving()
    {
        m_manager->NewProject();
        const QString input = m_manager->SubmitGated(m_manager->Long());
        QVERIFY(Project().SaveProjectAs(File()));
        QVERIFY(!Project().HasUnsavedChanges());
        QCOMPARE(m_manager->Long().Jobs().JobAt(0)->Status(), Taskmill_JobStatus::Running);
        TestManager::Release(input);
        QTRY_COMPARE(FinishedCount(), 1);
        QVERIFY(Project().HasUnsavedChanges());
        const QString count =
            u"SELECT (SELECT COUNT(*) FROM LongJobsQueue), (SELECT COUNT(*) FROM FinishedJobs)"_s;
        QCOMPARE(RowsOfFile(File(), count), QStringList{u"1|0"_s});
        QVERIFY(m_manager->Save());
        QCOMPARE(RowsOfFile(File(), count), QStringList{u"0|1"_s});
    }

    void RecentProjectsAreStored()
    {
        const auto save = [this](const QString &name) {
            m_manager->NewProject();
            QVERIFY(Project().SaveProjectAs(m_manager->Path(name)));
        };
        QStringList expected;
        for (int number = 1; number <= 11; ++number) {
            save(u"%1.mill"_s.arg(number));
            expected.prepend(m_manager->Path(u"%1.mill"_s.arg(number)));
        }
        expected.removeLast();
        QCOMPARE(Taskmill_RecentProjects(), expected);
        QVERIFY(Project().OpenProject(expected[4]));
        expected.move(4, 0);
        QCOMPARE(Taskmill_RecentProjects(), expected);
        QVERIFY(QFile::remove(expected.takeAt(2)));
        Taskmill_DropMissingRecentProjects();
        QCOMPARE(Taskmill_RecentProjects(), expected);
    }

    void FailedSaveLeavesEverything()
    {
        m_manager->NewProject();
        QVERIFY(Project().SaveProjectAs(File()));
        m_manager->SubmitGated(m_manager->Long());
        QVERIFY(QFile::rename(File(), m_manager->Path(u"aside"_s)));
        QVERIFY(QDir{}.mkdir(File()));
        // Another program has put it there. The user names another place that does not serve either, and then
        // none.
        Prompt().answers = {WarnAnswer::Yes};
        Prompt().texts = {m_manager->Path(u"missing/again"_s)};
        QVERIFY(!m_manager->Save());
        QCOMPARE(Prompt().asked.size(), 5);
        QVERIFY(Project().HasUnsavedChanges());
        QCOMPARE(Project().FilePath(), File());
        QVERIFY(QDir{}.rmdir(File()));
        QVERIFY(m_manager->Save());
        QCOMPARE(RowsOfFile(File(), u"SELECT JobID FROM LongJobsQueue"_s), QStringList{u"1"_s});
    }

    void FileChangedElsewhereIsNotReplaced()
    {
        m_manager->NewProject();
        QVERIFY(Project().SaveProjectAs(File()));
        RawDatabase{File()}.Execute(
            {u"UPDATE Queues SET MaxRunningJobs = 5 WHERE Name = 'Long'"_s, u"DROP TABLE FinishedJobs"_s});
        m_manager->SubmitGated(m_manager->Short());
        Prompt().answers = {WarnAnswer::No};
        QVERIFY(!m_manager->Save());
        const QString limit = u"SELECT MaxRunningJobs FROM Queues WHERE Name = 'Long'"_s;
        QCOMPARE(RowsOfFile(File(), limit), QStringList{u"5"_s});
        // Nobody can be asked.
        QVERIFY(Project().SaveUnattended());
        QCOMPARE(RowsOfFile(File(), limit), QStringList{u"5"_s});
        QVERIFY(Project().HasUnsavedChanges());
        Project().CloseProject();

        // The table that was lost is made anew, or finished jobs would be lost.
        Prompt().answers = {WarnAnswer::Yes};
        QVERIFY(Project().OpenProject(File()));
        QCOMPARE(m_manager->Long().Queue()->MaxRunningJobs(), 5);
        QVERIFY(TestManager::Database().InsertFinishedJob(SampleJob(m_manager->AddGatedJobType(), 1), true));
        RawDatabase{File()}.Execute({u"UPDATE Queues SET MaxRunningJobs = 6"_s});
        Prompt().answers = {WarnAnswer::Yes};
        QVERIFY(m_manager->Save());
        QCOMPARE(RowsOfFile(File(), u"SELECT JobID FROM FinishedJobs"_s), QStringList{u"1"_s});

        // Whoever does not want it replaced is asked for another file.
        WriteTestFile(File(), "changed");
        Prompt().answers = {WarnAnswer::No};
        Prompt().texts = {m_manager->Path(u"elsewhere"_s)};
        QVERIFY(m_manager->Save());
        QCOMPARE(Project().FilePath(), m_manager->Path(u"elsewhere.mill"_s));
        QCOMPARE(ReadTestFile(File()), "changed");
    }

    void UnattendedSaveFindsAnotherPlace()
    {
        if (isWindows)
            QSKIP("The places come from the environment on other systems only.");
        const QDir directory{m_manager->directory.path()};
        for (const QString &name : {u"home"_s, u"temporary"_s, u"away"_s})
            QVERIFY(directory.mkdir(name));
        qputenv("TASKMILLPREFS_DIR", m_manager->Path(u"preferences"_s).toLocal8Bit());
        qputenv("HOME", m_manager->Path(u"home"_s).toLocal8Bit());
        qputenv("TMPDIR", m_manager->Path(u"temporary"_s).toLocal8Bit());
        m_manager->NewProject();
        QVERIFY(Project().SaveProjectAs(m_manager->Path(u"away/jobs.mill"_s)));
        m_manager->SubmitGated(m_manager->Long());
        QVERIFY(QDir{m_manager->Path(u"away"_s)}.removeRecursively());

        const auto spareFile = [&] {
            if (Project().SaveUnattended() || !Project().HasUnsavedChanges())
                return u"It counts as saved"_s;
            const QStringList files = Taskmill_SpareProjects();
            if (files.size() != 1 ||
                RowsOfFile(files.first(), u"SELECT JobID FROM LongJobsQueue"_s) != QStringList{u"1"_s})
                return u"%1 files"_s.arg(files.size());
            const QFile::Permissions others = QFile::ReadGroup | QFile::ReadOther;
            return QFile::permissions(files.first()) & others
                       ? u"Others may read it"_s
                       : directory.relativeFilePath(QFileInfo{files.first()}.path());
        };
        QCOMPARE(spareFile(), u"preferences/state"_s);
        // A log-out that is called off and comes again takes the same file.
        QCOMPARE(spareFile(), u"preferences/state"_s);
        const auto spoil = [](const QString &place) {
            return QDir{place}.removeRecursively() && QFile::link(u"/missing"_s, place);
        };
        QVERIFY(spoil(m_manager->Path(u"preferences/state"_s)));
        QCOMPARE(spareFile(), u"home"_s);
        QVERIFY(spoil(m_manager->Path(u"home"_s)));
        QCOMPARE(spareFile(), u"temporary"_s);
        // What was planted by somebody else is no file of this user's.
        QVERIFY(QFile::link(u"/etc/passwd"_s, m_manager->Path(u"temporary/taskmill-spare-x.mill"_s)));
        QCOMPARE(spareFile(), u"temporary"_s);
        QVERIFY(Project().SaveProjectAs(File()));
        QCOMPARE(Taskmill_SpareProjects(), QStringList{});
        // Nothing counts that cannot be written, and nothing of it stays behind.
        QVERIFY(!Taskmill_SpareFile{}.Write(File(), [](const QString &) { return false; }));
        QCOMPARE(Taskmill_SpareProjects(), QStringList{});
    }

    void SaveDialogCompletesTheName()
    {
        const QString old = m_manager->Path(u"old.mill"_s);
        // The name of the file that is written, and how often the user is asked.
        const auto saved = [&](const QString &typed, WarnAnswer answer = WarnAnswer::None) {
            m_manager->NewProject();
            WriteTestFile(old, "old");
            Prompt().asked.clear();
            Prompt().texts = {typed};
            Prompt().answers = {answer};
            const bool isSaved = m_manager->Save();
            const QString file = QFileInfo{Project().FilePath()}.fileName();
            if (isSaved == file.isEmpty() || (ReadTestFile(old) == "old") != (file != "old.mill"_L1))
                return u"Another file was written"_s;
            return u"%1 %2"_s.arg(file).arg(Prompt().asked.size());
        };
        QCOMPARE(saved(u" jobs "_s), u"jobs.mill 1"_s);
        QCOMPARE(saved(u"jobs.MILL"_s), u"jobs.MILL 1"_s);
        QCOMPARE(saved(u"jobs.db"_s), u"jobs.db.mill 1"_s);
        // The dialog itself has asked about a name as it was typed.
        QCOMPARE(saved(u"old.mill"_s), u"old.mill 1"_s);
        QCOMPARE(saved(u"old"_s, WarnAnswer::Yes), u"old.mill 2"_s);
        // Another name is asked for.
        QCOMPARE(saved(u"old"_s, WarnAnswer::No), u" 3"_s);
        QCOMPARE(saved(u"old.mill "_s, WarnAnswer::No), u" 3"_s);
    }

    void BadFilesCostNothing()
    {
        m_manager->NewProject();
        const Taskmill_JobType jobType = m_manager->AddGatedJobType();
        for (int jobID = 1; jobID <= 300; ++jobID)
            QVERIFY(TestManager::Database().InsertFinishedJob(SampleJob(jobType, jobID), true));
        QVERIFY(Project().SaveProjectAs(File()));
        const QByteArray good = ReadTestFile(File());
        m_manager->NewProject();
        m_manager->Long().Queue()->SetPaused(true);
        m_manager->SubmitGated(m_manager->Long());

        const auto refusal = [this](const QByteArray &content, const QStringList &statements = {}) {
            WriteTestFile(File(), content);
            RawDatabase{File()}.Execute(statements);
            return RefusalOfFile();
        };
        const QString unreadable =
            u"The specified file is not a Taskmill project, is damaged or is in use by another program:"_s;
        const QString noProject = u"The specified file is not a Taskmill project:"_s;
        QByteArray overwritten = good;
        // More than a text, whose content nobody can judge, wherever the file has it.
        overwritten.replace(good.size() / 3, good.size() / 3, QByteArray{good.size() / 3, '\x7f'});
        QCOMPARE(refusal(overwritten), unreadable);
        QCOMPARE(refusal(good.first(good.size() / 2)),
                 u"The specified file cannot be opened as a Taskmill project:"_s);
        QCOMPARE(refusal({}), noProject);
        QCOMPARE(refusal(good, {u"UPDATE GeneralData SET DataStr = '3' WHERE Name = 'Version'"_s}),
                 u"The specified file is a Taskmill project of another version:"_s);
        QCOMPARE(refusal(good, {u"DROP TABLE GeneralData"_s}), noProject);
        {
            RawDatabase locker{File()};
            locker.Execute({u"BEGIN EXCLUSIVE"_s});
            QCOMPARE(RefusalOfFile(), unreadable);
        }
        QVERIFY(QFile::remove(File()));
        QCOMPARE(RefusalOfFile(), u"The specified file does not exist:"_s);
    }

private:
    [[nodiscard]] QString File() const { return m_manager->Path(u"jobs.mill"_s); }
    [[nodiscard]] Taskmill_Project &Project() const { return m_manager->Project(); }
    [[nodiscard]] ScriptedPrompt &Prompt() const { return m_manager->prompt; }
    void SaveAndOpen() const
    {
        QVERIFY(Project().SaveProjectAs(File()));
        if (m_manager->Destinations().RunningCount() > 0)
            Prompt().answers = {WarnAnswer::Yes};
        QVERIFY(Project().OpenProject(File()));
    }
    /// What is said about the file when nothing else comes of opening it.
    [[nodiscard]] QString RefusalOfFile()
    {
        const auto files = [this] {
            return QDir{m_manager->directory.path()}.entryList(QDir::AllEntries | QDir::Hidden, QDir::Name);
        };
        const QStringList filesBefore = files();
        const QByteArray contentBefore = ReadTestFile(File());
        Prompt().asked.clear();
        if (Project().OpenProject(File()))
            return u"The file was opened"_s;
        if (files() != filesBefore || ReadTestFile(File()) != contentBefore)
            return u"Files were changed"_s;
        if (m_manager->Long().Jobs().JobIDs() != QList<int>{1} || !Project().HasUnsavedChanges() ||
            TestManager::Database().GetLongJobs().size() != 1 || !Project().FilePath().isEmpty())
            return u"The open project was changed"_s;
        // Nobody is asked to save what stays open.
        return Prompt().asked.size() == 1 ? Prompt().asked.first().text.section(u'\n', 0, 0) : QString{};
    }

    [[nodiscard]] qsizetype FinishedCount() const { return m_manager->FinishedJobs().Jobs().size(); }
};

QTEST_GUILESS_MAIN(TestProject)
#include "test_project.moc"
