// SPDX-License-Identifier: MIT
#include "ctlrun.h"

#include "db/databasemanager.h"
#include "db/databasetestutil.h"
#include "jobs/jobnotification.h"
#include "requests/notificationsender.h"
#include "requests/requestserver.h"
#include "support/testcase.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

using Status = Taskmill_JobStatus;

namespace {
/// Plays the manager: remembers the requests and answers from a list.
class FakeManager final : public Taskmill_RequestHandler
{
public:
    FakeManager() { m_server.Listen(0); }

    std::optional<QByteArray> HandleRequest(const Taskmill_RequestMessage &request,
                                            const Taskmill_LateAnswer &) override
    {
        requests.append(request);
        // The end of a job may overtake the answer.
        if (!statuses.isEmpty())
            Notify(request);
        return answers.isEmpty() ? QByteArray{} : answers.takeFirst();
    }
    [[nodiscard]] bool CanHandleNow(const Taskmill_RequestMessage &) const override { return !isBusy; }
    void GoAway() { m_server.Close(); }
    [[nodiscard]] quint16 Port() const { return m_server.Port(); }

    bool isBusy = false;
    QList<QByteArray> answers;
    QList<Status> statuses; ///< of the jobs in the order of their ends
    QList<Taskmill_RequestMessage> requests;
    QList<QByteArray> sent; ///< notifications

private:
    /// Notifies the client of one job, and of another client's, as the real manager does.
    void Notify(const Taskmill_RequestMessage &request)
    {
        Taskmill_JobRecord job;
        job.ClientName = request.ClientName;
        // A client whose process has another number, which is as long.
        job.ClientAppName = request.ClientAppName;
        QChar &digit = job.ClientAppName[job.ClientAppName.indexOf(u'-') + 1];
        digit = digit == u'1' ? u'2' : u'1';
        job.ClientAddress = request.ClientAddress;
        job.ClientPort = request.ClientPort;
        job.ClientNotification = request.ClientNotification.value_or(false);
        job.JobType.Name = u"Wäter"_s;
        job.InputFilePath = request.JobInputFile;
        job.Status = statuses.takeFirst();
        QVERIFY(Taskmill_WantsNotification(job, u"TaskmillGUI"_s));
        job.ExitCode = job.Status == Status::Failed ? 3 : 0;
        const QByteArray foreign = Taskmill_JobFinishedMessage(job, u"TaskmillGUI"_s);
        job.ClientAppName = request.ClientAppName;
        sent.append(Taskmill_JobFinishedMessage(job, u"TaskmillGUI"_s));
        Send({.Address = job.ClientAddress, .Port = job.ClientPort, .Message = foreign},
             {.Address = job.ClientAddress, .Port = job.ClientPort, .Message = sent.last()});
    }
    void Send(const Taskmill_Notification &first, const Taskmill_Notification &second)
    {
        using Outcome = Taskmill_Notifier::Outcome;
        const auto mustBeDelivered = [](Outcome outcome, const QString &) {
            QCOMPARE(outcome, Outcome::Delivered);
        };
        m_sender.Send(first, 1h, [this, second, mustBeDelivered](Outcome outcome, const QString &reason) {
            mustBeDelivered(outcome, reason);
            m_sender.Send(second, 1h, mustBeDelivered);
        });
    }

    Taskmill_RequestServer m_server{*this};
    Taskmill_NotificationSender m_sender;
};
} // namespace

class TestCtl : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init() override
    {
        TestCase::init();
        WriteTestFile(Path(u"water.mop"_s), "x");
        WriteTestFile(Path(u"größe 2.mop"_s), "x");
        m_manager = std::make_unique<FakeManager>();
    }

    void WrongUsageSendsNothing()
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
        QVERIFY(Complaint(2, u"submit water.mop --class Lake"_s).contains("class"));
        for (const QString &seconds : {u"-1"_s, u"1s"_s, u"nan"_s, u"1e99"_s, QString{}})
            QVERIFY(Complaint(2, u"submit water.mop --timeout="_s + seconds).contains("--timeout"));
        QVERIFY(m_manager->requests.isEmpty());
    }

    void RequestHoldsAllOptions()
    {
        m_manager->answers = {"accepted=7\n"};
        const CtlResult result =
            Run(u"submit water.mop --type Water --queue queueless --stdin water.mop --stdout s.txt "
                "--output o.out --chk c.chk --chk1 sub/../c1.chk --set @TITLE=a\nb --set=@N=1=2 --confirm"_s,
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
        QVERIFY(request.ConfirmAction);
        QVERIFY(!request.ClientNotification.has_value());
        QVERIFY(request.ExactJobType);
        QVERIFY(request.DetailedReply);
    }

    void AnswerDecidesTheStatus()
    {
        m_manager->answers = {"accepted=7 8\n",           "accepted=9\njobid=9\njobtypename=Wäter\nlater=1\n",
                              "refused=keine Größe %1\n", "accepted=7",
                              "HTTP/1.1 400\r\n\r\n",     QByteArray(1 << 21, 'x')};
        QCOMPARE(Run(u"submit water.mop"_s).out, "Job 7: water.mop\nJob 8: water.mop\n");
        QCOMPARE(Run(u"submit water.mop --queue none"_s).out, "Job 9: water.mop (Wäter)\n");
        QVERIFY(Complaint(4, u"submit water.mop"_s).contains("water.mop was refused: keine Größe %1"));
        QVERIFY(Complaint(3, u"submit water.mop"_s).contains("without an answer"));
        QVERIFY(Complaint(3, u"submit water.mop"_s).contains("understood"));
        QVERIFY(Complaint(3, u"submit water.mop"_s).contains("understood"));
    }

    void EachFileHasItsOwnRequest()
    {
        m_manager->answers = {"refused=\"n\\o\"\t\n", "accepted=3\n", "accepted=4\n", ""};
        const CtlResult result = Run(u"submit --json water.mop"_s, {u"größe 2.mop"_s});
        QCOMPARE(result.status, 4);
        QCOMPARE(QJsonDocument::fromJson(result.out.split('\n').value(0)).object()[u"refused"_s].toString(),
                 u"\"n\\o\"\t"_s);
        QCOMPARE(result.out.split('\n').value(1),
                 "{\"accepted\":[3],\"file\":\"" + Path(u"größe 2.mop"_s).toUtf8() + "\"}");

        // The second request gets no answer, the third is not sent.
        const CtlResult unanswered = Run(u"submit water.mop water.mop"_s, {u"größe 2.mop"_s});
        QCOMPARE(unanswered.status, 3);
        QVERIFY2(unanswered.err.contains("größe 2.mop was not submitted"), unanswered.err.constData());
        QCOMPARE(m_manager->requests.size(), 4);
        // Type and queue are left to the manager.
        QCOMPARE(m_manager->requests.first().JobTypeName + m_manager->requests.first().JobQueue, u"Auto"_s);
        QVERIFY(!m_manager->requests.first().ExactJobType);
    }

    void ReportsTheEndOfEachJob()
    {
        const QByteArray paused = "jobqueue=long\nqueuepaused=yes\n";
        m_manager->statuses = {Status::Failed, Status::Completed, Status::Killed};
        m_manager->answers = {"accepted=22\njobid=22\n" + paused, "accepted=23\njobid=23\n" + paused,
                              "accepted=24\n"};
        const CtlResult result = Run(u"submit --wait water.mop water.mop water.mop"_s);
        QCOMPARE(result.status, 1);
        // A notification may come before the next answer.
        QByteArrayList lines = result.out.trimmed().split('\n');
        std::ranges::sort(lines);
        QCOMPARE(lines,
                 (QByteArrayList{"Job 22: failed, exit code 3", "Job 22: water.mop", "Job 23: completed",
                                 "Job 23: water.mop", "Job 24: killed", "Job 24: water.mop"}));
        // Whoever waits for a paused queue hears of it once.
        QCOMPARE(result.err.count("is paused: job 22 waits"), 1);

        m_manager->statuses = {Status::Killed};
        m_manager->answers = {"accepted=1\n"};
        const CtlResult raw = Run(u"submit --wait --raw water.mop"_s);
        QCOMPARE(raw.status, 1);
        QVERIFY2(raw.out.contains(m_manager->sent.last() + '\n'), raw.out.constData());
        QVERIFY(!raw.out.contains("somebody-else"));
    }

    void SaysWhatItWaitsFor()
    {
        m_manager->isBusy = true;
        m_manager->answers = {"accepted=1\n"};
        const CtlResult result =
            RunCtl({u"submit"_s, u"water.mop"_s},
                   {.consolePort = m_manager->Port(), .directory = Path(), .onError = [this] {
                        m_manager->isBusy = false;
                    }});
        QCOMPARE(result.status, 0);
        QVERIFY2(result.err.contains("asking its user for the job type"), result.err.constData());
    }

    void WaitsNoLongerThanItMay()
    {
        m_manager->answers = {"accepted=1 2\n"};
        m_manager->statuses = {Status::Completed};
        // Time enough for the answer, which the time is for, too.
        const CtlResult result = Run(u"submit --wait --timeout %1 water.mop"_s.arg(isWindows ? 8 : 1));
        QCOMPARE(result.status, 6);
        QVERIFY2(result.err.contains("not ended in time and go on: "), result.err.constData());
        m_manager->isBusy = true;
        QVERIFY(Complaint(6, u"submit --timeout 0.2 water.mop"_s).contains("not answered in time"));
    }

    void WaitEndsWithTheManager()
    {
        m_manager->statuses = {Status::Completed};
        m_manager->answers = {"accepted=1 2\n"};
        const CtlResult result =
            Run(u"submit --wait --json water.mop"_s, {}, [this] { m_manager->GoAway(); });
        QCOMPARE(result.status, 3);
        QVERIFY2(result.err.contains("manager has ended"), result.err.constData());
        QVERIFY2(result.out.contains("\"jobstatus\":\"completed\",\"jobtypename\":\"wäter\""),
                 result.out.constData());
    }

    void FindsTheManager()
    {
        FakeManager window;
        const auto answers = [](const FakeManager &manager, const QStringList &arguments,
                                const CtlPlace &place) {
            return RunCtl(arguments, place).out.contains(QByteArray::number(manager.Port()));
        };
        const CtlPlace both{.consolePort = m_manager->Port(), .guiPort = window.Port()};
        QVERIFY(answers(*m_manager, {u"test"_s}, both));
        QVERIFY(answers(window, {u"test"_s, u"--gui"_s}, both));
        QVERIFY(answers(window, {u"test"_s}, {.guiPort = window.Port()}));
        QVERIFY(answers(window, {u"test"_s, u"--port"_s, QString::number(window.Port())}, {}));
        // What only a window can do goes to the window.
        QVERIFY(Complaint(3, u"hide"_s).contains("No manager answers"));
        QCOMPARE(RunCtl({u"hide"_s}, both).status, 0);
        QTRY_COMPARE(window.requests.size(), 1);
        QCOMPARE(window.requests[0].Action, u"hide"_s);
        QVERIFY(m_manager->requests.isEmpty());
    }

    void OtherFilesAreLeftAlone()
    {
        const QString file = Path(u"other.mill"_s);
        for (const QByteArray &content : {""_ba, "dear"_ba, QByteArray(5000, 'x'), "SQLite format 3\0"_ba}) {
            WriteTestFile(file, content);
            QVERIFY(Complaint(5, u"jobs other.mill"_s).contains("project file"));
            QVERIFY(Complaint(5, u"project create other.mill"_s).contains("--force"));
            QCOMPARE(Run(u"types remove other.mill Water"_s).status, 5);
            QCOMPARE(ReadTestFile(file), content);
        }
        QCOMPARE(Run(u"project create --force other.mill"_s).status, 0);
        QVERIFY(Run(u"jobs other.mill --long"_s).out.startsWith("Long Jobs Queue is Empty\n"));
        if constexpr (!isWindows) {
            QVERIFY(QFile::link(u"nowhere.mill"_s, Path(u"link.mill"_s)));
            QVERIFY(Complaint(5, u"project create link.mill"_s).contains("--force"));
        }
        QCOMPARE(Run(u"project create no/such/place.mill"_s).status, 5);
        QVERIFY(Run(u"project create plain"_s).out.contains("plain.mill"));
        QCOMPARE(Run(u"jobs plain.mill"_s).status, 0);
        QCOMPARE(Run(u"jobs missing.mill"_s).status, 2);
    }

    void JobTypesComeAndGo()
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
        QVERIFY(Complaint(2, add + TestProgramPath() + u" --kill-grace=61"_s).contains("--kill-grace"));
        QCOMPARE(ReadTestFile(Path(u"größe.mill"_s)), before);

        QCOMPARE(Run(u"types add größe.mill --name O'Hara --queue Queueless --env=A=1=2 --env=B="_s,
                     {u"--exe"_s, TestProgramPath(), u"--command-line"_s, u"@EXEFILE\n@INFILE"_s,
                      u"--input-filter"_s, u"Water (*.mop)"_s})
                     .status,
                 0);
        const QByteArray types = Run(u"types list größe.mill"_s).out;
        for (const QByteArray &cell :
             {"\n1     O'Hara  "_ba, TestProgramPath().toLocal8Bit() + "  Queueless  "_ba,
              "  Water (*.mop)  "_ba, "  A=1=2 ; B=  "_ba, "  @EXEFILE @INFILE"_ba})
            QVERIFY2(types.contains(cell), types.constData());
        ExpectFields(
            Run(u"types list größe.mill --json"_s).out,
            "{`id`:1,`name`:`O'Hara`,`applicationname`:`%2`,`executablepath`:`%1`,`defaultqueue`:`Queueless`,"
            "`inputfilefilter`:`Water (*.mop)`,`outputfilefilter`:``,"
            "`environmentvariables`:[`A=1=2`,`B=`],`genericcommandline`:`@EXEFILE\\n@INFILE`}");
        QCOMPARE(Run(u"types remove größe.mill unknown"_s).status, 2);
        QCOMPARE(Run(u"types remove größe.mill o'hara"_s).status, 0);
        QVERIFY(!Run(u"types list größe.mill"_s).out.contains("O'Hara"));
    }

    void JobsAreListed()
    {
        QCOMPARE(Run(u"project create jobs.mill"_s).status, 0);
        const auto database = Taskmill_Database_Manager::MakeMemoryDatabase();
        QVERIFY(database->LoadFromFile(Path(u"jobs.mill"_s)));
        Taskmill_JobRecord job = SampleJob(database->GetJobTypes().first(), 7);
        job.StandardInputFile = u"/tmp/answers"_s;
        job.PlaceholderValues = {{u"@TITLE"_s, u"Eis"_s}};
        QVERIFY(database->InsertFinishedJob(job, true));
        QVERIFY(database->SaveToFile(Path(u"jobs.mill"_s)));

        const QByteArray text = Run(u"jobs jobs.mill"_s).out;
        for (const char *part : {"Wasser – 水's  Completed", "Short Jobs Queue is Empty",
                                 "standard input=/tmp/answers; @TITLE=Eis"})
            QVERIFY2(text.contains(part), text.constData());
        QVERIFY(!Run(u"jobs jobs.mill --long"_s).out.contains("Wasser"));
        ExpectFields(
            Run(u"jobs jobs.mill --finished --json"_s).out,
            "{`list`:`finished`,`id`:7,`name`:`Wasser – "
            "水's`,`status`:`Completed`,`jobtype`:`Veltra`,`queue`:`Long`,"
            "`executablepath`:`%1`,`commandline`:`%1 -nproc=0 -b "
            "/tmp/Größe's.mop`,`inputfile`:`/tmp/Größe's.mop`,"
            "`inputfile2`:`/tmp/second`,`submitted`:`2024-02-29T01:02:03`,`started`:`2024-02-29T01:02:04`,"
            "`finished`:`2024-03-01T00:00:00`,`clientname`:`host`,`clientappname`:`app`}");
    }

private:
    /// In the directory of the test, with its manager; the test program is the only one that is installed.
    /// The words of the line are the arguments, and so is the rest.
    [[nodiscard]] CtlResult Run(const QString &line, const QStringList &rest = {},
                                const std::function<void()> &onOutput = {}) const
    {
        return RunCtl(line.split(u' ') + rest,
                      {.consolePort = m_manager->Port(),
                       .directory = Path(),
                       .variables = {u"VELTRA_EXE="_s + TestProgramPath(), u"GAUSS_EXEDIR="_s + Path()},
                       .onOutput = onOutput});
    }
    /// What it says about a run that ends with this status and without output.
    [[nodiscard]] QByteArray Complaint(int status, const QString &line, const QStringList &rest = {}) const
    {
        const CtlResult result = Run(line, rest);
        return result.status == status && result.out.isEmpty() ? result.err : "Unexpected: " + result.out;
    }
    /// The last object of the list has all these; ` is a quote, %1 the test program, %2 its name.
    static void ExpectFields(const QByteArray &json, QByteArray expected)
    {
        const QJsonObject shown = QJsonDocument::fromJson(json).array().last().toObject();
        expected.replace('`', '"')
            .replace("%1", TestProgramPath().toUtf8())
            .replace("%2", QFileInfo{TestProgramPath()}.fileName().toUtf8());
        QJsonObject fields = QJsonDocument::fromJson(expected).object();
        if (const QString commandLine = fields.value(u"commandline"_s).toString(); !commandLine.isEmpty())
            fields[u"commandline"_s] = QDir::toNativeSeparators(commandLine);
        QVERIFY(!fields.isEmpty());
        for (auto field = fields.begin(); field != fields.end(); ++field)
            QCOMPARE(shown[field.key()], field.value());
    }

    std::unique_ptr<FakeManager> m_manager;
};

QTEST_GUILESS_MAIN(TestCtl)
#include "test_ctl.moc"
