// SPDX-License-Identifier: MIT
#include "requests/clientgate.h"

#include "requests/requestserver.h"
#include "support/testutil.h"
#include "wire/clientkey.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

using PeerUser = Taskmill_PeerUser;
Q_DECLARE_METATYPE(PeerUser)

namespace {
class RecordingHandler final : public Taskmill_RequestHandler
{
public:
    QStringList Handled;

    QByteArray HandleRequest(const Taskmill_RequestMessage &request) override
    {
        Handled.append(request.JobName);
        return "accepted=1\n";
    }
};
} // namespace

/// Whose requests are carried out on a computer that others may use, with a system that says what a test
/// wants.
class TestClientGate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        FailOnQtWarnings();
        m_directory = std::make_unique<QTemporaryDir>();
        qputenv("TASKMILLPREFS_DIR", m_directory->path().toLocal8Bit());
        m_handler = {};
        m_user = PeerUser::Unknown;
        m_othersAreAbout = false;
        m_looks = 0;
    }
    void cleanup() { m_server.reset(); }

    void DecidesWhoIsServed_data()
    {
        QTest::addColumn<PeerUser>("user");
        QTest::addColumn<bool>("othersAreAbout");
        QTest::addColumn<QByteArray>("lines");
        QTest::addColumn<bool>("acceptUnknown");
        QTest::addColumn<bool>("isServed");
        const QByteArray none;
        QTest::newRow("unknown, alone") << PeerUser::Unknown << false << none << false << true;
        QTest::newRow("unknown, others are about") << PeerUser::Unknown << true << none << false << false;
        QTest::newRow("a wrong key") << PeerUser::Unknown << true
                                     << QByteArray{"clientkey=\nclientkey=" + QByteArray(64, '0') + '\n'}
                                     << false << false;
        QTest::newRow("the key") << PeerUser::Unknown << true << QByteArray{"KEY"} << false << true;
        QTest::newRow("unknown, all accepted") << PeerUser::Unknown << true << none << true << true;
        QTest::newRow("this user") << PeerUser::This << true << none << false << true;
        QTest::newRow("another user with the key")
            << PeerUser::Other << false << QByteArray{"KEY"} << true << false;
    }

    void DecidesWhoIsServed()
    {
        QFETCH(PeerUser, user);
        QFETCH(bool, othersAreAbout);
        QFETCH(QByteArray, lines);
        QFETCH(bool, acceptUnknown);
        QFETCH(bool, isServed);
        m_user = user;
        m_othersAreAbout = othersAreAbout;
        Listen(10min, acceptUnknown);
        // Wine does not say who listens on a port, so no client would show the key there.
        if (isWindows && lines == "KEY" && Key().isEmpty())
            QSKIP("the system does not say who listens");
        if (lines == "KEY")
            lines = Key().toUpper().replace("CLIENTKEY", "ClientKey").toLower();
        if (!isServed)
            QTest::ignoreMessage(QtInfoMsg, QRegularExpression{u"^A (request is refused|connection)"_s});
        QSignalSpy refused{m_server.get(), &Taskmill_RequestServer::FirstRefusedSignal};
        Submit(lines + "action=submitjob\njobname=first\n");
        // What nobody has to be trusted for goes through, and shows that the first was dealt with.
        m_user = PeerUser::This;
        Submit("action=submitjob\njobname=last\n");
        QTRY_VERIFY(m_handler.Handled.contains(u"last"_s));
        QCOMPARE(m_handler.Handled.contains(u"first"_s), isServed);
        QCOMPARE(refused.size(), isServed || user == PeerUser::Other ? 0 : 1);
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

    void LooksNowAndThen()
    {
        Listen(10min, true);
        QCOMPARE(m_looks, 0);
        m_gate = std::make_unique<Taskmill_ClientGate>(Environment(10min, false, 1ms));
        m_gate->Open(1);
        QTRY_VERIFY(m_looks > 2);
    }

    void KeyIsNewAtEachStart()
    {
        Listen(10min);
        const quint16 port = m_server->Port();
        const QByteArray first = Key();
        if (isWindows && first.isEmpty())
            QSKIP("the system does not say who listens");
        QVERIFY2(first.startsWith("clientkey=") && first.size() >= 64, first.constData());
        m_server->Close();
        QVERIFY(m_server->Listen(port));
        QVERIFY(!Key().isEmpty() && Key() != first);
        m_server->Close();
        QVERIFY(KeyFiles().isEmpty());
    }

#ifdef Q_OS_UNIX
    void KeyIsForThisUserAlone()
    {
        const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
        // One that others may enter is none.
        const QString open = m_directory->filePath(u"open"_s);
        QVERIFY(QDir{}.mkdir(open));
        QVERIFY(QFile::setPermissions(open, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                                QFile::ReadOther | QFile::ExeOther));
        qputenv("XDG_RUNTIME_DIR", open.toLocal8Bit());
        Listen(10min);
        QVERIFY(QDir{open}.isEmpty());
        const QFileInfoList files = KeyFiles();
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
        qputenv("XDG_RUNTIME_DIR", runtime);
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
    [[nodiscard]] QFileInfoList KeyFiles() const
    {
        return QDir{m_directory->filePath(u"state"_s)}.entryInfoList(
            {u"clientkey-%1"_s.arg(m_server->Port())}, QDir::Files);
    }

    std::unique_ptr<QTemporaryDir> m_directory;
    RecordingHandler m_handler;
    PeerUser m_user = PeerUser::Unknown;
    bool m_othersAreAbout = false;
    int m_looks = 0;
    std::unique_ptr<Taskmill_ClientGate> m_gate;
    std::unique_ptr<Taskmill_RequestServer> m_server;
};

QTEST_GUILESS_MAIN(TestClientGate)
#include "test_clientgate.moc"
