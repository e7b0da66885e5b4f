#include "service/project.h"

#include "db/databasetestutil.h"
#include "jobs/job.h"
#include "jobs/runmode.h"
#include "kilnutil/registry.h"
#include "service/recentprojects.h"
#include "support/testmanager.h"
#include "support/testutil.h"

#include <QDir>
#include <QFile>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

using WarnAnswer = KilnUtil_UserPrompt::WarnAnswer;

namespace {
QStringList FilesOf(const QString &directory)
{
    return QDir{directory}.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}
} // namespace

/// Files, names and questions of projects, as the user meets them.
class TestProjectQuestions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_manager.reset(); }
    void SaveDialog_data();
    void SaveDialog();
    void WindowTitle();
    void RecentProjectsAreTen();
    void RecentProjectsFollowOpeningAndSaving();
    void MissingRecentProjectsAreDropped();
    void BadFiles_data();
    void BadFiles();
    void BadFileAtTheStart();
    void WindowNeedsAWritableFile();
    void OlderFileIsSavedInTheNewForm();

private:
    [[nodiscard]] QString File() const { return m_manager->Path(u"jobs.mill"_s); }
    void SaveAndChange();

    std::unique_ptr<TestManager> m_manager;
};

void TestProjectQuestions::init()
{
    FailOnQtWarnings();
    m_manager = std::make_unique<TestManager>();
}

/// A new project, saved and then changed.
void TestProjectQuestions::SaveAndChange()
{
    m_manager->NewProject();
    QVERIFY(m_manager->project.SaveProjectAs(File()));
    m_manager->AddGatedJobType();
}

void TestProjectQuestions::SaveDialog_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("existing");
    QTest::addColumn<QList<WarnAnswer>>("answers");
    QTest::addColumn<int>("questions");
    QTest::addColumn<QString>("saved");
    const QList<WarnAnswer> yes{WarnAnswer::Yes};
    const QList<WarnAnswer> no{WarnAnswer::No};
    const auto row = [](const char *name, const QString &typed, const QString &existing,
                        const QList<WarnAnswer> &answers, int questions, const QString &saved) {
        QTest::newRow(name) << typed << existing << answers << questions << saved;
    };
    row("new name", u" jobs "_s, {}, {}, 1, u"jobs.mill"_s);
    row("suffix in other letters", u"jobs.MILL"_s, {}, {}, 1, u"jobs.MILL"_s);
    row("other suffix", u"jobs.db"_s, {}, {}, 1, u"jobs.db.mill"_s);
    row("blanks cancel", u"  "_s, {}, {}, 1, {});
    // The dialog asks about the name that was typed, and about no other.
    row("typed name exists", u"jobs.mill"_s, u"jobs.mill"_s, {}, 1, u"jobs.mill"_s);
    row("appended name exists", u"jobs"_s, u"jobs.mill"_s, yes, 2, u"jobs.mill"_s);
    row("appended name is kept", u"jobs"_s, u"jobs.mill"_s, no, 2, {});
    row("closing the box keeps it too", u"jobs"_s, u"jobs.mill"_s, {WarnAnswer::None}, 2, {});
}

void TestProjectQuestions::SaveDialog()
{
    QFETCH(const QString, typed);
    QFETCH(const QString, existing);
    QFETCH(const QList<WarnAnswer>, answers);
    QFETCH(const int, questions);
    QFETCH(const QString, saved);
    Taskmill_SetRunMode(Taskmill_RunMode::Gui);
    m_manager->NewProject();
    if (!existing.isEmpty())
        WriteTestFile(m_manager->Path(existing), "old");
    m_manager->prompt.texts = {typed.trimmed().isEmpty()
                                   ? typed
                                   : typed.first(typed.indexOf(u'j')) +
                                         m_manager->Path(typed.sliced(typed.indexOf(u'j')))};
    m_manager->prompt.answers = answers;
    QCOMPARE(m_manager->project.SaveProject(), !saved.isEmpty());

    const QList<ScriptedPrompt::Asked> &asked = m_manager->prompt.asked;
    QCOMPARE(asked.size(), questions);
    QCOMPARE(asked[0].title, u"Specify a Taskmill Project File"_s);
    QCOMPARE(asked[0].text, u"Taskmill Project Files (*.mill)"_s);
    QCOMPARE(asked[0].items, QStringList{QDir::currentPath()});
    if (questions == 2)
        QCOMPARE(asked[1].text, u"%1 already exists.\nDo you want to replace it?"_s.arg(
                                    QDir::toNativeSeparators(m_manager->Path(existing))));
    QCOMPARE(m_manager->project.FilePath(), saved.isEmpty() ? saved : m_manager->Path(saved));
    if (!existing.isEmpty())
        QCOMPARE(ReadTestFile(m_manager->Path(existing)) == "old", saved.isEmpty());
}

void TestProjectQuestions::WindowTitle()
{
    Taskmill_SetRunMode(Taskmill_RunMode::Gui);
    QStringList titles;
    connect(&m_manager->project, &Taskmill_Project::StateChangedSignal, this, [this, &titles] {
        const QString title = m_manager->project.WindowTitle();
        if (titles.isEmpty() || titles.last() != title)
            titles += title;
    });
    m_manager->NewProject();
    m_manager->AddGatedJobType();
    QVERIFY(m_manager->project.SaveProjectAs(File()));
    m_manager->longJobs.Jobs().SetMaxRunningJobs(2);
    QVERIFY(m_manager->project.SaveProject());
    m_manager->NewProject();
    QVERIFY(m_manager->project.OpenProject(File()));
    QCOMPARE(titles.size(), 5);
    const QString version = u"TaskmillGUI 1.1.18, "_s;
    QCOMPARE(titles,
             (QStringList{version + u"New Project"_s, version + u"Unsaved Project"_s,
                          version + u"jobs.mill"_s, version + u"New Project"_s, version + u"jobs.mill"_s}));
}

void TestProjectQuestions::RecentProjectsAreTen()
{
    QVERIFY(Taskmill_RecentProjects().isEmpty());
    for (const QChar letter : u"abcdefghijk"_s)
        Taskmill_AddToRecentProjects(u"/p/"_s + letter);
    QCOMPARE(Taskmill_RecentProjects().join(u""_s).remove(u"/p/"_s), u"kjihgfedcb"_s);
    Taskmill_AddToRecentProjects(u"/p/e"_s);
    QCOMPARE(Taskmill_RecentProjects().join(u""_s).remove(u"/p/"_s), u"ekjihgfdcb"_s);
    // Paths are compared as they stand.
    Taskmill_AddToRecentProjects(u"/p/E"_s);
    QCOMPARE(Taskmill_RecentProjects().join(u""_s).remove(u"/p/"_s), u"Eekjihgfdc"_s);
}

void TestProjectQuestions::RecentProjectsFollowOpeningAndSaving()
{
    const QString other = m_manager->Path(u"sub/Wasser, ü.mill"_s);
    QVERIFY(QDir{}.mkpath(m_manager->Path(u"sub"_s)));
    m_manager->NewProject();
    QVERIFY(Taskmill_RecentProjects().isEmpty());
    QVERIFY(m_manager->project.SaveProjectAs(File()));
    QVERIFY(m_manager->project.SaveProjectAs(other));
    QCOMPARE(Taskmill_RecentProjects(), (QStringList{other, File()}));
    const auto lastDirectory = [] {
        return KilnUtil_Registry::Value(u"/Files/Last_Directory_Path"_s).toString();
    };
    QCOMPARE(lastDirectory(), m_manager->Path(u"sub"_s));

    QVERIFY(m_manager->project.OpenProject(QDir::current().relativeFilePath(File())));
    QCOMPARE(Taskmill_RecentProjects(), (QStringList{File(), other}));
    QCOMPARE(lastDirectory(), m_manager->directory.path());
    QVERIFY(!m_manager->project.OpenProject(m_manager->Path(u"sub/missing.mill"_s)));
    QVERIFY(!m_manager->project.SaveProjectAs(m_manager->Path(u"none/x.mill"_s)));
    QCOMPARE(Taskmill_RecentProjects(), (QStringList{File(), other}));
    QCOMPARE(lastDirectory(), m_manager->directory.path());
}

void TestProjectQuestions::MissingRecentProjectsAreDropped()
{
    const QString there = WriteTestFile(File(), {});
    for (const QString &path : {u"/none/a"_s, there, u"/none/b"_s})
        Taskmill_AddToRecentProjects(path);
    Taskmill_DropMissingRecentProjects();
    QCOMPARE(Taskmill_RecentProjects(), QStringList{there});
    QVERIFY(QFile::remove(there));
    Taskmill_DropMissingRecentProjects();
    QVERIFY(Taskmill_RecentProjects().isEmpty());
}

void TestProjectQuestions::BadFiles_data()
{
    QTest::addColumn<QString>("fault");
    QTest::addColumn<QString>("message");
    const auto row = [](const QString &fault, const QString &message) {
        QTest::newRow(qPrintable(fault)) << fault << message;
    };
    const QString noProject = u"The specified file is not a Taskmill project:\n\n%1"_s;
    const QString unreadable =
        u"The specified file is not a Taskmill project, is damaged or is in use by another program:\n\n%1"_s;
    row(u"missing"_s, u"The specified file does not exist:\n\n%1"_s);
    row(u"directory"_s, unreadable);
    row(u"empty"_s, noProject);
    row(u"text"_s, unreadable);
    row(u"cut in its first page"_s, unreadable);
    row(u"cut in the middle"_s, unreadable);
    row(u"overwritten in the middle"_s, unreadable);
    row(u"locked"_s, unreadable);
    row(u"no tables"_s, noProject);
    row(u"no version"_s, noProject);
    row(u"other version"_s, u"The specified file is a Taskmill project of another version:\n\n%1"_s);
}

void TestProjectQuestions::BadFiles()
{
    QFETCH(const QString, fault);
    QFETCH(const QString, message);
    m_manager->NewProject();
    const Taskmill_JobType jobType = m_manager->AddGatedJobType();
    for (int jobID = 1; jobID <= 300; ++jobID)
        QVERIFY(TestManager::Database().InsertFinishedJob(SampleJob(jobType, jobID), true));
    QVERIFY(m_manager->project.SaveProjectAs(File()));
    m_manager->NewProject();
    m_manager->AddGatedJobType();
    m_manager->longJobs.Jobs().SetPaused(true);
    m_manager->longJobs.Submit(m_manager->NewJob(m_manager->jobTypes.GetAll().last()));

    QByteArray content = ReadTestFile(File());
    std::unique_ptr<RawDatabase> locker;
    if (fault == "missing"_L1 || fault == "directory"_L1)
        QVERIFY(QFile::remove(File()));
    if (fault == "directory"_L1)
        QVERIFY(QDir{}.mkdir(File()));
    if (fault == "empty"_L1)
        WriteTestFile(File(), {});
    if (fault == "text"_L1)
        WriteTestFile(File(), QByteArray{20000, 'x'});
    if (fault == "cut in its first page"_L1)
        WriteTestFile(File(), content.first(600));
    if (fault == "cut in the middle"_L1)
        WriteTestFile(File(), content.first(content.size() / 2));
    if (fault == "overwritten in the middle"_L1)
        WriteTestFile(File(), content.replace(content.size() / 2, 8192, QByteArray{8192, '\x7f'}));
    if (fault == "other version"_L1)
        RawDatabase{File()}.Execute({u"UPDATE GeneralData SET DataStr = '3' WHERE Name = 'Version'"_s});
    if (fault == "no tables"_L1)
        RawDatabase{File()}.Execute({u"DROP TABLE GeneralData"_s});
    if (fault == "no version"_L1)
        RawDatabase{File()}.Execute({u"DELETE FROM GeneralData"_s});
    if (fault == "locked"_L1) {
        locker = std::make_unique<RawDatabase>(File());
        locker->Execute({u"BEGIN EXCLUSIVE"_s});
    }
    const QByteArray before = ReadTestFile(File());
    const QStringList files = FilesOf(m_manager->directory.path());

    QVERIFY(!m_manager->project.OpenProject(File()));
    // Nobody is asked to save what stays open.
    QCOMPARE(m_manager->prompt.asked.size(), 1);
    QCOMPARE(m_manager->prompt.asked[0].title, u"Opening a Taskmill Project File"_s);
    QCOMPARE(m_manager->prompt.asked[0].text, message.arg(File()));
    QCOMPARE(ReadTestFile(File()), before);
    QCOMPARE(FilesOf(m_manager->directory.path()), files);
    QVERIFY(m_manager->project.IsOpen() && m_manager->project.FilePath().isEmpty());
    QVERIFY(m_manager->project.HasUnsavedChanges());
    QCOMPARE(m_manager->longJobs.Jobs().JobIDs(), QList<int>{1});
    QCOMPARE(TestManager::Database().GetLongJobs().size(), 1);
    QCOMPARE(m_manager->jobNumbers.LastID(), 1);
}

void TestProjectQuestions::BadFileAtTheStart()
{
    WriteTestFile(File(), {});
    QVERIFY(!m_manager->project.OpenProject(File()));
    QCOMPARE(m_manager->prompt.asked.size(), 1);
    QCOMPARE(m_manager->prompt.asked[0].text,
             u"The specified file is not a Taskmill project:\n\n"_s + File());
    QVERIFY(!m_manager->project.IsOpen());
    QVERIFY(Taskmill_RecentProjects().isEmpty());
    QCOMPARE(ReadTestFile(File()), QByteArray{});
    m_manager->NewProject();
    QVERIFY(m_manager->project.IsOpen() && m_manager->project.FilePath().isEmpty());
}

void TestProjectQuestions::WindowNeedsAWritableFile()
{
    SaveAndChange();
    QVERIFY(m_manager->project.SaveProject());
    m_manager->NewProject();
    QVERIFY(QFile::setPermissions(File(), QFile::ReadOwner));
    if (QFileInfo{File()}.isWritable())
        QSKIP("This user may write to every file");
    Taskmill_SetRunMode(Taskmill_RunMode::Gui);
    QVERIFY(!m_manager->project.OpenProject(File()));
    QCOMPARE(m_manager->prompt.asked.size(), 1);
    QCOMPARE(m_manager->prompt.asked[0].text, u"The specified file is not writable:\n\n"_s + File());
    QVERIFY(m_manager->project.IsOpen() && m_manager->project.FilePath().isEmpty());
    Taskmill_SetRunMode(Taskmill_RunMode::Console);
    QVERIFY(m_manager->project.OpenProject(File()));
}

void TestProjectQuestions::OlderFileIsSavedInTheNewForm()
{
    m_manager->NewProject();
    const Taskmill_JobType jobType = m_manager->AddGatedJobType();
    QVERIFY(TestManager::Database().InsertFinishedJob(SampleJob(jobType, 1), true));
    QVERIFY(TestManager::Database().InsertLongJob(SampleJob(jobType, 2), true));
    QVERIFY(m_manager->project.SaveProjectAs(File()));
    m_manager->NewProject();
    const QStringList tables{u"LongJobsQueue"_s, u"ShortJobsQueue"_s, u"QueuelessJobs"_s,
                             u"RunningJobs"_s,   u"FinishedJobs"_s,   u"Jobs"_s};
    QStringList statements{u"ALTER TABLE FinishedJobs DROP COLUMN StdOutAndStdErr"_s};
    for (const QString &table : tables) {
        for (const QString &column : {u"InputFilePath2"_s, u"JobClass"_s, u"ClientNotification"_s})
            statements += u"ALTER TABLE %1 DROP COLUMN %2"_s.arg(table, column);
    }
    RawDatabase{File()}.Execute(statements);
    const QByteArray older = ReadTestFile(File());

    QVERIFY(m_manager->project.OpenProject(File()));
    QVERIFY(m_manager->prompt.asked.isEmpty());
    QVERIFY(!m_manager->project.HasUnsavedChanges());
    QCOMPARE(ReadTestFile(File()), older);
    const Taskmill_JobRecord job = m_manager->finishedJobs.Jobs().value(0);
    QCOMPARE(job.Name, SampleJob(jobType, 1).Name);
    QCOMPARE(job.StdOutAndStdErr + job.JobClass + job.InputFilePath2, QString{});
    QCOMPARE(m_manager->longJobs.Jobs().JobIDs(), QList<int>{2});

    m_manager->longJobs.Submit(m_manager->NewJob(jobType));
    QVERIFY(m_manager->project.SaveProject());
    for (const QString &table : tables) {
        const auto columns = RowsOfFile(File(), u"SELECT name FROM pragma_table_info('%1')"_s.arg(table));
        for (const QString &column : {u"InputFilePath2"_s, u"JobClass"_s, u"ClientNotification"_s})
            QVERIFY2(columns.contains(column), qPrintable(table));
        QCOMPARE(columns.contains(u"StdOutAndStdErr"_s), table == "FinishedJobs"_L1);
    }
}

QTEST_GUILESS_MAIN(TestProjectQuestions)
#include "test_projectquestions.moc"
