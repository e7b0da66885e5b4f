// SPDX-License-Identifier: MIT
#include "requests/requestserver.h"

#include "requests/recordinghandler.h"
#include "support/testcase.h"

#include <QTcpSocket>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Time decides nothing.
constexpr int forEver = 3'600'000;

const QByteArray askForReply = "clientreply=yes\n";

QByteArray Message(const QByteArray &name)
{
    return "action=submitjob\njobname=" + name + '\n';
}
} // namespace

class TestRequestServer : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init() override
    {
        TestCase::init();
        m_handler = {};
        Listen({.SilenceMs = forEver, .QuietMs = forEver});
    }

    void cleanup() override
    {
        m_server.reset();
        TestCase::cleanup();
    }

    void ActionsAreHandedOn()
    {
        for (const QByteArray &message : {"clientname=Nobody\naction=Test"_ba,
                                          "clientname=Nobody\naction=\n"_ba, ""_ba, "\xff\x00\n\n=\n@"_ba})
            Submit(message);
        Submit("ACTION=Frobnicate\nclientname=Editor\njobname=last");
        QTRY_COMPARE(m_handler.Handled, QStringList{u"last"_s});
        QCOMPARE(m_server->KnownClients(), QSet<QString>{u"Editor"_s});
    }

    void MessageEndsWhereAReplyIsAskedForOrNothingFollows()
    {
        const Client asking = Connect(Message("a") + "clientreply=y");
        QTRY_COMPARE(BusyCount(), 1);
        QCOMPARE(CompleteCount(), 0);
        asking->write("es\n");
        QTRY_COMPARE(asking->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(asking->readAll(), "accepted=a\n");

        Listen({.SilenceMs = forEver, .QuietMs = 10});
        const Client quiet = Connect(Message("b"));
        QTRY_COMPARE(quiet->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(quiet->readAll(), QByteArray{});
        QCOMPARE(m_handler.Handled, (QStringList{u"a"_s, u"b"_s}));

        Listen({.SilenceMs = 20, .QuietMs = forEver});
        const Client silent = Connect();
        QTRY_COMPARE(silent->state(), QAbstractSocket::UnconnectedState);
        QTRY_VERIFY(Connections().isEmpty());
        QCOMPARE(m_handler.Handled.size(), 2);
    }

    void AMessageHasToEndSomeTime()
    {
        Listen({.SilenceMs = 20, .QuietMs = forEver});
        QTest::ignoreMessage(QtWarningMsg, "A message that does not end is dropped");
        const Client dripping = Connect("x");
        QTRY_VERIFY(dripping->write("x") != 1 || !dripping->flush() ||
                    dripping->state() == QAbstractSocket::UnconnectedState);
        QTRY_VERIFY(Connections().isEmpty());
        QVERIFY(m_handler.Handled.isEmpty());
    }

    void BrowsersAreNotServed()
    {
        for (int count = 0; count < 3; ++count)
            QTest::ignoreMessage(QtInfoMsg, "A request of a web browser is dropped");
        Submit("POST / HTTP/1.1\r\nHost: localhost\r\n\r\n" + Message("page"));
        Submit("GET /?action=submitjob HTTP/1.0");
        const Client page = Connect("OPTIONS * HTTP/1.1\n" + Message("page") + askForReply);
        QTRY_COMPARE(page->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(page->readAll(), QByteArray{});
        Submit(Message("last") + "title=GET / HTTP/1.1\n");
        QTRY_COMPARE(m_handler.Handled, QStringList{u"last"_s});
    }

    void WhatCannotWaitDoesNotWaitForAQuestion()
    {
        m_handler.WhileHandling = [&](const QString &) {
            m_handler.WhileHandling = nullptr;
            Submit("action=hide\njobname=hide");
            for (const char *action : {"Show", "quit", "killjob"}) {
                const Client asking = Connect("action="_ba + action + "\njobname=x\n" + askForReply);
                QTRY_COMPARE(asking->state(), QAbstractSocket::UnconnectedState);
                QVERIFY(asking->readAll().startsWith("refused=a question is open"));
            }
        };
        Submit(Message("question"));
        QTRY_COMPARE(m_handler.Handled, (QStringList{u"question"_s, u"hide"_s}));
    }

    void ReadsWhatCameWhileItWasBusy()
    {
        const Client client = Connect("action=submit");
        QTRY_COMPARE(BusyCount(), 1);
        // The time is up before anybody has read the rest.
        client->write("job\njobname=late\n");
        QVERIFY(client->waitForBytesWritten());
        QVERIFY(QMetaObject::invokeMethod(Connections().first(), "TimeoutSlot"));
        QCOMPARE(CompleteCount(), 0);
        QVERIFY(QMetaObject::invokeMethod(Connections().first(), "TimeoutSlot"));
        QTRY_COMPARE(m_handler.Handled, QStringList{u"late"_s});
    }

    void TakesAMebibyteAndNoMore()
    {
        const QByteArray longest = Message(QByteArray(1'048'576 - Message({}).size(), 'x'));
        const Client taken = Connect(longest);
        taken->disconnectFromHost();
        QTRY_COMPARE(m_handler.Handled.size(), 1);
        QCOMPARE(Message(m_handler.Handled.first().toLatin1()), longest);
        QTest::ignoreMessage(QtWarningMsg, "A message of more than 1048576 bytes is dropped");
        const Client dropped = Connect(longest + 'x');
        QTRY_COMPARE(dropped->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(m_handler.Handled.size(), 1);
    }

    void TooManyClientsCostTheSilentOneOrWait()
    {
        Listen({.SilenceMs = forEver, .QuietMs = forEver, .MaxConnections = 2});
        const Client writing = Connect(Message("writing"));
        QTRY_COMPARE(BusyCount(), 1);
        const Client silent = Connect();
        QTRY_COMPARE(Connections().size(), 2);
        QTest::ignoreMessage(QtWarningMsg, "Too many open connections: a silent one is dropped");
        const Client another = Connect(Message("another"));
        QTRY_COMPARE(silent->state(), QAbstractSocket::UnconnectedState);
        QTRY_COMPARE(BusyCount(), 2);
        for (const QByteArray &name : {"a"_ba, "b"_ba})
            Submit(Message(name));
        writing->disconnectFromHost();
        QTRY_COMPARE(m_handler.Handled, (QStringList{u"writing"_s, u"a"_s, u"b"_s}));
        QCOMPARE(another->state(), QAbstractSocket::ConnectedState);
    }

    /// Whether a client has closed before its connection is seen, or while it is open, or no more fit in.
    void EarlierMessagesComeFirst()
    {
        Listen({.SilenceMs = forEver, .QuietMs = forEver, .MaxConnections = 1, .MaxWaiting = 2});
        const Client writing = Connect(Message("0"));
        QTRY_COMPARE(BusyCount(), 1);
        writing->disconnectFromHost();
        QStringList expected{u"0"_s};
        for (int number = 1; number <= 9; ++number) {
            expected.append(QString::number(number));
            Submit(Message(QByteArray::number(number)));
        }
        QTRY_COMPARE(m_handler.Handled, expected);
    }

    void WaitsForTheMessageBeforeIt()
    {
        const Client first = Connect();
        const Client second = Connect();
        const Client third = Connect();
        m_handler.WhileHandling = [&](const QString &name) {
            // As a dialog does, the handler runs an event loop. The message that is complete first is next.
            if (name == "first"_L1) {
                third->write(Message("third"));
                third->disconnectFromHost();
                QTRY_COMPARE(CompleteCount(), 2);
                second->write(Message("second") + askForReply);
                QTRY_COMPARE(CompleteCount(), 3);
                // A message that comes now has to wait too.
                m_server->NewConnectionToServerSlot();
                QCOMPARE(m_handler.Handled, QStringList{u"first"_s});
            } else if (name == "third"_L1) {
                // The first has its answer, and its connection is destroyed, while this loop runs.
                QTRY_COMPARE(first->state(), QAbstractSocket::UnconnectedState);
                QTRY_COMPARE(Connections().size(), 2);
            }
        };
        first->write(Message("first") + askForReply);
        QTRY_COMPARE(m_handler.Handled, (QStringList{u"first"_s, u"third"_s, u"second"_s}));
        QTRY_COMPARE(second->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(first->readAll() + second->readAll(), "accepted=first\naccepted=second\n");
    }

    void ClientGoesWhileItsMessageIsHandled()
    {
        const Client client = Connect(Message("a") + askForReply);
        m_handler.WhileHandling = [&](const QString &) {
            client->abort();
        };
        QTRY_COMPARE(m_handler.Handled, QStringList{u"a"_s});
        QTRY_COMPARE(Connections().size(), 0);
        m_handler.WhileHandling = nullptr;
        Submit(Message("b"));
        QTRY_COMPARE(m_handler.Handled.size(), 2);
    }

private:
    using Client = std::unique_ptr<QTcpSocket>;

    void Listen(const Taskmill_RequestLimits &limits)
    {
        m_server = std::make_unique<Taskmill_RequestServer>(m_handler, limits);
        QVERIFY(m_server->Listen(0));
    }

    /// A client that has sent this and stays.
    [[nodiscard]] Client Connect(const QByteArray &message = {}) const
    {
        auto client = std::make_unique<QTcpSocket>();
        client->connectToHost(QHostAddress{QHostAddress::LocalHost}, m_server->Port());
        if (!client->waitForConnected())
            qFatal("the server does not listen");
        client->write(message);
        client->flush();
        return client;
    }

    /// Sends the message and closes, as most clients do.
    void Submit(const QByteArray &message) const { Connect(message)->disconnectFromHost(); }

    [[nodiscard]] QList<Taskmill_RequestConnection *> Connections() const
    {
        return m_server->findChildren<Taskmill_RequestConnection *>();
    }

    [[nodiscard]] qsizetype CompleteCount() const
    {
        return std::ranges::count_if(Connections(), &Taskmill_RequestConnection::IsComplete);
    }

    /// How many connections have read something.
    [[nodiscard]] qsizetype BusyCount() const
    {
        return std::ranges::count_if(Connections(), [](auto *one) { return !one->Bytes().isEmpty(); });
    }

    RecordingHandler m_handler;
    std::unique_ptr<Taskmill_RequestServer> m_server;
};

QTEST_GUILESS_MAIN(TestRequestServer)
#include "test_requestserver.moc"
