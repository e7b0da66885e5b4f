// SPDX-License-Identifier: MIT
#include "requests/clientgate.h"

#include "requests/recordinghandler.h"
#include "support/testcase.h"
#include "wire/clientkey.h"

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

using PeerUser = Taskmill_PeerUser;

namespace {
struct Case
{
    PeerUser User = PeerUser::Unknown;
    bool OthersAreAbout = false;
    QByteArray Lines = {}; ///< before the request; "KEY" for those of the key
    bool AcceptUnknown = false;
};
} // namespace

/// Whose requests are carried out on a computer that others may use, with a system that says what a test
/// wants.
class TestClientGate : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init() override
    {
        TestCase::init();
        qputenv("TASKMILLPREFS_DIR", Path().toLocal8Bit());
        m_handler = {};
        m_user = PeerUser::Unknown;
        m_othersAreAbout = false;
        m_looks = 0;
    }
    void cleanup() override
    {
        m_server.reset();
        TestCase::cleanup();
    }

    void DecidesWhoIsServed_data()
    {
        QTest::addColumn<Case>("given");
        QTest::addColumn<bool>("isServed");
        const QByteArray wrong = "clientkey=\nclientkey=" + QByteArray(64, '0') + '\n';
        QTest::newRow("unknown, alone") << Case{} << true;
        QTest::newRow("unknown, others are about") << Case{.OthersAreAbout = true} << false;
        QTest::newRow("a wrong key") << Case{.OthersAreAbout = true, .Lines = wrong} << false;
        QTest::newRow("the key") << Case{.OthersAreAbout = true, .Lines = "KEY"} << true;
        QTest::newRow("unknown, all accepted") << Case{.OthersAreAbout = true, .AcceptUnknown = true} << true;
        QTest::newRow("this user") << Case{.User = PeerUser::This, .OthersAreAbout = true} << true;
        QTest::newRow("another user with the key")
            << Case{.User = PeerUser::Other, .Lines = "KEY", .AcceptUnknown = true} << false;
    }

    void DecidesWhoIsServed()
    {
        QFETCH(const Case, given);
        QFETCH(const bool, isServed);
        m_user = given.User;
        m_othersAreAbout = given.OthersAreAbout;
        Listen(10min, given.AcceptUnknown);
        // Wine does not say who listens on a port, so no client would show the key there.
        if (isWindows && given.Lines == "KEY" && Key().isEmpty())
            QSKIP("the system does not say who listens");
        const QByteArray lines = given.Lines == "KEY" ? Key() : given.Lines;
        if (!isServed)
            QTest::ignoreMessage(QtInfoMsg, QRegularExpression{u"^A (request is refused|connection)"_s});
        QSignalSpy refused{m_server.get(), &Taskmill_RequestServer::FirstRefusedSignal};
        Submit(lines + "action=submitjob\njobname=first\n");
        // What nobody has to be trusted for goes through, and shows that the first was dealt with.
        m_user = PeerUser::This;
        Submit("action=submitjob\njobname=last\n");
        QTRY_VERIFY(m_handler.Handled.contains(u"last"_s));
        QCOMPARE(m_handler.Handled.contains(u"first"_s), isServed);
        QCOMPARE(refused.size(), isServed || given.User == PeerUser::Other ? 0 : 1);
    }

    void SaysOnceThatItRefuses()
    {
        m_othersAreAbout = true;
        Listen(10min);
        QSignalSpy refused{m_server.get(), &Taskmill_RequestServer::FirstRefusedSignal};
        // Whoever only looks whether a manager listens is none to be reported.
        Submit("clientname=TaskmillGUI\naction=test");
        for (int count = 0; count < 2; ++count) {
            QTest::ignoreMessage(QtInfoMsg, QRegularExpression{u"^A request is refused: "_s});
            Submit("action=submitjob\njobname=x\n");
        }
        m_user = PeerUser::This;
        Submit("action=show\njobname=last\n");
        QTRY_COMPARE(m_handler.Handled, QStringList{u"last"_s});
        QCOMPARE(refused.size(), 1);
    }

    void RemembersThatOthersWereAbout()
    {
        for (const bool remembers : {true, false}) {
            m_othersAreAbout = true;
            Listen(remembers ? 10min : 0min);
            m_othersAreAbout = false;
            QCOMPARE(m_gate->Admits("action=submitjob"), !remembers);
        }
    }

    void RemembersWhoConnected()
    {
        for (const bool isPerson : {true, false}) {
            m_othersAreAbout = false;
            m_isPerson = isPerson;
            Listen(10min);
            m_gate->TakeOther(0);
            QCOMPARE(m_gate->Admits("action=submitjob"), !isPerson);
        }
    }

    void LooksNowAndThen()
    {
        Listen(10min, true);
        QCOMPARE(m_looks, 0);
        m_gate = std::make_unique<Taskmill_ClientGate>(Environment(10min, false, 1ms));
        m_gate->Open(1);
        QTRY_VERIFY(m_looks > 2);
        // The system has removed the folder of a session.
        const QString key = Path(u"state/clientkey-1"_s);
        QVERIFY(QFile::remove(key));
        QTRY_VERIFY(QFile::exists(key));
    }

    void KeyIsNewAtEachStart()
    {
        Listen(10min);
        const quint16 port = m_server->Port();
        QCOMPARE(KeyFiles(port).size(), 1);
        const QByteArray first = Key();
        if (isWindows && first.isEmpty())
            QSKIP("the system does not say who listens");
        QVERIFY2(first.startsWith("clientkey="), first.constData());
        QVERIFY(first.size() >= 64);
        // A client of cron or behind sudo does not know the session's folder.
        qputenv("XDG_RUNTIME_DIR", {});
        QCOMPARE(Key(), first);
        m_server->Close();
        QVERIFY(m_server->Listen(port));
        QVERIFY(Key().startsWith("clientkey="));
        QVERIFY(Key() != first);
        m_server->Close();
        QVERIFY(KeyFiles(port).isEmpty());
    }

#ifdef Q_OS_UNIX
    void KeyIsForThisUserAlone()
    {
        // One that others may enter is none.
        const QString open = Path(u"open"_s);
        QVERIFY(QDir{}.mkdir(open));
        QVERIFY(QFile::setPermissions(open, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                                QFile::ReadOther | QFile::ExeOther));
        qputenv("XDG_RUNTIME_DIR", open.toLocal8Bit());
        Listen(10min);
        QVERIFY(QDir{open}.isEmpty());
        const QFileInfoList files = KeyFiles(m_server->Port());
        QCOMPARE(files.size(), 1);
        const auto ownerOnly = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;
        QCOMPARE(files[0].permissions(), ownerOnly);
        QCOMPARE(QFileInfo{files[0].path()}.permissions(), ownerOnly | QFile::ExeOwner | QFile::ExeUser);

        // Nothing that somebody else could have put there is read.
        QVERIFY(!Key().isEmpty());
        QVERIFY(QFile::setPermissions(files[0].filePath(), ownerOnly | QFile::ReadOther));
        QCOMPARE(Key(), "");
        QVERIFY(QFile::rename(files[0].filePath(), files[0].filePath() + u".moved"_s));
        QVERIFY(QFile::setPermissions(files[0].filePath() + u".moved"_s, ownerOnly));
        QVERIFY(QFile::link(files[0].filePath() + u".moved"_s, files[0].filePath()));
        QCOMPARE(Key(), "");
    }
#endif

private:
    [[nodiscard]] Taskmill_ClientGate::Environment Environment(std::chrono::milliseconds rememberFor,
                                                               bool acceptUnknown = false,
                                                               std::chrono::milliseconds lookEvery = 1h)
    {
        return {.UserOf = [this](Taskmill_Socket::Handle) { return m_user; },
                .AreOthersAbout =
                    [this] {
                        ++m_looks;
                        return m_othersAreAbout;
                    },
                .IsOtherPerson = [this](Taskmill_Socket::Handle) { return m_isPerson; },
                .LookEvery = lookEvery,
                .RememberFor = rememberFor,
                .AcceptUnknown = acceptUnknown};
    }
    void Listen(std::chrono::milliseconds rememberFor, bool acceptUnknown = false)
    {
        m_gate = std::make_unique<Taskmill_ClientGate>(Environment(rememberFor, acceptUnknown));
        m_gate->Open(1);
        m_server = std::make_unique<Taskmill_RequestServer>(m_handler, Taskmill_RequestLimits{},
                                                            Environment(rememberFor, acceptUnknown));
        QVERIFY(m_server->Listen(0));
    }
    /// Sends the message and closes at once; the manager reads it before it goes on.
    void Submit(const QByteArray &message)
    {
        Taskmill_Socket client = Connect();
        QVERIFY(client.Send(message.toStdString(), 30000));
        client.Close();
        QCoreApplication::processEvents();
    }
    [[nodiscard]] Taskmill_Socket Connect() const
    {
        return Taskmill_Socket::Connect(m_server->Port(), 30000);
    }
    /// As a client would send it.
    [[nodiscard]] QByteArray Key() const
    {
        const Taskmill_Socket client = Connect();
        return QByteArray::fromStdString(Taskmill_ClientKeyLines(client, m_server->Port()));
    }
    /// In the state folder.
    [[nodiscard]] QFileInfoList KeyFiles(quint16 port) const
    {
        return QDir{Path(u"state"_s)}.entryInfoList({u"clientkey-%1"_s.arg(port)}, QDir::Files);
    }

    RecordingHandler m_handler;
    PeerUser m_user = PeerUser::Unknown;
    bool m_othersAreAbout = false;
    bool m_isPerson = false; ///< the client
    int m_looks = 0;
    std::unique_ptr<Taskmill_ClientGate> m_gate;
    std::unique_ptr<Taskmill_RequestServer> m_server;
};

QTEST_GUILESS_MAIN(TestClientGate)
#include "test_clientgate.moc"
