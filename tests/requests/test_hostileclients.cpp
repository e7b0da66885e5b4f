// SPDX-License-Identifier: MIT
#include "jobs/jobqueue.h"
#include "requests/requestserver.h"
#include "support/resourcelimit.h"
#include "support/testmanager.h"
#include "wire/socket.h"

#include <random>

#include <sys/socket.h>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int waitMs = 30000;
/// Mutated requests of one run; the variable TASKMILL_TEST_REQUESTS asks for more.
constexpr int usualRequests = 20'000;

qsizetype OpenFiles()
{
    return QDir{u"/proc/self/fd"_s}.entryList(QDir::System | QDir::NoDotAndDotDot).size();
}

int NumberFromEnvironment(const char *variable, int usual)
{
    bool isNumber = false;
    const int number = qEnvironmentVariableIntValue(variable, &isNumber);
    return isNumber ? number : usual;
}

/// Changes requests at random; the same seed changes them the same way.
class Mutator
{
public:
    explicit Mutator(unsigned seed)
        : m_random{seed}
    {
    }

    [[nodiscard]] std::size_t Below(std::size_t bound) { return bound == 0 ? 0 : m_random() % bound; }

    std::string Mutate(std::string text)
    {
        for (std::size_t count = Below(6); count > 0; --count)
            Change(text);
        return text;
    }

private:
    void Change(std::string &text)
    {
        static const QByteArrayList words =
            QByteArray{"action=|action=submitjob\n|=|\n|\r\n|\r|@A=_;_\n|@=\n|_;_|\xff\xfe|\xe2\x82|"
                       "clientreply=yes\n|clientkey=|clientport=99999999999999999999\n|%1%n%s|jobname=\n|"
                       "jobtypename=auto\n|jobinputfile=/\n|confirmaction=yes\n| HTTP/1.1\n|../|"
                       "action=test\n|clientnotification=-1\n"}
                .split('|');
        const std::size_t place = Below(text.size() + 1);
        const std::size_t size = Below(40);
        switch (Below(7)) {
        case 0:
            if (place < text.size())
                text[place] = static_cast<char>(Below(256));
            break;
        case 1:
            text.erase(place, size);
            break;
        case 2:
            text.insert(place, words[static_cast<qsizetype>(Below(words.size()))].toStdString());
            break;
        case 3:
            text.insert(place, text.substr(Below(text.size() + 1), size));
            break;
        case 4:
            text.resize(place);
            break;
        case 5:
            text.insert(place, size, static_cast<char>(Below(256)));
            break;
        default:
            // Longer than what is read at once.
            if (Below(200) == 0)
                text.insert(place, 70000, 'x');
        }
    }

    std::mt19937 m_random;
};
} // namespace

/// The port in the face of clients that do everything they should not.
class TestHostileClients : public TestCase, private Taskmill_RequestHandler
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_whileHandling = nullptr; }

    void AClientThatClosesItsHalfIsAnswered_data()
    {
        QTest::addColumn<bool>("isSeenLate");
        QTest::newRow("before the connection is taken") << true;
        QTest::newRow("while its request is handled") << false;
    }

    void AClientThatClosesItsHalfIsAnswered()
    {
        QFETCH(bool, isSeenLate);
        Taskmill_RequestServer server{*this};
        QVERIFY(server.Listen(0));
        const Taskmill_Socket client = Ask(server, "action=frobnicate\n");
        const auto closeHalf = [&client] {
            shutdown(static_cast<int>(client.Get()), SHUT_WR);
        };
        if (isSeenLate) {
            closeHalf();
        } else {
            m_whileHandling = [&] {
                closeHalf();
                for (int turn = 0; turn < 100; ++turn)
                    QCoreApplication::processEvents();
            };
        }
        QCOMPARE(AnswerTo(client), "refused=no such action\n");
    }

    void ServesAgainWhenFilesAreFree()
    {
        Taskmill_RequestServer server{*this};
        QVERIFY(server.Listen(0));
        const Taskmill_Socket client = Ask(server, "action=frobnicate\n");
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression{u"^Cannot accept"_s});
        {
            const OpenFilesLimit noFiles;
            QCoreApplication::processEvents();
        }
        QCOMPARE(AnswerTo(client), "refused=no such action\n");
    }

    void ALongAnswerArrivesWhole()
    {
        m_answer = QByteArray(8 << 20, 'x') + '\n';
        Taskmill_RequestServer server{*this};
        QVERIFY(server.Listen(0));
        const Taskmill_Socket client = Taskmill_Socket::Connect(server.Port(), waitMs);
        // What comes behind the request does not cost it either.
        QVERIFY(client.Send("action=frobnicate\nclientreply=yes\n", waitMs));
        m_whileHandling = [&client] {
            (void)client.Send("more", waitMs);
        };
        QCOMPARE(AnswerTo(client).size(), m_answer.size());
        m_answer.clear();
    }

    void FilesAreLeftForTheJobs()
    {
        Taskmill_RequestServer server{*this};
        QVERIFY(server.Listen(0));
        for (int dropped = 0; dropped < 4; ++dropped)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression{u"^Too many open connections"_s});
        std::vector<Taskmill_Socket> silent;
        const auto connectOne = [&] {
            silent.push_back(Taskmill_Socket::Connect(server.Port(), waitMs));
            QCoreApplication::processEvents();
        };
        connectOne();
        const qsizetype most = OpenFiles() + 40;
        qsizetype open = 0;
        {
            const OpenFilesLimit limit{static_cast<unsigned long long>(most)};
            // Each of them opens a file on both sides.
            for (int count = 0; count < 16; ++count)
                connectOne();
            open = OpenFiles();
        }
        QVERIFY2(open < most - 10, qPrintable(QString::number(open)));
        QCOMPARE(AnswerTo(Ask(server, "action=frobnicate\n")), "refused=no such action\n");
    }

    void MutatedRequestsDoNoHarm()
    {
        const int requests = NumberFromEnvironment("TASKMILL_TEST_REQUESTS", usualRequests);
        const int seed =
            NumberFromEnvironment("TASKMILL_TEST_SEED", static_cast<int>(std::random_device{}() >> 1));
        qInfo("%d requests, TASKMILL_TEST_SEED=%d", requests, seed);
        TestManager manager;
        m_manager = &manager;
        manager.NewProject();
        const Taskmill_JobType water =
            manager.AddJobType(u"Water"_s, u"exit 0"_s, u"Long"_s, u"Water (*.mop)"_s);
        manager.Long().Queue()->SetPaused(true);
        manager.Short().Queue()->SetPaused(true);
        const std::string input = manager.InputFile(u"water.mop"_s).toStdString();
        // The thread that reads the inputs of waiting jobs has a file of its own.
        manager.Long().Submit(manager.NewJob(water, QString::fromStdString(input)));
        const Taskmill_JobContainer &jobs = manager.Long().Jobs();
        QTRY_VERIFY(!jobs.JobAt(0)->Record().InputHash.isEmpty());
        manager.Long().RemoveNow(jobs.JobIDs());
        Taskmill_RequestServer server{*this, {.MaxConnections = 50}};
        QVERIFY(server.Listen(0));
        // What the first one leaves open for those that follow does not count.
        (void)AnswerTo(Ask(server, "action=frobnicate\n"));
        const qsizetype before = OpenFiles();

        const auto silence =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
        Attack(server, Mutator{static_cast<unsigned>(seed)}, requests, input);
        qInstallMessageHandler(silence);
        QTRY_VERIFY(server.findChildren<Taskmill_RequestConnection *>().isEmpty());
        QCOMPARE(OpenFiles(), before);

        const QByteArray answer =
            AnswerTo(Ask(server, "action=submitjob\njobtypename=water\njobinputfile=" + input + '\n'));
        QVERIFY2(answer.startsWith("accepted="), answer.constData());
        m_manager = nullptr;
    }

private:
    std::optional<QByteArray> HandleRequest(const Taskmill_RequestMessage &request,
                                            const Taskmill_LateAnswer &) override
    {
        if (m_whileHandling)
            std::exchange(m_whileHandling, nullptr)();
        if (!m_answer.isEmpty())
            return m_answer;
        if (!m_manager || request.Action != "submitjob"_L1)
            return "refused=no such action\n";
        const Taskmill_SubmitResult result = m_manager->Submitter().Submit(request);
        if (result.JobIDs.isEmpty())
            return "refused=" + result.Refusal.toUtf8() + '\n';
        return "accepted=" + QByteArray::number(result.JobIDs.first()) + '\n';
    }

    static void Attack(const Taskmill_RequestServer &server, Mutator mutator, int requests,
                       const std::string &input)
    {
        const std::vector<std::string> valid{
            "clientname=a\naction=submitjob\njobtypename=Water\njobqueue=long\njobinputfile=" + input +
                "\n@TITLE=a_;_b\n@N=1\nclientreply=yes\n",
            "action=submitjob\njobtypename=Auto\njobqueue=short\nclientnotification=0\njobinputfile=" + input,
            "ACTION=SubmitJob\njobtypename=water\njobname=x\njoboutputfile=y\njobchkfile=z\njobinputfile=" +
                input + "\n",
            "clientname=a\nclientuid=1\nclientgid=1\naction=show\n",
            "POST / HTTP/1.1\r\nHost: x\r\n\r\naction=submitjob\n"};
        std::vector<Taskmill_Socket> kept;
        for (int count = 0; count < requests; ++count) {
            Taskmill_Socket client = Taskmill_Socket::Connect(server.Port(), 1);
            // The server has to catch up.
            while (!client.IsOpen()) {
                QCoreApplication::processEvents();
                client = Taskmill_Socket::Connect(server.Port(), 1);
            }
            const std::string message = mutator.Mutate(valid[mutator.Below(valid.size())]);
            const std::size_t half = mutator.Below(message.size() + 1);
            (void)client.Send(message.substr(0, half), 0);
            if (mutator.Below(8) == 0)
                QCoreApplication::processEvents();
            (void)client.Send(message.substr(half), 0);
            const std::size_t end = mutator.Below(20);
            constexpr linger atOnce{.l_onoff = 1, .l_linger = 0};
            if (end == 0)
                setsockopt(static_cast<int>(client.Get()), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
            else if (end == 1)
                shutdown(static_cast<int>(client.Get()), SHUT_WR);
            if (kept.size() > 40)
                kept.clear();
            if (end == 1 || end == 2)
                kept.push_back(std::move(client));
            else
                client.Close();
            QCoreApplication::processEvents();
        }
    }

    /// A client that has sent this and waits for its answer.
    static Taskmill_Socket Ask(const Taskmill_RequestServer &server, const std::string &message)
    {
        Taskmill_Socket client = Taskmill_Socket::Connect(server.Port(), waitMs);
        (void)client.Send(message + "clientreply=yes\n", waitMs);
        return client;
    }
    /// What the server sends until it closes.
    static QByteArray AnswerTo(const Taskmill_Socket &client)
    {
        std::string answer;
        const auto hasEnded = [&] {
            return client.Receive(answer, 1U << 30U) == Taskmill_Socket::State::Ended;
        };
        (void)QTest::qWaitFor(hasEnded, waitMs);
        return QByteArray::fromStdString(answer);
    }

    TestManager *m_manager = nullptr;
    std::function<void()> m_whileHandling;
    QByteArray m_answer; ///< of every request; empty for the usual ones
};

QTEST_GUILESS_MAIN(TestHostileClients)
#include "test_hostileclients.moc"
