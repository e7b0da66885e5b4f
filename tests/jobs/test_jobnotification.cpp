#include "fakejobstore.h"
#include "jobs/jobnotification.h"
#include "jobs/jobqueue.h"
#include "jobs/processinspector.h"
#include "jobs/runmode.h"
#include "support/jobfakes.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {
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

/// A job that runs the test program for that client.
Taskmill_JobRecord MakeJobOf(const Client &client, const QString &directory, const QStringList &arguments)
{
    Taskmill_JobRecord job = MakeTestJob(1, directory, arguments);
    job.ClientName = u"me"_s;
    job.ClientAppName = u"TaskmillGUI"_s;
    job.ClientAddress = u"localhost"_s;
    job.ClientPort = client.Port();
    job.ClientNotification = true;
    return job;
}

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
    void WritesMessage();
    void KnowsWhoWantsIt();
    void Sends();
    void SendsNothing_data();
    void SendsNothing();
    void TellsTheClientHowItsJobEnded_data();
    void TellsTheClientHowItsJobEnded();
    void StartsTheNextJobFirst();
};

void TestJobNotification::init()
{
    FailOnQtWarnings();
    Taskmill_SetRunMode(Taskmill_RunMode::Gui);
}

void TestJobNotification::WritesMessage()
{
    const auto messageOf = [](const Taskmill_JobRecord &record) {
        return Taskmill_JobFinishedMessage(record, 0, u"TaskmillGUI"_s);
    };
    Taskmill_JobRecord job = MakeClientJob();
    QCOMPARE(messageOf(job), QByteArray{eighteenLines});
    job.InputFilePath2 = u"/W/2"_s;
    job.StandardInputFile = u"/W/I"_s;
    job.StandardOutputFile = u"/W/O"_s;
    job.CheckpointFile2 = u"/W/B.chk"_s;
    const QByteArray otherFiles = QByteArray{eighteenLines}
                                      .replace("file2=", "file2=/W/2")
                                      .replace("inputfile=\n", "inputfile=/W/I\n")
                                      .append("/W/O");
    QCOMPARE(messageOf(job), otherFiles + "\njobchkfile1=/W/B.chk");
    job.CheckpointFile = u"/W/A.chk"_s;
    QCOMPARE(messageOf(job), otherFiles + "\njobchkfile=/W/A.chk\njobchkfile1=/W/B.chk");
}

void TestJobNotification::KnowsWhoWantsIt()
{
    const auto isWantedWith = [](auto member, const auto &value) {
        Taskmill_JobRecord job = MakeClientJob();
        job.*member = value;
        return Taskmill_WantsNotification(job, u"TaskmillGUI"_s);
    };
    QVERIFY(isWantedWith(&Taskmill_JobRecord::ClientAppName, u"taskmillgui"_s));
    QVERIFY(!isWantedWith(&Taskmill_JobRecord::ClientAppName, u"TaskmillGUI"_s));
    QVERIFY(!isWantedWith(&Taskmill_JobRecord::ClientAppName, QString{}));
    QVERIFY(!isWantedWith(&Taskmill_JobRecord::ClientName, QString{}));
    QVERIFY(!isWantedWith(&Taskmill_JobRecord::ClientAddress, QString{}));
    QVERIFY(!isWantedWith(&Taskmill_JobRecord::ClientNotification, false));
}

void TestJobNotification::Sends()
{
    Client client;
    for (const QByteArray &message : {QByteArray{"a=1\nb="}, QByteArray{50'000, 'x'}}) {
        QVERIFY(Taskmill_SendMessage(u"LocalHost"_s, client.Port(), message));
        QCOMPARE(client.ReadMessage(), message);
    }
}

void TestJobNotification::SendsNothing_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("port");

    QTest::newRow("nobody listens") << u"127.0.0.1"_s << UnusedPort();
    QTest::newRow("name of a host") << u"host.invalid"_s << 80;
    QTest::newRow("number out of range") << u"127.0.0.256"_s << 80;
}

void TestJobNotification::SendsNothing()
{
    QFETCH(QString, address);
    QFETCH(int, port);
    QVERIFY(!Taskmill_SendMessage(address, port, "x"));

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
    Taskmill_Job job{MakeJobOf(client, directory.path(), arguments)};
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
    Taskmill_JobRecord first = MakeJobOf(client, directory.path(), {u"exit"_s, u"0"_s});
    first.ClientAppName = u"Client"_s;

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
