// SPDX-License-Identifier: MIT
#include "console/interruptibleinput_unix.h"
#include "endtoend/notificationsink.h"
#include "endtoend/processtable.h"
#include "endtoend/projectfixture.h"

#include <QTcpSocket>

#include <csignal>

#include <sys/ioctl.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

/// Sessions through pipes, and at a terminal, where lines are edited.
class TestConsole : public ManagerTest
{
    Q_OBJECT

private Q_SLOTS:
    void AnswersAndIgnores()
    {
        QVERIFY(QDir{Project().Path({})}.mkdir(u"größe 2"_s));
        QVERIFY(Start());
        (void)Project().InputFile(u"größe 2/only.txt"_s);
        const QByteArray top = "\nCurrent Directory:  " + QDir{Project().Path({})}.canonicalPath().toUtf8();
        QCOMPARE(Manager().Command("cd größe 2"), top + "/größe 2\n\n");
        QCOMPARE(Manager().Command("dir /b"), "\nonly.txt\n\n\n");
        QCOMPARE(Manager().Command("cd"), top + "\n\n");
        QCOMPARE(Manager().Command("cd /none"), top + "\n\n");
        // What stands behind the cut would be a command of its own.
        QCOMPARE(Manager().Command("pwd" + QByteArray(5000, ' ') + "cls"), top + "\n\n");
        for (const QByteArray &line :
             {QByteArray(1040, ' ') + "pwd", "cdx"_ba, "show job"_ba, "%s%n"_ba, "\x80\xff\x1b[A"_ba})
            QCOMPARE(Manager().Command(line), "");
    }

    void KeepsQuietAtTheEndOfInput_data()
    {
        QTest::addColumn<ManagerProcess::Input>("input");
        QTest::newRow("null device") << ManagerProcess::Input::NullDevice;
        QTest::newRow("closed pipe") << ManagerProcess::Input::Pipe;
    }

    void KeepsQuietAtTheEndOfInput()
    {
        QFETCH(ManagerProcess::Input, input);
        NotificationSink sink;
        QVERIFY(Start(input));
        Manager().CloseInput();
        // A request that is not closed takes the manager a second of waiting.
        const qint64 ticksBefore = ProcessTable::ProcessorTicks(Manager().ProcessID());
        QTcpSocket client;
        client.connectToHost(QHostAddress::LocalHost, Manager().Port());
        client.write("action=test\n");
        QTRY_COMPARE(client.state(), QAbstractSocket::UnconnectedState);
        QVERIFY(ProcessTable::ProcessorTicks(Manager().ProcessID()) - ticksBefore < 30);

        Release(u"a"_s);
        QCOMPARE(Manager().Submit(u"Gate"_s, Project().InputFile(u"a"_s), u"none"_s, sink.Port()),
                 "accepted=1\n");
        QTRY_COMPARE(sink.Values("jobstatus"), QByteArrayList{"completed"});
        QCOMPARE(Manager().Output(), "");
        // It ends although its reading is held up.
        Manager().Signal(SIGTERM);
        QCOMPARE(Manager().End(), ManagerEnd{.status = 0});
        QCOMPARE(Project().Rows().finishedJobs.size(), 1);
    }

    void WorksWithoutAnEventLoop()
    {
        QVERIFY(Start(ManagerProcess::Input::Pipe, {u"-noeventloop"_s}));
        QVERIFY(AddGatedJob("add queueless job", u"a"_s).contains("Job 1 was added"));
        Release(u"a"_s);
        QTRY_VERIFY_WITH_TIMEOUT(Manager().Command("list finished jobs").contains("Completed"), 30'000);
        QCOMPARE(Manager().Quit({"yes", "yes"}), ManagerEnd{.status = 0});
        QVERIFY(Manager().Output().endsWith("\n\n\n"));

        QVERIFY(Project().Start(ManagerProcess::Input::Terminal, {u"-noeventloop"_s}));
        QVERIFY(AddGatedJob("add queueless job", u"b"_s).contains("Job 2 was added"));
        Manager().Signal(SIGTERM);
        QCOMPARE(Manager().End(), ManagerEnd{.status = 0});
        QVERIFY(Manager().IsTerminalInItsNormalMode());
        QTRY_VERIFY(ProcessTable::LivingChildren().isEmpty());
        QCOMPARE(Project().Rows().finishedJobs.size(), 1);
        QCOMPARE(Project().Rows().queuelessJobs.size(), 1);
    }

    void EditsLines()
    {
        QVERIFY(QDir{Project().Path({})}.mkdir(u"Übung 分子"_s));
        QVERIFY(Start(ManagerProcess::Input::Terminal));
        const QByteArray top = "Current Directory:  " + QDir{Project().Path({})}.canonicalPath().toUtf8();
        QVERIFY(Keys("cd Übung 分ö\x7f子\n", top + "/Übung 分子\r\n"));
        QVERIFY(Keys("cd ..\n", top + "\r\n"));
        QVERIFY(Keys("cd Üb\t\n", top + "/Übung 分子\r\n"));
        QVERIFY(Keys("\033[A\033[A\n", top + "\r\n"));
        QVERIFY(Keys("list lo\t\n", "Long Jobs Queue is Empty"));
        // Answers to questions are not remembered as commands.
        QVERIFY(Keys("quit\nno\n", "completely exit"));
        QVERIFY(Keys("\033[A\033[A\n", "Long Jobs Queue is Empty"));

        Manager().Type("list long j\x03");
        QVERIFY(Manager().Expect("^C"));
        QVERIFY(Keys("\x04\x04pwd\n", top + "\r\n"));
        Manager().Type("pwd" + QByteArray(1036, ' '));
        for (const char letter : {'a', 'b', 'c'}) {
            Manager().Type(QByteArray(400, letter));
            QVERIFY(Manager().Expect(QByteArray(100, letter)));
        }
        QVERIFY(Keys("\n", top + "\r\n"));
        QTRY_VERIFY(!Manager().IsTerminalInItsNormalMode());
        QCOMPARE(Manager().Quit({"yes"}), ManagerEnd{.status = 0});
        QVERIFY(Manager().IsTerminalInItsNormalMode());
    }

    /// Each byte by itself would make a long line slow.
    void ReadsAheadOfTheLine()
    {
        std::array<int, 2> ends{};
        QVERIFY(pipe(ends.data()) == 0);
        QCOMPARE(write(ends[1], "pwd\n", 4), 4);
        Taskmill_InterruptibleInput input{ends[0]};
        QCOMPARE(input.ReadByte().value_or('?'), 'p');
        int waiting = -1;
        QVERIFY(ioctl(ends[0], FIONREAD, &waiting) == 0);
        QCOMPARE(waiting, 0);
        QCOMPARE(input.ReadByte().value_or('?'), 'w');
        input.Interrupt();
        QVERIFY(!input.ReadByte());
        close(ends[0]);
        close(ends[1]);
    }

    void InterruptKeyBreaksOffCommands()
    {
        QVERIFY(Start(ManagerProcess::Input::Terminal));
        QCOMPARE(Manager().Submit(u"Gate"_s, Project().InputFile(u"a"_s), u"none"_s), "accepted=1\n");
        const QString begun = Project().Path(u"begun"_s);
        Manager().Type("dir /b; touch " + begun.toUtf8() + "; sleep 1000\n");
        QTRY_VERIFY(QFile::exists(begun));
        QVERIFY(Keys("\x03", "\r\n"));
        // A listing that is under way is not shown to its end.
        Manager().Type("dir /b; seq 1000000\n");
        QVERIFY(Manager().Expect("\r\n1000\r\n"));
        Manager().Type("\x03");
        QTRY_VERIFY(Manager().Output().endsWith("\r\n<Taskmill> "));
        QVERIFY(!Manager().Output().contains("\r\n1000000\r\n"));
        QVERIFY(Keys("list queueless jobs\n", "Running"));
        // What follows a job ends, and the job goes on.
        Manager().Type("follow job 1\n");
        QVERIFY(Manager().Expect("Ctrl+C ends this"));
        QVERIFY(Manager().Expect("\r\nbegun\r\n"));
        QVERIFY(Keys("\x03", "\r\n"));
        QVERIFY(Keys("list queueless jobs\n", "Running"));
    }

    void OutputThatNobodyReadsHoldsUpNothing()
    {
        QVERIFY(Start(ManagerProcess::Input::Terminal));
        Manager().Type("dir /b; seq 1000000\n");
        QVERIFY(Manager().Expect("\r\n1000\r\n"));
        const QByteArray stopKey = "\x13";
        Manager().Type(stopKey);
        // The first one has a message printed.
        QVERIFY(Manager().Submit(u"Auto"_s, Project().InputFile(u"x.unknown"_s)).startsWith("refused="));
        QCOMPARE(Manager().Submit(u"Gate"_s, Project().InputFile(u"a"_s), u"none"_s), "accepted=1\n");
        Manager().Signal(SIGTERM);
        QCOMPARE(Manager().End(), ManagerEnd{.status = 0});
        QVERIFY(Manager().IsTerminalInItsNormalMode());
    }

    void EndsWithItsTerminal_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::newRow("with an event loop") << QStringList{};
        QTest::newRow("without an event loop") << QStringList{u"-noeventloop"_s};
    }

    void EndsWithItsTerminal()
    {
        QFETCH(QStringList, options);
        QVERIFY(Start(ManagerProcess::Input::Terminal, options));
        // Without an event loop the end of the input and the signal that says so arrive together.
        const bool hasJob = options.isEmpty();
        if (hasJob)
            QCOMPARE(Manager().Submit(u"Gate"_s, Project().InputFile(u"runs"_s), u"none"_s), "accepted=1\n");
        Manager().HangUp();
        QCOMPARE(Manager().End(), ManagerEnd{.status = 0});
        QTRY_VERIFY(ProcessTable::LivingChildren().isEmpty());
        QCOMPARE(Project().Rows().queuelessJobs.size(), hasJob ? 1 : 0);
        QCOMPARE(Manager().Errors(), "");
    }

private:
    /// Starts with a job type "Gate", whose jobs run until Release().
    [[nodiscard]] bool Start(ManagerProcess::Input input = ManagerProcess::Input::Pipe,
                             const QStringList &options = {})
    {
        return (QFile::exists(Project().ProjectPath()) ||
                Project().AddTestType(u"Gate"_s, u"print begun waitfor @INFILE.go"_s, u"Files (*.gate)"_s)) &&
               Project().Start(input, options);
    }
    [[nodiscard]] QByteArray AddGatedJob(const QByteArray &command, const QString &name)
    {
        if (!Manager().Ask(command, "Enter Job Type:  ") || !Manager().Ask("gate", "Enter Input File:  "))
            return {};
        return Manager().Command(Project().InputFile(name).toUtf8());
    }

    void Release(const QString &name) { (void)Project().InputFile(name + u".go"_s); }
    /// Types keys and waits for the text, and for the next prompt behind it.
    [[nodiscard]] bool Keys(const QByteArray &keys, const QByteArray &text)
    {
        Manager().Type(keys);
        return Manager().Expect(text) && Manager().Expect("<Taskmill> ");
    }
};

QTEST_GUILESS_MAIN(TestConsole)
#include "test_console.moc"
