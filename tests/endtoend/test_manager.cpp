#include "endtoend/notificationsink.h"
#include "endtoend/processtable.h"
#include "endtoend/projectfixture.h"
#include "kilnutil/platform.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include <algorithm>
#include <csignal>
#include <memory>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {
using Sockets = std::vector<std::unique_ptr<QTcpSocket>>;

QTcpSocket &Connect(Sockets &sockets, quint16 port)
{
    QTcpSocket &socket = *sockets.emplace_back(std::make_unique<QTcpSocket>());
    socket.connectToHost(QHostAddress::LocalHost, port);
    return socket;
}

bool IsConnected(const std::unique_ptr<QTcpSocket> &socket)
{
    return socket->state() == QAbstractSocket::ConnectedState;
}
} // namespace

/// Starts of the manager, its ends while jobs run, and its port in the face of clients of all kinds.
class TestManagerProgram : public ManagerTest
{
    Q_OBJECT

private Q_SLOTS:
    void SavesAndEndsJobsAtItsEnd_data();
    void SavesAndEndsJobsAtItsEnd();
    void EndsAtOnceAtASecondSignal();
    void StartsInVain_data();
    void StartsInVain();
    void SecondStartLeavesTheFirstAlone();
    void WorksOnWithoutItsPort();
    void ServesInTheMidstOfIdlersAndGarbage();

private:
    void StartJobs(quint16 notificationPort);
};

/// Two long jobs, of which one runs, and one without a queue whose grandchild has a session of its own.
void TestManagerProgram::StartJobs(quint16 notificationPort)
{
    QVERIFY(Project().AddTestType(u"Wait"_s, u"touch @INFILE.started wait"_s));
    QVERIFY(Project().AddTestType(u"Tree"_s, u"child child session touch @INFILE.started wait"_s));
    QVERIFY(Project().Start());
    QVERIFY(Manager().Command("unpause long jobs").contains("no longer paused"));
    const auto submit = [&](const QString &jobType, const QString &name, const QString &queue) {
        return Manager().Submit(jobType, Project().InputFile(name), queue, notificationPort);
    };
    QCOMPARE(submit(u"Wait"_s, u"runs"_s, u"long"_s), "accepted=1\n");
    QCOMPARE(submit(u"Wait"_s, u"waits"_s, u"long"_s), "accepted=2\n");
    QCOMPARE(submit(u"Tree"_s, u"tree"_s, u"none"_s), "accepted=3\n");
    QTRY_VERIFY(QFile::exists(Project().Path(u"runs.started"_s)));
    QTRY_VERIFY(QFile::exists(Project().Path(u"tree.started"_s)));
    QVERIFY(!QFile::exists(Project().Path(u"waits.started"_s)));
}

void TestManagerProgram::SavesAndEndsJobsAtItsEnd_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("quit") << 0;
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void TestManagerProgram::SavesAndEndsJobsAtItsEnd()
{
    QFETCH(int, signal);
    NotificationSink sink;
    StartJobs(sink.Port());
    if (signal != 0)
        Manager().Signal(signal);
    QCOMPARE(signal == 0 ? Manager().Quit({"yes", "yes"}) : Manager().End(), ManagerEnd{.status = 0});
    QTRY_VERIFY(ProcessTable::LivingChildren().isEmpty());
    QCOMPARE(Manager().Errors(), "");
    QTRY_COMPARE(sink.Values("jobstatus"), (QByteArrayList{"killed", "killed"}));

    // What ran is to wait again when the project is opened the next time.
    const ProjectRows rows = Project().Rows();
    QCOMPARE(rows.longJobs.size(), 2);
    QCOMPARE(rows.longJobs[0].InputFilePath, Project().Path(u"runs"_s));
    QCOMPARE(rows.queuelessJobs.size(), 1);
    QCOMPARE(rows.queuelessJobs[0].JobID, 3);
    QVERIFY(rows.finishedJobs.isEmpty());
}

void TestManagerProgram::EndsAtOnceAtASecondSignal()
{
    // A client that takes no connection, with so many waiting that another one is not even answered.
    QTcpServer deaf;
    deaf.setListenBacklogSize(0);
    QVERIFY(deaf.listen(QHostAddress::LocalHost));
    deaf.pauseAccepting();
    Sockets waiting;
    for (int count = 0; count < 4; ++count)
        Connect(waiting, deaf.serverPort());
    QTRY_VERIFY(IsConnected(waiting.front()));
    StartJobs(deaf.serverPort());

    // The first job is ended, and the manager waits for the client to hear of it.
    Manager().Signal(SIGTERM);
    QTRY_COMPARE(Project().Rows().longJobs.size(), 2);
    Manager().Signal(SIGTERM);
    QCOMPARE(Manager().End(), ManagerEnd{.signal = SIGTERM});
    QTRY_VERIFY(ProcessTable::LivingChildren().isEmpty());
    QCOMPARE(Project().Rows().queuelessJobs.size(), 1);
}

void TestManagerProgram::StartsInVain_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("output");
    QTest::newRow("help") << QStringList{u"-NoGui"_s, u"-HELP"_s} << 3 << QByteArray{"Usage:    taskmill"};
    QTest::newRow("missing file") << QStringList{u"-console"_s, u"missing.mill"_s} << 2 << QByteArray{};
    QTest::newRow("window without a display") << QStringList{} << 1 << QByteArray{"taskmill: there is no"};
}

void TestManagerProgram::StartsInVain()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFETCH(QByteArray, output);
    const auto [consolePort, guiPort] = ManagerProcess::FreePorts();
    ManagerProcess manager{Project().Path({})};
    manager.Launch(arguments, consolePort, guiPort);
    QCOMPARE(manager.End(), ManagerEnd{.status = status});
    QCOMPARE((manager.Output() + manager.Errors()).first(output.size()), output);
}

void TestManagerProgram::SecondStartLeavesTheFirstAlone()
{
    QVERIFY(Project().AddTestType(u"Wait"_s, u"touch @INFILE.started wait"_s));
    QVERIFY(Project().Start());
    const QString input = Project().InputFile(u"wait.in"_s);
    QCOMPARE(Manager().Submit(u"Wait"_s, input, u"none"_s), "accepted=1\n");
    QTRY_VERIFY(QFile::exists(input + u".started"_s));
    const QTemporaryDir elsewhere;
    ManagerProcess second{elsewhere.path()};
    second.Launch({u"-console"_s}, Manager().Port(), ManagerProcess::FreePorts().second);
    QCOMPARE(second.End(), ManagerEnd{.status = 0});
    QCOMPARE(second.Output() + second.Errors(), "");
    QVERIFY(Manager().Command("list queueless jobs").contains("Running"));
}

void TestManagerProgram::WorksOnWithoutItsPort()
{
    QTcpSocket silent;
    QVERIFY(silent.bind(QHostAddress::LocalHost, 0, QAbstractSocket::DontShareAddress));
    ManagerProcess manager{Project().Path({})};
    manager.Launch({u"-CONSOLE"_s}, silent.localPort(), ManagerProcess::FreePorts().second);
    QVERIFY(manager.Expect("TaskmillConsole 1.1.18\n"));
    QVERIFY(manager.Expect("<Taskmill> "));
    QCOMPARE(manager.Command("list long jobs"), "\nLong Jobs Queue is Empty\n\n");
    QVERIFY(manager.Errors().startsWith("Cannot listen on port "));
    QCOMPARE(manager.Quit({"1"}), ManagerEnd{.status = 0});
}

void TestManagerProgram::ServesInTheMidstOfIdlersAndGarbage()
{
    KilnUtil_Platform::RaiseOpenFilesLimit();
    QVERIFY(Project().AddTestType(u"Quick"_s, u"exit 0"_s));
    QVERIFY(Project().Start());
    Sockets idlers;
    for (int number = 0; number < 1000; ++number)
        QVERIFY(Connect(idlers, Manager().Port()).waitForConnected());
    Sockets babblers;
    for (int number = 0; number < 20; ++number) {
        QByteArray garbage(10'000, '\0');
        for (qsizetype index = 0; index < garbage.size(); ++index)
            garbage[index] = static_cast<char>(index * index + number * index / 7);
        Connect(babblers, Manager().Port())
            .write("action=submitjob\njobtypename=Quick" + garbage + "\n=\n@\n@=\n\n");
    }
    const CtlResult run = Manager().Ctl({u"submit"_s, Project().InputFile(u"quick.in"_s), u"--type"_s,
                                         u"Quick"_s, u"--queue"_s, u"queueless"_s, u"--wait"_s});
    QCOMPARE(run.status, 0);
    QVERIFY(std::ranges::all_of(idlers, IsConnected));
    QTRY_VERIFY(std::ranges::none_of(babblers, IsConnected));
    QCOMPARE(Manager().Quit(), ManagerEnd{.status = 0});
    QCOMPARE(Manager().Errors(), "");
}

QTEST_GUILESS_MAIN(TestManagerProgram)
#include "test_manager.moc"
