// SPDX-License-Identifier: MIT
#include "requests/notificationsender.h"

#include <QTcpServer>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

/// Sending of the messages about ended jobs.
class TestNotificationSender : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void UselessAddressesAreRefused()
    {
        Taskmill_NotificationSender sender;
        QTcpServer client;
        QVERIFY(client.listen(QHostAddress::LocalHost));
        const int port = client.serverPort();
        QVERIFY(!sender.Send(u"host.invalid"_s, port, "x"));
        // Both become the client's port when all but 16 bits are lost.
        QVERIFY(!sender.Send(u"localhost"_s, port + 65'536, "x"));
        QVERIFY(!sender.Send(u"localhost"_s, port - 65'536, "x"));
        QVERIFY(!client.waitForNewConnection(0));
        client.close();
        QVERIFY(!sender.Send(u"localhost"_s, port, "x"));
    }
};

QTEST_GUILESS_MAIN(TestNotificationSender)
#include "test_notificationsender.moc"
