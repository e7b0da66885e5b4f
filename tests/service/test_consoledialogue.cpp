#include "service/console.h"

#include "db/databasetestutil.h"
#include "jobs/job.h"
#include "service/consoleposted.h"
#include "service/runningjobs.h"
#include "service/texttable.h"
#include "service/timetext.h"
#include "support/testmanager.h"
#include "support/testutil.h"

#include <QDir>
#include <QMutex>
#include <QSemaphore>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString prompt = u"<Taskmill> "_s;
const QString exitQuestion = u"\n<Taskmill> Are you sure you want to completely exit Taskmill?  "_s;
const QString killWarning =
    u"\n<Taskmill> At least one Job selected for removal is currently running.  Removal of a Job that is "
    "running requires that it be Killed.\n\nRemove selected jobs that are currently running?  "_s;

/// Gives the lines that it is fed and records what is printed, prompts included.
class ScriptedTerminal final : public Taskmill_ConsoleTerminal
{
public:
    QSemaphore Taken; ///< released for each line that is taken

    void Feed(const QStringList &lines)
    {
        const QMutexLocker lock{&m_mutex};
        m_lines += lines;
        m_available.release(static_cast<int>(lines.size()));
    }
    /// Reading ends behind the last line instead of waiting for more.
    void End() { m_available.release(1000); }
    [[nodiscard]] QString Output()
    {
        const QMutexLocker lock{&m_mutex};
        return m_output;
    }

    std::optional<QString> ReadLine(const QString &prompt) override
    {
        Print(prompt);
        m_available.acquire();
        const QMutexLocker lock{&m_mutex};
        Taken.release();
        return m_lines.isEmpty() ? std::nullopt : std::optional{m_lines.takeFirst()};
    }
    void Print(const QString &text) override
    {
        const QMutexLocker lock{&m_mutex};
        m_output += text;
    }
    void Post(const QString &text) override { Print(text); }
    void Interrupt() override
    {
        const QMutexLocker lock{&m_mutex};
        m_lines.clear();
        End();
    }

private:
    QMutex m_mutex;
    QSemaphore m_available;
    QStringList m_lines;
    QString m_output;
};

/// A manager with a new project and a job type, and its console.
struct Session
{
    TestManager manager;
    const Taskmill_JobType gated;
    Taskmill_RunningJobs running{*manager.inspector, manager.jobTypes};
    std::unique_ptr<Taskmill_Console> console;
    ScriptedTerminal *terminal = nullptr; ///< the console's
    int exits = 0;                        ///< how often the program was to be ended

    Session()
        : gated{(manager.NewProject(), manager.AddGatedJobType())}
    {
    }

    /// Carries out the lines here, or on a thread of the console's own that waits for more of them.
    void Start(const QStringList &lines, bool here = false)
    {
        console.reset();
        auto scripted = std::make_unique<ScriptedTerminal>();
        terminal = scripted.get();
        terminal->Feed(lines);
        if (here)
            terminal->End();
        const auto exit = [this] {
            ++exits;
            console->QuitSlot();
        };
        const Taskmill_ConsoleContext context{.Tabs = manager.tabs,
                                              .RunningJobs = running,
                                              .JobTypes = manager.jobTypes,
                                              .Submitter = manager.submitter,
                                              .Project = manager.project,
                                              .Notice = u"Notice"_s,
                                              .Exit = exit};
        console = std::make_unique<Taskmill_Console>(u"Banner"_s, here, context, std::move(scripted));
        console->RunSlot();
    }
    /// What was printed after the banner, the notice and the first prompt.
    [[nodiscard]] QString Output() const
    {
        const QString begin = u"Banner\n\n<Taskmill> Notice\n\n<Taskmill> "_s;
        const QString output = terminal->Output();
        return output.startsWith(begin) ? output.sliced(begin.size()) : u"Wrong begin: "_s + output;
    }
    /// The same once these lines are carried out, here.
    QString Run(const QStringList &lines)
    {
        Start(lines, true);
        return Output();
    }
    /// A job that runs until its input file, which is returned, is released.
    QString Submit(const QString &fileName)
    {
        QString file = manager.InputFile(fileName);
        manager.longJobs.Submit(manager.NewJob(gated, file));
        return file;
    }
};
} // namespace

class TestConsoleDialogue : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FailOnQtWarnings(); }

    void AddsJobsByQuestions()
    {
        Session session;
        const QString file = session.manager.InputFile(u"a'%1'.in"_s);
        const QString queue = u"\n<Taskmill> Enter Queue:  "_s;
        const QString type = u"\n<Taskmill> Enter Job Type:  "_s;
        const QString input = u"\n<Taskmill> Enter Input File:  "_s;
        QCOMPARE(session.Run({u"submit job"_s, u"longer"_s, u"Cancel"_s}), queue + u'\n' + queue + prompt);
        // Job types are named, in any case, or numbered.
        QCOMPARE(
            session.Run({u"add job"_s, u" NONE "_s, u"1"_s, u"gated"_s, u"."_s, u"missing"_s, u"cancel"_s}),
            queue + type + u'\n' + type + input + u'\n' + input + u'\n' + input + prompt);
        QCOMPARE(session.Run({u"add short job"_s, u"0"_s, u" %1 "_s.arg(file)}),
                 type + input + u"\n<Taskmill> Job 1 was added to the Short Jobs Queue.\n\n"_s + prompt);
        QCOMPARE(session.manager.shortJobs.Jobs().JobAt(0)->Record().InputFilePath, file);
        QCOMPARE(session.Run({u"set short limit 2147483648"_s}),
                 u"\n<Taskmill> The limit must be a number from 1 to 2147483647.\n\n"_s + prompt);
    }

    /// The name of a row is what is typed, with '|' for a line feed; "..." is the directory of the test.
    void EachCommandDoesWhatItSays_data()
    {
        QTest::addColumn<QStringList>("printed"); // all of it is there
        QTest::addColumn<QString>("queues");
        const QString untouched = u"long 1 2 limit 1, short 3 limit 1, queueless 4"_s;
        const auto add = [](const char *typed, const QStringList &printed, const QString &queues) {
            QTest::newRow(typed) << printed << queues;
        };
        const QString asked =
            u"\n<Taskmill> Enter Job Type:  \n<Taskmill> Enter Input File:  \n<Taskmill> Job 5 was added to the "_s;
        const QString self = QCoreApplication::applicationFilePath();
        add("list long jobs", {u"\nLong Jobs Queue\nJob ID"_s, u"\n2       job 2"_s}, untouched);
        add("list short jobs", {u"\nShort Jobs Queue\nJob ID"_s, u"\n3       job 3"_s}, untouched);
        add("list queueless jobs", {u"\nQueueless Jobs List\nJob ID"_s, u"\n4       job 4"_s}, untouched);
        add("list running jobs", {u"Process ID"_s, u"testprogram"_s, u"no "_s + self}, untouched);
        add("list all running jobs", {u"Process ID"_s, u"testprogram"_s, self}, untouched);
        add("list finished jobs", {u"\nFinished Jobs\nJob ID"_s, u"\n9       Wasser"_s}, untouched);
        add("list job types", {u"\nJob Types\nDBID"_s, u"\n0     Gated"_s}, untouched);
        add("show job 3", {u"Name  "_s, u"  job 3\n"_s, u"\nstdout and stderr:\n"_s}, untouched);
        for (const char *command : {"add job|none|0|free.in", "submit job|none|0|free.in",
                                    "add queueless job|Gated|free.in", "submit queueless job|Gated|free.in"})
            add(command, {asked}, u"long 1 2 limit 1, short 3 limit 1, queueless 4 5"_s);
        for (const char *command :
             {"add job|Long|0|free.in", "add long job|0|free.in", "submit long job|0|free.in"})
            add(command, {asked}, u"long 1 2 5 limit 1, short 3 limit 1, queueless 4"_s);
        for (const char *command :
             {"add job|short|0|free.in", "add short job|0|free.in", "submit short job|0|free.in"})
            add(command, {asked}, u"long 1 2 limit 1, short 3 5 limit 1, queueless 4"_s);
        const QString question =
            u"\n<Taskmill> Are you sure you want to remove the following 1 selected jobs "
            "from the Long Jobs Queue?\n\njob %1  "_s;
        add("remove job 2|yes", {question.arg(2) + u"\n<Taskmill> Job 2 was removed.\n"_s},
            u"long 1 limit 1, short 3 limit 1, queueless 4"_s);
        add("remove job 1|yes|no", {question.arg(1) + killWarning + prompt}, untouched);
        add("kill job 3|what|n", {killWarning + u'\n' + killWarning + prompt}, untouched);
        add("kill job 3|1", {killWarning + u"\n<Taskmill> Job 3 was killed.\n"_s},
            u"long 1 2 limit 1, short limit 1, queueless 4"_s);
        add("kill job 2", {u"Job 2 does not run"_s}, untouched);
        add("kill job 9", {u"no waiting or running job 9"_s}, untouched);
        add("pause long jobs", {u"Long Jobs Queue is paused"_s},
            u"long 1 2 limit 1 paused, short 3 limit 1, queueless 4"_s);
        add("pause short jobs", {u"Short Jobs Queue is paused"_s},
            u"long 1 2 limit 1, short 3 limit 1 paused, queueless 4"_s);
        add("pause short jobs|pause long jobs|unpause long jobs", {u"Long Jobs Queue is no longer paused"_s},
            u"long 1 2 limit 1, short 3 limit 1 paused, queueless 4"_s);
        add("pause short jobs|pause long jobs|unpause short jobs",
            {u"Short Jobs Queue is no longer paused"_s},
            u"long 1 2 limit 1 paused, short 3 limit 1, queueless 4"_s);
        add("set long limit 3", {u"Long Jobs Queue"_s, u"3 jobs"_s},
            u"long 1 2 limit 3, short 3 limit 1, queueless 4"_s);
        add("set short limit 3", {u"Short Jobs Queue"_s, u"3 jobs"_s},
            u"long 1 2 limit 1, short 3 limit 3, queueless 4"_s);
        for (const char *command : {"set long limit 0", "set short limit 2147483648"})
            add(command, {u"a number from 1 to 2147483647"_s}, untouched);
        add("save|new", {u"Enter Project File:"_s, u"The project was saved to "_s, u"new.mill"_s}, untouched);
        add("pwd", {u"\nCurrent Directory:  ...\n"_s}, untouched);
        add("cd sub", {u"\nCurrent Directory:  .../sub\n"_s}, untouched);
        add("cd", {u"\nCurrent Directory:  "_s + QDir::homePath() + u'\n'}, untouched);
        for (const char *command : {"dir", "dir /b", "dir/b"})
            add(command, {u"free.in"_s}, untouched);
        add("cls", {}, untouched);
        add("help", {u"\nset long limit N "_s, u"\npause short jobs "_s}, untouched);
        for (const char *command : {"quit|no", "EXIT|no"})
            add(command, {exitQuestion}, untouched);
    }

    void EachCommandDoesWhatItSays()
    {
        Session session;
        TestManager &manager = session.manager;
        for (Taskmill_QueueOwner *owner : QList<Taskmill_QueueOwner *>{
                 &manager.longJobs, &manager.longJobs, &manager.shortJobs, &manager.queuelessJobs})
            owner->Submit(manager.NewJob(session.gated, manager.InputFile(u"free.in"_s)));
        QVERIFY(manager.finishedJobs.AddJob(SampleJob(session.gated, 9)));
        QVERIFY(QDir{manager.directory.path()}.mkdir(u"sub"_s));
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(manager.directory.path()));
        const QString here = QDir::currentPath();

        const QString output = session.Run(QString::fromLatin1(QTest::currentDataTag()).split(u'|'));
        QVERIFY(QDir::setCurrent(before));
        QFETCH(const QStringList, printed);
        for (QString text : printed) {
            const bool isAbsent = text.startsWith("no /"_L1);
            text = isAbsent ? text.sliced(3) : text.replace("..."_L1, here);
            QVERIFY2(output.contains(text) != isAbsent, qPrintable(text + u" in "_s + output));
        }
        QFETCH(const QString, queues);
        const auto limit = [](const Taskmill_JobQueue &queue) {
            return u" limit %1%2"_s.arg(queue.MaxRunningJobs())
                .arg(queue.IsPaused() ? u" paused"_s : QString{});
        };
        QCOMPARE(u"long"_s + Numbers(manager.longJobs) + limit(manager.longJobs.Jobs()) + u", short"_s +
                     Numbers(manager.shortJobs) + limit(manager.shortJobs.Jobs()) + u", queueless"_s +
                     Numbers(manager.queuelessJobs),
                 queues);
        QCOMPARE(session.exits, 0);
    }

    void ShowsEveryFieldOfAJob()
    {
        Session session;
        Taskmill_JobRecord job = SampleJob(SampleJobType(u"MOPAC"_s), 12);
        job.OutputFile = u"o.out"_s;
        job.StandardInputFile = u"s.in"_s;
        job.StandardOutputFile = u"s.out"_s;
        job.CheckpointFile = u"c.chk"_s;
        job.CheckpointFile2 = u"c1.chk"_s;
        job.PlaceholderValues = {{u"@A"_s, u"1"_s}, {u"@B"_s, u"2"_s}};
        QVERIFY(session.manager.finishedJobs.AddJob(job));
        const QString shown = session.Run({u"show job 12"_s});
        const QString fields =
            u"Job ID  12|Name  Wasser – 水's|Status  Completed|Job Type  MOPAC|Queue  Long|"
            "Job Class  class o'9|Executable Path  /opt/it's/mopac|"
            "Input File  /tmp/Größe's.mop|Second Input File  /tmp/second|Output File  o.out|"
            "Standard Input File  s.in|Standard Output File  s.out|Checkpoint File  c.chk|"
            "Second Checkpoint File  c1.chk|Placeholders  @A=1, @B=2|"
            "Submitted  02-29-2024 01:02:03|Started  02-29-2024 01:02:04|"
            "Finished  03-01-2024 00:00:00|Client  host|Client Application  app|"
            "Client Address  127.0.0.1:4711|Client User and Group  1000:100|"
            "Client Is Notified  yes"_s;
        QStringList lines = shown.split(u'\n');
        lines.replaceInStrings(QRegularExpression{u"   +"_s}, u"  "_s);
        for (const QString &field : fields.split(u'|'))
            QVERIFY2(lines.contains(field), qPrintable(field + u" in "_s + shown));
        QVERIFY(shown.endsWith(u"\nstdout and stderr:\nout\n'err' ü\n\n"_s + prompt));
    }

    void SavesANewProjectBeforeTheExit()
    {
        Session session;
        const QString saveQuestion = u"\n<Taskmill> Save Current Project to a File Before Closing it?  "_s;
        const QString fileQuestion = u"\n<Taskmill> Enter Project File:  "_s;
        const QString old = WriteTestFile(session.manager.Path(u"old.mill"_s), "old");
        const QString exists = u"\n<Taskmill> %1 already exists.  Do you want to replace it?  "_s.arg(old);
        const auto quit = [&session](const QStringList &answers) {
            return session.Run(QStringList{u" QUIT "_s, u"Y"_s} + answers).sliced(exitQuestion.size());
        };
        QCOMPARE(quit({u"perhaps"_s, u"Cancel"_s}), saveQuestion + u'\n' + saveQuestion + u'\n' + prompt);
        QCOMPARE(quit({u"yes"_s, u" "_s}), saveQuestion + fileQuestion + u'\n' + prompt);
        QCOMPARE(quit({u"yes"_s, old, u"no"_s}), saveQuestion + fileQuestion + exists + u'\n' + prompt);
        QCOMPARE(quit({u"yes"_s, session.manager.Path(u"missing/new"_s)}),
                 saveQuestion + fileQuestion + u'\n' + prompt);
        QCOMPARE(session.exits, 0);
        QCOMPARE(quit({u"NO"_s}), saveQuestion + u'\n');
        QCOMPARE(session.exits, 1);
        QCOMPARE(ReadTestFile(old), "old");
        QCOMPARE(quit({u"yes"_s, session.manager.Path(u"old"_s), u"yes"_s}),
                 saveQuestion + fileQuestion + exists +
                     u"\n<Taskmill> The project was saved to %1.\n\n\n"_s.arg(old));
        QCOMPARE(session.exits, 2);
        QCOMPARE(session.manager.project.FilePath(), old);
        QVERIFY(ReadTestFile(old) != "old");
    }

    void TimesBeginWithTheMonth()
    {
        QCOMPARE(Taskmill_TimeText(QDateTime{{2024, 3, 9}, {17, 5, 6}}), u"03-09-2024 17:05:06"_s);
        QCOMPARE(Taskmill_TimeText({}), QString{});
    }

    void JobMayEndWhileTheQuestionStands()
    {
        Session session;
        const QString file = session.Submit(u"a.in"_s);
        session.Start({u"kill job 1"_s});
        QTRY_COMPARE(session.Output(), killWarning);
        TestManager::Release(file);
        QTRY_COMPARE(session.manager.finishedJobs.Jobs().size(), 1);
        session.terminal->Feed({u"yes"_s});
        QTRY_COMPARE(session.Output(),
                     killWarning + u"\n<Taskmill> Job 1 has ended meanwhile.\n\n"_s + prompt);
        QCOMPARE(session.manager.finishedJobs.Jobs().first().Status, Taskmill_JobStatus::Completed);
    }

    void WideCharactersTakeTwoColumns()
    {
        QCOMPARE(Taskmill_TextWidth(u"aé ½"_s), 4);
        QCOMPARE(Taskmill_TextWidth(u"水ｱＡ한"_s), 7); // the second is halfwidth
        QCOMPARE(Taskmill_TextWidth(u"\U0001F600\U00020000"_s), 4);
        QCOMPARE(Taskmill_TextWidth(u"e\u0301\u200D"_s), 1);
        QCOMPARE(Taskmill_TextTable({u"A"_s, u"B"_s}, {{u"水"_s, u"b"_s}}), u"A   B\n-----\n水  b\n"_s);
    }

    void KeepsSomeTextForWhoeverDoesNotRead()
    {
        const QString most{Taskmill_PostedText::MostCharacters, u'x'};
        Taskmill_PostedText posted;
        for (const QString &text : {most, u"dropped"_s, u"dropped"_s})
            posted.Add(text);
        QCOMPARE(posted.Take(), most + u"\n<Taskmill> Nobody read this output: what came next is lost.\n"_s);
        posted.Add(u"read again"_s);
        QCOMPARE(posted.Take(), u"read again"_s);
    }

    void EndsWhileItAsksTheMainThread()
    {
        Session session;
        // Whether the question is on its way, waits or is not put any more is up to the threads.
        for (int attempt = 0; attempt < 50; ++attempt) {
            session.Start({u"list long jobs"_s});
            session.terminal->Taken.acquire();
            if (attempt % 2 == 0)
                QThread::yieldCurrentThread();
            session.console.reset();
        }
    }

private:
    /// " 1 2", the numbers of the jobs.
    [[nodiscard]] static QString Numbers(Taskmill_QueueOwner &owner)
    {
        QString numbers;
        for (const int jobID : owner.Jobs().JobIDs())
            numbers += u' ' + QString::number(jobID);
        return numbers;
    }
};

QTEST_GUILESS_MAIN(TestConsoleDialogue)
#include "test_consoledialogue.moc"
