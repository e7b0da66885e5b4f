#include "ctlrun.h"

#include "db/database.h"
#include "db/databasemanager.h"
#include "jobs/jobnotification.h"
#include "service/requestserver.h"
#include "support/testutil.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

using Status = Taskmill_JobStatus;

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
    void GoAway() { m_server.Close(); }
    [[nodiscard]] quint16 Port() const { return m_server.Port(); }

    QList<QByteArray> answers;
    QList<Status> statuses;     ///< of the jobs in the order of their ends
    bool notifiesFirst = false; ///< before the answer
    QList<Taskmill_RequestMessage> requests;
    QList<QByteArray> sent; ///< notifications

private:
    /// Tells the client of one job, and of another client's, as the real manager does.
    void Notify(const Taskmill_RequestMessage &request)
    {
        Taskmill_JobRecord job;
        job.ClientName = request.ClientName;
        job.ClientAppName = u"taskmillctl-of-somebody-else"_s;
        job.ClientAddress = request.ClientAddress;
        job.ClientPort = request.ClientPort;
        job.ClientNotification = request.ClientNotification.value_or(false);
        job.JobType.Name = u"Wäter"_s;
        job.InputFilePath = request.JobInputFile;
        job.Status = statuses.takeFirst();
        QVERIFY(Taskmill_WantsNotification(job, u"TaskmillGUI"_s));
        const QByteArray foreign = Taskmill_JobFinishedMessage(job, 0, u"TaskmillGUI"_s);
        job.ClientAppName = request.ClientAppName;
        sent.append(Taskmill_JobFinishedMessage(job, 0, u"TaskmillGUI"_s));
        for (const QByteArray &message : {foreign, sent.last()})
            QVERIFY(Taskmill_SendMessage(job.ClientAddress, job.ClientPort, message));
    }

    Taskmill_RequestServer m_server{*this};
};

QJsonArray JsonArray(const CtlResult &result)
{
    return QJsonDocument::fromJson(result.out).array();
}
} // namespace

class TestCtl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void WrongUsageSendsNothing();
    void RequestHoldsAllOptions();
    void AnswerDecidesTheStatus();
    void EachFileHasItsOwnRequest();
    void WaitsForTheEndOfEachJob();
    void WaitEndsWithTheManager();
    void FindsTheManager();
    void NewProjectReplacesNothingUnasked();
    void JobTypesComeAndGo();
    void JobsAreListed();
    void OtherFilesAreNoProjects();

private:
    /// In the directory of the test, with its manager; the test program is the only one that is installed.
    /// The words of the line are the arguments, and so is the rest.
    [[nodiscard]] CtlResult Run(const QString &line, const QStringList &rest = {},
                                const std::function<void()> &onOutput = {}) const
    {
        return RunCtl(line.split(u' ') + rest, {.consolePort = m_manager->Port(),
                                                .directory = m_directory->path(),
                                                .variables = {u"VELTRA_EXE="_s + TestProgramPath(),
                                                              u"GAUSS_EXEDIR="_s + m_directory->path()},
                                                .onOutput = onOutput});
    }
    /// What it says about a run that ends with this status and without output.
    [[nodiscard]] QByteArray Complaint(int status, const QString &line, const QStringList &rest = {}) const
    {
        const CtlResult result = Run(line, rest);
        return result.status == status && result.out.isEmpty() ? result.err : "Unexpected: " + result.out;
    }
    [[nodiscard]] QString Path(const QString &name) const { return m_directory->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<FakeManager> m_manager;
};

void TestCtl::init()
{
    FailOnQtWarnings();
    m_directory = std::make_unique<QTemporaryDir>();
    WriteTestFile(Path(u"water.mop"_s), "x");
    WriteTestFile(Path(u"größe 2.mop"_s), "x");
    m_manager = std::make_unique<FakeManager>();
}

void TestCtl::WrongUsageSendsNothing()
{
    QVERIFY(Complaint(2, u"submit"_s).contains("submit needs FILE"));
    QVERIFY(Complaint(2, u"submit water.mop --frob"_s).contains("frob"));
    QVERIFY(Complaint(2, u"submit water.mop --queue longest"_s).contains("--queue needs"));
    QVERIFY(Complaint(2, u"submit water.mop ice.mop"_s).contains("does not exist: ice.mop"));
    QVERIFY(Complaint(2, u"submit ."_s).contains("directory"));
    QVERIFY(Complaint(2, u"submit water.mop --stdin no.inp"_s).contains("does not exist: no.inp"));
    QVERIFY(Complaint(2, u"submit water.mop water.mop --output o.out"_s).contains("--output"));
    QVERIFY(Complaint(2, u"submit water.mop --name a\naction=hide"_s).contains("line feed"));
    QVERIFY(Complaint(2, u"submit water.mop --chk="_s).contains("empty"));
    QVERIFY(Complaint(2, u"submit water.mop --set @A\nB=1"_s).contains("@NAME=VALUE"));
    QVERIFY(Complaint(2, u"submit water.mop --port 65536"_s).contains("--port"));
    QVERIFY(m_manager->requests.isEmpty());
}

void TestCtl::RequestHoldsAllOptions()
{
    m_manager->answers = {"accepted=7\n"};
    const CtlResult result = Run(
        u"submit water.mop --type Water --queue queueless --stdin water.mop --stdout s.txt --output o.out "
        "--chk c.chk --chk1 sub/../c1.chk --set @TITLE=a\nb --set=@N=1=2 --confirm"_s,
        {u"--name"_s, u"Lake = 1"_s, u"--input2"_s, u"größe 2.mop"_s});
    QCOMPARE(result.status, 0);
    QCOMPARE(m_manager->requests.size(), 1);
    const Taskmill_RequestMessage &request = m_manager->requests.first();
    QCOMPARE((QStringList{request.ClientName, request.Action, request.JobTypeName, request.JobQueue,
                          request.JobName}),
             (QStringList{u"taskmillctl"_s, u"submitjob"_s, u"Water"_s, u"queueless"_s, u"Lake = 1"_s}));
    QCOMPARE((QStringList{request.JobInputFile, request.JobInputFile2, request.JobStandardInputFile,
                          request.JobStandardOutputFile, request.JobOutputFile, request.JobChkFile,
                          request.JobChkFile1}),
             (QStringList{Path(u"water.mop"_s), Path(u"größe 2.mop"_s), Path(u"water.mop"_s),
                          Path(u"s.txt"_s), Path(u"o.out"_s), Path(u"c.chk"_s), Path(u"c1.chk"_s)}));
    QCOMPARE(request.PlaceholderValues,
             (Taskmill_PlaceholderValues{{u"@TITLE"_s, u"a\nb"_s}, {u"@N"_s, u"1=2"_s}}));
    QVERIFY(request.ConfirmAction && !request.ClientNotification.has_value());
}

void TestCtl::AnswerDecidesTheStatus()
{
    m_manager->answers = {"accepted=7 8\n", "refused=keine Größe %1\n", {},
                          "accepted=7",     "HTTP/1.1 400\r\n\r\n",     QByteArray(1 << 21, 'x')};
    QCOMPARE(Run(u"submit water.mop"_s).out, "Job 7: water.mop\nJob 8: water.mop\n");
    QVERIFY(Complaint(4, u"submit water.mop"_s).contains("water.mop was refused: keine Größe %1"));
    QVERIFY(Complaint(3, u"submit water.mop"_s).contains("without an answer"));
    QVERIFY(Complaint(3, u"submit water.mop"_s).contains("without an answer"));
    QVERIFY(Complaint(3, u"submit water.mop"_s).contains("understood"));
    QVERIFY(Complaint(3, u"submit water.mop"_s).contains("understood"));
}

void TestCtl::EachFileHasItsOwnRequest()
{
    m_manager->answers = {"refused=no\n", "accepted=3\n"};
    const CtlResult result = Run(u"submit --json water.mop"_s, {u"größe 2.mop"_s});
    QCOMPARE(result.status, 4);
    const QList<QJsonObject> expected{
        {{u"file"_s, Path(u"water.mop"_s)}, {u"refused"_s, u"no"_s}},
        {{u"file"_s, Path(u"größe 2.mop"_s)}, {u"accepted"_s, QJsonArray{3}}},
    };
    QCOMPARE(result.JsonLines(), expected);

    // The second request gets no answer, the third is not sent.
    m_manager->answers = {"accepted=4\n", ""};
    m_manager->requests.clear();
    const CtlResult cut = Run(u"submit water.mop water.mop"_s, {u"größe 2.mop"_s});
    QCOMPARE(cut.status, 3);
    QVERIFY2(cut.err.contains("größe 2.mop was not submitted"), cut.err.constData());
    QCOMPARE(m_manager->requests.size(), 2);
    // Type and queue are left to the manager.
    QCOMPARE(m_manager->requests.first().JobTypeName + m_manager->requests.first().JobQueue, u"Auto"_s);
}

void TestCtl::WaitsForTheEndOfEachJob()
{
    const auto statusOfTwo = [this](Status first, Status second, bool notifiesFirst) {
        m_manager = std::make_unique<FakeManager>();
        m_manager->statuses = {first, second};
        m_manager->notifiesFirst = notifiesFirst;
        m_manager->answers = {"accepted=1\n", "accepted=2\n"};
        const CtlResult result = Run(u"submit --wait water.mop"_s, {u"größe 2.mop"_s});
        const bool isWhole = m_manager->sent.size() == 2 && result.out.contains(m_manager->sent[0] + '\n') &&
                             result.out.contains(m_manager->sent[1] + '\n');
        return isWhole && !result.out.contains("somebody-else") ? result.status : -1;
    };
    QCOMPARE(statusOfTwo(Status::Completed, Status::Completed, false), 0);
    QCOMPARE(statusOfTwo(Status::Failed, Status::Completed, false), 1);
    // The ends overtake the answers.
    QCOMPARE(statusOfTwo(Status::Completed, Status::Killed, true), 1);
}

void TestCtl::WaitEndsWithTheManager()
{
    m_manager->statuses = {Status::Completed};
    m_manager->answers = {"accepted=1 2\n"};
    const CtlResult result = Run(u"submit --wait --json water.mop"_s, {}, [this] { m_manager->GoAway(); });
    QCOMPARE(result.status, 3);
    QVERIFY2(result.err.contains("manager has ended"), result.err.constData());
    const QJsonObject told = result.JsonLines().last().value(u"notification"_s).toObject();
    QCOMPARE(told.value(u"jobstatus"_s).toString(), u"completed"_s);
    QCOMPARE(told.value(u"jobtypename"_s).toString(), u"wäter"_s);
}

void TestCtl::FindsTheManager()
{
    FakeManager window;
    const auto answers = [](const FakeManager &manager, const QStringList &arguments, const CtlPlace &place) {
        return RunCtl(arguments, place).out.contains(QByteArray::number(manager.Port()));
    };
    const CtlPlace both{.consolePort = m_manager->Port(), .guiPort = window.Port()};
    QVERIFY(answers(*m_manager, {u"test"_s}, both));
    QVERIFY(answers(window, {u"test"_s, u"--gui"_s}, both));
    QVERIFY(answers(window, {u"test"_s}, {.guiPort = window.Port()}));
    QVERIFY(answers(window, {u"test"_s, u"--port"_s, QString::number(window.Port())}, {}));
    for (const CtlResult &result : {RunCtl({u"show"_s}, {.consolePort = m_manager->Port()}),
                                    RunCtl({u"test"_s, u"--console"_s}, {.guiPort = window.Port()}),
                                    RunCtl({u"submit"_s, Path(u"water.mop"_s)})}) {
        QCOMPARE(result.status, 3);
        QVERIFY2(result.err.contains("No manager answers"), result.err.constData());
    }

    // What only a window can do goes to the window.
    QCOMPARE(RunCtl({u"hide"_s}, both).status, 0);
    QTRY_COMPARE(window.requests.size(), 1);
    QCOMPARE(window.requests[0].Action, u"hide"_s);
    QVERIFY(m_manager->requests.isEmpty());
}

void TestCtl::NewProjectReplacesNothingUnasked()
{
    WriteTestFile(Path(u"letter.txt"_s), "dear");
    QVERIFY(Complaint(5, u"project create letter.txt"_s).contains("--force"));
    QCOMPARE(ReadTestFile(Path(u"letter.txt"_s)), "dear"_ba);
    QCOMPARE(Run(u"project create --force letter.txt"_s).status, 0);
    QVERIFY(Run(u"jobs letter.txt --long"_s).out.startsWith("Long Jobs Queue is Empty\n"));
    QCOMPARE(Run(u"project create no/such/place.mill"_s).status, 5);
}

void TestCtl::JobTypesComeAndGo()
{
    QCOMPARE(Run(u"project create größe.mill"_s).status, 0);
    const QByteArray before = ReadTestFile(Path(u"größe.mill"_s));
    const QString add = u"types add größe.mill --name Water --exe "_s;
    QVERIFY(Complaint(2, u"types add größe.mill --name Water"_s).contains("--exe"));
    QVERIFY(Complaint(2, add + u"no.exe"_s).contains("no.exe"));
    QVERIFY(Complaint(2, add + TestProgramPath(), {u"--name=veltra"_s}).contains("of that name"));
    QVERIFY(Complaint(2, add + TestProgramPath() + u" --queue=longest"_s).contains("--queue"));
    QVERIFY(Complaint(2, add + TestProgramPath() + u" --env=A"_s).contains("--env"));
    QVERIFY(Complaint(2, add + TestProgramPath() + u" --command-line=x"_s).contains("@EXEFILE"));
    QCOMPARE(ReadTestFile(Path(u"größe.mill"_s)), before);

    QCOMPARE(Run(u"types add größe.mill --name O'Hara --queue Queueless --env=A=1=2 --env=B="_s,
                 {u"--exe"_s, TestProgramPath(), u"--command-line"_s, u"@EXEFILE\n@INFILE"_s,
                  u"--input-filter"_s, u"Water (*.mop)"_s})
                 .status,
             0);
    const QJsonObject expected{
        {u"id"_s, 1},
        {u"name"_s, u"O'Hara"_s},
        {u"applicationname"_s, QFileInfo{TestProgramPath()}.fileName()},
        {u"executablepath"_s, TestProgramPath()},
        {u"defaultqueue"_s, u"Queueless"_s},
        {u"inputfilefilter"_s, u"Water (*.mop)"_s},
        {u"outputfilefilter"_s, QString{}},
        {u"environmentvariables"_s, QJsonArray{u"A=1=2"_s, u"B="_s}},
        {u"genericcommandline"_s, u"@EXEFILE\n@INFILE"_s},
    };
    QCOMPARE(JsonArray(Run(u"types list größe.mill --json"_s)).at(1).toObject(), expected);
    QCOMPARE(Run(u"types remove größe.mill unknown"_s).status, 2);
    QCOMPARE(Run(u"types remove größe.mill o'hara"_s).status, 0);
    QCOMPARE(JsonArray(Run(u"types list größe.mill --json"_s)).size(), 1);
}

void TestCtl::JobsAreListed()
{
    QCOMPARE(Run(u"project create jobs.mill"_s).status, 0);
    const auto database = Taskmill_Database_Manager::MakeMemoryDatabase();
    QVERIFY(database->LoadFromFile(Path(u"jobs.mill"_s)));
    Taskmill_JobRecord job;
    job.JobType = database->GetJobTypes().first();
    job.Name = u"Wasser"_s;
    job.JobID = 4;
    QVERIFY(database->InsertLongJob(job, true));
    job.Status = Status::Completed;
    job.Finished = QDateTime{{2024, 3, 9}, {18, 0, 0}};
    QVERIFY(database->InsertFinishedJob(job, true));
    QVERIFY(database->SaveToFile(Path(u"jobs.mill"_s)));

    const QJsonObject finished = JsonArray(Run(u"jobs jobs.mill --json"_s)).at(0).toObject();
    QCOMPARE(finished.value(u"list"_s).toString(), u"finished"_s);
    QCOMPARE(finished.value(u"status"_s).toString(), u"Completed"_s);
    QCOMPARE(finished.value(u"finished"_s).toString(), u"2024-03-09T18:00:00"_s);
    const QJsonArray queued = JsonArray(Run(u"jobs jobs.mill --json --long"_s));
    QCOMPARE(queued.size(), 1);
    QCOMPARE(queued.at(0).toObject().value(u"id"_s).toInt(), 4);
    const QByteArray text = Run(u"jobs jobs.mill"_s).out;
    QVERIFY2(text.contains("Wasser  Completed") && text.contains("Short Jobs Queue is Empty"),
             text.constData());
}

void TestCtl::OtherFilesAreNoProjects()
{
    for (const QByteArray &content : {""_ba, QByteArray(5000, 'x'), "SQLite format 3\0"_ba}) {
        WriteTestFile(Path(u"other.mill"_s), content);
        QVERIFY(Complaint(5, u"jobs other.mill"_s).contains("project file"));
        QVERIFY(Complaint(5, u"types add other.mill --name=A --exe"_s, {TestProgramPath()})
                    .contains("project file"));
        QCOMPARE(ReadTestFile(Path(u"other.mill"_s)), content);
    }
    QCOMPARE(Run(u"jobs missing.mill"_s).status, 2);
}

QTEST_GUILESS_MAIN(TestCtl)
#include "test_ctl.moc"
