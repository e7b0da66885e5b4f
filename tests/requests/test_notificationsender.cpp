// SPDX-License-Identifier: MIT
#include "requests/notificationsender.h"

#include "jobs/jobnotification.h"
#include "support/testcase.h"
#include "wire/socket.h"

#include <QTcpServer>
#include <QTcpSocket>

#ifdef Q_OS_UNIX
#include "support/blackhole.h"
#endif

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

using Outcome = Taskmill_Notifier::Outcome;

/// Real sockets of this computer.
class TestNotificationSender : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init() override
    {
        TestCase::init();
        m_outcomes.clear();
        m_server = std::make_unique<QTcpServer>();
        QVERIFY(m_server->listen(QHostAddress::LocalHost));
    }

    void BringsLongMessagesWhole()
    {
        Taskmill_NotificationSender sender;
        // More than the system takes from a program at once.
        const QByteArray message(8'000'000, 'm');
        Send(sender, u"LocalHost"_s, m_server->serverPort(), message);
        QTRY_VERIFY(m_server->hasPendingConnections());
        QTcpSocket *client = m_server->nextPendingConnection();
        QTRY_COMPARE(client->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(client->readAll(), message);
        QTRY_COMPARE(m_outcomes, QList{Outcome::Delivered});
    }

    void SortsOutWhatCannotBeDelivered_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<int>("offset"); // from the port of the server
        QTest::addColumn<bool>("listens");
        QTest::addColumn<Outcome>("outcome");
        QTest::newRow("nobody listens") << u"localhost"_s << 0 << false << Outcome::Failed;
        QTest::newRow("a name") << u"host.invalid"_s << 0 << true << Outcome::Useless;
        // Both become the server's port when all but 16 bits are lost.
        QTest::newRow("a large port") << u"localhost"_s << 65'536 << true << Outcome::Useless;
        QTest::newRow("a negative port") << u"localhost"_s << -65'536 << true << Outcome::Useless;
    }

    void SortsOutWhatCannotBeDelivered()
    {
        QFETCH(QString, address);
        QFETCH(int, offset);
        QFETCH(bool, listens);
        QFETCH(Outcome, outcome);
        const int port = m_server->serverPort() + offset;
        if (!listens)
            m_server->close();
        Taskmill_NotificationSender sender;
        Send(sender, address, port);
        QVERIFY(m_outcomes.isEmpty());
        QTRY_COMPARE(m_outcomes, QList{outcome});
        QVERIFY(!m_server->hasPendingConnections());
    }

    void SendsToThisUserOnly_data()
    {
        QTest::addColumn<Taskmill_PeerUser>("user");
        QTest::addColumn<bool>("admits");
        QTest::addColumn<Outcome>("outcome");
        QTest::newRow("this user") << Taskmill_PeerUser::This << false << Outcome::Delivered;
        QTest::newRow("another user") << Taskmill_PeerUser::Other << true << Outcome::Failed;
        QTest::newRow("unknown, others about") << Taskmill_PeerUser::Unknown << false << Outcome::Failed;
        QTest::newRow("unknown, nobody else about")
            << Taskmill_PeerUser::Unknown << true << Outcome::Delivered;
    }

    void SendsToThisUserOnly()
    {
        QFETCH(Taskmill_PeerUser, user);
        QFETCH(bool, admits);
        QFETCH(Outcome, outcome);
        Taskmill_NotificationSender sender{{.UserOf = [user](auto) { return user; },
                                            .AdmitsUnknown =
                                                [admits] {
                                                    return admits;
                                                }}};
        Send(sender, u"127.0.0.1"_s, m_server->serverPort());
        QTRY_COMPARE(m_outcomes, QList{outcome});
        QTRY_VERIFY(m_server->hasPendingConnections());
        QTcpSocket *client = m_server->nextPendingConnection();
        QTRY_COMPARE(client->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(client->readAll(), outcome == Outcome::Delivered ? "x" : "");
    }

#ifdef Q_OS_LINUX
    void SeesWhoseServerItIs_data()
    {
        QTest::addColumn<bool>("isAccepted");
        QTest::addColumn<bool>("listens");
        QTest::newRow("listens") << false << true;
        QTest::newRow("has accepted") << true << true;
        QTest::newRow("has accepted and listens no more") << true << false;
    }

    void SeesWhoseServerItIs()
    {
        QFETCH(bool, isAccepted);
        QFETCH(bool, listens);
        Taskmill_Socket server = Taskmill_Socket::Listen();
        const Taskmill_Socket client = Taskmill_Socket::Connect(server.LocalPort(), 1000);
        const Taskmill_Socket accepted = isAccepted ? server.Accept() : Taskmill_Socket{};
        QVERIFY(accepted.IsOpen() == isAccepted);
        if (!listens)
            server.Close();
        QCOMPARE(Taskmill_UserOfServer(client.Get()), Taskmill_PeerUser::This);
    }
#endif

#ifdef Q_OS_UNIX
    void BlackHoleHoldsUpNobody()
    {
        const BlackHole hole;
        Taskmill_NotificationSender sender;
        Send(sender, u"127.0.0.1"_s, hole.Port());
        Send(sender, u"127.0.0.1"_s, m_server->serverPort());
        QTRY_COMPARE(m_outcomes, QList{Outcome::Delivered});
        sender.Abort();
        Taskmill_NotificationSender impatient{{.Wait = 1ms}};
        Send(impatient, u"127.0.0.1"_s, hole.Port());
        QTRY_COMPARE(m_outcomes, (QList{Outcome::Delivered, Outcome::Failed}));
    }
#endif

private:
    void Send(Taskmill_NotificationSender &sender, const QString &address, int port,
              const QByteArray &message = "x")
    {
        sender.Send({.Address = address, .Port = port, .Message = message}, 1h,
                    [this](Outcome outcome, const QString &) { m_outcomes += outcome; });
    }

    QList<Outcome> m_outcomes;
    std::unique_ptr<QTcpServer> m_server;
};

QTEST_GUILESS_MAIN(TestNotificationSender)
#include "test_notificationsender.moc"
