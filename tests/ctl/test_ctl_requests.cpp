#include "ctlrun.h"

#include "jobs/jobnotification.h"
#include "jobs/jobrecord.h"
#include "service/requestserver.h"
#include "support/testutil.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Plays the manager: remembers the requests and answers from a list.
class FakeManager final : public Taskmill_RequestHandler
{
public:
    FakeManager() { m_server.Listen(0); }

    QByteArray HandleRequest(const Taskmill_RequestMessage &request) override
    {
        requests.append(request);
        if (notifiesFirst)
            Notify(request);
        else if (!statuses.isEmpty())
            QTimer::singleShot(0, &m_server, [this, request] { Notify(request); });
        return answers.isEmpty() ? QByteArray{} : answers.takeFirst();
    }

    /// Tells the client of one job, as the real manager does.
    void Notify(const Taskmill_RequestMessage &request)
    {
        Taskmill_JobRecord job;
        job.ClientName = request.ClientName;
        job.ClientAppName = request.ClientAppName;
        job.ClientAddress = request.ClientAddress;
        job.ClientPort = request.ClientPort;
        job.ClientNotification = request.ClientNotification.value_or(false);
        job.JobType.Name = u"Wäter"_s;
        job.InputFilePath = request.JobInputFile;
        job.Status = statuses.takeFirst();
        QVERIFY(Taskmill_WantsNotification(job, u"TaskmillGUI"_s));
        sent.append(Taskmill_JobFinishedMessage(job, 0, u"TaskmillGUI"_s));
        job.ClientAppName = u"taskmillctl-of-somebody-else"_s;
        QVERIFY(Taskmill_SendMessage(job.ClientAddress, job.ClientPort,
                                     Taskmill_JobFinishedMessage(job, 0, u"TaskmillGUI"_s)));
        QVERIFY(Taskmill_SendMessage(job.ClientAddress, job.ClientPort, sent.last()));
    }

    void GoAway() { m_server.Close(); }
    [[nodiscard]] quint16 Port() const { return m_server.Port(); }

    QList<QByteArray> answers;
    QList<Taskmill_JobStatus> statuses; ///< of the jobs in the order of their ends
    bool notifiesFirst = false;         ///< before the answer
    QList<Taskmill_RequestMessage> requests;
    QList<QByteArray> sent; ///< notifications

private:
    Taskmill_RequestServer m_server{*this};
};
} // namespace

class TestCtlRequests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void WrongUsageSendsNothing();
    void RequestHoldsAllOptions();
    void AnswerDecidesTheStatus_data();
    void AnswerDecidesTheStatus();
    void EachFileHasItsOwnRequest();
    void WaitsForTheEndOfEachJob_data();
    void WaitsForTheEndOfEachJob();
    void WaitEndsWithTheManager();
    void FindsTheManager();

private:
    [[nodiscard]] CtlResult Run(const QStringList &arguments) const
    {
        return RunCtl(arguments, {.consolePort = m_manager->Port(), .directory = m_directory->path()});
    }
    [[nodiscard]] QString Path(const QString &name) const { return m_directory->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<FakeManager> m_manager;
};

void TestCtlRequests::init()
{
    FailOnQtWarnings();
    m_directory = std::make_unique<QTemporaryDir>();
    QVERIFY(m_directory->isValid());
    WriteTestFile(Path(u"water.mop"_s), "x");
    WriteTestFile(Path(u"größe 2.mop"_s), "x");
    m_manager = std::make_unique<FakeManager>();
}

void TestCtlRequests::cleanup()
{
    m_manager.reset();
    m_directory.reset();
}

void TestCtlRequests::WrongUsageSendsNothing()
{
    // Arguments behind "submit", and what is said about them.
    const QList<std::pair<QStringList, QByteArray>> wrong{
        {{}, "submit needs FILE"},
        {{u"water.mop"_s, u"--frob"_s}, "frob"},
        {{u"water.mop"_s, u"--type"_s}, "type"},
        {{u"water.mop"_s, u"--queue"_s, u"longest"_s}, "--queue needs"},
        {{u"water.mop"_s, u"ice.mop"_s}, "does not exist: ice.mop"},
        {{u"."_s}, "directory"},
        {{u"water.mop"_s, u"--stdin"_s, u"no.inp"_s}, "does not exist: no.inp"},
        {{u"water.mop"_s, u"größe 2.mop"_s, u"--output"_s, u"o.out"_s}, "--output"},
        {{u"water.mop"_s, u"--name"_s, u"a\naction=hide"_s}, "line feed"},
        {{u"water.mop"_s, u"--chk"_s, u"a\nb"_s}, "line feed"},
        {{u"water.mop"_s, u"--chk="_s}, "empty"},
        {{u"water.mop"_s, u"--set"_s, u"NPROCS=4"_s}, "@NAME=VALUE"},
        {{u"water.mop"_s, u"--set"_s, u"@A\nB=1"_s}, "@NAME=VALUE"},
        {{u"water.mop"_s, u"--gui"_s, u"--console"_s}, "exclude"},
        {{u"water.mop"_s, u"--port"_s, u"65536"_s}, "--port"}};
    for (const auto &[arguments, message] : wrong) {
        const CtlResult result = Run(QStringList{u"submit"_s} + arguments);
        QCOMPARE(result.status, 2);
        QVERIFY2(result.err.contains(message), result.err.constData());
        QCOMPARE(result.out, QByteArray{});
    }
    QVERIFY(m_manager->requests.isEmpty());
    QVERIFY(Run({}).err.contains("a command is needed"));
    QVERIFY(Run({u"types"_s, u"frob"_s}).err.contains("types frob"));
}

void TestCtlRequests::RequestHoldsAllOptions()
{
    m_manager->answers = {"accepted=7\n"};
    const CtlResult result =
        Run({u"submit"_s,        u"water.mop"_s, u"--type"_s,      u"Water"_s,        u"--queue"_s,
             u"queueless"_s,     u"--name"_s,    u"Lake = 1"_s,    u"--class=Test"_s, u"--input2"_s,
             u"größe 2.mop"_s,   u"--stdin"_s,   u"water.mop"_s,   u"--stdout"_s,     u"s.txt"_s,
             u"--output"_s,      u"o.out"_s,     u"--chk"_s,       u"c.chk"_s,        u"--chk1"_s,
             u"sub/../c1.chk"_s, u"--set"_s,     u"@TITLE=a\nb"_s, u"--set=@N=1=2"_s, u"--confirm"_s});
    QCOMPARE(result.status, 0);
    QCOMPARE(m_manager->requests.size(), 1);
    const Taskmill_RequestMessage &request = m_manager->requests.first();
    QCOMPARE(request.ClientName, u"taskmillctl"_s);
    QVERIFY(!request.ClientNotification.has_value());
    QCOMPARE(request.Action, u"submitjob"_s);
    QVERIFY(request.ConfirmAction);
    QCOMPARE(request.JobTypeName, u"Water"_s);
    QCOMPARE(request.JobQueue, u"queueless"_s);
    QCOMPARE(request.JobName, u"Lake = 1"_s);
    QCOMPARE(request.JobInputFile, Path(u"water.mop"_s));
    QCOMPARE(request.JobInputFile2, Path(u"größe 2.mop"_s));
    QCOMPARE(request.JobStandardInputFile, Path(u"water.mop"_s));
    QCOMPARE(request.JobStandardOutputFile, Path(u"s.txt"_s));
    QCOMPARE(request.JobOutputFile, Path(u"o.out"_s));
    QCOMPARE(request.JobChkFile, Path(u"c.chk"_s));
    QCOMPARE(request.JobChkFile1, Path(u"c1.chk"_s));
    const Taskmill_PlaceholderValues expected{{u"@TITLE"_s, u"a\nb"_s}, {u"@N"_s, u"1=2"_s}};
    QCOMPARE(request.PlaceholderValues, expected);
}

void TestCtlRequests::AnswerDecidesTheStatus_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("out");
    QTest::addColumn<QByteArray>("error");
    QTest::newRow("one job") << "accepted=7\n"_ba << 0 << "Job 7: water.mop\n"_ba
                             << ""_ba;
    QTest::newRow("the dialog's jobs")
        << "accepted=7 8\n"_ba << 0 << "Job 7: water.mop\nJob 8: water.mop\n"_ba
        << ""_ba;
    QTest::newRow("refused") << "refused=keine Größe %1\n"_ba << 4 << ""_ba
                             << "water.mop was refused: keine Größe %1"_ba;
    QTest::newRow("no answer") << ""_ba << 3 << ""_ba
                               << "without an answer"_ba;
    QTest::newRow("cut answer") << "accepted=7"_ba << 3 << ""_ba
                                << "without an answer"_ba;
    QTest::newRow("foreign answer") << "HTTP/1.1 400\r\n\r\n"_ba << 3 << ""_ba
                                    << "understood"_ba;
    QTest::newRow("endless answer") << QByteArray(1 << 21, 'x') << 3 << ""_ba
                                    << "understood"_ba;
}

void TestCtlRequests::AnswerDecidesTheStatus()
{
    QFETCH(const QByteArray, answer);
    QFETCH(const QByteArray, error);
    m_manager->answers = {answer};
    const CtlResult result = Run({u"submit"_s, u"water.mop"_s});
    QTEST(result.status, "status");
    QTEST(result.out, "out");
    QVERIFY2(result.err.contains(error), result.err.constData());
}

void TestCtlRequests::EachFileHasItsOwnRequest()
{
    m_manager->answers = {"refused=no\n", "accepted=3\n"};
    const CtlResult result = Run({u"submit"_s, u"--json"_s, u"water.mop"_s, u"größe 2.mop"_s});
    QCOMPARE(result.status, 4);
    QCOMPARE(m_manager->requests.size(), 2);
    const QList<QJsonObject> expected{
        {{u"file"_s, Path(u"water.mop"_s)}, {u"refused"_s, u"no"_s}},
        {{u"file"_s, Path(u"größe 2.mop"_s)}, {u"accepted"_s, QJsonArray{3}}},
    };
    QCOMPARE(result.JsonLines(), expected);

    // The second request gets no answer, the third is not sent.
    m_manager->answers = {"accepted=4\n", ""};
    m_manager->requests.clear();
    const CtlResult cut = Run({u"submit"_s, u"water.mop"_s, u"water.mop"_s, u"größe 2.mop"_s});
    QCOMPARE(cut.status, 3);
    QCOMPARE(m_manager->requests.size(), 2);
    // Type and queue are left to the manager.
    QCOMPARE(m_manager->requests.first().JobTypeName, u"Auto"_s);
    QCOMPARE(m_manager->requests.first().JobQueue, QString{});
    QVERIFY2(cut.err.contains("größe 2.mop was not submitted"), cut.err.constData());
}

void TestCtlRequests::WaitsForTheEndOfEachJob_data()
{
    using enum Taskmill_JobStatus;
    QTest::addColumn<QList<Taskmill_JobStatus>>("statuses");
    QTest::addColumn<bool>("notifiesFirst");
    QTest::addColumn<int>("status");
    QTest::newRow("both complete") << QList{Completed, Completed} << false << 0;
    QTest::newRow("one fails") << QList{Failed, Completed} << false << 1;
    QTest::newRow("the end overtakes the answer") << QList{Completed, Killed} << true << 1;
}

void TestCtlRequests::WaitsForTheEndOfEachJob()
{
    QFETCH(const bool, notifiesFirst);
    m_manager->statuses = *static_cast<const QList<Taskmill_JobStatus> *>(
        QTest::qData("statuses", qMetaTypeId<QList<Taskmill_JobStatus>>()));
    m_manager->notifiesFirst = notifiesFirst;
    m_manager->answers = {"accepted=1\n", "accepted=2\n"};
    const CtlResult result = Run({u"submit"_s, u"--wait"_s, u"water.mop"_s, u"größe 2.mop"_s});
    QTEST(result.status, "status");
    QCOMPARE(m_manager->sent.size(), 2);
    QCOMPARE(m_manager->requests[0].ClientAddress, u"127.0.0.1"_s);
    QVERIFY(m_manager->requests[0].ClientAppName != m_manager->requests[1].ClientAppName);
    for (const QByteArray &notification : m_manager->sent)
        QVERIFY2(result.out.contains(notification + '\n'), result.out.constData());
    QVERIFY(!result.out.contains("somebody-else"));
}

void TestCtlRequests::WaitEndsWithTheManager()
{
    m_manager->statuses = {Taskmill_JobStatus::Completed};
    m_manager->answers = {"accepted=1 2\n"};
    const CtlResult result =
        RunCtl({u"submit"_s, u"--wait"_s, u"--json"_s, u"water.mop"_s},
               {.consolePort = m_manager->Port(), .directory = m_directory->path(), .onOutput = [this] {
                    m_manager->GoAway();
                }});
    QCOMPARE(result.status, 3);
    QVERIFY2(result.err.contains("manager has ended"), result.err.constData());
    QCOMPARE(result.JsonLines().size(), 2);
    const QJsonObject told = result.JsonLines().last().value(u"notification"_s).toObject();
    QCOMPARE(told.value(u"jobstatus"_s).toString(), u"completed"_s);
    QCOMPARE(told.value(u"jobtypename"_s).toString(), u"wäter"_s);
}

void TestCtlRequests::FindsTheManager()
{
    FakeManager window;
    const auto port = [](const FakeManager &manager) {
        return QByteArray::number(manager.Port());
    };
    const CtlPlace both{.consolePort = m_manager->Port(), .guiPort = window.Port()};
    QVERIFY(RunCtl({u"test"_s}, both).out.contains(port(*m_manager)));
    QVERIFY(RunCtl({u"test"_s, u"--gui"_s}, both).out.contains(port(window)));
    QVERIFY(RunCtl({u"test"_s}, {.guiPort = window.Port()}).out.contains(port(window)));
    const QString windowPort = QString::number(window.Port());
    QVERIFY(RunCtl({u"test"_s, u"--port"_s, windowPort}, {}).out.contains(port(window)));

    for (const CtlResult &result :
         {RunCtl({u"test"_s}), RunCtl({u"show"_s}, {.consolePort = m_manager->Port()}),
          RunCtl({u"test"_s, u"--console"_s}, {.guiPort = window.Port()}),
          RunCtl({u"submit"_s, Path(u"water.mop"_s)})}) {
        QCOMPARE(result.status, 3);
        QVERIFY2(result.err.contains("No manager answers"), result.err.constData());
    }

    // What only a window can do goes to the window.
    QCOMPARE(RunCtl({u"show"_s}, both).status, 0);
    QCOMPARE(RunCtl({u"hide"_s}, both).status, 0);
    QTRY_COMPARE(window.requests.size(), 2);
    QCOMPARE(window.requests[0].Action, u"show"_s);
    QCOMPARE(window.requests[1].Action, u"hide"_s);
    QVERIFY(m_manager->requests.isEmpty());
}

QTEST_GUILESS_MAIN(TestCtlRequests)
#include "test_ctl_requests.moc"
