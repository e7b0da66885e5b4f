#include "service/requestconnection.h"

#include "support/testutil.h"

#include <QPointer>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Limits under which time decides nothing.
constexpr Taskmill_RequestLimits patient{.SilenceMs = 3'600'000, .QuietMs = 3'600'000};
} // namespace

class TestRequestConnection : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void SegmentsMakeOneMessage();
    void CompleteWhenNothingMoreComes();
    void CompleteAtTheLineThatAsksForAReply();
    void ClientThatClosesAtOnceSentNothing();
    void SilentClientIsDropped();
    void UnreadBytesBelongToTheMessage();
    void BoundOfTheSize_data();
    void BoundOfTheSize();
    void AnswerReachesTheClient();
    void CloseOutlivesTheClient();

private:
    void Connect(const Taskmill_RequestLimits &limits);
    void Send(const QByteArray &bytes);

    std::unique_ptr<QTcpServer> m_server;
    std::unique_ptr<QTcpSocket> m_client;
    QPointer<Taskmill_RequestConnection> m_connection;
    std::unique_ptr<QSignalSpy> m_completed;
    std::unique_ptr<QSignalSpy> m_dropped;
};

void TestRequestConnection::init()
{
    FailOnQtWarnings();
    m_server = std::make_unique<QTcpServer>();
    QVERIFY(m_server->listen(QHostAddress::LocalHost));
    m_client = std::make_unique<QTcpSocket>();
}

void TestRequestConnection::cleanup()
{
    delete m_connection;
    m_completed.reset();
    m_dropped.reset();
    m_client.reset();
    m_server.reset();
}

void TestRequestConnection::Connect(const Taskmill_RequestLimits &limits)
{
    m_client->connectToHost(m_server->serverAddress(), m_server->serverPort());
    QTRY_VERIFY(m_server->hasPendingConnections());
    m_connection = new Taskmill_RequestConnection{m_server->nextPendingConnection(), limits, m_server.get()};
    m_completed =
        std::make_unique<QSignalSpy>(m_connection.data(), &Taskmill_RequestConnection::CompletedSignal);
    m_dropped = std::make_unique<QSignalSpy>(m_connection.data(), &Taskmill_RequestConnection::DroppedSignal);
}

void TestRequestConnection::Send(const QByteArray &bytes)
{
    m_client->write(bytes);
    while (m_client->bytesToWrite() > 0)
        QVERIFY(m_client->waitForBytesWritten());
}

void TestRequestConnection::SegmentsMakeOneMessage()
{
    Connect(patient);
    // Cut within a key, and within a character.
    const QByteArrayList segments{"act", "ion=submitjob\njobname=M\xc3", "\xbcller\n"};
    QByteArray sent;
    for (const QByteArray &segment : segments) {
        Send(segment);
        sent += segment;
        QTRY_COMPARE(m_connection->Bytes(), sent);
        QVERIFY(!m_connection->IsComplete());
    }
    m_client->disconnectFromHost();
    QTRY_COMPARE(m_completed->size(), 1);
    QCOMPARE(m_connection->Bytes(), sent);
}

void TestRequestConnection::CompleteWhenNothingMoreComes()
{
    Connect({.SilenceMs = 3'600'000, .QuietMs = 20});
    Send("action=show");
    QTRY_COMPARE(m_completed->size(), 1);
    QCOMPARE(m_client->state(), QAbstractSocket::ConnectedState);
    QCOMPARE(m_connection->Bytes(), "action=show");
    // What comes behind the message belongs to nothing, and the end of the client is no second message.
    Send("\naction=hide");
    m_client->abort();
    QTRY_COMPARE(m_connection->findChild<QTcpSocket *>()->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(m_connection->Bytes(), "action=show");
    QCOMPARE(m_completed->size(), 1);
}

void TestRequestConnection::CompleteAtTheLineThatAsksForAReply()
{
    Connect(patient);
    Send("action=show\nclientreply=y");
    QTRY_VERIFY(!m_connection->Bytes().isEmpty());
    QVERIFY(!m_connection->IsComplete());
    Send("es\n");
    QTRY_COMPARE(m_completed->size(), 1);
}

void TestRequestConnection::ClientThatClosesAtOnceSentNothing()
{
    Connect(patient);
    m_client->abort();
    QTRY_COMPARE(m_completed->size(), 1);
    QVERIFY(m_connection->Bytes().isEmpty());
}

void TestRequestConnection::SilentClientIsDropped()
{
    Connect({.SilenceMs = 20, .QuietMs = 3'600'000});
    QTRY_VERIFY(!m_connection);
    QCOMPARE(m_dropped->size(), 1);
    QCOMPARE(m_completed->size(), 0);
    QTRY_COMPARE(m_client->state(), QAbstractSocket::UnconnectedState);
}

void TestRequestConnection::UnreadBytesBelongToTheMessage()
{
    Connect(patient);
    Send("action=submitjob\n");
    QTRY_VERIFY(!m_connection->Bytes().isEmpty());
    // The program is busy, more arrives meanwhile, and then the time is up before anybody has read it.
    Send("jobname=late\n");
    QVERIFY(QMetaObject::invokeMethod(m_connection, "TimeoutSlot"));
    QVERIFY(!m_connection->IsComplete());
    QCOMPARE(m_connection->Bytes(), "action=submitjob\njobname=late\n");
    QVERIFY(QMetaObject::invokeMethod(m_connection, "TimeoutSlot"));
    QCOMPARE(m_completed->size(), 1);
}

void TestRequestConnection::BoundOfTheSize_data()
{
    QTest::addColumn<qsizetype>("size");
    QTest::addColumn<bool>("accepted");
    constexpr qsizetype mebibyte = 1'048'576;
    QTest::newRow("1 MiB") << mebibyte << true;
    QTest::newRow("one byte more") << mebibyte + 1 << false;
}

void TestRequestConnection::BoundOfTheSize()
{
    QFETCH(const qsizetype, size);
    QFETCH(const bool, accepted);
    if (!accepted)
        QTest::ignoreMessage(QtWarningMsg, "A message of more than 1048576 bytes is dropped");
    Connect(patient);
    // The connection reads while the client writes, for the system does not hold all of it.
    m_client->write(QByteArray(size, 'x'));
    m_client->disconnectFromHost();
    if (accepted) {
        QTRY_COMPARE(m_completed->size(), 1);
        QCOMPARE(m_connection->Bytes().size(), size);
    } else {
        QTRY_VERIFY(!m_connection);
        QCOMPARE(m_dropped->size(), 1);
        QCOMPARE(m_completed->size(), 0);
    }
    QTRY_COMPARE(m_client->state(), QAbstractSocket::UnconnectedState);
}

void TestRequestConnection::AnswerReachesTheClient()
{
    Connect(patient);
    Send("action=x\nclientreply=yes\n");
    QTRY_COMPARE(m_completed->size(), 1);
    m_connection->Close("accepted=1\n");
    QTRY_COMPARE(m_client->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(m_client->readAll(), "accepted=1\n");
    QTRY_VERIFY(!m_connection);
}

void TestRequestConnection::CloseOutlivesTheClient()
{
    Connect(patient);
    Send("action=x\nclientreply=yes\n");
    QTRY_COMPARE(m_completed->size(), 1);
    m_client->abort();
    QTRY_COMPARE(m_connection->findChild<QTcpSocket *>()->state(), QAbstractSocket::UnconnectedState);
    m_connection->Close("accepted=1\n");
    QTRY_VERIFY(!m_connection);
}

QTEST_GUILESS_MAIN(TestRequestConnection)
#include "test_requestconnection.moc"
