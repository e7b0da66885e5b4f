// SPDX-License-Identifier: MIT
#include "manager/jobsubmitter.h"

#include "jobs/job.h"
#include "manager/budget.h"
#include "requests/frontend.h"
#include "requests/requestdispatcher.h"
#include "support/testmanager.h"

using namespace Qt::Literals::StringLiterals;

namespace {
class NoFrontEnd : public Taskmill_FrontEnd
{
public:
    bool HasWindow() const override { return false; }
    void ShowInFront() override {}
    void ShowJob(int) override {}
    void ChooseFiles() override {}
    void PutAway() override {}
    void OfferProject(const QString &) override {}
    bool IsUserBusy() const override { return false; }
    void QuitLater(bool) override {}
};

/// Answers as the test says, and remembers what it was opened with.
class FakeSubmitDialog final : public Taskmill_SubmitDialog
{
public:
    std::optional<Taskmill_SubmitChoice> Answer; ///< cancelled when there is none
    QList<Taskmill_SubmitChoice> Presets;
    std::function<void()> WhileOpen; ///< called once, the next time

    std::optional<Taskmill_SubmitChoice> AskForJobs(const QString &,
                                                    const Taskmill_SubmitChoice &preset) override
    {
        Presets.append(preset);
        if (WhileOpen)
            std::exchange(WhileOpen, {})();
        return Answer;
    }
};
} // namespace

class TestJobSubmitter : public ManagerTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init() override
    {
        ManagerTestCase::init();
        m_manager->NewProject();
        m_manager->Long().Queue()->SetPaused(true);
        m_manager->Short().Queue()->SetPaused(true);
        m_dialog = {};
    }

    void EveryFieldOfTheRequestReachesTheJob()
    {
        AddType(u"Other"_s);
        AddType(u"Run"_s);
        QCOMPARE(
            Submit(
                "clientname=host\nclientappname=Editor\nclientaddress=127.0.0.1\nclientport=7\nclientuid=8\n"
                "clientgid=9\nclientnotification=1\njobtypename=rUN\njobqueue=short\njobname= my job\n"
                "jobinputfile=./x/../a.in\njobinputfile2=b.in\njobstandardinputfile=in\n"
                "jobstandardoutputfile=stdout\njoboutputfile=out\njobchkfile=chk\njobchkfile1=chk1\n"
                "@B=1\n@A=2"),
            QStringList{u" my job Run Short"_s});
        const Taskmill_JobRecord job = Job(1);
        QCOMPARE((QStringList{job.ClientName, job.ClientAppName, job.ClientAddress, job.OutputFile,
                              job.CheckpointFile, job.CheckpointFile2}),
                 (QStringList{u"host"_s, u"Editor"_s, u"127.0.0.1"_s, u"out"_s, u"chk"_s, u"chk1"_s}));
        // The current directory may change before the job runs.
        const QString here = QDir::currentPath();
        QCOMPARE((QStringList{job.InputFilePath, job.InputFilePath2, job.StandardInputFile,
                              job.StandardOutputFile}),
                 (QStringList{here + u"/a.in"_s, here + u"/b.in"_s, here + u"/in"_s, here + u"/stdout"_s}));
        QCOMPARE((QList<int>{job.ClientPort, job.ClientUID, job.ClientGID, job.RunNumber}),
                 (QList<int>{7, 8, 9, 2}));
        QCOMPARE(job.PlaceholderValues, (Taskmill_PlaceholderValues{{u"@B"_s, u"1"_s}, {u"@A"_s, u"2"_s}}));
        QVERIFY(job.ClientNotification);
        QCOMPARE(Submit("jobtypename=Run"), QStringList{u"2 Run Long"_s});
        QVERIFY(!Job(2).ClientNotification);
    }

    /// "name type queue" of the one job, or a part of the reason why there is none.
    void RequestsAndTheirOutcomes_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QString>("outcome");
        const auto add = [](const char *name, const QByteArray &request, const QString &outcome) {
            QTest::newRow(name) << request << outcome;
        };
        add("queue of the request", "jobtypename=S\njobqueue=LONG", u"1 S Long"_s);
        add("queue that begins so", "jobtypename=L\njobqueue=Shortest", u"1 L Short"_s);
        add("queueless", "jobtypename=L\njobqueue=queueless", u"1 L None"_s);
        add("none is queueless", "jobtypename=L\njobqueue=None", u"1 L None"_s);
        add("queue of the type", "jobtypename=S", u"1 S Short"_s);
        add("queue left to the type", "jobtypename=Q\njobqueue=Auto", u"1 Q None"_s);
        add("unknown queue", "jobtypename=S\njobqueue=Fast", u"1 S Short"_s);
        add("type in any case", "jobtypename=l", u"1 L Long"_s);
        add("type of the extension", "jobtypename=Auto\njobinputfile=a.TWO", u"a.TWO Reads Short"_s);
        add("own name", "jobtypename=Reads\njobinputfile=a.two\njobname= my job", u" my job Reads Short"_s);
        add("named like its file", "jobtypename=Reads\njobinputfile=./a.two", u"a.two Reads Short"_s);

        add("no type", "jobqueue=long", u"no job type"_s);
        add("no input file", "jobtypename=Reads", u"input file does not exist"_s);
        add("missing input file", "jobtypename=Reads\njobinputfile=b.two", u"b.two"_s);
        add("type without a queue", "jobtypename=Nowhere", u"Nowhere has no queue"_s);
        add("type without its program", "jobtypename=Gone", u"job type Gone"_s);
        add("nobody chooses a type", "jobtypename=Auto\njobinputfile=a.xyz", u"a.xyz"_s);
    }

    void RequestsAndTheirOutcomes()
    {
        AddType(u"L"_s, u"Long"_s);
        AddType(u"S"_s, u"Short"_s);
        AddType(u"Q"_s, u"Queueless"_s);
        m_manager->AddJobType(u"Reads"_s, u"wait \"@infile\""_s, u"Short"_s, u"Files (*.one *.two)"_s);
        AddType(u"Later"_s, u"Long"_s, u"Files (*.two)"_s);
        AddType(u"Nowhere"_s, u"Elsewhere"_s);
        Taskmill_JobType gone = AddType(u"Gone"_s);
        gone.ExecutablePath = m_manager->Path(u"gone"_s);
        QVERIFY(TestManager::Database().UpdateJobType(gone.JobTypeID, gone));
        m_manager->InputFile(u"a.two"_s);
        m_manager->InputFile(u"a.TWO"_s);

        QFETCH(const QByteArray, request);
        QFETCH(const QString, outcome);
        const auto result = m_manager->Submitter().Submit(Taskmill_RequestMessage::Parse(request));
        if (result.JobIDs.isEmpty())
            QVERIFY2(result.Refusal.contains(outcome), qPrintable(result.Refusal));
        else
            QCOMPARE(Texts(result.JobIDs), QStringList{outcome});
        // The job is in the list that its queue names, and nowhere else.
        const auto jobs = [](Taskmill_QueueOwner &owner, const QString &name) {
            return owner.Jobs().Count() == 0 ? QString{} : u' ' + name;
        };
        QCOMPARE(jobs(m_manager->Long(), u"Long"_s) + jobs(m_manager->Short(), u"Short"_s) +
                     jobs(m_manager->Queueless(), u"None"_s),
                 result.JobIDs.isEmpty() ? QString{} : u' ' + outcome.section(u' ', -1));
    }

    void TypeIsThatOfTheFileOrOfTheUser()
    {
        AddType(u"First"_s);
        AddType(u"Second"_s, u"Long"_s, u"Files (*.one *.two)"_s);
        AddType(u"SECOND"_s);
        m_manager->prompt.texts = {u"None"_s, u"SECOND"_s};
        QCOMPARE(Submit("jobtypename=Auto\njobinputfile=a.xyz"), QStringList{});
        QCOMPARE(Submit("jobtypename=Auto\njobinputfile=a.xyz"), QStringList{u"a.xyz SECOND Long"_s});
        QCOMPARE(Submit("jobtypename=Auto\njobinputfile=a.xyz"), QStringList{});
        const ScriptedPrompt::Asked question = m_manager->prompt.asked.first();
        QVERIFY(question.text.contains(u"cannot be determined from its extension:\n\na.xyz\n"_s));
        QCOMPARE(question.items, (QStringList{u"None"_s, u"First"_s, u"Second"_s, u"SECOND"_s}));

        // Where there is a window, it shows what was chosen.
        UseDialog({});
        QCOMPARE(Submit("jobtypename=Auto\njobinputfile=a.two"), QStringList{});
        QCOMPARE(m_dialog.Presets.size(), 1);
    }

    void UnknownTypeIsRefusedOnDemand()
    {
        AddType(u"First"_s, u"Long"_s, u"Files (*.one *.two)"_s);
        AddType(u"Other"_s, u"Long"_s, u"Files (*.two)"_s);
        const auto refusal = [this](const QByteArray &lines) {
            const auto request = Taskmill_RequestMessage::Parse(lines + "\nclientreply=yes\n");
            return m_manager->Submitter().WouldAsk(request) ? u"asks"_s
                                                            : m_manager->Submitter().Submit(request).Refusal;
        };
        const QByteArray exact = "jobtypeexact=yes\njobtypename=Frist\njobinputfile=a.";
        QCOMPARE(refusal(exact + "one"), u"there is no job type \"Frist\"; for this file there are: First"_s);
        QCOMPARE(refusal(exact + "xyz\nconfirmaction=yes"),
                 u"there is no job type \"Frist\"; there are: First, Other"_s);
        QCOMPARE(refusal("jobtypeexact=yes\njobtypename=first"), QString{});
        // Everybody else gets the type that fits.
        QCOMPARE(Submit("jobtypename=Frist\njobinputfile=a.one"), QStringList{u"a.one First Long"_s});
    }

    void AnswerDescribesTheJobs()
    {
        AddType(u"Lång"_s, u"Long"_s, u"Files (*.one)"_s);
        const auto answer = [this](const QByteArray &request) {
            NoFrontEnd frontEnd;
            return Taskmill_RequestDispatcher{*m_manager, frontEnd}
                .HandleRequest(Taskmill_RequestMessage::Parse(request + "\nclientreply=yes\n"), {})
                .value();
        };
        const QByteArray file = QDir::currentPath().toUtf8() + "/a.one";
        const QByteArray submit = "action=submitjob\njobtypename=";
        QCOMPARE(answer(submit + "lång"), "accepted=1\n");
        const QByteArray wanted = "replydetails=yes\n" + submit;
        QCOMPARE(answer(wanted + "Auto\njobinputfile=a.one"),
                 "accepted=2\njobid=2\njobtypename=Lång\njobqueue=long\nqueuepaused=yes\njobinputfile=" +
                     file + '\n');
        m_manager->Short().Queue()->SetPaused(false);
        QVERIFY(answer(wanted + "lång\njobqueue=short").contains("jobqueue=short\nqueuepaused=no\n"));
        QVERIFY(answer(wanted + "lång\njobqueue=none").contains("jobqueue=none\nqueuepaused=no\n"));
        AddType(u"Two\nlines"_s, u"Long"_s, u"Files (*.two)"_s);
        QVERIFY(answer(wanted + "Auto\njobinputfile=a.two").contains("\njobtypename=Two lines\n"));
        for (const QByteArray action : {"show", "HIDE"})
            QCOMPARE(answer("action=" + action), "refused=a manager on a console has no window\n");
    }

    void OnlyTheWindowAsksForConfirmation()
    {
        AddType(u"Named"_s, u"Short"_s);
        AddType(u"Other"_s);
        const QString file = m_manager->InputFile(u"own.in"_s);
        const QByteArray request = "confirmaction=yes\njobtypename=Named\njobinputfile=" + file.toUtf8();
        QCOMPARE(Submit(request), QStringList{u"own.in Named Short"_s});
        QVERIFY(m_dialog.Presets.isEmpty());
        UseDialog({});
        QCOMPARE(Submit(request), QStringList{});
        // The dialog may write the request's path in another way.
        UseDialog({{.Files = {m_manager->InputFile(u"first.in"_s), u"missing.in"_s, u"./own.in"_s},
                    .Destination = Taskmill_Destination::Long,
                    .JobTypeID = 1}});
        // A request that names no type leaves type and queue to the dialog.
        QCOMPARE(Submit(request + "\njobtypename=\njobname=both\njobchkfile=chk"),
                 (QStringList{u"both Other Long"_s, u"both Other Long"_s}));
        QCOMPARE(Job(2).CheckpointFile, QString{});
        QCOMPARE(Job(3).CheckpointFile, u"chk"_s);
        QCOMPARE(m_dialog.Presets.size(), 2);
        QCOMPARE(m_dialog.Presets[0].Files, QStringList{file});
        QCOMPARE(m_dialog.Presets[0].Destination, Taskmill_Destination::Short);
        QCOMPARE(m_dialog.Presets[0].JobTypeID, 0);
        QCOMPARE(m_dialog.Presets[1].Destination, Taskmill_Destination::JobTypeDefault);
        QCOMPARE(m_dialog.Presets[1].JobTypeID, -1);
    }

    void FilesOfTheUserBecomeJobs()
    {
        AddType(u"One"_s, u"Long"_s, u"Files (*.one)"_s);
        AddType(u"Two"_s, u"Short"_s, u"Files (*.two)"_s);
        const QStringList files{u"a.two"_s, u"b.xyz"_s, u"c.xyz"_s, u"d.xyz"_s, u"e.one"_s};
        for (const QString &file : files)
            m_manager->InputFile(file);
        UseDialog({{.Files = files}});
        // Whoever cancels is not asked about further files.
        m_manager->prompt.texts = {u"One"_s};
        const QList<int> jobIDs = SubmitFiles({u"a.two"_s}, Taskmill_Destination::Queueless);
        QCOMPARE(Texts(jobIDs),
                 (QStringList{u"a.two Two Short"_s, u"b.xyz One Long"_s, u"e.one One Long"_s}));
        QCOMPARE(m_manager->prompt.asked.size(), 3);
        QVERIFY(m_manager->prompt.asked.last().text.endsWith(u"\n\nNo job was made of:\nd.xyz"_s));
        QCOMPARE(m_dialog.Presets.first().Files, QStringList{u"a.two"_s});
        QCOMPARE(m_dialog.Presets.first().Destination, Taskmill_Destination::Queueless);
        QVERIFY(m_dialog.Presets.first().CheckAll);
        QCOMPARE(Job(1).ClientAddress, u"127.0.0.1"_s);
        QVERIFY(!Job(1).ClientNotification);
    }

    void NeedsAreReadAndComparedWithTheBudget()
    {
        AddType(u"Run"_s);
        AddType(u"Two"_s, u"Short"_s, u"Files (*.two)"_s);
        const QByteArray file =
            WriteTestFile(m_manager->Path(u"a.two"_s), "%nproc=4\n%mem=1GB\n#p hf\n\nt\n\n0 1\nHe\n")
                .toLocal8Bit();
        const QByteArray request = "jobtypename=Two\njobinputfile=" + file;
        Taskmill_SetBudget(m_manager->Destinations().Budget(), {.Cores = 6});
        QCOMPARE(Submit(request).size(), 1);
        QCOMPARE(Job(1).InputNeeds.Cores, 4);
        QCOMPARE(Job(1).MemoryMB(), 1024);
        QCOMPARE(Submit(request + "\njobcores=6\njobmemory=99999").size(), 1);
        QCOMPARE(Job(2).MemoryMB(), 99999);
        const auto refused =
            m_manager->Submitter().Submit(Taskmill_RequestMessage::Parse(request + "\njobcores=7"));
        QCOMPARE(refused.Refusal, u"the job is larger than the budget (7 cores of 6)"_s);
        for (const auto &[line, refusal] :
             {std::pair{"jobcores=1000001", u"jobcores is a number from 1 to 1000000: 1000001"_s},
              std::pair{"jobmemory=4GB", u"jobmemory is a number from 1 to 1099511627776: 4GB"_s}}) {
            const auto message = Taskmill_RequestMessage::Parse(request + '\n' + line);
            QCOMPARE(m_manager->Submitter().Submit(message).Refusal, refusal);
        }
        // What has no queue need not fit.
        QCOMPARE(Submit("jobtypename=Run\njobqueue=none\njobcores=7").size(), 1);
        Taskmill_SetBudget(m_manager->Destinations().Budget(), {.MemoryMB = 1000});
        QCOMPARE(Taskmill_StoredBudget(), Taskmill_BudgetLimits{.MemoryMB = 1000});
        UseDialog(Taskmill_SubmitChoice{.Files = {QString::fromLocal8Bit(file)}});
        QVERIFY(SubmitFiles({}, Taskmill_Destination::Short).isEmpty());
        QCOMPARE(m_manager->prompt.asked.last().text,
                 u"The job is larger than the budget (1024 MB of 1000).\n\nNo job was made of:\na.two"_s);
        // The user's own numbers count.
        m_dialog.Answer->Needs[QString::fromLocal8Bit(file)].MemoryMB = 800;
        const QList<int> taken = SubmitFiles({}, Taskmill_Destination::Short);
        QCOMPARE(taken.size(), 1);
        QCOMPARE(Job(taken.first()).MemoryMB(), 800);
        QCOMPARE(Job(taken.first()).Cores(), 4);
        QVERIFY(!Submit(request + "\njobcores=5\njobmemory=7\nconfirmaction=yes").isEmpty());
        QCOMPARE(m_dialog.Presets.last().Needs.value(QString::fromLocal8Bit(file)).Cores, 5);
    }

    void OneQuestionAtATime()
    {
        AddType(u"Run"_s);
        UseDialog({});
        m_dialog.WhileOpen = [&] {
            // What needs no question goes on, the rest waits or is refused.
            QVERIFY(m_manager->Submitter().IsAsking());
            QCOMPARE(Submit("jobtypename=Run").size(), 1);
            QCOMPARE(Submit("jobtypename=Run\nconfirmaction=yes"), QStringList{});
            QCOMPARE(Submit("jobtypename=Auto"), QStringList{});
            (void)SubmitFiles({u"a.in"_s}, Taskmill_Destination::Short);
            (void)SubmitFiles({}, Taskmill_Destination::Short);
            (void)SubmitFiles({u"b.in"_s}, Taskmill_Destination::Queueless, 7);
            QCOMPARE(m_dialog.Presets.size(), 1);
            QVERIFY(m_manager->prompt.asked.isEmpty());
        };
        QCOMPARE(Submit("jobtypename=Run\nconfirmaction=yes"), QStringList{});
        QTRY_COMPARE(m_dialog.Presets.size(), 3);
        QCOMPARE(m_dialog.Presets[1].Destination, Taskmill_Destination::Short);
        QCOMPARE(m_dialog.Presets[2].Files, QStringList{u"b.in"_s});
        QCOMPARE(m_dialog.Presets[2].JobTypeID, 7);
        QVERIFY(!m_manager->Submitter().IsAsking());
    }

private:
    /// Jobs of the type run until they are killed.
    Taskmill_JobType AddType(const QString &name, const QString &queue = u"Long"_s,
                             const QString &inputFileFilter = {})
    {
        return m_manager->AddJobType(name, u"wait"_s, queue, inputFileFilter);
    }

    [[nodiscard]] Taskmill_JobRecord Job(int jobID) const
    {
        for (Taskmill_QueueOwner *owner :
             QList<Taskmill_QueueOwner *>{&m_manager->Long(), &m_manager->Short(), &m_manager->Queueless()}) {
            if (const Taskmill_Job *job = owner->Jobs().FindByJobID(jobID))
                return job->Record();
        }
        return {};
    }

    /// Name, job type and queue of each job.
    [[nodiscard]] QStringList Texts(const QList<int> &jobIDs) const
    {
        QStringList texts;
        for (const int jobID : jobIDs) {
            const Taskmill_JobRecord job = Job(jobID);
            texts += job.Name + u' ' + job.JobType.Name + u' ' + job.QueueName;
        }
        return texts;
    }

    /// The same of the jobs that the request makes.
    QStringList Submit(const QByteArray &request)
    {
        const auto result = m_manager->Submitter().Submit(Taskmill_RequestMessage::Parse(request));
        if (result.JobIDs.isEmpty() == result.Refusal.isEmpty())
            qFatal("Neither refused nor accepted, or both");
        return Texts(result.JobIDs);
    }

    void UseDialog(const std::optional<Taskmill_SubmitChoice> &answer)
    {
        m_manager->Submitter().SetSubmitDialog(&m_dialog);
        m_dialog.Answer = answer;
    }

    QList<int> SubmitFiles(const QStringList &files, Taskmill_Destination destination, int jobTypeID = -1)
    {
        return m_manager->Submitter().SubmitFiles(files, destination, jobTypeID);
    }

    FakeSubmitDialog m_dialog;
};

QTEST_GUILESS_MAIN(TestJobSubmitter)
#include "test_jobsubmitter.moc"
