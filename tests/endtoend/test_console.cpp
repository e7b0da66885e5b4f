#include "endtoend/notificationsink.h"
#include "endtoend/processtable.h"
#include "endtoend/projectfixture.h"
#include "service/texttable.h"

#include <QDir>
#include <QTcpSocket>
#include <QtTest>

#include <algorithm>
#include <csignal>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Whether the named columns of a listing begin at one place in all its lines, and the lines are equally
/// wide.
bool IsAligned(const QByteArray &listing, const QStringList &columns)
{
    const QStringList lines = QString::fromUtf8(listing).split(u'\n', Qt::SkipEmptyParts);
    const qsizetype width = Taskmill_TextWidth(lines.value(1));
    for (const QString &column : columns) {
        const qsizetype begin = lines.value(1).indexOf(column);
        if (begin < 0)
            return false;
        for (const QString &line : lines.sliced(3)) {
            // Every column but the first has two blanks before it.
            qsizetype index = 0;
            while (index < line.size() && Taskmill_TextWidth(line.first(index)) < begin)
                ++index;
            if (begin > 0 && line.sliced(index - 2, 2) != "  "_L1)
                return false;
        }
    }
    return std::ranges::all_of(lines.sliced(2),
                               [width](const QString &line) { return Taskmill_TextWidth(line) == width; });
}
} // namespace

/// Sessions through pipes.
class TestConsole : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void ListsEverything();
    void AddsJobsByPrompts();
    void SteersQueues();
    void AnswersAboutDirectories();
    void IgnoresWhatIsNoCommand();
    void CutsALongLine();
    void AsksBeforeQuitting();
    void FindsEverythingAgain();
    void KeepsQuietAtTheEndOfInput_data();
    void KeepsQuietAtTheEndOfInput();
    void WorksWithoutAnEventLoop();

private:
    [[nodiscard]] ManagerProcess &Manager() { return m_project->Manager(); }
    /// Adds a job of type "Gate", which runs until Release().
    [[nodiscard]] QByteArray AddGatedJob(const QByteArray &command, const QString &name);
    void Release(const QString &name) { (void)m_project->InputFile(name + u".go"_s); }

    std::unique_ptr<ProjectFixture> m_project;
};

void TestConsole::init()
{
    FailOnQtWarnings();
    m_project = std::make_unique<ProjectFixture>();
    QVERIFY(m_project->AddTestType(u"Gate"_s, u"print begun waitfor @INFILE.go"_s, u"Gate Files (*.gate)"_s));
}

void TestConsole::cleanup()
{
    m_project.reset();
}

QByteArray TestConsole::AddGatedJob(const QByteArray &command, const QString &name)
{
    if (!Manager().Ask(command, "Enter Job Type:  ") || !Manager().Ask("gate", "Enter Input File:  "))
        return {};
    return Manager().Command(m_project->InputFile(name).toUtf8());
}

void TestConsole::ListsEverything()
{
    QVERIFY(m_project->Start());
    for (const QByteArray list : {"Long Jobs Queue", "Short Jobs Queue", "Queueless Jobs List"})
        QCOMPARE(Manager().Command("list " + list.toLower().split(' ').first() + " jobs"),
                 '\n' + list + " is Empty\n\n");
    QCOMPARE(Manager().Command("list finished jobs"), "\nFinished Jobs List is Empty\n\n");
    QCOMPARE(Manager().Command("list running jobs"), "\nRunning Jobs List is Empty\n\n");
    const QByteArray types = Manager().Command("list job types");
    QVERIFY(types.startsWith("\nJob Types\nDBID  Name"));
    QVERIFY(types.contains("Gate Files (*.gate)"));
    QVERIFY(Manager().Command("list all running jobs").contains(TestProgramPath().toUtf8().first(1)));

    QVERIFY(AddGatedJob("add queueless job", u"a.gate"_s)
                .contains("Job 1 was added to the Queueless Jobs List."));
    QVERIFY(Manager().Command("list queueless jobs").contains("1       a.gate  Running  Gate"));
    QVERIFY(Manager().Command("list running jobs").contains("a.gate.go"));
    Release(u"a.gate"_s);
    QTRY_VERIFY_WITH_TIMEOUT(Manager().Command("list finished jobs").contains("a.gate"), 30'000);
    const QByteArray job = Manager().Command("show job 1");
    QVERIFY(job.contains("\nStatus                  Completed\n") &&
            job.contains("stdout and stderr:\nbegun\n"));
    QVERIFY(Manager().Command("help").contains("\nset long limit N"));
    QCOMPARE(Manager().Errors(), "");
}

void TestConsole::AddsJobsByPrompts()
{
    QVERIFY(m_project->Start());
    const QByteArray queue = "\n<Taskmill> Enter Queue:  ";
    const QByteArray type = "\n<Taskmill> Enter Job Type:  ";
    const QByteArray file = "\n<Taskmill> Enter Input File:  ";
    const QByteArray input = m_project->InputFile(u"it's ä 'job'.gate"_s).toUtf8();
    const QByteArray typeNumber = Manager().Command("list job types").split('\n').value(4).split(' ').first();

    QVERIFY(Manager().Ask("add job", queue));
    QVERIFY(Manager().Ask("longer", '\n' + queue));
    QVERIFY(Manager().Ask("", '\n' + queue));
    QCOMPARE(Manager().Command("cancel"), "");
    QVERIFY(Manager().Ask("submit job", queue));
    QVERIFY(Manager().Ask("  LONG ", type));
    QVERIFY(Manager().Ask("nothing", '\n' + type));
    QVERIFY(Manager().Ask("-1", '\n' + type));
    QVERIFY(Manager().Ask("99", '\n' + type));
    QCOMPARE(Manager().Command("Cancel"), "");
    QVERIFY(Manager().Ask("add short job", type));
    QVERIFY(Manager().Ask(typeNumber, file));
    QVERIFY(Manager().Ask("missing.gate", '\n' + file));
    QVERIFY(Manager().Ask(".", '\n' + file));
    QCOMPARE(Manager().Command("cancel"), "");
    QCOMPARE(Manager().Command("list long jobs"), "\nLong Jobs Queue is Empty\n\n");

    const auto add = [&](const QByteArray &command) {
        const bool asked = Manager().Ask(command, type) && Manager().Ask("GATE", file);
        return asked ? Manager().Command(input) : QByteArray{};
    };
    QVERIFY(add("submit long job").contains("Job 1 was added to the Long Jobs Queue, which is paused."));
    QVERIFY(add("add short job").contains("Job 2 was added to the Short Jobs Queue, which is paused."));
    QVERIFY(Manager().Ask("add job", queue));
    QVERIFY(Manager().Ask("none", type));
    QVERIFY(Manager().Ask("gate", file));
    QVERIFY(Manager().Command("it's ä 'job'.gate").contains("Job 3 was added to the Queueless Jobs List."));
    for (const QByteArray command : {"list long jobs", "list short jobs", "list queueless jobs"})
        QVERIFY(Manager().Command(command).contains("  it's ä 'job'.gate  "));
}

void TestConsole::SteersQueues()
{
    QVERIFY(m_project->Start());
    for (const QString &name : {u"a"_s, u"b"_s, u"c"_s})
        QVERIFY(AddGatedJob("add long job", name).contains("was added"));
    const auto running = [this] {
        return Manager().Command("list long jobs").count("  Running  ");
    };
    QCOMPARE(running(), 0);
    QVERIFY(Manager().Command("unpause long jobs").contains("The Long Jobs Queue is no longer paused."));
    QCOMPARE(running(), 1);
    for (const QByteArray wrong : {"0", "-2", "two", "99999999999"})
        QVERIFY(Manager().Command("set long limit " + wrong).contains("must be a number of 1 or more"));
    QVERIFY(Manager().Command("set long limit 2").contains("at most 2 jobs"));
    QCOMPARE(running(), 2);

    QVERIFY(Manager().Command("kill job 3").contains("Job 3 does not run"));
    QVERIFY(Manager().Command("kill job x").contains("no waiting or running job x"));
    QVERIFY(Manager().Ask("remove job 3", "Are you sure you want to remove the following 1 selected jobs"));
    QVERIFY(Manager().Ask("perhaps", "Are you sure"));
    QCOMPARE(Manager().Command("cancel"), "");
    QVERIFY(Manager().Command("pause long jobs").contains("The Long Jobs Queue is paused."));
    QVERIFY(Manager().Ask("remove job 1", "Are you sure"));
    QVERIFY(Manager().Ask("yes", "requires that it be Killed"));
    QVERIFY(Manager().Command("1").contains("Job 1 was removed."));
    QCOMPARE(running(), 1);
    QVERIFY(Manager().Ask("remove job 3", "Are you sure"));
    QVERIFY(Manager().Command("Y").contains("Job 3 was removed."));
    QVERIFY(Manager().Command("show job 3").contains("There is no job 3."));
    QVERIFY(Manager().Command("show job 1").contains("Killed"));
}

void TestConsole::AnswersAboutDirectories()
{
    QVERIFY(QDir{m_project->Path(u"."_s)}.mkdir(u"größe 2"_s));
    const QByteArray top = QDir{m_project->Path(u"."_s)}.canonicalPath().toUtf8();
    (void)m_project->InputFile(u"größe 2/only.txt"_s);
    QVERIFY(m_project->Start());
    const auto answer = [](const QByteArray &directory) {
        return "\nCurrent Directory:  " + directory + "\n\n";
    };
    QCOMPARE(Manager().Command("  pwd  "), answer(top));
    QCOMPARE(Manager().Command("cd größe 2"), answer(top + "/größe 2"));
    QCOMPARE(Manager().Command("dir /b"), "\nonly.txt\n\n\n");
    QCOMPARE(Manager().Command("dir/b ."), "\nonly.txt\n\n\n");
    QCOMPARE(Manager().Command("dir missing"), "\n\n\n");
    QCOMPARE(Manager().Command("cd .."), answer(top));
    QCOMPARE(Manager().Command("cd /none"), answer(top));
    QCOMPARE(Manager().Command("cd /"), answer("/"));
    QCOMPARE(Manager().Command("cd"), answer(top));
    QCOMPARE(Manager().Command("cls"), "");
}

void TestConsole::IgnoresWhatIsNoCommand()
{
    QVERIFY(m_project->Start());
    for (const QByteArray line : {"LIST LONG JOBS", "list  long jobs", "list long jobs now", "echo hi", "",
                                  "directory", "cdx", "show job", "%s%n", "\x80\xff\x1b[A"})
        QCOMPARE(Manager().Command(line), "");
}

void TestConsole::CutsALongLine()
{
    QVERIFY(m_project->Start());
    // What stands behind the cut would be a command of its own.
    QCOMPARE(Manager().Command("pwd" + QByteArray(5000 - 6, ' ') + "cls"), Manager().Command("pwd"));
    QCOMPARE(Manager().Command(QByteArray(1039, 'x') + "pwd"), "");
    QCOMPARE(Manager().Command(QByteArray(1040, ' ') + "pwd"), "");
    QVERIFY(Manager().Command("pwd").contains("Current Directory"));
}

void TestConsole::AsksBeforeQuitting()
{
    QVERIFY(m_project->Start());
    const QByteArray question = "\n<Taskmill> Are you sure you want to completely exit Taskmill?  ";
    const QByteArray saveQuestion = "\n<Taskmill> Save Changes Made to Current Project Before Closing it?  ";
    QVERIFY(Manager().Ask("QUIT", question));
    QCOMPARE(Manager().Command("n"), "\n");
    QVERIFY(Manager().Ask("Exit", question));
    QCOMPARE(Manager().Command("yess"), "\n");
    QVERIFY(AddGatedJob("add long job", u"a"_s).contains("was added"));
    QVERIFY(Manager().Ask("quit", question));
    QVERIFY(Manager().Ask("y", saveQuestion));
    QVERIFY(Manager().Ask("perhaps", saveQuestion));
    QCOMPARE(Manager().Command("cancel"), "\n");
    QVERIFY(Manager().Command("list long jobs").contains("Pending"));
    QCOMPARE(Manager().Quit({"yes", "no"}), ManagerEnd{.status = 0});
    QVERIFY(m_project->Rows().longJobs.isEmpty());

    QVERIFY(m_project->Start());
    QVERIFY(AddGatedJob("add long job", u"a"_s).contains("was added"));
    QCOMPARE(Manager().Quit({"1", "YES"}), ManagerEnd{.status = 0});
    QCOMPARE(m_project->Rows().longJobs.size(), 1);
    QCOMPARE(Manager().Errors(), "");
}

void TestConsole::FindsEverythingAgain()
{
    QVERIFY(m_project->AddTestType(u"Quick"_s, u"print @INFILE"_s));
    QVERIFY(m_project->Start());
    const QStringList names{u"it's \"one\" of 'em.in"_s, u"größe 分子.in"_s, u"plain.in"_s,
                            u"%s -- ; DROP.in"_s};
    for (const QString &name : names) {
        const QString input = m_project->InputFile(name);
        for (const QString &queue : {u"long"_s, u"short"_s}) {
            const CtlResult run = Manager().Ctl(
                {u"submit"_s, input, u"--type"_s, u"quick"_s, u"--queue"_s, queue, u"--input2"_s, input});
            QCOMPARE(run.status, 0);
        }
    }
    QVERIFY(Manager().Command("set short limit 4").contains("at most 4 jobs"));
    QVERIFY(Manager().Command("unpause short jobs").contains("no longer paused"));
    QTRY_VERIFY_WITH_TIMEOUT(Manager().Command("list short jobs").contains("is Empty"), 30'000);
    const auto lists = [this] {
        QByteArrayList texts{Manager().Command("list finished jobs")};
        for (int jobID = 2; jobID <= 8; jobID += 2)
            texts.append(Manager().Command("show job " + QByteArray::number(jobID)));
        return texts;
    };
    const QByteArrayList before = lists();
    QVERIFY(IsAligned(before.first(), {u"Job ID"_s, u"Name"_s, u"Status"_s, u"Job Type"_s, u"Queue"_s,
                                       u"Executable Path"_s, u"Submitted"_s, u"Finished"_s}));
    const QByteArray waiting = Manager().Command("list long jobs");
    QVERIFY(Manager().Command("save").contains("was saved to " + m_project->ProjectPath().toUtf8()));
    const ProjectRows saved = m_project->Rows();
    QCOMPARE(saved.longJobs.size(), 4);
    QCOMPARE(Manager().Quit({"yes"}), ManagerEnd{.status = 0});

    QVERIFY(m_project->Start());
    QCOMPARE(lists(), before);
    const QByteArray waitingAgain = Manager().Command("list long jobs");
    QVERIFY(
        IsAligned(waitingAgain, {u"Job ID"_s, u"Name"_s, u"Status"_s, u"Command Line"_s, u"Submitted"_s}));
    QCOMPARE(waitingAgain.count('\n'), waiting.count('\n'));
    for (const QString &name : names)
        QVERIFY(waitingAgain.contains("  " + name.toUtf8() + "  "));
    QVERIFY(Manager().Command("save").contains("was saved"));
    ProjectRows again = m_project->Rows();
    QCOMPARE(again.finishedJobs, saved.finishedJobs);
    QCOMPARE(again.longJobs, saved.longJobs);
    QCOMPARE(again.lastJobID, u"8"_s);
}

void TestConsole::KeepsQuietAtTheEndOfInput_data()
{
    QTest::addColumn<ManagerProcess::Input>("input");
    QTest::newRow("null device") << ManagerProcess::Input::NullDevice;
    QTest::newRow("closed pipe") << ManagerProcess::Input::Pipe;
}

void TestConsole::KeepsQuietAtTheEndOfInput()
{
    QFETCH(ManagerProcess::Input, input);
    NotificationSink sink;
    QVERIFY(m_project->Start(input));
    Manager().CloseInput();
    // A request that is not closed takes the manager a second of waiting.
    const qint64 ticksBefore = ProcessTable::ProcessorTicks(Manager().ProcessID());
    QTcpSocket client;
    client.connectToHost(QHostAddress::LocalHost, Manager().Port());
    client.write("action=test\n");
    QTRY_COMPARE(client.state(), QAbstractSocket::UnconnectedState);
    QVERIFY(ProcessTable::ProcessorTicks(Manager().ProcessID()) - ticksBefore < 30);

    Release(u"a"_s);
    QCOMPARE(Manager().Submit(u"Gate"_s, m_project->InputFile(u"a"_s), u"none"_s, sink.Port()),
             "accepted=1\n");
    QTRY_COMPARE(sink.Values("jobstatus"), QByteArrayList{"completed"});
    QCOMPARE(Manager().Output(), "");
    // It ends although its reading is held up.
    Manager().Signal(SIGTERM);
    QCOMPARE(Manager().End(), ManagerEnd{.status = 0});
    QCOMPARE(m_project->Rows().finishedJobs.size(), 1);
}

void TestConsole::WorksWithoutAnEventLoop()
{
    QVERIFY(m_project->Start(ManagerProcess::Input::Pipe, {u"-noeventloop"_s}));
    QVERIFY(Manager().Command("pwd").contains("Current Directory"));
    QVERIFY(AddGatedJob("add queueless job", u"a"_s).contains("Job 1 was added"));
    Release(u"a"_s);
    QTRY_VERIFY_WITH_TIMEOUT(Manager().Command("list finished jobs").contains("Completed"), 30'000);
    QCOMPARE(Manager().Quit({"yes", "yes"}), ManagerEnd{.status = 0});
    QCOMPARE(m_project->Rows().finishedJobs.size(), 1);

    QVERIFY(m_project->Start(ManagerProcess::Input::Pipe, {u"-noeventloop"_s}));
    QVERIFY(AddGatedJob("add queueless job", u"b"_s).contains("Job 2 was added"));
    Manager().Signal(SIGTERM);
    QCOMPARE(Manager().End(), ManagerEnd{.status = 0});
    QTRY_VERIFY(ProcessTable::LivingChildren().isEmpty());
    QCOMPARE(m_project->Rows().queuelessJobs.size(), 1);
    QCOMPARE(Manager().Errors(), "");
}

QTEST_GUILESS_MAIN(TestConsole)
#include "test_console.moc"
