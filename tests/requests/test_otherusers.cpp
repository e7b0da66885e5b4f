// SPDX-License-Identifier: MIT
#include "requests/recordinghandler.h"
#include "support/testcase.h"
#include "wire/clientkey.h"
#include "wire/ordinaryusers.h"
#include "wire/otherusers.h"
#include "wire/privatefile.h"

#include <csignal>
#include <sstream>

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
        Taskmill_Socket listener;
        std::vector<Taskmill_Socket> kept;
        for (char what = 0; read(m_ends[1], &what, 1) == 1;) {
            quint16 answer = 0;
            if (what == 'l') {
                listener = Taskmill_Socket::Listen();
                answer = listener.LocalPort();
            } else {
                Taskmill_Socket one = Taskmill_Socket::Connect(port, 30000);
                if (!one.Send("action=submitjob\njobname=stranger\n", 30000))
                    break;
                if (what == 'k')
                    kept.push_back(std::move(one));
            }
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
class TestOtherUsers : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void OrdinaryUsersAreThoseOfPeople()
    {
        std::istringstream definitions{"# UID_MIN 1\nSYS_UID_MIN 100\nUID_MIN\t\t 500\n"};
        std::istringstream subordinates{"alice:165536:65536\nbob:100000:65536\n1000:300000:1\nbob:1:x\n\n"};
        const Taskmill_OrdinaryUsers users{1000, "bob", definitions, subordinates};
        QList<int> ordinary;
        // Root and a service, UID_MIN, this user and the next, dynamic services and nobody, what is behind
        // them, users of containers: one's own, another's, one's own by number.
        for (const int user : {0, 499, 500, 1000, 1001, 61184, 65519, 65534, 65520, 165535, 165536, 300000}) {
            if (users.Contains(static_cast<Taskmill_OrdinaryUsers::UserID>(user)))
                ordinary.append(user);
        }
        QCOMPARE(ordinary, (QList{500, 1001, 65520, 165536}));
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
            Taskmill_RequestServer server{m_handler, {}, environment};
            QVERIFY(server.Listen(0));
            if (!wereAbout) {
                // While nobody else is about, who sends and closes at once is served, from the first moment.
                Submit(server, "action=submitjob\njobname=alone\n");
                QTRY_COMPARE(m_handler.Handled, QStringList{u"alone"_s});
                m_handler.Handled.clear();
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
            QTRY_COMPARE(m_handler.Handled.size(), 2);
            QCOMPARE(QSet<QString>(m_handler.Handled.begin(), m_handler.Handled.end()),
                     (QSet<QString>{u"key"_s, u"stays"_s}));

            // Whoever has taken the port of a manager does not get its key.
            const quint16 port = stranger.Do('l');
            const auto files = Taskmill_WriteClientKey(port, "abcdef", {});
            QCOMPARE(files.size(), 1U);
            QCOMPARE(Taskmill_ClientKeyLines(Taskmill_Socket::Connect(port, 30000), port), std::string{});
            Taskmill_RemovePrivateFile(files.front(), "abcdef");
        }
        QTRY_COMPARE(others.AreAbout(), wereAbout);
    }

private:
    static void Submit(const Taskmill_RequestServer &server, const std::string &message)
    {
        QVERIFY(Taskmill_Socket::Connect(server.Port(), 30000).Send(message, 30000));
    }

    RecordingHandler m_handler;
};

QTEST_GUILESS_MAIN(TestOtherUsers)
#include "test_otherusers.moc"
