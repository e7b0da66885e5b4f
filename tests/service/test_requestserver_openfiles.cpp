#include "service/requestserver.h"

#include "support/testutil.h"

#include <QRegularExpression>
#include <QTcpSocket>
#include <QtTest>

#include <sys/resource.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {
class CountingHandler final : public Taskmill_RequestHandler
{
public:
    int Count = 0;

    QByteArray HandleRequest(const Taskmill_RequestMessage &) override
    {
        ++Count;
        return {};
    }
};

/// While it lives, the process can open no further file.
class NoMoreFiles
{
public:
    NoMoreFiles()
    {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const int lowestFree = dup(STDERR_FILENO);
        close(lowestFree);
        rlimit limit = m_before;
        limit.rlim_cur = static_cast<rlim_t>(lowestFree);
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    ~NoMoreFiles() { setrlimit(RLIMIT_NOFILE, &m_before); }
    Q_DISABLE_COPY_MOVE(NoMoreFiles)

private:
    rlimit m_before{};
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
    CountingHandler handler;
    Taskmill_RequestServer server{handler};
    QVERIFY(server.Listen(0));
    QTcpSocket waiting;
    waiting.connectToHost(QHostAddress{QHostAddress::LocalHost}, server.Port());
    QVERIFY(waiting.waitForConnected());
    {
        const NoMoreFiles limit;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression{u"^Cannot accept a connection"_s});
        QCoreApplication::processEvents();
    }
    waiting.write("action=show\nclientreply=yes\n");
    QTRY_COMPARE(handler.Count, 1);

    QTcpSocket client;
    client.connectToHost(QHostAddress{QHostAddress::LocalHost}, server.Port());
    QVERIFY(client.waitForConnected());
    client.write("action=show\nclientreply=yes\n");
    QTRY_COMPARE(handler.Count, 2);
}

QTEST_GUILESS_MAIN(TestRequestServerOpenFiles)
#include "test_requestserver_openfiles.moc"
