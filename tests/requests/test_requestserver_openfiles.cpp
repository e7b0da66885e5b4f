// SPDX-License-Identifier: MIT
#include "requests/requestserver.h"

#include <QRegularExpression>
#include <QTcpSocket>
#include <QtTest>

#include <sys/resource.h>
#include <unistd.h>

class TestRequestServerOpenFiles : public QObject, public Taskmill_RequestHandler
{
    Q_OBJECT

public:
    QByteArray HandleRequest(const Taskmill_RequestMessage &) override { return "served"; }

private Q_SLOTS:
    void ServesAgainWhenFilesAreFree()
    {
        Taskmill_RequestServer server{*this};
        QVERIFY(server.Listen(0));
        QTcpSocket client;
        client.connectToHost(QHostAddress{QHostAddress::LocalHost}, server.Port());
        QVERIFY(client.waitForConnected());

        rlimit before{};
        getrlimit(RLIMIT_NOFILE, &before);
        const int lowestFree = dup(STDERR_FILENO);
        close(lowestFree);
        rlimit limit = before;
        limit.rlim_cur = static_cast<rlim_t>(lowestFree);
        setrlimit(RLIMIT_NOFILE, &limit);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression{QStringLiteral("^Cannot accept")});
        QCoreApplication::processEvents();
        setrlimit(RLIMIT_NOFILE, &before);

        client.write("action=x\nclientreply=yes\n");
        QTRY_COMPARE(client.state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(client.readAll(), "served");
    }
};

QTEST_GUILESS_MAIN(TestRequestServerOpenFiles)
#include "test_requestserver_openfiles.moc"
