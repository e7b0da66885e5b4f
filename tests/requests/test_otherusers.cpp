// SPDX-License-Identifier: MIT
#include "requests/requestserver.h"
#include "support/testutil.h"
#include "wire/clientkey.h"
#include "wire/ordinaryusers.h"
#include "wire/otherusers.h"
#include "wire/privatefile.h"

#include <QRegularExpression>
#include <QtTest>

#include <array>
#include <csignal>
#include <sstream>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr uid_t strangersID = 54321;

/// A process of another user, which does what it is asked for a byte at a time and lives until it is
/// destroyed.
class Stranger
{
public:
    explicit Stranger(quint16 port)
    {
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, m_ends.data()) != 0)
            qFatal("no pair of sockets");
        m_process = fork();
        if (m_process != 0)
            return;
        if (setgid(strangersID) == 0 && setuid(strangersID) == 0)
            Live(port);
        _exit(1);
    }
    ~Stranger()
    {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
        for (const int end : m_ends)
            close(end);
    }
    Q_DISABLE_COPY_MOVE(Stranger)

    /// 's' to send a request and close at once, 'k' to send one and keep the connection, 'l' to listen: the
    /// port on which it listens then, else 0.
    quint16 Do(char what)
    {
        quint16 answer = 0;
        if (write(m_ends[0], &what, 1) != 1 || read(m_ends[0], &answer, sizeof answer) != sizeof answer)
            qFatal("the other user's process does not answer");
        return answer;
    }

private:
    void Live(quint16 port)
    {
        char what = 0;
        while (read(m_ends[1], &what, 1) == 1) {
            sockaddr_in address{};
            address.sin_family = AF_INET;
            address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            address.sin_port = htons(what == 'l' ? quint16{0} : port);
            const int one = socket(AF_INET, SOCK_STREAM, 0);
            socklen_t size = sizeof address;
            bool isDone = false;
            if (what == 'l') {
                isDone = bind(one, reinterpret_cast<const sockaddr *>(&address), size) == 0 &&
                         listen(one, 10) == 0 &&
                         getsockname(one, reinterpret_cast<sockaddr *>(&address), &size) == 0;
            } else {
                constexpr std::string_view request = "action=submitjob\njobname=stranger\n";
                isDone = connect(one, reinterpret_cast<const sockaddr *>(&address), size) == 0 &&
                         send(one, request.data(), request.size(), 0) > 0;
            }
            if (!isDone)
                break;
            if (what == 's')
                close(one);
            const quint16 answer = what == 'l' ? ntohs(address.sin_port) : quint16{0};
            if (write(m_ends[1], &answer, sizeof answer) != sizeof answer)
                break;
        }
    }

    std::array<int, 2> m_ends{-1, -1};
    pid_t m_process = 0;
};
} // namespace

/// Who counts as another user, and what his programs can do here. Runs alone: the managers of other tests
/// would see him too.
class TestOtherUsers : public QObject, private Taskmill_RequestHandler
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        FailOnQtWarnings();
        m_handled.clear();
    }

    void OrdinaryUsersAreThoseOfPeople_data()
    {
        QTest::addColumn<int>("user");
        QTest::addColumn<bool>("isOrdinary");
        QTest::newRow("this user") << 1000 << false;
        QTest::newRow("root") << 0 << false;
        QTest::newRow("a service") << 499 << false;
        QTest::newRow("the first of UID_MIN") << 500 << true;
        QTest::newRow("behind this user") << 1001 << true;
        QTest::newRow("nobody") << 65534 << false;
        QTest::newRow("a dynamic service") << 61184 << false;
        QTest::newRow("the last dynamic service") << 65519 << false;
        QTest::newRow("behind them") << 65520 << true;
        QTest::newRow("of one's own container") << 165535 << false;
        QTest::newRow("of another user's container") << 165536 << true;
        QTest::newRow("of one's own, by number") << 300000 << false;
    }

    void OrdinaryUsersAreThoseOfPeople()
    {
        QFETCH(int, user);
        QFETCH(bool, isOrdinary);
        std::istringstream definitions{"# UID_MIN 1\nSYS_UID_MIN 100\nUID_MIN\t\t 500\n"};
        std::istringstream subordinates{"alice:165536:65536\nbob:100000:65536\n1000:300000:1\nbob:1:x\n\n"};
        const Taskmill_OrdinaryUsers users{1000, "bob", definitions, subordinates};
        QCOMPARE(users.Contains(static_cast<Taskmill_OrdinaryUsers::UserID>(user)), isOrdinary);
    }

    void AStrangerIsNotServed()
    {
        if (geteuid() != 0)
            QSKIP("only root can be somebody else");
        auto environment = Taskmill_ClientGate::Environment::OfThisComputer();
        environment.AcceptUnknown = false;
        Taskmill_OtherUsers others;
        const bool wereAbout = others.AreAbout();
        {
            Taskmill_RequestServer server{*this, {}, environment};
            QVERIFY(server.Listen(0));
            if (!wereAbout) {
                // While nobody else is about, who sends and closes at once is served, from the first moment.
                Submit(server, "action=submitjob\njobname=alone\n");
                QTRY_COMPARE(m_handled, QStringList{u"alone"_s});
                m_handled.clear();
            }
            Stranger stranger{server.Port()};
            // The system may still show whose the closed connection is.
            QTest::ignoreMessage(QtInfoMsg, QRegularExpression{u"^A (request is ref|connection of ano)"_s});
            stranger.Do('s');
            QTest::ignoreMessage(QtInfoMsg, "A connection of another user is dropped");
            stranger.Do('k');
            QCoreApplication::processEvents();
            QVERIFY(others.AreAbout());

            // Nor can anybody be distinguished from him who does not stay or show the key.
            QTest::ignoreMessage(QtInfoMsg, QRegularExpression{u"^A request is refused"_s});
            Submit(server, "action=submitjob\njobname=anybody\n");
            const Taskmill_Socket client = Taskmill_Socket::Connect(server.Port(), 30000);
            const std::string key = Taskmill_ClientKeyLines(client, server.Port());
            Submit(server, key + "action=submitjob\njobname=key\n");
            QVERIFY(client.Send("action=submitjob\njobname=stays\nclientreply=yes\n", 30000));
            QTRY_COMPARE(m_handled.size(), 2);
            QCOMPARE(QSet<QString>(m_handled.begin(), m_handled.end()),
                     (QSet<QString>{u"key"_s, u"stays"_s}));

            // Who has taken the port of a manager does not get its key.
            const quint16 port = stranger.Do('l');
            const std::string file = Taskmill_WriteClientKey(port, "abcdef", {});
            QVERIFY(!file.empty());
            QCOMPARE(Taskmill_ClientKeyLines(Taskmill_Socket::Connect(port, 30000), port), std::string{});
            Taskmill_RemovePrivateFile(file, "abcdef");
        }
        QTRY_COMPARE(others.AreAbout(), wereAbout);
    }

private:
    QByteArray HandleRequest(const Taskmill_RequestMessage &request) override
    {
        m_handled.append(request.JobName);
        return "accepted=1\n";
    }
    static void Submit(const Taskmill_RequestServer &server, const std::string &message)
    {
        QVERIFY(Taskmill_Socket::Connect(server.Port(), 30000).Send(message, 30000));
    }

    QStringList m_handled;
};

QTEST_GUILESS_MAIN(TestOtherUsers)
#include "test_otherusers.moc"
