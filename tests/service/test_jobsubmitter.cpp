#include "service/jobsubmitter.h"

#include "jobs/job.h"
#include "jobs/runmode.h"
#include "support/testmanager.h"
#include "support/testutil.h"

#include <QDir>
#include <QtTest>

#include <functional>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
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

class TestJobSubmitter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void EveryFieldOfTheRequestReachesTheJob();
    void QueueIsThatOfTheRequestOrOfTheType();
    void TypeIsThatOfTheFileOrOfTheUser();
    void RefusedRequestsMakeNoJob();
    void OnlyTheWindowAsksForConfirmation();
    void FilesOfTheUserBecomeJobs();
    void OneQuestionAtATime();

private:
    /// Jobs of the type run until they are killed.
    Taskmill_JobType AddType(const QString &name, const QString &queue = u"Long"_s,
                             const QString &inputFileFilter = {})
    {
        return m_manager->AddJobType(name, u"wait"_s, queue, inputFileFilter);
    }
    [[nodiscard]] Taskmill_JobRecord Job(int jobID) const;
    /// Name, job type and queue of each job.
    [[nodiscard]] QStringList Texts(const QList<int> &jobIDs) const;
    /// The same of the jobs that the request makes.
    QStringList Submit(const Taskmill_RequestMessage &request);
    /// A request for one job, with the input file own.in, that is to be confirmed.
    [[nodiscard]] Taskmill_RequestMessage Confirmed(const QString &jobTypeName) const;
    void UseDialog(const std::optional<Taskmill_SubmitChoice> &answer);
    QList<int> SubmitFiles(const QStringList &files, Taskmill_Destination destination, int jobTypeID = -1)
    {
        return m_manager->submitter.SubmitFiles(files, destination, jobTypeID);
    }

    const QString m_directory = QDir::currentPath();
    std::unique_ptr<TestManager> m_manager;
    FakeSubmitDialog m_dialog;
};

void TestJobSubmitter::init()
{
    FailOnQtWarnings();
    m_manager = std::make_unique<TestManager>();
    m_manager->NewProject();
    m_manager->longJobs.Jobs().SetPaused(true);
    m_manager->shortJobs.Jobs().SetPaused(true);
    m_dialog = {};
    m_manager->submitter.SetSubmitDialog(&m_dialog);
    QVERIFY(QDir::setCurrent(m_manager->directory.path()));
}

void TestJobSubmitter::cleanup()
{
    QDir::setCurrent(m_directory);
    m_manager.reset();
}

Taskmill_JobRecord TestJobSubmitter::Job(int jobID) const
{
    for (const auto destination :
         {Taskmill_Destination::Long, Taskmill_Destination::Short, Taskmill_Destination::Queueless}) {
        if (const Taskmill_Job *job = m_manager->tabs.OwnerOf(destination)->Jobs().FindByJobID(jobID))
            return job->Record();
    }
    return {};
}

QStringList TestJobSubmitter::Texts(const QList<int> &jobIDs) const
{
    QStringList texts;
    for (const int jobID : jobIDs) {
        const Taskmill_JobRecord job = Job(jobID);
        texts += job.Name + u' ' + job.JobType.Name + u' ' + job.QueueName;
    }
    return texts;
}

QStringList TestJobSubmitter::Submit(const Taskmill_RequestMessage &request)
{
    const Taskmill_SubmitResult result = m_manager->submitter.Submit(request);
    if (result.JobIDs.isEmpty() == result.Refusal.isEmpty())
        qFatal("Neither refused nor accepted, or both");
    return Texts(result.JobIDs);
}

Taskmill_RequestMessage TestJobSubmitter::Confirmed(const QString &jobTypeName) const
{
    auto request = TestManager::Request(jobTypeName, m_manager->InputFile(u"own.in"_s));
    request.ConfirmAction = true;
    return request;
}

void TestJobSubmitter::UseDialog(const std::optional<Taskmill_SubmitChoice> &answer)
{
    Taskmill_SetRunMode(Taskmill_RunMode::Gui);
    m_dialog.Answer = answer;
}

void TestJobSubmitter::EveryFieldOfTheRequestReachesTheJob()
{
    AddType(u"Other"_s);
    AddType(u"Run"_s);
    const QString here = QDir::currentPath();
    QCOMPARE(Submit(Taskmill_RequestMessage::Parse(
                 "clientname=host\nclientappname=Editor\nclientaddress=127.0.0.1\nclientport=7\nclientuid=8\n"
                 "clientgid=9\nclientnotification=1\njobtypename=rUN\njobqueue=short\njobname= my job\n"
                 "jobinputfile=./x/../a.in\njobinputfile2=b.in\njobstandardinputfile=in\n"
                 "jobstandardoutputfile=stdout\njoboutputfile=out\njobchkfile=chk\njobchkfile1=chk1\n"
                 "@B=1\n@A=2")),
             QStringList{u" my job Run Short"_s});
    const Taskmill_JobRecord job = Job(1);
    QCOMPARE((QStringList{job.ClientName, job.ClientAppName, job.ClientAddress, job.OutputFile,
                          job.CheckpointFile, job.CheckpointFile2}),
             (QStringList{u"host"_s, u"Editor"_s, u"127.0.0.1"_s, u"out"_s, u"chk"_s, u"chk1"_s}));
    // The current directory may change before the job runs.
    QCOMPARE(
        (QStringList{job.InputFilePath, job.InputFilePath2, job.StandardInputFile, job.StandardOutputFile}),
        (QStringList{here + u"/a.in"_s, here + u"/b.in"_s, here + u"/in"_s, here + u"/stdout"_s}));
    QCOMPARE((QList<int>{job.ClientPort, job.ClientUID, job.ClientGID, job.RunNumber}),
             (QList<int>{7, 8, 9, 2}));
    QCOMPARE(job.PlaceholderValues, (Taskmill_PlaceholderValues{{u"@B"_s, u"1"_s}, {u"@A"_s, u"2"_s}}));
    QVERIFY(job.ClientNotification && job.Submitted.isValid());
    QCOMPARE(job.Status, Taskmill_JobStatus::Pending);

    // Without a name it is called like its file, or by its number.
    QCOMPARE(Submit(TestManager::Request(u"Run"_s, u"sub/a.b.in"_s)), QStringList{u"a.b.in Run Long"_s});
    QCOMPARE(Submit(TestManager::Request(u"Run"_s)), QStringList{u"3 Run Long"_s});
    QVERIFY(!Job(3).ClientNotification);
}

void TestJobSubmitter::QueueIsThatOfTheRequestOrOfTheType()
{
    AddType(u"L"_s, u"Long"_s);
    AddType(u"S"_s, u"Short"_s);
    AddType(u"Q"_s, u"Queueless"_s);
    const auto queue = [this](const QString &word, const QString &jobType) {
        Taskmill_RequestMessage request = TestManager::Request(jobType);
        request.JobQueue = word;
        return Submit(request).value(0).section(u' ', 2);
    };
    QCOMPARE(queue(u"LONG"_s, u"S"_s), u"Long"_s);
    QCOMPARE(queue(u"Shortest"_s, u"L"_s), u"Short"_s);
    QCOMPARE(queue(u"queueless"_s, u"L"_s), u"None"_s);
    QCOMPARE(queue({}, u"S"_s), u"Short"_s);
    QCOMPARE(queue(u"Fast"_s, u"Q"_s), u"None"_s);
    QCOMPARE(m_manager->longJobs.Jobs().JobIDs(), QList<int>{1});
    QCOMPARE(m_manager->shortJobs.Jobs().JobIDs(), (QList<int>{2, 4}));
    QCOMPARE(m_manager->queuelessJobs.Jobs().JobIDs(), (QList<int>{3, 5}));
}

void TestJobSubmitter::TypeIsThatOfTheFileOrOfTheUser()
{
    AddType(u"First"_s, u"Long"_s, u"Files (*.one)"_s);
    AddType(u"Second"_s, u"Long"_s, u"Files (*.one *.two)"_s);
    AddType(u"SECOND"_s, u"Long"_s, u"Files (*.two)"_s);
    const auto request = TestManager::Request(u"Auto"_s, m_manager->InputFile(u"a.TWO"_s));
    QCOMPARE(Submit(request), QStringList{u"a.TWO Second Long"_s});
    QVERIFY(m_manager->prompt.asked.isEmpty());

    const QString file = m_manager->InputFile(u"a.xyz"_s);
    m_manager->prompt.texts = {u"None"_s, u"SECOND"_s};
    QCOMPARE(Submit(TestManager::Request(u"Auto"_s, file)), QStringList{});
    QCOMPARE(Submit(TestManager::Request(u"Auto"_s, file)), QStringList{u"a.xyz SECOND Long"_s});
    QCOMPARE(Submit(TestManager::Request(u"Auto"_s, file)), QStringList{});
    const ScriptedPrompt::Asked question = m_manager->prompt.asked.first();
    QVERIFY(question.text.contains(
        u"the\nfollowing input file cannot be determined from its extension:\n\n"_s + file + u'\n'));
    QCOMPARE(question.items, (QStringList{u"None"_s, u"First"_s, u"Second"_s, u"SECOND"_s}));

    // Where there is a window, it shows what was chosen.
    UseDialog({});
    QCOMPARE(Submit(request), QStringList{});
    QCOMPARE(m_dialog.Presets.size(), 1);
}

void TestJobSubmitter::RefusedRequestsMakeNoJob()
{
    m_manager->AddJobType(u"Reads"_s, u"wait \"@infile\""_s);
    AddType(u"Nowhere"_s, u"Elsewhere"_s);
    QCOMPARE(Submit(TestManager::Request({})), QStringList{});
    QCOMPARE(Submit(TestManager::Request(u"Reads"_s)), QStringList{});
    QCOMPARE(Submit(TestManager::Request(u"Reads"_s, u"missing.in"_s)), QStringList{});
    QCOMPARE(m_manager->jobNumbers.LastID(), 0);
    QCOMPARE(Submit(TestManager::Request(u"Nowhere"_s)), QStringList{});
    Taskmill_JobType gone = AddType(u"Gone"_s);
    gone.ExecutablePath = m_manager->Path(u"gone"_s);
    QVERIFY(TestManager::Database().UpdateJobType(gone.JobTypeID, gone));
    QCOMPARE(Submit(TestManager::Request(u"Gone"_s)), QStringList{});
    QVERIFY(Texts({1, 2}).join(u""_s).trimmed().isEmpty() && m_manager->prompt.asked.isEmpty());
}

void TestJobSubmitter::OnlyTheWindowAsksForConfirmation()
{
    AddType(u"Named"_s, u"Short"_s);
    const Taskmill_JobType other = AddType(u"Other"_s);
    Taskmill_RequestMessage request = Confirmed(u"Named"_s);
    QCOMPARE(Submit(request), QStringList{u"own.in Named Short"_s});
    QVERIFY(m_dialog.Presets.isEmpty());

    UseDialog({});
    QCOMPARE(Submit(request), QStringList{});
    // The dialog may write the request's path in another way.
    UseDialog({{.Files = {m_manager->InputFile(u"first.in"_s), m_manager->Path(u"missing.in"_s),
                          m_manager->Path(u"./own.in"_s)},
                .Destination = Taskmill_Destination::Long,
                .JobTypeID = other.JobTypeID}});
    // A request that names no type leaves type and queue to the dialog.
    request.JobTypeName.clear();
    request.JobName = u"both"_s;
    request.JobChkFile = u"chk"_s;
    QCOMPARE(Submit(request), (QStringList{u"both Other Long"_s, u"both Other Long"_s}));
    QCOMPARE(Job(2).CheckpointFile, QString{});
    QCOMPARE(Job(3).CheckpointFile, u"chk"_s);
    QCOMPARE(m_dialog.Presets.size(), 2);
    QCOMPARE(m_dialog.Presets[0].Files, QStringList{request.JobInputFile});
    QCOMPARE(m_dialog.Presets[0].Destination, Taskmill_Destination::Short);
    QCOMPARE(m_dialog.Presets[0].JobTypeID, 0);
    QCOMPARE(m_dialog.Presets[1].Destination, Taskmill_Destination::JobTypeDefault);
    QCOMPARE(m_dialog.Presets[1].JobTypeID, -1);
}

void TestJobSubmitter::FilesOfTheUserBecomeJobs()
{
    AddType(u"One"_s, u"Long"_s, u"Files (*.one)"_s);
    AddType(u"Two"_s, u"Short"_s, u"Files (*.two)"_s);
    QStringList files;
    for (const QString &name : {u"a.two"_s, u"b.xyz"_s, u"c.xyz"_s, u"d.xyz"_s, u"e.one"_s})
        files += m_manager->InputFile(name);
    UseDialog({{.Files = files}});
    // Who cancels is not asked about further files.
    m_manager->prompt.texts = {u"One"_s};
    const QList<int> jobIDs = SubmitFiles({files.first()}, Taskmill_Destination::Queueless);
    QCOMPARE(Texts(jobIDs), (QStringList{u"a.two Two Short"_s, u"b.xyz One Long"_s, u"e.one One Long"_s}));
    QCOMPARE(m_manager->prompt.asked.size(), 2);
    QVERIFY(m_manager->prompt.asked.first().text.contains(files[1]));
    QCOMPARE(m_dialog.Presets.first().Files, QStringList{files.first()});
    QCOMPARE(m_dialog.Presets.first().Destination, Taskmill_Destination::Queueless);
    QVERIFY(m_dialog.Presets.first().CheckAll);
    QCOMPARE(Job(1).ClientAddress, u"127.0.0.1"_s);
    QVERIFY(!Job(1).ClientNotification);
}

void TestJobSubmitter::OneQuestionAtATime()
{
    AddType(u"Run"_s);
    const auto confirmed = Confirmed(u"Run"_s);
    const QString file = confirmed.JobInputFile;
    UseDialog({});
    m_dialog.WhileOpen = [&] {
        // What needs no question goes on, the rest waits or is refused.
        QVERIFY(m_manager->submitter.IsAsking());
        QCOMPARE(Submit(TestManager::Request(u"Run"_s, file)).size(), 1);
        QVERIFY(m_manager->submitter.WouldAsk(TestManager::Request(u"Auto"_s, file)));
        QCOMPARE(Submit(confirmed), QStringList{});
        (void)SubmitFiles({file}, Taskmill_Destination::Short);
        (void)SubmitFiles({}, Taskmill_Destination::Short);
        (void)SubmitFiles({file}, Taskmill_Destination::Queueless, 7);
        QCOMPARE(m_dialog.Presets.size(), 1);
    };
    QCOMPARE(Submit(confirmed), QStringList{});
    QVERIFY(!m_manager->submitter.IsAsking());
    QTRY_COMPARE(m_dialog.Presets.size(), 3);
    QCOMPARE(m_dialog.Presets[1].Destination, Taskmill_Destination::Short);
    QCOMPARE(m_dialog.Presets[2].Destination, Taskmill_Destination::Queueless);
    QCOMPARE(m_dialog.Presets[2].JobTypeID, 7);
    QCOMPARE(m_dialog.Presets[2].Files, QStringList{file});
}

QTEST_GUILESS_MAIN(TestJobSubmitter)
#include "test_jobsubmitter.moc"
