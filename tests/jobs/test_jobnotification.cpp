#include "fakejobstore.h"
#include "jobs/jobnotification.h"
#include "jobs/jobqueue.h"
#include "jobs/processinspector.h"
#include "jobs/runmode.h"
#include "support/jobfakes.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include <functional>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {
using Change = std::function<void(Taskmill_JobRecord &)>;

Taskmill_JobRecord MakeClientJob()
{
    Taskmill_JobRecord job;
    job.JobClass = u"MyClass"_s;
    job.ClientName = u"Köln"_s;
    job.ClientAppName = u"Client"_s;
    job.ClientAddress = u"127.0.0.1"_s;
    job.ClientPort = 4711;
    job.ClientUID = 1000;
    job.ClientGID = -5;
    job.ClientNotification = true;
    job.JobType.Name = u"Big Type"_s;
    job.QueueName = u"Long"_s;
    job.InputFilePath = u"/W/In.a"_s;
    job.OutputFile = u"/W/Out.b"_s;
    job.Status = Taskmill_JobStatus::Completed;
    return job;
}

constexpr auto eighteenLines = "servername=TaskmillGUI\n"
                               "clientname=K\xC3\xB6ln\n"
                               "clientappname=Client\n"
                               "clientaddress=127.0.0.1\n"
                               "clientport=4711\n"
                               "clientuid=1000\n"
                               "clientgid=-5\n"
                               "action=jobfinished\n"
                               "jobstatus=completed\n"
                               "jobexitcode=0\n"
                               "jobclass=myclass\n"
                               "jobtypename=big type\n"
                               "jobqueue=long\n"
                               "jobinputfile=/W/In.a\n"
                               "jobinputfile2=\n"
                               "jobstandardinputfile=\n"
                               "joboutputfile=/W/Out.b\n"
                               "jobstandardoutputfile=";

/// A client that listens on a port of its own.
class Client
{
public:
    Client() { m_server.listen(QHostAddress::LocalHost); }
    [[nodiscard]] int Port() const { return m_server.serverPort(); }
    /// Whether somebody has connected since the last ReadMessage().
    [[nodiscard]] bool IsCalled()
    {
        return m_server.hasPendingConnections() || m_server.waitForNewConnection(0);
    }
    /// All that the next caller sends until it hangs up.
    [[nodiscard]] QByteArray ReadMessage()
    {
        if (!m_server.hasPendingConnections() && !m_server.waitForNewConnection(30'000))
            return "nobody called";
        const std::unique_ptr<QTcpSocket> socket{m_server.nextPendingConnection()};
        while (socket->state() == QAbstractSocket::ConnectedState && socket->waitForReadyRead(30'000)) {
        }
        return socket->readAll();
    }

private:
    QTcpServer m_server;
};

int UnusedPort()
{
    return Client{}.Port();
}
} // namespace

class TestJobNotification : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { Taskmill_SetRunMode(Taskmill_RunMode::Gui); }
    void WritesMessage_data();
    void WritesMessage();
    void KnowsWhoWantsIt_data();
    void KnowsWhoWantsIt();
    void Sends_data();
    void Sends();
    void SendsNothing_data();
    void SendsNothing();
    void SendsNothingToImpossiblePorts();
    void TellsTheClientHowItsJobEnded_data();
    void TellsTheClientHowItsJobEnded();
    void StartsTheNextJobFirst();
};

void TestJobNotification::init()
{
    FailOnQtWarnings();
    Taskmill_SetRunMode(Taskmill_RunMode::Gui);
}

void TestJobNotification::WritesMessage_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<QByteArray>("message");

    const QByteArray message{eighteenLines};
    QTest::newRow("eighteen lines") << Change{[](auto &) {
    }} << message;
    QTest::newRow("both checkpoint files") << Change{[](auto &job) {
        job.CheckpointFile = u"/W/A.chk"_s;
        job.CheckpointFile2 = u"/W/B.chk"_s;
    }} << message + "\njobchkfile=/W/A.chk\njobchkfile1=/W/B.chk";
    QTest::newRow("only the second checkpoint file") << Change{[](auto &job) {
        job.CheckpointFile2 = u"/W/B.chk"_s;
    }} << message + "\njobchkfile1=/W/B.chk";
    QTest::newRow("other files") << Change{[](auto &job) {
        job.InputFilePath2 = u"/W/2"_s;
        job.StandardInputFile = u"/W/I"_s;
        job.StandardOutputFile = u"/W/O"_s;
    }}
                                 << QByteArray{message}
                                        .replace("file2=", "file2=/W/2")
                                        .replace("inputfile=\n", "inputfile=/W/I\n")
                                        .append("/W/O");
}

void TestJobNotification::WritesMessage()
{
    QFETCH(Change, change);
    Taskmill_JobRecord job = MakeClientJob();
    change(job);
    QTEST(Taskmill_JobFinishedMessage(job, 0, u"TaskmillGUI"_s), "message");
}

void TestJobNotification::KnowsWhoWantsIt_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<bool>("wanted");

    QTest::newRow("asked for") << Change{[](auto &) {
    }} << true;
    QTest::newRow("not asked for") << Change{[](auto &job) {
        job.ClientNotification = false;
    }} << false;
    QTest::newRow("no address") << Change{[](auto &job) {
        job.ClientAddress.clear();
    }} << false;
    QTest::newRow("no client name") << Change{[](auto &job) {
        job.ClientName.clear();
    }} << false;
    QTest::newRow("no application name") << Change{[](auto &job) {
        job.ClientAppName.clear();
    }} << false;
    QTest::newRow("this manager itself") << Change{[](auto &job) {
        job.ClientAppName = u"TaskmillGUI"_s;
    }} << false;
    QTest::newRow("almost this manager") << Change{[](auto &job) {
        job.ClientAppName = u"taskmillgui"_s;
    }} << true;
}

void TestJobNotification::KnowsWhoWantsIt()
{
    QFETCH(Change, change);
    Taskmill_JobRecord job = MakeClientJob();
    change(job);
    QTEST(Taskmill_WantsNotification(job, u"TaskmillGUI"_s), "wanted");
}

void TestJobNotification::Sends_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QByteArray>("message");

    QTest::newRow("address") << u"127.0.0.1"_s << QByteArray{"a=1\nb="};
    QTest::newRow("localhost in any case") << u"LocalHost"_s << QByteArray{"a=1"};
    QTest::newRow("long message") << u"localhost"_s << QByteArray{50'000, 'x'};
}

void TestJobNotification::Sends()
{
    QFETCH(QString, address);
    QFETCH(QByteArray, message);
    Client client;
    QVERIFY(Taskmill_SendMessage(address, client.Port(), message));
    QCOMPARE(client.ReadMessage(), message);
}

void TestJobNotification::SendsNothing_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("port");

    QTest::newRow("nobody listens") << u"127.0.0.1"_s << UnusedPort();
    QTest::newRow("no address") << QString{} << 80;
    QTest::newRow("name of a host") << u"host.invalid"_s << 80;
    QTest::newRow("number out of range") << u"127.0.0.256"_s << 80;
}

void TestJobNotification::SendsNothing()
{
    QFETCH(QString, address);
    QFETCH(int, port);
    QVERIFY(!Taskmill_SendMessage(address, port, "x"));
}

void TestJobNotification::SendsNothingToImpossiblePorts()
{
    // Both become the client's port when all but 16 bits are lost.
    Client client;
    QVERIFY(!Taskmill_SendMessage(u"localhost"_s, client.Port() + 65'536, "x"));
    QVERIFY(!Taskmill_SendMessage(u"localhost"_s, client.Port() - 65'536, "x"));
    QVERIFY(!client.IsCalled());
}

void TestJobNotification::TellsTheClientHowItsJobEnded_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("lines");

    QTest::newRow("failed") << QStringList{u"exit"_s, u"3"_s}
                            << QByteArray{"jobstatus=failed\njobexitcode=3\n"};
    QTest::newRow("killed") << QStringList{u"wait"_s} << QByteArray{"jobstatus=killed\njobexitcode="};
}

void TestJobNotification::TellsTheClientHowItsJobEnded()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, lines);
    Taskmill_SetRunMode(Taskmill_RunMode::Console);
    const QTemporaryDir directory;
    const auto inspector = Taskmill_MakeSystemProcessInspector();
    Client client;
    Taskmill_JobRecord record = MakeTestJob(1, directory.path(), arguments);
    record.ClientName = u"me"_s;
    record.ClientAppName = u"TaskmillGUI"_s;
    record.ClientAddress = u"localhost"_s;
    record.ClientPort = client.Port();
    record.ClientNotification = true;
    Taskmill_Job job{record};
    const QSignalSpy finished{&job, &Taskmill_Job::JobFinishedSignal};
    QVERIFY(job.Start());
    if (arguments.first() == u"wait"_s)
        QVERIFY(job.Kill(*inspector));
    QTRY_COMPARE(finished.size(), 1);

    const QByteArray message = client.ReadMessage();
    QVERIFY2(message.startsWith("servername=TaskmillConsole\nclientname=me\n"), message);
    QVERIFY2(message.contains("\naction=jobfinished\n" + lines), message);
    QVERIFY(!client.IsCalled());
}

void TestJobNotification::StartsTheNextJobFirst()
{
    const QTemporaryDir directory;
    const auto inspector = Taskmill_MakeSystemProcessInspector();
    Client client;
    Taskmill_JobRecord first = MakeTestJob(1, directory.path(), {u"exit"_s, u"0"_s});
    first.ClientName = u"me"_s;
    first.ClientAppName = u"Client"_s;
    first.ClientAddress = u"localhost"_s;
    first.ClientPort = client.Port();
    first.ClientNotification = true;

    FakeJobStore store;
    RecordingFinishedJobsTaker finished;
    Taskmill_ShortJobsQueue queue{store, finished, *inspector};
    queue.AddAll({first, MakeTestJob(2, directory.path(), {u"wait"_s})});
    bool calledTooEarly = false;
    connect(&queue, &Taskmill_JobQueue::QueueUpdatedSignal, &queue, [&] {
        if (queue.JobAt(1)->Status() == Taskmill_JobStatus::Running)
            calledTooEarly = client.IsCalled();
    });
    QTRY_COMPARE(queue.JobAt(1)->Status(), Taskmill_JobStatus::Running);
    QVERIFY(!calledTooEarly);
    QVERIFY(client.ReadMessage().contains("jobstatus=completed"));
}

QTEST_GUILESS_MAIN(TestJobNotification)
#include "test_jobnotification.moc"
