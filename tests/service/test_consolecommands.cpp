#include "consolefixture.h"
#include "support/testutil.h"

#include <QScopeGuard>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

using AtEnd = ConsoleFixture::AtEnd;

namespace {
const QString prompt = ConsoleFixture::Prompt;
const QString killWarning =
    u"\n<Taskmill> At least one Job selected for removal is currently running.  Removal of a Job that is "
    "running requires that it be Killed.\n\nRemove selected jobs that are currently running?  "_s;

Taskmill_JobRecord Finished(int jobID)
{
    Taskmill_JobRecord job;
    job.JobID = jobID;
    job.Name = u"done"_s;
    job.Status = Taskmill_JobStatus::Completed;
    return job;
}
} // namespace

class TestConsoleCommands : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_fixture.reset(); }
    void Listings();
    void UnknownLinesDoNothing();
    void PausingAndLimits();
    void JobsThatAreNotThere();
    void SaveCommand();
    void Directories();
    void DirectoryListing_data();
    void DirectoryListing();
    void ShowJob();
    void RemoveJob();
    void KillJob();
    void TabKey();

private:
    std::unique_ptr<ConsoleFixture> m_fixture;
};

void TestConsoleCommands::init()
{
    FailOnQtWarnings();
    m_fixture = std::make_unique<ConsoleFixture>();
}

void TestConsoleCommands::Listings()
{
    m_fixture->SubmitGated(m_fixture->Manager.longJobs, u"a.in"_s);
    m_fixture->SubmitGated(m_fixture->Manager.shortJobs, u"b.in"_s);
    m_fixture->SubmitGated(m_fixture->Manager.queuelessJobs, u"c.in"_s);
    m_fixture->Manager.finishedJobs.SetJobs({Finished(9)});
    const QList<QStringList> expected{
        {u"list long jobs"_s, u"\nLong Jobs Queue\nJob ID  "_s, u"\n1       job 1  Running"_s},
        {u"list short jobs"_s, u"\nShort Jobs Queue\nJob ID  "_s, u"\n2       job 2  Running"_s},
        {u"list queueless jobs"_s, u"\nQueueless Jobs List\nJob ID  "_s, u"\n3       job 3  Running"_s},
        {u"list finished jobs"_s, u"\nFinished Jobs\nJob ID  "_s, u"\n9       done  Completed"_s},
        {u"list job types"_s, u"\nJob Types\nDBID  "_s, u"\n0     Gated"_s}};
    for (const QStringList &listing : expected) {
        const QString output = m_fixture->Run({listing[0]});
        QVERIFY2(output.startsWith(listing[1]) && output.contains(listing[2]), qPrintable(output));
        QVERIFY2(output.endsWith(u"\n\n<Taskmill> "_s), qPrintable(output));
    }

    Taskmill_ProcessRecord known;
    known.ProcessId = u"4711"_s;
    known.ExecutablePath = TestProgramPath();
    Taskmill_ProcessRecord other;
    other.ProcessId = u"4712"_s;
    m_fixture->Inspector.Processes = {known, other};
    const QString all = m_fixture->Run({u"list all running jobs"_s});
    QVERIFY(all.contains(u"  4711  "_s) && all.contains(u"  4712  "_s));
    const QString some = m_fixture->Run({u"list running jobs"_s});
    QVERIFY(some.contains(u"  4711  "_s) && !some.contains(u"  4712  "_s));
    QVERIFY(m_fixture->Running.OnlyShowsKnownJobTypes());
}

void TestConsoleCommands::UnknownLinesDoNothing()
{
    const QString directory = QDir::currentPath();
    const QStringList lines{
        u""_s,       u"  "_s,        u"LIST LONG JOBS"_s, u"list  long jobs"_s, u"list long jobs now"_s,
        u"cd\t.."_s, u"directory"_s, u"quit now"_s,       u"remove job"_s,      u"set long limit"_s};
    QCOMPARE(m_fixture->Run(lines), prompt.repeated(lines.size()));
    QCOMPARE(QDir::currentPath(), directory);
}

void TestConsoleCommands::PausingAndLimits()
{
    const auto answers = [](const QStringList &texts) {
        return u"\n<Taskmill> "_s + texts.join(u"\n\n"_s + prompt + u"\n<Taskmill> "_s) + u"\n\n"_s + prompt;
    };
    QCOMPARE(m_fixture->Run({u"pause long jobs"_s, u"pause short jobs"_s, u"unpause long jobs"_s}),
             answers({u"The Long Jobs Queue is paused."_s, u"The Short Jobs Queue is paused."_s,
                      u"The Long Jobs Queue is no longer paused."_s}));
    QVERIFY(!m_fixture->Manager.longJobs.Jobs().IsPaused());
    QVERIFY(m_fixture->Manager.shortJobs.Jobs().IsPaused());
    const QString wrong = u"The limit must be a number of 1 or more."_s;
    QCOMPARE(m_fixture->Run({u"set long limit 3"_s, u"set short limit 2"_s, u"set long limit 0"_s,
                             u"set long limit two"_s, u"set long limit 99999999999"_s}),
             answers({u"The Long Jobs Queue runs at most 3 jobs at a time."_s,
                      u"The Short Jobs Queue runs at most 2 jobs at a time."_s, wrong, wrong, wrong}));
    QCOMPARE(m_fixture->Manager.longJobs.Jobs().MaxRunningJobs(), 3);
    QCOMPARE(TestManager::Database().GetMaxRunningJobs(u"Short"_s), 2);
}

void TestConsoleCommands::JobsThatAreNotThere()
{
    m_fixture->Manager.longJobs.Jobs().SetPaused(true);
    m_fixture->SubmitGated(m_fixture->Manager.longJobs, u"a.in"_s);
    m_fixture->Manager.finishedJobs.SetJobs({Finished(41)});
    for (const auto &[line, answer] :
         {std::pair{u"show job 2"_s, u"There is no job 2."_s},
          std::pair{u"show job two"_s, u"There is no job two."_s},
          std::pair{u"remove job 41"_s, u"There is no waiting or running job 41."_s},
          std::pair{u"kill job 1x"_s, u"There is no waiting or running job 1x."_s},
          std::pair{u"kill job 1"_s, u"Job 1 does not run; it can be removed."_s}})
        QCOMPARE(m_fixture->Run({line}), u"\n<Taskmill> "_s + answer + u"\n\n"_s + prompt);
    QCOMPARE(m_fixture->Manager.longJobs.Jobs().JobIDs(), QList<int>{1});
}

void TestConsoleCommands::SaveCommand()
{
    const QString ask = u"\n<Taskmill> Enter Project File:  "_s;
    QCOMPARE(m_fixture->Run({u"save"_s, u"cancel"_s}),
             ask + u"\n<Taskmill> The project was not saved.\n\n"_s + prompt);
    QVERIFY(QDir::setCurrent(m_fixture->Manager.directory.path()));
    const QString saved = u"\n<Taskmill> The project was saved to %1.\n\n"_s + prompt;
    QCOMPARE(m_fixture->Run({u"save"_s, u"jobs.MILL"_s}), ask + saved.arg(u"jobs.MILL"_s));
    const QString file = m_fixture->Manager.Path(u"jobs.MILL"_s);
    QCOMPARE(m_fixture->Manager.project.FilePath(), file);
    // From now on it has a file.
    QVERIFY(QFile::remove(file));
    QCOMPARE(m_fixture->Run({u"save"_s}), saved.arg(file));
    QVERIFY(QFile::exists(file));
}

void TestConsoleCommands::Directories()
{
    const QString home = qEnvironmentVariable("HOME");
    const auto restore = qScopeGuard([&home] { qputenv("HOME", home.toLocal8Bit()); });
    const QString top = QFileInfo{m_fixture->Manager.directory.path()}.canonicalFilePath();
    qputenv("HOME", top.toLocal8Bit());
    QVERIFY(QDir{top}.mkpath(u"100 %s/ü"_s));
    const auto at = [&top](const QString &path) {
        return u"\nCurrent Directory:  "_s + top + path + u"\n\n"_s + prompt;
    };
    QCOMPARE(m_fixture->Run({u"cd"_s, u"  pwd  "_s, u"cd 100 %s/ü"_s, u"cd .."_s, u"cd missing"_s, u"cd  ü"_s,
                             u"cd "_s + top}),
             at({}) + at({}) + at(u"/100 %s/ü"_s) + at(u"/100 %s"_s) + at(u"/100 %s"_s) + at(u"/100 %s"_s) +
                 at({}));
}

void TestConsoleCommands::DirectoryListing_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("output");
    QTest::newRow("switch without a blank") << u"dir/B"_s << u"a.in\nfolder\n"_s;
    QTest::newRow("path") << u"dir /b folder"_s << u"b.in\n"_s;
    QTest::newRow("alone") << u"dir"_s << u"a.in  folder\n"_s;
    QTest::newRow("errors are not shown") << u"dir missing"_s << QString{};
    QTest::newRow("input is not touched") << u"dir /b ; cat"_s << u"a.in\nfolder\n"_s;
}

void TestConsoleCommands::DirectoryListing()
{
    QFETCH(const QString, line);
    QFETCH(const QString, output);
    QVERIFY(QDir{m_fixture->Manager.directory.path()}.mkdir(u"folder"_s));
    const QString top = m_fixture->Manager.Path(u"top"_s);
    QVERIFY(QDir{}.mkpath(top + u"/folder"_s));
    WriteTestFile(top + u"/a.in"_s, {});
    WriteTestFile(top + u"/folder/b.in"_s, {});
    QVERIFY(QDir::setCurrent(top));
    QCOMPARE(m_fixture->Run({line}), u'\n' + output + u"\n\n"_s + prompt);
}

void TestConsoleCommands::ShowJob()
{
    const Taskmill_JobType jobType =
        m_fixture->Manager.AddJobType(u"Run"_s, u"print hello touch done waitfor go"_s);
    const QString file = m_fixture->Manager.InputFile(u"a.in"_s);
    m_fixture->Manager.longJobs.Submit(m_fixture->Manager.NewJob(jobType, file));
    QTRY_VERIFY(QFile::exists(m_fixture->Manager.Path(u"done"_s)));
    // What a running job has written by now is shown too.
    QString output;
    QTRY_VERIFY((output = m_fixture->Run({u"show job 1"_s})).contains(u"\nstdout and stderr:\nhello\n"_s));
    QVERIFY2(output.startsWith(u"\nJob ID                  1\nName                    job 1\n"
                               "Status                  Running\n"_s),
             qPrintable(output));
    QVERIFY(output.contains(u"\nInput File              %1\n"_s.arg(file)));

    Taskmill_JobRecord finished = Finished(41);
    finished.JobType = jobType;
    finished.JobType.GenericCommandLine = u"one\ntwo"_s;
    finished.JobClass = u"class"_s;
    finished.PlaceholderValues = {{u"@A"_s, u"1"_s}, {u"@B"_s, u"2"_s}};
    finished.StdOutAndStdErr = u"100 %1"_s;
    m_fixture->Manager.finishedJobs.SetJobs({finished});
    output = m_fixture->Run({u"show job 41"_s});
    QVERIFY2(output.contains(u"\nCommand Line            one\n                        two\n"_s),
             qPrintable(output));
    QVERIFY(output.contains(u"\nJob Class               class\n"_s));
    QVERIFY(output.contains(u"\nPlaceholders            @A=1, @B=2\n"_s));
    QVERIFY(output.endsWith(u"\nstdout and stderr:\n100 %1\n\n"_s + prompt));
}

void TestConsoleCommands::RemoveJob()
{
    m_fixture->SubmitGated(m_fixture->Manager.longJobs, u"a.in"_s);
    m_fixture->SubmitGated(m_fixture->Manager.longJobs, u"b.in"_s);
    const QString question = u"\n<Taskmill> Are you sure you want to remove the following 1 selected jobs "
                             "from the Long Jobs Queue?\n\njob %1  "_s;
    const QString removed = u"\n<Taskmill> Job %1 was removed.\n\n"_s;
    const auto remaining = [this] {
        return m_fixture->Manager.longJobs.Jobs().JobIDs();
    };
    QCOMPARE(m_fixture->Run({u"remove job 2"_s, u"no"_s}), question.arg(2) + prompt);
    QCOMPARE(m_fixture->Run({u"remove job 2"_s, u"cancel"_s}), question.arg(2) + prompt);
    QCOMPARE(m_fixture->Run({u"remove job 1"_s, u"yes"_s, u"no"_s}), question.arg(1) + killWarning + prompt);
    QCOMPARE(remaining(), (QList<int>{1, 2}));
    QCOMPARE(m_fixture->Run({u"remove job 2"_s, u"what"_s, u"YES"_s}),
             question.arg(2) + u'\n' + question.arg(2) + removed.arg(2) + prompt);
    QCOMPARE(remaining(), QList<int>{1});
    QCOMPARE(m_fixture->Run({u"remove job 1"_s, u"yes"_s, u"yes"_s}),
             question.arg(1) + killWarning + removed.arg(1) + prompt);
    QVERIFY(remaining().isEmpty());
    QVERIFY(TestManager::Database().GetLongJobs().isEmpty());
    QCOMPARE(m_fixture->Manager.finishedJobs.Jobs().size(), 1);
    QCOMPARE(m_fixture->Manager.finishedJobs.Jobs().first().Status, Taskmill_JobStatus::Killed);
}

void TestConsoleCommands::KillJob()
{
    m_fixture->SubmitGated(m_fixture->Manager.shortJobs, u"a.in"_s);
    QCOMPARE(m_fixture->Run({u"kill job 1"_s, u"n"_s}), killWarning + prompt);
    QCOMPARE(m_fixture->Manager.shortJobs.Jobs().Count(), 1);
    QCOMPARE(m_fixture->Run({u"kill job 1"_s, u"1"_s}),
             killWarning + u"\n<Taskmill> Job 1 was killed.\n\n"_s + prompt);
    QCOMPARE(m_fixture->Manager.shortJobs.Jobs().Count(), 0);

    // One that ends by itself while the question stands is left in peace.
    m_fixture->MakeConsole(AtEnd::Wait, {u"kill job 2"_s});
    const QString file = m_fixture->SubmitGated(m_fixture->Manager.shortJobs, u"b.in"_s);
    m_fixture->Console->RunSlot();
    QTRY_VERIFY(m_fixture->Terminal->Output().endsWith(killWarning));
    TestManager::Release(file);
    QTRY_COMPARE(m_fixture->Manager.finishedJobs.Jobs().size(), 2);
    m_fixture->Terminal->Feed(u"yes"_s);
    QTRY_VERIFY(m_fixture->Terminal->Output().endsWith(
        killWarning + u"\n<Taskmill> Job 2 has ended meanwhile.\n\n"_s + prompt));
    QCOMPARE(m_fixture->Manager.finishedJobs.Jobs().last().Status, Taskmill_JobStatus::Completed);
}

void TestConsoleCommands::TabKey()
{
    m_fixture->Manager.AddJobType(u"Quantum"_s, u"wait"_s);
    QVERIFY(QDir{m_fixture->Manager.directory.path()}.mkpath(u"my dir/sub"_s));
    m_fixture->Manager.InputFile(u"my file"_s);
    QVERIFY(QDir::setCurrent(m_fixture->Manager.directory.path()));
    m_fixture->Run({});
    QCOMPARE(m_fixture->Terminal->Complete(u"list q"_s), QStringList{u"list queueless jobs"_s});
    QCOMPARE(m_fixture->Terminal->Complete(u"kill"_s), QStringList{u"kill job "_s});
    QCOMPARE(m_fixture->Terminal->Complete(u"nothing"_s), QStringList{});
    QCOMPARE(m_fixture->Terminal->Complete(u"cd m"_s), (QStringList{u"cd my dir/"_s, u"cd my file"_s}));
    QCOMPARE(m_fixture->Terminal->Complete(u"cd my dir/s"_s), QStringList{u"cd my dir/sub/"_s});
    QCOMPARE(m_fixture->Terminal->Complete(u"dir /b my"_s),
             (QStringList{u"dir /b my dir/"_s, u"dir /b my file"_s}));

    m_fixture->Run({u"add job"_s});
    QCOMPARE(m_fixture->Terminal->Complete(u"s"_s), QStringList{u"short"_s});
    m_fixture->Run({u"add long job"_s});
    QCOMPARE(m_fixture->Terminal->Complete(u""_s), QStringList{u"Quantum"_s});
    m_fixture->Run({u"add long job"_s, u"Quantum"_s});
    QCOMPARE(m_fixture->Terminal->Complete(u"my f"_s), QStringList{u"my file"_s});
    // Answers are no commands to come back to.
    QCOMPARE(m_fixture->Terminal->RememberedPrompts(), QStringList{prompt});
}

QTEST_GUILESS_MAIN(TestConsoleCommands)
#include "test_consolecommands.moc"
