// SPDX-License-Identifier: MIT
#include "console/console.h"

#include "console/consoleprompt.h"
#include "console/postedtext.h"
#include "db/databasetestutil.h"
#include "jobs/job.h"
#include "jobs/queuelessjobslist.h"
#include "kilnutil/error.h"
#include "manager/heldjobsdialogue.h"
#include "support/testmanager.h"

#include <atomic>

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
    bool IsWithUser = false;
    std::atomic<bool> IsBroken = false; ///< off, until the next line is read

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
        IsBroken = false;
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
    [[nodiscard]] bool IsInteractive() const override { return IsWithUser; }
    [[nodiscard]] bool IsBrokenOff() override { return IsBroken; }
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
    std::unique_ptr<Taskmill_Console> console;
    ScriptedTerminal *terminal = nullptr; ///< the console's
    int exits = 0;                        ///< how often the program was to be ended
    bool asksAtStart = false;

    Session()
        : gated{(manager.NewProject(), manager.AddGatedJobType())}
    {
    }

    /// Carries out the lines here, or on a thread of the console's own that waits for more of them.
    void Start(const QStringList &lines, bool here = false, bool isWithUser = false)
    {
        console.reset();
        auto scripted = std::make_unique<ScriptedTerminal>();
        terminal = scripted.get();
        terminal->IsWithUser = isWithUser;
        terminal->Feed(lines);
        if (here)
            terminal->End();
        const auto exit = [this] {
            ++exits;
            console->QuitSlot();
        };
        const Taskmill_ConsoleContext context{
            .Manager = manager, .Notices = {u"Notice"_s}, .AsksAtStart = asksAtStart, .Exit = exit};
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
};
} // namespace

class TestConsoleDialogue : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void AddsJobsByQuestions()
    {
        Session session;
        const QString file = session.manager.InputFile(u"a'%1'.in"_s);
        const QString queue = u"\n<Taskmill> Enter Queue:  "_s;
        const QString type = u"\n<Taskmill> Enter Job Type:  "_s;
        const QString input = u"\n<Taskmill> Enter Input File:  "_s;
        QCOMPARE(session.Run({u"submit job"_s, u"longer"_s, u"Cancel"_s}), queue + u'\n' + queue + prompt);
        // Job types are named, in any case, or numbered.
        const QString directory = u"\n<Taskmill> %1 is a directory: the name of a file is needed.\n"_s;
        QCOMPARE(session.Run({u"add job"_s, u" NONE "_s, u"1"_s, u"gated"_s, u"."_s, u"missing"_s, u"~"_s,
                              u"cancel"_s}),
                 queue + type + u"\n<Taskmill> There is no job type \"1\".  The job types are: Gated.\n"_s +
                     type + input + directory.arg(QDir::currentPath()) + input + u'\n' + input +
                     directory.arg(QDir::homePath()) + input + prompt);
        QCOMPARE(session.Run({u"add short job"_s, u"0"_s, u" %1 "_s.arg(file)}),
                 type + input + u"\n<Taskmill> Job 1 was added to the Short Jobs Queue.\n\n"_s + prompt);
        QCOMPARE(session.manager.Short().Jobs().JobAt(0)->Record().InputFilePath, file);
    }

    /// The name of a row is what is typed, with '|' for a line feed; "..." is the directory of the test. In

    /// ">" stands before the limit of the two that have one, "p" behind that of a paused one.
    void EachCommandDoesWhatItSays_data()
    {
        QTest::addColumn<QStringList>("printed"); // all of it is there
        QTest::addColumn<QString>("queues");
        const QString untouched = u"1 2>1, 3>1, 4"_s;
        const auto add = [](const char *typed, const QString &queues, const QStringList &printed) {
            QTest::newRow(typed) << printed << queues;
        };
        const QString asked =
            u"\n<Taskmill> Enter Job Type:  \n<Taskmill> Enter Input File:  \n<Taskmill> Job 5 was added to the "_s;
        const QString self = QCoreApplication::applicationFilePath();
        add("list long jobs", untouched, {u"\nLong Jobs Queue\nJob ID"_s, u"\n2       job 2"_s});
        add("list short jobs", untouched, {u"\nShort Jobs Queue\nJob ID"_s, u"\n3       job 3"_s});
        add("list queueless jobs", untouched, {u"\nQueueless Jobs List\nJob ID"_s, u"\n4       job 4"_s});
        add("list running jobs", untouched, {u"Process ID"_s, u"testprogram"_s, u"no "_s + self});
        add("list all running jobs", untouched, {u"Process ID"_s, u"testprogram"_s, self});
        add("list finished jobs", untouched, {u"\nFinished Jobs\nJob ID"_s, u"\n9       Wasser"_s});
        add("list job types", untouched, {u"\nJob Types\nDBID"_s, u"\n0     Gated"_s});
        add("show job 3", untouched, {u"Name  "_s, u"  job 3\n"_s, u"\nstdout and stderr:\n"_s});
        for (const char *command : {"add job|none|0|free.in", "submit job|none|0|free.in",
                                    "add queueless job|Gated|free.in", "submit queueless job|Gated|free.in"})
            add(command, u"1 2>1, 3>1, 4 5"_s, {asked});
        for (const char *command :
             {"add job|Long|0|free.in", "add long job|0|free.in", "submit long job|0|free.in"})
            add(command, u"1 2 5>1, 3>1, 4"_s, {asked});
        for (const char *command :
             {"add job|short|0|free.in", "add short job|0|free.in", "submit short job|0|free.in"})
            add(command, u"1 2>1, 3 5>1, 4"_s, {asked});
        const QString question =
            u"\n<Taskmill> Are you sure you want to remove the following 1 selected jobs "
            "from the Long Jobs Queue?\n\njob %1  "_s;
        add("remove job 2|yes", u"1>1, 3>1, 4"_s, {question.arg(2) + u"\n<Taskmill> Job 2 was removed.\n"_s});
        add("remove job 1|yes|no", untouched, {question.arg(1) + killWarning + prompt});
        add("kill job 3|what|n", untouched, {killWarning + u'\n' + killWarning + prompt});
        add("kill job 3|1", u"1 2>1, >1, 4"_s, {killWarning + u"\n<Taskmill> Job 3 was killed.\n"_s});
        add("kill job 2", untouched, {u"Job 2 does not run"_s});
        add("kill job 9", untouched, {u"no waiting or running job 9"_s});
        add("pause long jobs", u"1 2>1p, 3>1, 4"_s, {u"Long Jobs Queue is paused"_s});
        add("pause short jobs", u"1 2>1, 3>1p, 4"_s, {u"Short Jobs Queue is paused"_s});
        add("pause short jobs|pause long jobs|unpause long jobs", u"1 2>1, 3>1p, 4"_s,
            {u"Long Jobs Queue is no longer paused"_s});
        add("pause short jobs|pause long jobs|unpause short jobs", u"1 2>1p, 3>1, 4"_s,
            {u"Short Jobs Queue is no longer paused"_s});
        add("add long job|0|free.in|move job 5 top", u"1 5 2>1, 3>1, 4"_s,
            {u"Job 5 was moved to the top."_s});
        add("move job 2 aside", untouched, {u"up, down, top"_s});
        add("hold job 2|show job 2", untouched, {u"Job 2 is held."_s, u"held\n"_s});
        add("hold job 2|release job 2", untouched, {u"Job 2 is held."_s, u"Job 2 was released."_s});
        add("release job 2", untouched, {u"Job 2 is not held."_s});
        add("pause long jobs when ended", untouched,
            {u"The Long Jobs Queue pauses when the jobs that are in it now have ended."_s});
        add("pause short jobs when ended", untouched,
            {u"The Short Jobs Queue pauses when the jobs that are in it now have ended."_s});
        add("show estimate", untouched, {u"Long Jobs Queue"_s, u"Short Jobs Queue"_s});
        add("set quiet hours 22:00-06:30|set quiet hours off", untouched,
            {u"22:00"_s, u"There are no quiet hours."_s});
        add("set job priority low|set job priority normal|set job priority high", untouched,
            {u"start from now on have low priority"_s, u"have normal priority"_s, u"is low or normal"_s});
        add("set long limit 3", u"1 2>3, 3>1, 4"_s, {u"Long Jobs Queue"_s, u"3 jobs"_s});
        add("set short limit 3", u"1 2>1, 3>3, 4"_s, {u"Short Jobs Queue"_s, u"3 jobs"_s});
        for (const char *command : {"set long limit 0", "set short limit 2147483648"})
            add(command, untouched, {u"\n<Taskmill> The limit must be a number from 1 to 2147483647.\n\n"_s});
        add("set budget memory 1000 cores 8", untouched,
            {u"\n<Taskmill> The budget is 8 cores and 1000 MB; 3 running jobs take 3 cores and 0 MB.\n\n"_s});
        add("set budget off|show budget", untouched, {u"There is no budget"_s});
        for (const char *command : {"set budget 8", "set budget cores 0", "set budget cores 1 cores 2"})
            add(command, untouched, {u"\n<Taskmill> A budget is \"off\","_s});
        add("save|new", untouched, {u"Enter Project File:"_s, u"The project was saved to "_s, u"new.mill"_s});
        add("pwd", untouched, {u"\nCurrent Directory:  ...\n"_s});
        add("cd sub", untouched, {u"\nCurrent Directory:  .../sub\n"_s});
        add("cd", untouched, {u"\nCurrent Directory:  "_s + QDir::homePath() + u'\n'});
        for (const char *command : {"dir", "dir /b", "dir/b"})
            add(command, untouched, {u"free.in"_s});
        add("cls", untouched, {});
        add("help", untouched, {u"\nset long limit N "_s, u"\npause short jobs "_s});
        for (const char *command : {"quit|no", "EXIT|no"})
            add(command, untouched, {exitQuestion});
    }

    void EachCommandDoesWhatItSays()
    {
        Session session;
        TestManager &manager = session.manager;
        for (Taskmill_QueueOwner *owner :
             {&manager.Long(), &manager.Long(), &manager.Short(), &manager.Queueless()})
            manager.SubmitGated(*owner, u"free.in"_s);
        QVERIFY(manager.FinishedJobs().AddJob(SampleJob(session.gated, 9)));
        QVERIFY(QDir{manager.directory.path()}.mkdir(u"sub"_s));
        QVERIFY(QDir::setCurrent(manager.directory.path()));
        const QString here = QDir::currentPath();

        const QString output = session.Run(QString::fromLatin1(QTest::currentDataTag()).split(u'|'));
        QFETCH(const QStringList, printed);
        for (QString text : printed) {
            const bool isAbsent = text.startsWith("no /"_L1);
            text = isAbsent ? text.sliced(3) : text.replace("..."_L1, here);
            QVERIFY2(output.contains(text) != isAbsent, qPrintable(text + u" in "_s + output));
        }
        const auto content = [](Taskmill_QueueOwner &owner) {
            QStringList texts;
            for (const int jobID : owner.Jobs().JobIDs())
                texts += QString::number(jobID);
            const Taskmill_JobQueue *queue = owner.Queue();
            const QString limit = queue ? u">%1"_s.arg(queue->MaxRunningJobs()) : QString{};
            return texts.join(u' ') + limit + (queue && queue->IsPaused() ? u"p"_s : QString{});
        };
        QTEST((content(manager.Long()) + u", "_s + content(manager.Short()) + u", "_s +
               content(manager.Queueless())),
              "queues");
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
        QVERIFY(session.manager.FinishedJobs().AddJob(job));
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
        // Where one file is not to be had, another one is asked for.
        QCOMPARE(quit({u"yes"_s, old, u"no"_s, u"cancel"_s}),
                 saveQuestion + fileQuestion + exists + fileQuestion + u'\n' + prompt);
        QCOMPARE(quit({u"yes"_s, session.manager.Path(u"missing/new"_s), u"cancel"_s}),
                 saveQuestion + fileQuestion + fileQuestion + u'\n' + prompt);
        QCOMPARE(session.exits, 0);
        QCOMPARE(quit({u"NO"_s}), saveQuestion + u'\n');
        QCOMPARE(session.exits, 1);
        QCOMPARE(ReadTestFile(old), "old");
        QCOMPARE(quit({u"yes"_s, session.manager.Path(u"old"_s), u"yes"_s}),
                 saveQuestion + fileQuestion + exists +
                     u"\n<Taskmill> The project was saved to %1.\n\n\n"_s.arg(old));
        QCOMPARE(session.exits, 2);
        QCOMPARE(session.manager.Project().FilePath(), old);
        QVERIFY(ReadTestFile(old) != "old");
    }

    void SavesToTheFileThatIsNamed()
    {
        Session session;
        const QString fileQuestion = u"\n<Taskmill> Enter Project File:  "_s;
        const auto savedTo = [](const QString &file) {
            return u"\n<Taskmill> The project was saved to %1.\n\n"_s.arg(file);
        };
        const QString first = session.manager.Path(u"first.mill"_s);
        QCOMPARE(session.Run({u"save "_s + first.chopped(5)}), savedTo(first) + prompt);
        session.manager.SubmitGated(session.manager.Long(), u"a.in"_s);
        // Its directory is gone, or another program has written to it.
        const QString second = session.manager.Path(u"second.mill"_s);
        QVERIFY(QFile::remove(first));
        QVERIFY(QDir{}.mkdir(first));
        QCOMPARE(
            session.Run({u"save"_s, u"yes"_s, second}),
            u"\n<Taskmill> %1 was changed by another program.  Do you want to replace it?  "_s.arg(first) +
                fileQuestion + savedTo(second) + prompt);
        QCOMPARE(session.manager.Project().FilePath(), second);
        QCOMPARE(session.Run({u"save "_s + session.manager.Path(u"none/x"_s), u""_s}),
                 fileQuestion + u"\n<Taskmill> The project was not saved.\n\n"_s + prompt);
    }

    void HeldJobsRunWhenTheUserSaysSo()
    {
        Session session;
        TestManager &manager = session.manager;
        for (int job = 0; job < 3; ++job)
            manager.SubmitGated(manager.Queueless());
        const QString file = manager.Path(u"jobs.mill"_s);
        QVERIFY(manager.Project().SaveProjectAs(file));
        manager.prompt.answers = {KilnUtil_UserPrompt::WarnAnswer::Yes};
        QVERIFY(manager.Project().OpenProject(file));
        const Taskmill_QueuelessJobsList &list = *manager.Queueless().List();
        QCOMPARE(Taskmill_HeldJobsDialogue::Notice(manager.Destinations()),
                 u"3 queueless jobs were running when this project was closed. They wait until they are run "
                 "again or removed."_s);
        // Nobody is asked where nobody answers.
        QCOMPARE(session.Run({u"run job 2"_s, u"run job 2"_s, u"run job 9"_s}),
                 u"\n<Taskmill> Job 2 runs again.\n\n"_s + prompt +
                     u"\n<Taskmill> Job 2 is not held back.\n\n"_s + prompt +
                     u"\n<Taskmill> There is no waiting or running job 9.\n\n"_s + prompt);
        session.asksAtStart = true;
        session.Start({u"no"_s}, true);
        QVERIFY(session.terminal->Output().contains(
            u"2 queueless jobs were running when this project was closed. Run them again?  \n<Taskmill> What "
            "waits can be run later by"_s));
        QCOMPARE(list.HeldJobIDs(), (QList{1, 3}));
        session.Start({u"yes"_s, u"run held jobs"_s}, true);
        QVERIFY(session.terminal->Output().endsWith(u"\n<Taskmill> 2 jobs run again.\n\n"_s + prompt +
                                                    u"\n<Taskmill> No job is held back.\n\n"_s + prompt));
        QVERIFY(list.HeldJobIDs().isEmpty());
    }

    void ProjectFileIsNamedAsInAShell()
    {
        Session session;
        const QString home = session.manager.directory.path();
        qputenv("HOME", home.toLocal8Bit());
        QVERIFY(QDir::setCurrent(home));
        QVERIFY(session.Run({u"save"_s, u"./new"_s})
                    .contains(u" saved to %1/new.mill."_s.arg(QDir::currentPath())));
        QVERIFY(session.Run({u"save ~/new"_s, u"no"_s, {}})
                    .contains(u"\n<Taskmill> %1/new.mill already exists."_s.arg(home)));
        for (const QString &name : {u"~"_s, u"."_s, u"other/"_s})
            QVERIFY2(session.Run({u"save "_s + name, {}}).contains(u" is a directory: "_s), qPrintable(name));
        QCOMPARE(QDir{home}.entryList({u"*.mill"_s}, QDir::Files | QDir::Hidden), QStringList{u"new.mill"_s});
    }

    void OnlyAUserIsToldOfAnUnknownCommand()
    {
        Session session;
        const QString complaint = u"\n<Taskmill> %1; help lists the commands.\n\n"_s + prompt;
        QCOMPARE(session.Run({u"LIST LONG JOBS"_s}), prompt);
        session.Start({u"LIST LONG JOBS"_s, u"kill job"_s, u" "_s}, true, true);
        QCOMPARE(session.Output(), complaint.arg(u"There is no command \"LIST LONG JOBS\""_s) +
                                       complaint.arg(u"kill job needs N"_s) + prompt);
    }

    void NothingIsToBeSelectedAtAConsole()
    {
        Session session;
        Taskmill_ConsolePrompt console{nullptr};
        QString printed;
        Taskmill_SetConsolePrinter([&printed](const QString &text) { printed += text; });
        KilnUtil_Error::SetUserPrompt(&console);
        (void)session.manager.Submitter().Submit(TestManager::Request(u"Auto"_s, u"/x/a.xyz"_s));
        KilnUtil_Error::SetUserPrompt(&session.manager.prompt);
        Taskmill_SetConsolePrinter({});
        QVERIFY2(printed.endsWith(u"cannot be determined from its extension: /x/a.xyz\n"_s),
                 qPrintable(printed));
    }

    void FollowsAJobToItsEnd()
    {
        Session session;
        const Taskmill_JobType talker =
            session.manager.AddJobType(u"Talker"_s, u"print begun waitfor @INFILE.go print done"_s);
        const QString file = session.manager.InputFile(u"a.in"_s);
        // What an earlier run has written is not shown.
        const QString output = WriteTestFile(session.manager.Path(u"a.out"_s), "of an earlier run\n");
        QFile old{output};
        QVERIFY(old.open(QFile::ReadWrite));
        QVERIFY(old.setFileTime(QDateTime::currentDateTime().addDays(-1), QFile::FileModificationTime));
        old.close();
        session.manager.Long().Queue()->SetMaxRunningJobs(2);
        for (const QString &outputFile : {output, QString{}, QString{}}) {
            const std::unique_ptr<Taskmill_Job> job{session.manager.NewJob(talker, file)};
            Taskmill_JobRecord record = job->Record();
            record.OutputFile = outputFile;
            session.manager.Long().Submit(new Taskmill_Job{record});
        }
        session.Start({u"follow job 1"_s});
        const QString begin = u"\n<Taskmill> Following job %1.\n\nbegun\n"_s;
        QTRY_COMPARE(session.Output(), begin.arg(1));
        WriteTestFile(output, "step 1\n");
        const QString heading = u"<Taskmill> %1:\n\nstep 1\n"_s.arg(output);
        QTRY_COMPARE(session.Output(), begin.arg(1) + heading);
        WriteTestFile(output, "step 1\nstep 2\n");
        QTRY_COMPARE(session.Output(), begin.arg(1) + heading + u"step 2\n"_s);
        session.terminal->IsBroken = true;
        const QString broken = begin.arg(1) + heading + u"step 2\n"_s + prompt;
        QTRY_COMPARE(session.Output(), broken);
        session.terminal->Feed({u"follow job 3"_s, u"follow job 4"_s, u"follow job 2"_s});
        const QString second = broken + u"\n<Taskmill> Job 3 does not run yet.\n\n"_s + prompt +
                               u"\n<Taskmill> There is no job 4.\n\n"_s + prompt + begin.arg(2);
        QTRY_COMPARE(session.Output(), second);
        TestManager::Release(file);
        QTRY_COMPARE(session.Output(),
                     second + u"done\n\n<Taskmill> Job 2 has ended: completed.\n\n"_s + prompt);
    }

    void JobMayEndWhileTheQuestionStands()
    {
        Session session;
        const QString file = session.manager.SubmitGated(session.manager.Long(), u"a.in"_s);
        session.Start({u"kill job 1"_s});
        QTRY_COMPARE(session.Output(), killWarning);
        TestManager::Release(file);
        QTRY_COMPARE(session.manager.FinishedJobs().Jobs().size(), 1);
        session.terminal->Feed({u"yes"_s});
        QTRY_COMPARE(session.Output(),
                     killWarning + u"\n<Taskmill> Job 1 has ended meanwhile.\n\n"_s + prompt);
        QCOMPARE(session.manager.FinishedJobs().Jobs().first().Status, Taskmill_JobStatus::Completed);
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
};

QTEST_GUILESS_MAIN(TestConsoleDialogue)
#include "test_consoledialogue.moc"
