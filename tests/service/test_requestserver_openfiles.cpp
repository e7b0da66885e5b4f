#include "service/requestserver.h"

#include <QRegularExpression>
#include <QTcpSocket>
#include <QtTest>

#include <sys/resource.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {
struct EchoingHandler final : Taskmill_RequestHandler
{
    QByteArray HandleRequest(const Taskmill_RequestMessage &request) override
    {
        return request.JobName.toUtf8();
    }
};
} // namespace

class TestRequestServerOpenFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ServesAgainWhenFilesAreFree();
};

void TestRequestServerOpenFiles::ServesAgainWhenFilesAreFree()
{
    EchoingHandler handler;
    Taskmill_RequestServer server{handler};
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
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression{u"^Cannot accept a connection"_s});
    QCoreApplication::processEvents();
    setrlimit(RLIMIT_NOFILE, &before);

    client.write("action=x\njobname=served\nclientreply=yes\n");
    QTRY_COMPARE(client.state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(client.readAll(), "served");
}

QTEST_GUILESS_MAIN(TestRequestServerOpenFiles)
#include "test_requestserver_openfiles.moc"
