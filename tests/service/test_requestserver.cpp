#include "service/instanceprobe.h"
#include "service/requestserver.h"

#include "support/testutil.h"

#include <QRegularExpression>
#include <QTcpSocket>
#include <QtTest>

#include <functional>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr Taskmill_RequestLimits patient{.SilenceMs = 3'600'000, .QuietMs = 3'600'000, .MaxConnections = 500};

/// Answers every request and remembers the job names, which tell the messages of a test apart.
class RecordingHandler final : public Taskmill_RequestHandler
{
public:
    QStringList Handled;
    std::function<void(const QString &name)> WhileHandling;
    QString NotYet; ///< name of a job that cannot be taken

    [[nodiscard]] bool CanHandleNow(const Taskmill_RequestMessage &request) const override
    {
        return request.JobName.isEmpty() || request.JobName != NotYet;
    }

    QByteArray HandleRequest(const Taskmill_RequestMessage &request) override
    {
        Handled.append(request.JobName);
        if (WhileHandling)
            WhileHandling(request.JobName);
        return "accepted=" + request.JobName.toUtf8() + '\n';
    }
};

QByteArray Message(const QByteArray &name)
{
    return "action=submitjob\nclientname=Editor\njobname=" + name + '\n';
}
} // namespace

class TestRequestServer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void ActionsThatAreHandedOn_data();
    void ActionsThatAreHandedOn();
    void AnswerOnlyForWhoAsked();
    void IdleClientsStopNobody();
    void TooManyClientsCostTheSilentOne();
    void BusyClientsMakeOthersWait();
    void WaitsForTheMessageBeforeIt();
    void WaitsForTheHandlerInOrder();
    void AnswersWhileTheNextIsHandled();
    void ClientGoesWhileItsMessageIsHandled();
    void CloseEndsEveryConnection();
    void TakenPortIsRefused();
    void ProbeFindsAListener();

private:
    using Client = std::unique_ptr<QTcpSocket>;
    [[nodiscard]] Client Connect() const;
    /// Sends the message and closes, as most clients do.
    void Submit(const QByteArray &message) const;
    [[nodiscard]] qsizetype CompleteCount() const;

    RecordingHandler m_handler;
    std::unique_ptr<Taskmill_RequestServer> m_server;
};

void TestRequestServer::init()
{
    FailOnQtWarnings();
    m_handler = {};
    m_server = std::make_unique<Taskmill_RequestServer>(m_handler, patient);
    QVERIFY(m_server->Listen(0));
}

void TestRequestServer::cleanup()
{
    m_server.reset();
}

TestRequestServer::Client TestRequestServer::Connect() const
{
    auto client = std::make_unique<QTcpSocket>();
    client->connectToHost(QHostAddress{QHostAddress::LocalHost}, m_server->Port());
    if (!client->waitForConnected())
        qFatal("the server does not listen");
    return client;
}

void TestRequestServer::Submit(const QByteArray &message) const
{
    const Client client = Connect();
    client->write(message);
    client->disconnectFromHost();
    if (client->state() != QAbstractSocket::UnconnectedState)
        client->waitForDisconnected();
}

qsizetype TestRequestServer::CompleteCount() const
{
    const auto connections = m_server->findChildren<Taskmill_RequestConnection *>();
    return std::ranges::count_if(connections, &Taskmill_RequestConnection::IsComplete);
}

void TestRequestServer::ActionsThatAreHandedOn_data()
{
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<bool>("handedOn");
    QTest::newRow("submission") << "action=submitjob\nclientname=Editor\n"_ba << true;
    QTest::newRow("any case") << "ACTION=Show\nclientname=Editor\n"_ba << true;
    QTest::newRow("unknown word") << "action=frobnicate\nclientname=Editor\n"_ba << true;
    QTest::newRow("test") << "clientname=Editor\naction=Test"_ba << false;
    QTest::newRow("empty action") << "clientname=Editor\naction=\n"_ba << false;
    QTest::newRow("no action") << "clientname=Editor\n"_ba << false;
    QTest::newRow("nothing") << ""_ba << false;
    QTest::newRow("garbage") << "\xff\x00\n\n=\n@"_ba << false;
}

void TestRequestServer::ActionsThatAreHandedOn()
{
    QFETCH(const QByteArray, message);
    QFETCH(const bool, handedOn);
    Submit(message);
    Submit("action=x\nclientname=Last\njobname=last");
    QTRY_VERIFY(m_handler.Handled.contains(u"last"_s));
    QCOMPARE(m_handler.Handled.size(), handedOn ? 2 : 1);
    QCOMPARE(m_server->KnownClients().contains(u"Editor"_s), handedOn);
    QVERIFY(m_server->KnownClients().contains(u"Last"_s));
}

void TestRequestServer::AnswerOnlyForWhoAsked()
{
    const Client asking = Connect();
    asking->write(Message("a") + "clientreply=yes\n");
    QTRY_COMPARE(asking->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(asking->readAll(), "accepted=a\n");

    m_server = std::make_unique<Taskmill_RequestServer>(
        m_handler, Taskmill_RequestLimits{.SilenceMs = 3'600'000, .QuietMs = 10});
    QVERIFY(m_server->Listen(0));
    const Client silent = Connect();
    silent->write(Message("b"));
    QTRY_COMPARE(silent->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(silent->readAll(), QByteArray{});
    QCOMPARE(m_handler.Handled, (QStringList{u"a"_s, u"b"_s}));
}

void TestRequestServer::IdleClientsStopNobody()
{
    std::vector<Client> idle{300};
    for (Client &client : idle)
        client = Connect();
    idle.front()->write("action=submit");
    QTRY_COMPARE(m_server->findChildren<Taskmill_RequestConnection *>().size(), qsizetype(idle.size()));
    Submit(Message("a"));
    QTRY_COMPARE(m_handler.Handled, QStringList{u"a"_s});
    for (const Client &client : idle)
        QCOMPARE(client->state(), QAbstractSocket::ConnectedState);
}

void TestRequestServer::TooManyClientsCostTheSilentOne()
{
    Taskmill_RequestLimits limits = patient;
    limits.MaxConnections = 3;
    m_server = std::make_unique<Taskmill_RequestServer>(m_handler, limits);
    QVERIFY(m_server->Listen(0));
    QTest::ignoreMessage(QtWarningMsg, "Too many open connections: a silent one is dropped");

    const Client writing = Connect();
    writing->write("action=submitjob\njobname=writing\n");
    QTRY_VERIFY(m_server->findChild<Taskmill_RequestConnection *>() &&
                !m_server->findChild<Taskmill_RequestConnection *>()->Bytes().isEmpty());
    const Client silent = Connect();
    const Client later = Connect();
    QTRY_COMPARE(m_server->findChildren<Taskmill_RequestConnection *>().size(), 3);
    Submit(Message("one more"));
    QTRY_COMPARE(silent->state(), QAbstractSocket::UnconnectedState);
    writing->disconnectFromHost();
    QTRY_COMPARE(m_handler.Handled, (QStringList{u"one more"_s, u"writing"_s}));
    QCOMPARE(later->state(), QAbstractSocket::ConnectedState);
}

void TestRequestServer::BusyClientsMakeOthersWait()
{
    Taskmill_RequestLimits limits = patient;
    limits.MaxConnections = 1;
    m_server = std::make_unique<Taskmill_RequestServer>(m_handler, limits);
    QVERIFY(m_server->Listen(0));
    const Client writing = Connect();
    writing->write("action=submitjob\njobname=writing\n");
    QTRY_VERIFY(m_server->findChild<Taskmill_RequestConnection *>() &&
                !m_server->findChild<Taskmill_RequestConnection *>()->Bytes().isEmpty());
    for (const QByteArray &name : {"a"_ba, "b"_ba, "c"_ba})
        Submit(Message(name));
    writing->disconnectFromHost();
    QTRY_COMPARE(m_handler.Handled, (QStringList{u"writing"_s, u"a"_s, u"b"_s, u"c"_s}));
}

void TestRequestServer::WaitsForTheMessageBeforeIt()
{
    const Client second = Connect();
    const Client third = Connect();
    QStringList handledMeanwhile;
    m_handler.WhileHandling = [&](const QString &name) {
        if (name != "first"_L1)
            return;
        // As a dialog does, the handler runs an event loop. The message that is complete first is next.
        third->write(Message("third"));
        third->disconnectFromHost();
        QTRY_COMPARE(CompleteCount(), 2);
        second->write(Message("second") + "clientreply=yes\n");
        QTRY_COMPARE(CompleteCount(), 3);
        // A message that is told of now has to wait too.
        m_server->NewConnectionToServerSlot();
        handledMeanwhile = m_handler.Handled;
    };
    Submit(Message("first"));
    QTRY_COMPARE(m_handler.Handled, (QStringList{u"first"_s, u"third"_s, u"second"_s}));
    QCOMPARE(handledMeanwhile, QStringList{u"first"_s});
    QTRY_COMPARE(second->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(second->readAll(), "accepted=second\n");
}

void TestRequestServer::WaitsForTheHandlerInOrder()
{
    m_handler.NotYet = u"asks"_s;
    Submit(Message("first"));
    Submit(Message("asks"));
    Submit(Message("last"));
    QTRY_COMPARE(CompleteCount(), 2);
    m_server->NewConnectionToServerSlot();
    QCOMPARE(m_handler.Handled, QStringList{u"first"_s});
    m_handler.NotYet.clear();
    QTRY_COMPARE(m_handler.Handled, (QStringList{u"first"_s, u"asks"_s, u"last"_s}));
}

void TestRequestServer::AnswersWhileTheNextIsHandled()
{
    const Client first = Connect();
    m_handler.WhileHandling = [&](const QString &name) {
        if (name == "first"_L1) {
            Submit(Message("second"));
            QTRY_COMPARE(CompleteCount(), 2);
            return;
        }
        // The first's connection comes to its end, and is destroyed, while this loop runs.
        QTRY_COMPARE(first->state(), QAbstractSocket::UnconnectedState);
        QTRY_COMPARE(m_server->findChildren<Taskmill_RequestConnection *>().size(), 1);
    };
    first->write(Message("first") + "clientreply=yes\n");
    QTRY_COMPARE(m_handler.Handled, (QStringList{u"first"_s, u"second"_s}));
    QCOMPARE(first->readAll(), "accepted=first\n");
}

void TestRequestServer::ClientGoesWhileItsMessageIsHandled()
{
    Client client = Connect();
    m_handler.WhileHandling = [&](const QString &) {
        client->abort();
        const auto *connection = m_server->findChild<Taskmill_RequestConnection *>();
        QTRY_COMPARE(connection->findChild<QTcpSocket *>()->state(), QAbstractSocket::UnconnectedState);
    };
    client->write(Message("a") + "clientreply=yes\n");
    QTRY_COMPARE(m_handler.Handled, QStringList{u"a"_s});
    QTRY_VERIFY(!m_server->findChild<Taskmill_RequestConnection *>());

    m_handler.WhileHandling = nullptr;
    Submit(Message("b"));
    QTRY_COMPARE(m_handler.Handled.size(), 2);
}

void TestRequestServer::CloseEndsEveryConnection()
{
    const Client idle = Connect();
    const Client waiting = Connect();
    m_handler.WhileHandling = [&](const QString &) {
        waiting->write(Message("waiting") + "clientreply=yes\n");
        QTRY_COMPARE(CompleteCount(), 2);
        m_server->Close();
    };
    Submit(Message("last"));
    QTRY_COMPARE(idle->state(), QAbstractSocket::UnconnectedState);
    QTRY_COMPARE(waiting->state(), QAbstractSocket::UnconnectedState);
    QTRY_VERIFY(!m_server->findChild<Taskmill_RequestConnection *>());
    QCOMPARE(m_handler.Handled, QStringList{u"last"_s});
}

void TestRequestServer::TakenPortIsRefused()
{
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression{u"^Cannot listen on port"_s});
    Taskmill_RequestServer second{m_handler, patient};
    QVERIFY(!second.Listen(m_server->Port()));
    Submit(Message("a"));
    QTRY_COMPARE(m_handler.Handled.size(), 1);
}

void TestRequestServer::ProbeFindsAListener()
{
    const quint16 port = m_server->Port();
    QVERIFY(Taskmill_IsManagerRunning(true, port));
    QVERIFY(Taskmill_IsManagerRunning(false, port));
    Submit(Message("a"));
    QTRY_COMPARE(m_handler.Handled, QStringList{u"a"_s});
    QCOMPARE(m_server->KnownClients(), QSet<QString>{u"Editor"_s});
    m_server->Close();
    QVERIFY(!Taskmill_IsManagerRunning(true, port));
}

QTEST_GUILESS_MAIN(TestRequestServer)
#include "test_requestserver.moc"
