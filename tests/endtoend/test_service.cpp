#include "endtoend/notificationsink.h"
#include "endtoend/processtable.h"
#include "endtoend/projectfixture.h"
#include "kilnutil/platform.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include <algorithm>
#include <bit>
#include <memory>
#include <vector>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Holds a port on which nobody answers.
class SilentPort
{
public:
    SilentPort()
        : m_socket{socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)}
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto *anyAddress = std::bit_cast<sockaddr *>(&address);
        if (bind(m_socket, anyAddress, size) != 0 || getsockname(m_socket, anyAddress, &size) != 0)
            qFatal("no port is free");
        m_port = ntohs(address.sin_port);
    }
    ~SilentPort() { close(m_socket); }
    Q_DISABLE_COPY_MOVE(SilentPort)

    [[nodiscard]] quint16 Port() const { return m_port; }

private:
    const int m_socket;
    quint16 m_port = 0;
};

bool IsConnected(const QTcpSocket &socket)
{
    return socket.state() == QAbstractSocket::ConnectedState;
}
} // namespace

/// Starts of the manager, and its port in the face of clients of all kinds.
class TestService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void TakesAMessageInSegments();
    void ServesInTheMidstOfIdlersAndGarbage();
    void DropsAnEndlessLine();
    void SecondStartLeavesTheFirstAlone();
    void EndsAtOnce_data();
    void EndsAtOnce();
    void WorksOnWithoutItsPort();
    void WritesTheDebugLog();

private:
    [[nodiscard]] ManagerProcess &Manager() { return m_project->Manager(); }
    [[nodiscard]] std::unique_ptr<QTcpSocket> Connect();

    std::unique_ptr<ProjectFixture> m_project;
};

void TestService::init()
{
    FailOnQtWarnings();
    m_project = std::make_unique<ProjectFixture>();
}

void TestService::cleanup()
{
    m_project.reset();
}

std::unique_ptr<QTcpSocket> TestService::Connect()
{
    auto socket = std::make_unique<QTcpSocket>();
    socket->connectToHost(QHostAddress::LocalHost, Manager().Port());
    if (!socket->waitForConnected())
        qWarning("The manager takes no connection");
    return socket;
}

void TestService::TakesAMessageInSegments()
{
    NotificationSink sink;
    QVERIFY(m_project->AddTestType(u"Echo"_s, u"print @WORD"_s));
    QVERIFY(m_project->Start());
    const QString input = m_project->InputFile(u"ä b.in"_s);
    const QByteArray message =
        "clientname=slow\nclientappname=slow\nclientaddress=127.0.0.1\nclientport=" +
        QByteArray::number(sink.Port()) +
        "\nCLIENTNOTIFICATION=1\nAction=SubmitJob\njobtypename=echo\njobqueue=none\n@WORD=seg\xC3\xA4ment\n"
        "jobname=na\xC3\xAFve\njobinputfile=" +
        input.toUtf8();
    const auto client = Connect();
    for (qsizetype begin = 0; begin < message.size(); begin += 50) {
        client->write(message.mid(begin, 50));
        QVERIFY(client->waitForBytesWritten());
        // The manager does something else in between. It is not misled by a pause.
        QVERIFY(Manager().Submit(u"Echo"_s, u"/none"_s, u"none"_s).startsWith("accepted="));
    }
    QTRY_COMPARE(sink.Values("clientname"), QByteArrayList{"slow"});
    QCOMPARE(sink.Values("jobinputfile"), QByteArrayList{input.toUtf8()});
    QTRY_VERIFY(!IsConnected(*client));

    QVERIFY(Manager().Command("save").contains("was saved"));
    const QList<Taskmill_JobRecord> jobs = m_project->Rows().finishedJobs;
    const auto job = std::ranges::find(jobs, u"naïve"_s, &Taskmill_JobRecord::Name);
    QVERIFY(job != jobs.end());
    QCOMPARE(job->StdOutAndStdErr, u"segäment\n"_s);
}

void TestService::ServesInTheMidstOfIdlersAndGarbage()
{
    KilnUtil_Platform::RaiseOpenFilesLimit();
    QVERIFY(m_project->AddTestType(u"Quick"_s, u"exit 0"_s));
    QVERIFY(m_project->Start());
    std::vector<std::unique_ptr<QTcpSocket>> idlers;
    idlers.reserve(1000);
    for (int number = 0; number < 1000; ++number)
        idlers.push_back(Connect());
    std::vector<std::unique_ptr<QTcpSocket>> babblers;
    for (int number = 0; number < 20; ++number) {
        QByteArray garbage(10'000, '\0');
        for (qsizetype index = 0; index < garbage.size(); ++index)
            garbage[index] = static_cast<char>(index * index + number * index / 7);
        babblers.push_back(Connect());
        babblers.back()->write("action=submitjob\njobtypename=Quick" + garbage + "\n=\n@\n@=\n\n");
        QVERIFY(babblers.back()->waitForBytesWritten());
    }
    const QString input = m_project->InputFile(u"quick.in"_s);
    const CtlResult run = Manager().Ctl(
        {u"submit"_s, input, u"--type"_s, u"Quick"_s, u"--queue"_s, u"queueless"_s, u"--wait"_s});
    QCOMPARE(run.status, 0);
    QVERIFY(std::ranges::all_of(idlers, [](const auto &idler) { return IsConnected(*idler); }));
    QTRY_VERIFY(std::ranges::none_of(babblers, [](const auto &babbler) { return IsConnected(*babbler); }));
    QCOMPARE(Manager().Quit(), ManagerEnd{.status = 0});
    QTRY_VERIFY(std::ranges::none_of(idlers, [](const auto &idler) { return IsConnected(*idler); }));
    QCOMPARE(Manager().Errors(), "");
}

void TestService::DropsAnEndlessLine()
{
    QVERIFY(m_project->AddTestType(u"Quick"_s, u"exit 0"_s));
    QVERIFY(m_project->Start());
    const qint64 before = ProcessTable::PeakMemory(Manager().ProcessID());
    const auto client = Connect();
    client->write("action=submitjob\njobtypename=Quick\njobqueue=none\njobname=");
    const QByteArray block(1'000'000, 'x');
    int blocks = 0;
    for (; IsConnected(*client) && blocks < 100; ++blocks) {
        client->write(block);
        client->waitForBytesWritten();
    }
    QVERIFY(blocks < 100);
    QVERIFY(ProcessTable::PeakMemory(Manager().ProcessID()) - before < 50'000);
    QCOMPARE(Manager().Submit(u"Quick"_s, u"/none"_s, u"none"_s), "accepted=1\n");
    QCOMPARE(Manager().Errors(), "A message of more than 1048576 bytes is dropped\n");
}

void TestService::SecondStartLeavesTheFirstAlone()
{
    QVERIFY(m_project->AddTestType(u"Wait"_s, u"touch @INFILE.started wait"_s));
    QVERIFY(m_project->Start());
    const QString input = m_project->InputFile(u"wait.in"_s);
    QCOMPARE(Manager().Submit(u"Wait"_s, input, u"none"_s), "accepted=1\n");
    QTRY_VERIFY(QFile::exists(input + u".started"_s));

    const QTemporaryDir elsewhere;
    ManagerProcess second{elsewhere.path()};
    second.Launch({u"-console"_s, u"-help"_s}, Manager().Port(), ManagerProcess::FreePorts().second);
    QCOMPARE(second.End(), ManagerEnd{.status = 0});
    QCOMPARE(second.Output() + second.Errors(), "");
    QVERIFY(Manager().Command("list queueless jobs").contains("Running"));
}

void TestService::EndsAtOnce_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QByteArray>("errors");

    const QByteArray usage =
        "Usage:    taskmill [options]\n\noptions:  [-help]\n          [-list\n          [-console]\n"
        "          [-newconsole]\n          [-run]\n          [-nogui]\n";
    QTest::newRow("help") << QStringList{u"-console"_s, u"-help"_s} << 3 << usage << QByteArray{};
    QTest::newRow("help in any case") << QStringList{u"-NoGui"_s, u"-HELP"_s} << 3 << usage << QByteArray{};
    QTest::newRow("missing file") << QStringList{u"-console"_s, u"missing.mill"_s} << 2 << QByteArray{}
                                  << QByteArray{};
    QTest::newRow("missing file unattended")
        << QStringList{u"-nogui"_s, u"-run"_s, u"missing.mill"_s} << 2 << QByteArray{} << QByteArray{};
    QTest::newRow("window without a display")
        << QStringList{} << 1 << QByteArray{}
        << QByteArray{"taskmill: there is no display for the window; start it with -console\n"};
}

void TestService::EndsAtOnce()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    const auto [consolePort, guiPort] = ManagerProcess::FreePorts();
    ManagerProcess manager{m_project->Path(u"."_s)};
    manager.Launch(arguments, consolePort, guiPort);
    QCOMPARE(manager.End(), ManagerEnd{.status = status});
    QTEST(manager.Output(), "output");
    QTEST(manager.Errors(), "errors");
}

void TestService::WorksOnWithoutItsPort()
{
    const SilentPort port;
    ManagerProcess manager{m_project->Path(u"."_s)};
    manager.Launch({u"-CONSOLE"_s}, port.Port(), ManagerProcess::FreePorts().second);
    QVERIFY(manager.Expect("TaskmillConsole 1.1.18\n"));
    QVERIFY(manager.Expect("<Taskmill> "));
    QCOMPARE(manager.Command("list long jobs"), "\nLong Jobs Queue is Empty\n\n");
    QVERIFY(manager.Errors().startsWith("Cannot listen on port " + QByteArray::number(port.Port())));
    QCOMPARE(manager.Quit({"1"}), ManagerEnd{.status = 0});
}

void TestService::WritesTheDebugLog()
{
    ManagerProcess manager{m_project->Path(u"."_s)};
    WriteTestFile(m_project->Path(u"log.txt"_s), "of an earlier run\n");
    // The file's name is taken in lower case, and what follows is of no account.
    QVERIFY(manager.Start({u"-NOGUI"_s, u"-DebugFile=LOG.TXT"_s, u"-debug"_s}));
    QVERIFY(manager.Submit(u"Nothing"_s, u"/none/x"_s).startsWith("refused="));
    QCOMPARE(ReadTestFile(m_project->Path(u"log.txt"_s)),
             "Info:   Request refused: no job type was chosen for /none/x\n");
    QCOMPARE(manager.Errors(), "");
    QVERIFY(manager.Expect("/none/x"));
    QCOMPARE(manager.Quit({"yes"}), ManagerEnd{.status = 0});
}

QTEST_GUILESS_MAIN(TestService)
#include "test_service.moc"
