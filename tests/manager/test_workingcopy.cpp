// SPDX-License-Identifier: MIT
#include "db/workingcopy.h"

#include "db/contentstamp.h"
#include "db/databasetestutil.h"
#include "kilnutil/computerdata.h"
#include "kilnutil/statefolder.h"
#include "manager/changedfiledialogue.h"
#include "manager/projectrecovery.h"
#include "processes/runkeepers.h"
#include "support/resourcelimit.h"
#include "support/testmanager.h"

#include <QDir>
#include <QFile>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

using WarnAnswer = KilnUtil_UserPrompt::WarnAnswer;

namespace {
/// The machine's folder inside the test's own directory.
QDir Folder()
{
    return QDir{KilnUtil_MachineFolderPaths().first()};
}
} // namespace

/// What stands in a working copy and what becomes of one that was left behind. That a manager leaves one when
/// it is ended by force is what test_recovery shows with the real program.
class TestWorkingCopy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        FailOnQtWarnings();
        qputenv("TASKMILL_BOOT_ID", "first");
        m_manager = std::make_unique<TestManager>();
        QVERIFY(m_manager->Project().NewProject());
        m_gated = m_manager->AddGatedJobType();
        QVERIFY(m_manager->Project().SaveProjectAs(File()));
    }

    void cleanup()
    {
        m_manager.reset();
        qunsetenv("TASKMILL_BOOT_ID");
    }

    void RecoversWhatWasNotSaved_data()
    {
        QTest::addColumn<QByteArray>("boot");
        QTest::addColumn<bool>("isPaused");
        QTest::newRow("the same run of the system") << QByteArray{"first"} << false;
        QTest::newRow("the computer was started again") << QByteArray{"second"} << true;
    }

    void RecoversWhatWasNotSaved()
    {
        QFETCH(QByteArray, boot);
        QFETCH(bool, isPaused);
        const QByteArray file = ReadTestFile(File());
        const QString done = Submit(u"done.in"_s);
        TestManager::Release(done);
        QTRY_COMPARE(m_manager->FinishedJobs().Jobs().size(), 1);
        Submit(u"runs.in"_s, true);
        Submit(u"waits.in"_s);
        m_manager->Destinations().Short().Queue()->SetPaused(true);
        BreakOff();
        qputenv("TASKMILL_BOOT_ID", boot);
        QVERIFY(m_manager->Project().OpenProject(File()));

        // Three submissions and an end; no start is one.
        QCOMPARE(m_manager->Project().Notices(),
                 QStringList{u"4 changes since the last save were recovered"_s});
        QVERIFY(m_manager->Project().HasUnsavedChanges());
        QVERIFY(!m_manager->Project().FileHasChanged());
        QCOMPARE(ReadTestFile(File()), file);
        QCOMPARE(m_manager->JobNumbers().LastID(), 3);
        QCOMPARE(Queue().IsPaused(), isPaused);
        QVERIFY(m_manager->Destinations().Short().Queue()->IsPaused());
        QCOMPARE(Queue().JobIDs(), QList<int>{3});
        QCOMPARE(FinishedTexts(), (QStringList{u"1 Completed"_s, u"2 Crashed"_s}));
        const Taskmill_FinishedJobs &finished = m_manager->FinishedJobs();
        QCOMPARE(finished.OutputOf(finished.Jobs().last()),
                 u"The manager ended while this job was running.\n"_s);
        QTRY_COMPARE(m_manager->notifier.Messages.size(), 1);
        QVERIFY(m_manager->notifier.Messages.first().contains("jobstatus=crashed\njobexitcode=-1\n"));
        // Only the one that waited starts, once the queue runs.
        QCOMPARE(Queue().JobAt(0)->Status(),
                 isPaused ? Taskmill_JobStatus::Pending : Taskmill_JobStatus::Running);
        QVERIFY(m_manager->Project().SaveProjectAs(File()));
        QCOMPARE(RowsOfFile(File(), u"SELECT JobID FROM FinishedJobs"_s), (QStringList{u"1"_s, u"2"_s}));
    }

    void TakesUpOutputsOfRunsWithoutKeepers()
    {
        if (isWindows || KilnUtil_RunKeepers::ProgramName().isEmpty())
            QSKIP("No such link, or no keepers at all");
        const QString runID{32, u'a'};
        const QString stored = KilnUtil_RunKeepers::FolderIn(Folder().path()) + u"/out/"_s + runID;
        TestManager::Release(Submit(u"done.in"_s));
        QTRY_COMPARE(m_manager->FinishedJobs().Count(), 1);
        const qint64 key = TestManager::Database().GetFinishedRows().first().Key;
        QVERIFY(TestManager::Database().WorkingCopy().AddLeftOutput(
            key, {.Run = runID + u"@here"_s, .Said = u"[said]"_s}));
        BreakOff();
        // It leads to itself, and so cannot be opened, as when there are too many open files.
        QVERIFY(QDir{}.mkpath(QFileInfo{stored}.path()));
        QVERIFY(QFile::link(stored, stored));
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression{u"cannot be read now, and stays where it is"_s});
        QVERIFY(m_manager->Project().OpenProject(File()));
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression{u"cannot be read now, and stays where it is"_s});
        QVERIFY(m_manager->Project().SaveProjectAs(File()));
        const QString outputs = u"SELECT StdOutAndStdErr FROM FinishedJobs"_s;
        QVERIFY2(RowsOfFile(File(), outputs).first().contains(stored),
                 qPrintable(RowsOfFile(File(), outputs).first()));
        // It is known after another end, too.
        Submit(u"later.in"_s);
        BreakOff();
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression{u"cannot be read now, and stays where it is"_s});
        QVERIFY(m_manager->Project().OpenProject(File()));
        QVERIFY(QFile::remove(stored));
        WriteTestFile(stored, "what it wrote");
        QVERIFY(m_manager->Project().SaveProjectAs(File()));
        QCOMPARE(RowsOfFile(File(), outputs).first(), u"what it wrote[said]"_s);
    }

    void RecoveryIsRepeatedUntilSaved()
    {
        Submit(u"a.in"_s);
        for (int round = 0; round < 2; ++round) {
            BreakOff();
            QVERIFY(m_manager->Project().OpenProject(File()));
            QVERIFY(m_manager->Project().IsRecovered());
        }
        Submit(u"b.in"_s);
        QVERIFY(m_manager->Project().SaveProjectAs(File()));
        // Nothing is unsaved, but a job runs.
        BreakOff();
        QVERIFY(m_manager->Project().OpenProject(File()));
        QCOMPARE(FinishedTexts(), (QStringList{u"1 Crashed"_s, u"2 Crashed"_s}));
        QVERIFY(m_manager->Project().SaveProjectAs(File()));
        BreakOff();
        QVERIFY(m_manager->Project().OpenProject(File()));
        QVERIFY(!m_manager->Project().IsRecovered());
        QVERIFY(!m_manager->Project().HasUnsavedChanges());
        Submit(u"c.in"_s);
        // Another manager that looks for what was left behind does not find this one.
        QStringList notices;
        QVERIFY(!Taskmill_ProjectRecovery{notices}.Find(Taskmill_ProjectLock{File()}));
    }

    void FileChangedElsewhereIsAskedAbout_data()
    {
        QTest::addColumn<WarnAnswer>("answer");
        QTest::addColumn<bool>("isRecovered");
        QTest::newRow("the changes") << WarnAnswer::Yes << true;
        QTest::newRow("nobody is there") << WarnAnswer::Cancel << true;
        QTest::newRow("the file") << WarnAnswer::No << false;
    }

    void FileChangedElsewhereIsAskedAbout()
    {
        QFETCH(WarnAnswer, answer);
        QFETCH(bool, isRecovered);
        Queue().SetPaused(true);
        Submit(u"a.in"_s);
        BreakOff();
        RawDatabase{File()}.Execute({u"UPDATE Queues SET MaxRunningJobs = 7 WHERE Name = 'Long'"_s});
        QVERIFY(m_manager->Project().OpenProject(File()));
        m_manager->prompt.answers = {answer};
        Taskmill_ChangedFileDialogue dialogue{m_manager->Project()};
        Taskmill_AskThroughPrompt(dialogue);
        QVERIFY(!Taskmill_ChangedFileDialogue{m_manager->Project()}.Next());
        QCOMPARE(Queue().MaxRunningJobs(), isRecovered ? 1 : 7);
        QCOMPARE(m_manager->Project().HasUnsavedChanges(), isRecovered);
        // Numbers that clients know are not given again.
        QCOMPARE(m_manager->JobNumbers().LastID(), 1);
        const auto beside = [this] {
            return QDir{m_manager->directory.path()}.entryList({u"jobs-*.mill"_s});
        };
        QCOMPARE(beside().size(), isRecovered ? 0 : 1);
        // The question comes again when nobody could be asked for a file.
        QVERIFY(m_manager->Project().SaveUnattended());
        m_manager->Project().LeaveProject();
        QVERIFY(m_manager->Project().OpenProject(File()));
        QCOMPARE(m_manager->Project().HasChangedFile(), isRecovered);
        QCOMPARE(Queue().JobIDs(), isRecovered ? QList<int>{1} : QList<int>{});
        QCOMPARE(beside().size(), isRecovered ? 0 : 1);
        if (!isRecovered)
            QCOMPARE(RowsOfFile(m_manager->Path(beside().first()), u"SELECT JobID FROM LongJobsQueue"_s),
                     QStringList{u"1"_s});
        QCOMPARE(RowsOfFile(File(), u"SELECT MaxRunningJobs FROM Queues WHERE Name = 'Long'"_s),
                 QStringList{u"7"_s});
    }

    void TouchedFileHasNotChanged()
    {
        Submit(u"a.in"_s);
        BreakOff();
        const QByteArray content = ReadTestFile(File());
        QVERIFY(QFile::remove(File()));
        WriteTestFile(File(), content);
        QVERIFY(m_manager->Project().OpenProject(File()));
        QVERIFY(m_manager->Project().IsRecovered());
        QVERIFY(!m_manager->Project().HasChangedFile());
    }

    void ManagerThatEndsBehindSavingHasSaved()
    {
        Submit(u"a.in"_s);
        TakeSnapshot();
        QVERIFY(m_manager->Project().SaveProjectAs(File()));
        m_manager->Project().CloseProject();
        PutBackSnapshot();
        // The last that it wrote to its working copy was what it was about to write to the file.
        RawDatabase{Copy()}.Execute(
            {u"INSERT OR REPLACE INTO WorkingCopy VALUES ('PendingStamp', '%1')"_s.arg(
                Taskmill_ContentStamp(File()))});
        QVERIFY(m_manager->Project().OpenProject(File()));
        QVERIFY(!m_manager->Project().HasChangedFile());
        QCOMPARE(RowsOfFile(File(), u"SELECT JobID FROM LongJobsQueue"_s), QStringList{u"1"_s});
    }

    void DamagedCopyIsSetAside_data()
    {
        QTest::addColumn<bool>("isCut");
        QTest::newRow("garbage") << false;
        QTest::newRow("its end is missing") << true;
    }

    void DamagedCopyIsSetAside()
    {
        QFETCH(bool, isCut);
        Submit(u"a.in"_s);
        BreakOff();
        const QByteArray whole = ReadTestFile(Copy());
        const QByteArray content = isCut ? whole.first(whole.size() / 2) : QByteArray(20000, 'x');
        ReplaceCopy(content);
        QVERIFY(m_manager->Project().OpenProject(File()));
        QVERIFY(!m_manager->Project().IsRecovered());
        QCOMPARE(m_manager->Project().Notices().size(), 2);
        // The lost job may still run under its number.
        QCOMPARE(m_manager->JobNumbers().LastID(), 1000);
        QVERIFY(m_manager->Project().Notices().last().contains(
            u"see Running Jobs. New jobs are numbered from 1001"_s));
        QVERIFY(m_manager->Project().HasUnsavedChanges());
        const QStringList aside = Folder().entryList({u"damaged-*.db"_s});
        QCOMPARE(aside.size(), 1);
        QCOMPARE(ReadTestFile(Folder().filePath(aside.first())), content);
        QVERIFY(m_manager->Project().Notices().first().contains(
            QDir::toNativeSeparators(Folder().filePath(aside.first()))));
    }

    void CopyWithoutANoteIsFound_data()
    {
        QTest::addColumn<bool>("isBegun");
        QTest::addColumn<bool>("isFound");
        QTest::newRow("there was no room for the note") << true << true;
        QTest::newRow("ended while the project was read") << false << false;
    }

    void CopyWithoutANoteIsFound()
    {
        QFETCH(bool, isBegun);
        QFETCH(bool, isFound);
        Submit(u"a.in"_s);
        BreakOff();
        TakeNoteAway();
        if (!isBegun)
            RawDatabase{Copy()}.Execute({u"DROP TABLE WorkingCopy"_s});
        QVERIFY(m_manager->Project().OpenProject(File()));
        QCOMPARE(m_manager->Project().IsRecovered(), isFound);
        QVERIFY(Folder().entryList({u"damaged-*"_s}).isEmpty());
    }

    void DamagedCopyWithoutANoteIsKept_data()
    {
        QTest::addColumn<bool>("isCopy");
        QTest::newRow("it has changes") << true;
        QTest::newRow("what was read of a project file") << false;
    }

    void DamagedCopyWithoutANoteIsKept()
    {
        QFETCH(bool, isCopy);
        Submit(u"a.in"_s);
        BreakOff();
        // What is in the log goes with it.
        RawDatabase{Copy()}.Execute({u"PRAGMA wal_checkpoint(TRUNCATE)"_s});
        QByteArray content = ReadTestFile(isCopy ? Copy() : File());
        ReplaceCopy(content.replace(0, 16, QByteArray(16, 'x')));
        TakeNoteAway();
        QVERIFY(m_manager->Project().OpenProject(File()));
        QCOMPARE(Folder().entryList({u"damaged-*.db"_s}).size(), isCopy ? 1 : 0);
        QCOMPARE(m_manager->Project().Notices().size(), isCopy ? 1 : 0);
    }

    void NeverSavedProjectsComeBack()
    {
        m_manager->NewProject();
        m_manager->AddGatedJobType();
        Submit(u"older.in"_s);
        BreakOff();
        m_manager->NewProject();
        m_manager->AddGatedJobType();
        Submit(u"newer.in"_s);
        Submit(u"newest.in"_s);
        BreakOff();
        // One that is left by a manager with a window is not for this one.
        Taskmill_SetRunMode(Taskmill_RunMode::Gui);
        m_manager->NewProject();
        m_manager->AddGatedJobType();
        BreakOff();
        Taskmill_SetRunMode(Taskmill_RunMode::Console);
        QVERIFY(m_manager->OpenStartUpProject({}));
        QVERIFY(m_manager->Project().FilePath().isEmpty());
        QVERIFY(m_manager->Project().HasUnsavedChanges());
        QCOMPARE(m_manager->JobNumbers().LastID(), 2);
        QCOMPARE(m_manager->Project().Notices().size(), 3);
        m_manager->Project().CloseProject();
        QVERIFY(m_manager->OpenStartUpProject({}));
        QCOMPARE(m_manager->JobNumbers().LastID(), 1);
        m_manager->Project().CloseProject();
        QVERIFY(m_manager->OpenStartUpProject({}));
        QVERIFY(!m_manager->Project().HasUnsavedChanges());
        QCOMPARE(m_manager->Project().Notices().size(), 1);
    }

    void UnattendedEndKeepsWhatHasNoFile()
    {
        m_manager->NewProject();
        m_manager->AddGatedJobType();
        Submit(u"runs.in"_s);
        QVERIFY(m_manager->Project().SaveUnattended());
        m_manager->Project().LeaveProject();
        QVERIFY(m_manager->OpenStartUpProject({}));
        QVERIFY(m_manager->Project().IsRecovered());
        // The manager has ended it itself, and nothing runs before somebody is there.
        QCOMPARE(Queue().JobIDs(), QList<int>{1});
        QVERIFY(Queue().IsPaused());
        QVERIFY(m_manager->FinishedJobs().Jobs().isEmpty());
    }

    void OneManagerHasAProject()
    {
        m_manager->NewProject();
        const auto elsewhere = std::make_unique<Taskmill_ProjectLock>(File());
        // On Windows a link is a file of its own, and names are alike in any case.
        const QString other = isWindows ? u"JOBS.Mill"_s : u"link.mill"_s;
        QVERIFY(isWindows || QFile::link(File(), m_manager->Path(other)));
        for (const QString &name : {u"jobs.mill"_s, other}) {
            QVERIFY(!m_manager->Project().OpenProject(m_manager->Path(name)));
            QVERIFY(m_manager->prompt.asked.last().text.contains(
                u"Another Taskmill manager, process %1, has"_s.arg(QCoreApplication::applicationPid())));
        }
        const QByteArray before = ReadTestFile(File());
        QVERIFY(!m_manager->Project().SaveProjectAs(File()));
        QCOMPARE(ReadTestFile(File()), before);
    }

    void ProjectFileKnowsNothingOfTheCopy()
    {
        Submit(u"a.in"_s);
        QVERIFY(m_manager->Project().SaveProjectAs(File()));
        QCOMPARE(RowsOfFile(File(), u"SELECT name FROM sqlite_master WHERE name LIKE '%copy%'"_s),
                 QStringList{});
        QCOMPARE(RowsOfFile(File(), u"PRAGMA integrity_check"_s), QStringList{u"ok"_s});
        QCOMPARE(RowsOfFile(File(), u"PRAGMA journal_mode"_s), QStringList{u"delete"_s});
        QVERIFY(!ReadTestFile(File()).contains("BaseStamp"));
        // Windows closes the folder instead.
        QVERIFY(isWindows ||
                !QFileInfo{Copy()}.permissions().testAnyFlags(QFile::ReadGroup | QFile::ReadOther));
        m_manager->Project().CloseProject();
        QCOMPARE(Folder().entryList(QDir::Files), QStringList{});
    }

    void ChangesAreBroughtOntoTheDiskInTheBackground()
    {
        Queue().SetPaused(true);
        Submit(u"written-by-the-thread.in"_s);
        QTRY_VERIFY(ReadTestFile(Copy()).contains("written-by-the-thread.in"));
    }

    void FullDiskStartsAndTakesNothing()
    {
        if (isWindows)
            QSKIP("no such limit");
        Queue().SetPaused(true);
        Submit(u"waits.in"_s);
        {
            const FileSizeLimit full;
            m_manager->prompt.asked.clear();
            QVERIFY(!m_manager->Destinations().Long().Submit(
                m_manager->NewJob(m_gated, m_manager->InputFile(u"b.in"_s))));
            Queue().SetPaused(false);
            QCOMPARE(Queue().JobAt(0)->Status(), Taskmill_JobStatus::Pending);
        }
        QCOMPARE(Queue().JobIDs(), QList<int>{1});
        Queue().SetPaused(false);
        QCOMPARE(Queue().JobAt(0)->Status(), Taskmill_JobStatus::Running);
    }

    void OtherPlaceServesWhereTheStateFolderDoesNot()
    {
        if (isWindows)
            QSKIP("there is one place");
        const QByteArray before = qgetenv("XDG_STATE_HOME");
        qputenv("XDG_STATE_HOME", File().toLocal8Bit());
        m_manager->NewProject();
        const QString path = TestManager::Database().StoragePath();
        m_manager->Project().CloseProject();
        qputenv("XDG_STATE_HOME", before);
        QVERIFY2(path.startsWith(KilnUtil_LocalStateFolderPath() + u'/'), qUtf8Printable(path));
        QVERIFY(!QFile::exists(path));
    }

private:
    [[nodiscard]] QString File() const { return m_manager->Path(u"jobs.mill"_s); }
    [[nodiscard]] Taskmill_JobQueue &Queue() const { return *m_manager->Destinations().Long().Queue(); }
    [[nodiscard]] static QString Copy()
    {
        return Folder().filePath(Folder().entryList({u"work-*.db"_s}).first());
    }
    /// Of a manager that has ended.
    static void ReplaceCopy(const QByteArray &content)
    {
        WriteTestFile(Copy(), content);
        QFile::remove(Copy() + u"-wal"_s);
    }
    static void TakeNoteAway() { WriteTestFile(Copy().chopped(3) + u".lock"_s, {}); }
    [[nodiscard]] QStringList FinishedTexts() const
    {
        QStringList texts;
        for (const Taskmill_JobRecord &job : m_manager->FinishedJobs().Jobs())
            texts += u"%1 %2"_s.arg(job.JobID).arg(Taskmill_JobStatusText(job.Status));
        return texts;
    }

    /// A job of the long queue that runs until its input file, which is returned, is released.
    QString Submit(const QString &fileName, bool notifies = false)
    {
        QString file = m_manager->InputFile(fileName);
        Taskmill_JobRecord job = std::unique_ptr<Taskmill_Job>
        {
            m_manager->NewJob(m_manager->JobTypes().GetAll().first(), file)
            } -> Record();
        job.ClientNotification = notifies;
        m_notifies = m_notifies || notifies;
        job.ClientName = job.ClientAppName = u"client"_s;
        job.ClientAddress = u"127.0.0.1"_s;
        m_manager->Destinations().Long().Submit(new Taskmill_Job{job});
        return file;
    }

    /// Keeps the files as they are now, for the manager to come: as if this one were ended by force.
    void TakeSnapshot()
    {
        m_snapshot.clear();
        // The log first: what is brought over meanwhile is in both then.
        for (const QString &name : {u"*.db-wal"_s, u"*.db"_s, u"work-*.lock"_s}) {
            for (const QString &file : Folder().entryList({name}))
                m_snapshot.insert(file, ReadTestFile(Folder().filePath(file)));
        }
    }
    void PutBackSnapshot() const
    {
        for (const auto &[name, content] : m_snapshot.asKeyValueRange()) {
            if (const QString path = Folder().filePath(name); !QFile::exists(path))
                WriteTestFile(path, content);
        }
    }
    void BreakOff()
    {
        TakeSnapshot();
        m_manager->Project().CloseProject();
        // What this one has to notify stays until the next project takes it over.
        if (std::exchange(m_notifies, false)) {
            QCoreApplication::processEvents();
            m_manager->NewProject();
            m_manager->Project().CloseProject();
        }
        m_manager->notifier.Messages.clear();
        PutBackSnapshot();
    }

    std::unique_ptr<TestManager> m_manager;
    Taskmill_JobType m_gated;
    bool m_notifies = false;
    QMap<QString, QByteArray> m_snapshot;
};

QTEST_GUILESS_MAIN(TestWorkingCopy)
#include "test_workingcopy.moc"
