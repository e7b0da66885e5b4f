#include "service/jobsubmitter.h"

#include "jobs/job.h"
#include "jobs/runmode.h"
#include "support/testmanager.h"
#include "support/testutil.h"

#include <QDir>
#include <QFile>
#include <QtTest>

#include <functional>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Answers as the test says, and remembers what it was opened with.
class FakeSubmitDialog final : public Taskmill_SubmitDialog
{
public:
    std::optional<Taskmill_SubmitChoice> Answer;
    QStringList Captions;
    QList<Taskmill_SubmitChoice> Presets;
    std::function<void()> WhileOpen; ///< called once, the next time

    std::optional<Taskmill_SubmitChoice> AskForJobs(const QString &caption,
                                                    const Taskmill_SubmitChoice &preset) override
    {
        Captions.append(caption);
        Presets.append(preset);
        if (WhileOpen)
            std::exchange(WhileOpen, {})();
        return Answer;
    }
};

const QString runsUntilKilled = u"wait"_s;
} // namespace

class TestJobSubmitter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void EveryFieldOfTheRequestReachesTheJob();
    void TypeByNameInAnyCase();
    void AutomaticTypeIsTheFirstThatMatches();
    void NothingMatchesAndTheUserIsAsked_data();
    void NothingMatchesAndTheUserIsAsked();
    void ChosenNameIsTakenExactly();
    void QueueWords_data();
    void QueueWords();
    void NameOfTheJob_data();
    void NameOfTheJob();
    void RefusedRequestsMakeNoJob_data();
    void RefusedRequestsMakeNoJob();
    void RelativeInputFilesAreMadeAbsolute();
    void NotificationFlag();
    void OnlyTheWindowAsksForConfirmation();
    void DialogOpensWithTheRequest();
    void CancelledDialogMakesNoJob();
    void DialogMakesAJobForEachFile();
    void DialogWithAutomaticTypeAndOpenQueue();
    void FilesOfTheUserBecomeJobs();
    void WhoCancelsIsNotAskedAgain();
    void InvalidTypeIsToldOnce();
    void OneQuestionAtATime();
    void NothingIsSubmittedOnceTheProjectIsClosed();

private:
    [[nodiscard]] Taskmill_JobRecord Submitted(const Taskmill_RequestMessage &request) const;
    [[nodiscard]] QList<Taskmill_JobRecord> AllJobs() const;
    void UseDialog(const Taskmill_SubmitChoice &answer);

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
}

void TestJobSubmitter::cleanup()
{
    m_manager.reset();
}

QList<Taskmill_JobRecord> TestJobSubmitter::AllJobs() const
{
    QList<Taskmill_JobRecord> records;
    for (Taskmill_QueueOwner *owner : {static_cast<Taskmill_QueueOwner *>(&m_manager->longJobs),
                                       static_cast<Taskmill_QueueOwner *>(&m_manager->shortJobs),
                                       static_cast<Taskmill_QueueOwner *>(&m_manager->queuelessJobs)}) {
        for (const Taskmill_Job *job : owner->Jobs().Jobs())
            records.append(job->Record());
    }
    return records;
}

/// The one job that the request makes; an empty record when it makes another number of them.
Taskmill_JobRecord TestJobSubmitter::Submitted(const Taskmill_RequestMessage &request) const
{
    const Taskmill_SubmitResult result = m_manager->submitter.Submit(request);
    const QList<Taskmill_JobRecord> jobs = AllJobs();
    if (result.JobIDs.size() != 1 || jobs.isEmpty() || jobs.last().JobID != result.JobIDs.first())
        return {};
    return jobs.last();
}

void TestJobSubmitter::UseDialog(const Taskmill_SubmitChoice &answer)
{
    Taskmill_SetRunMode(Taskmill_RunMode::Gui);
    m_dialog.Answer = answer;
}

void TestJobSubmitter::EveryFieldOfTheRequestReachesTheJob()
{
    const Taskmill_JobType jobType = m_manager->AddJobType(u"Run"_s, runsUntilKilled);
    Taskmill_RequestMessage request = TestManager::Request(u"Run"_s, m_manager->InputFile(u"a.in"_s));
    request.ClientName = u"host"_s;
    request.ClientAppName = u"Editor"_s;
    request.ClientAddress = u"127.0.0.1"_s;
    request.ClientPort = 7;
    request.ClientUID = 8;
    request.ClientGID = 9;
    request.JobQueue = u"short"_s;
    request.JobInputFile2 = m_manager->InputFile(u"b.in"_s);
    request.JobStandardInputFile = u"in"_s;
    request.JobOutputFile = u"out"_s;
    request.JobStandardOutputFile = u"stdout"_s;
    request.JobChkFile = u"chk"_s;
    request.JobChkFile1 = u"chk1"_s;
    request.PlaceholderValues = {{u"@B"_s, u"1"_s}, {u"@A"_s, u"2"_s}};

    Taskmill_JobRecord job = Submitted(request);
    QVERIFY(job.Submitted.isValid());
    job.Submitted = {};
    const Taskmill_JobRecord expected{.JobClass = {},
                                      .Name = u"a.in"_s,
                                      .ClientName = u"host"_s,
                                      .ClientAppName = u"Editor"_s,
                                      .ClientAddress = u"127.0.0.1"_s,
                                      .ClientPort = 7,
                                      .ClientUID = 8,
                                      .ClientGID = 9,
                                      .JobType = jobType,
                                      .RunNumber = 2,
                                      .QueueName = u"Short"_s,
                                      .InputFilePath = request.JobInputFile,
                                      .InputFilePath2 = request.JobInputFile2,
                                      .StandardInputFile = QDir::currentPath() + u"/in"_s,
                                      .StandardOutputFile = QDir::currentPath() + u"/stdout"_s,
                                      .OutputFile = u"out"_s,
                                      .CheckpointFile = u"chk"_s,
                                      .CheckpointFile2 = u"chk1"_s,
                                      .Status = Taskmill_JobStatus::Pending,
                                      .StdOutAndStdErr = {},
                                      .Submitted = {},
                                      .Started = {},
                                      .Finished = {},
                                      .JobID = 1,
                                      .PlaceholderValues = request.PlaceholderValues};
    QVERIFY(job == expected);
}

void TestJobSubmitter::TypeByNameInAnyCase()
{
    m_manager->AddJobType(u"First"_s, runsUntilKilled);
    const Taskmill_JobType second = m_manager->AddJobType(u"Second"_s, runsUntilKilled);
    QCOMPARE(Submitted(TestManager::Request(u"sECOND"_s)).JobType.JobTypeID, second.JobTypeID);
    QVERIFY(m_manager->prompt.asked.isEmpty());
}

void TestJobSubmitter::AutomaticTypeIsTheFirstThatMatches()
{
    m_manager->AddJobType(u"First"_s, runsUntilKilled, u"Long"_s, u"Files (*.one)"_s);
    m_manager->AddJobType(u"Second"_s, runsUntilKilled, u"Long"_s, u"Files (*.one *.two)"_s);
    m_manager->AddJobType(u"Third"_s, runsUntilKilled, u"Long"_s, u"Files (*.two)"_s);
    const auto request = TestManager::Request(u"Auto"_s, m_manager->InputFile(u"a.TWO"_s));
    QCOMPARE(Submitted(request).JobType.Name, u"Second"_s);
    QVERIFY(m_manager->prompt.asked.isEmpty());

    // Where there is a window, it shows what was chosen.
    UseDialog({});
    QVERIFY(m_manager->submitter.Submit(request).JobIDs.isEmpty());
    QCOMPARE(m_dialog.Presets.size(), 1);
}

void TestJobSubmitter::NothingMatchesAndTheUserIsAsked_data()
{
    QTest::addColumn<QStringList>("answers");
    QTest::addColumn<QString>("chosen");
    QTest::newRow("cancelled") << QStringList{} << QString{};
    QTest::newRow("None") << QStringList{u"None"_s} << QString{};
    QTest::newRow("empty") << QStringList{QString{}} << QString{};
    QTest::newRow("a type") << QStringList{u"Second"_s} << u"Second"_s;
}

void TestJobSubmitter::NothingMatchesAndTheUserIsAsked()
{
    QFETCH(const QStringList, answers);
    QFETCH(const QString, chosen);
    m_manager->AddJobType(u"First"_s, runsUntilKilled, u"Long"_s, u"Files (*.one)"_s);
    m_manager->AddJobType(u"Second"_s, runsUntilKilled);
    m_manager->prompt.texts = answers;
    const QString file = m_manager->InputFile(u"a.xyz"_s);
    QCOMPARE(Submitted(TestManager::Request(u"Auto"_s, file)).JobType.Name, chosen);
    QCOMPARE(AllJobs().size(), chosen.isEmpty() ? 0 : 1);

    QCOMPARE(m_manager->prompt.asked.size(), 1);
    const ScriptedPrompt::Asked question = m_manager->prompt.asked.first();
    QCOMPARE(question.title, u"Submit Job, Select Job Type"_s);
    QCOMPARE(
        question.text,
        u"Auto determination of Job Type was attempted but an appropriate Job Type for the\nfollowing input "
        "file cannot be determined from its extension:\n\n"_s +
            file +
            u"\n\nPlease select a Job Type for this input file or select None to skip this input file.\n"_s);
    QCOMPARE(question.items, (QStringList{u"None"_s, u"First"_s, u"Second"_s}));
}

void TestJobSubmitter::ChosenNameIsTakenExactly()
{
    for (const QString &name : {u"RUN"_s, u"run"_s, u"twice"_s, u"twice"_s, u"None"_s})
        m_manager->AddJobType(name, runsUntilKilled);
    const QStringList items{u"None"_s, u"RUN"_s, u"run"_s, u"twice (2)"_s, u"twice (3)"_s, u"None (4)"_s};
    for (int id = 1; id < 5; ++id) {
        m_manager->prompt.texts = {items[id + 1]};
        QCOMPARE(Submitted(TestManager::Request(u"Auto"_s)).JobType.JobTypeID, id);
    }
    QCOMPARE(m_manager->prompt.asked.last().items, items);
}

void TestJobSubmitter::QueueWords_data()
{
    QTest::addColumn<QString>("word");
    QTest::addColumn<QString>("defaultQueue");
    QTest::addColumn<QString>("queue");
    QTest::addColumn<int>("runNumber");
    QTest::newRow("long") << u"LONG"_s << u"Short"_s << u"Long"_s << 1;
    QTest::newRow("short") << u"short"_s << u"Long"_s << u"Short"_s << 2;
    QTest::newRow("prefix") << u"Shortest"_s << u"Long"_s << u"Short"_s << 2;
    QTest::newRow("queueless") << u"queueless"_s << u"Long"_s << u"None"_s << 3;
    QTest::newRow("none") << u"None"_s << u"Long"_s << u"None"_s << 3;
    QTest::newRow("empty: long by default") << QString{} << u"Long"_s << u"Long"_s << 1;
    QTest::newRow("automatic: short by default") << u"Auto"_s << u"Short"_s << u"Short"_s << 2;
    QTest::newRow("unknown: queueless by default") << u"Fast"_s << u"Queueless"_s << u"None"_s << 3;
}

void TestJobSubmitter::QueueWords()
{
    QFETCH(const QString, word);
    QFETCH(const QString, defaultQueue);
    m_manager->AddJobType(u"Run"_s, runsUntilKilled, defaultQueue);
    Taskmill_RequestMessage request = TestManager::Request(u"Run"_s);
    request.JobQueue = word;
    const Taskmill_JobRecord job = Submitted(request);
    QTEST(job.QueueName, "queue");
    QTEST(job.RunNumber, "runNumber");
    Taskmill_QueueOwner *owner = m_manager->tabs.OwnerOf(static_cast<Taskmill_Destination>(job.RunNumber));
    QCOMPARE(owner->Jobs().Count(), 1);
}

void TestJobSubmitter::NameOfTheJob_data()
{
    QTest::addColumn<QString>("jobName");
    QTest::addColumn<bool>("hasFile");
    QTest::addColumn<QString>("name");
    QTest::newRow("given") << u" my job"_s << true << u" my job"_s;
    QTest::newRow("of the file") << QString{} << true << u"a.b.in"_s;
    QTest::newRow("number") << QString{} << false << u"1"_s;
}

void TestJobSubmitter::NameOfTheJob()
{
    QFETCH(const QString, jobName);
    QFETCH(const bool, hasFile);
    m_manager->AddJobType(u"Run"_s, runsUntilKilled);
    auto request = TestManager::Request(u"Run"_s, hasFile ? m_manager->InputFile(u"a.b.in"_s) : QString{});
    request.JobName = jobName;
    QTEST(Submitted(request).Name, "name");
}

void TestJobSubmitter::RefusedRequestsMakeNoJob_data()
{
    QTest::addColumn<QString>("jobType");
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("lastNumber");
    QTest::newRow("no type named") << QString{} << QString{} << 0;
    QTest::newRow("no input file named") << u"Reads"_s << QString{} << 0;
    QTest::newRow("missing input file") << u"Reads"_s << u"missing.in"_s << 0;
    QTest::newRow("type without a queue") << u"Nowhere"_s << QString{} << 1;
    QTest::newRow("executable gone") << u"Gone"_s << QString{} << 1;
}

void TestJobSubmitter::RefusedRequestsMakeNoJob()
{
    QFETCH(const QString, jobType);
    QFETCH(const QString, file);
    QFETCH(const int, lastNumber);
    m_manager->AddJobType(u"Reads"_s, u"wait \"@infile\""_s);
    m_manager->AddJobType(u"Nowhere"_s, runsUntilKilled, u"Elsewhere"_s);
    Taskmill_JobType gone = m_manager->AddJobType(u"Gone"_s, runsUntilKilled);
    gone.ExecutablePath = m_manager->Path(u"gone"_s);
    QVERIFY(TestManager::Database().UpdateJobType(gone.JobTypeID, gone));

    const Taskmill_SubmitResult result = m_manager->submitter.Submit(
        TestManager::Request(jobType, file.isEmpty() ? file : m_manager->Path(file)));
    QVERIFY(result.JobIDs.isEmpty() && !result.Refusal.isEmpty());
    QVERIFY(AllJobs().isEmpty());
    QVERIFY(m_manager->prompt.asked.isEmpty());
    QCOMPARE(m_manager->jobNumbers.LastID(), lastNumber);
    const auto good = TestManager::Request(u"Reads"_s, m_manager->InputFile(u"a.in"_s));
    QCOMPARE(Submitted(good).JobID, lastNumber + 1);
}

void TestJobSubmitter::RelativeInputFilesAreMadeAbsolute()
{
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(m_manager->directory.path()));
    const QString here = QDir::currentPath();
    m_manager->InputFile(u"a.in"_s);
    m_manager->AddJobType(u"Run"_s, runsUntilKilled);
    auto request = TestManager::Request(u"Run"_s, u"./x/../a.in"_s);
    request.JobInputFile2 = u"b.in"_s;
    request.JobChkFile = u"chk"_s;
    const Taskmill_JobRecord job = Submitted(request);
    QVERIFY(QDir::setCurrent(before));
    QCOMPARE(job.InputFilePath, here + u"/a.in"_s);
    QCOMPARE(job.InputFilePath2, here + u"/b.in"_s);
    QCOMPARE(job.CheckpointFile, u"chk"_s);
}

void TestJobSubmitter::NotificationFlag()
{
    m_manager->AddJobType(u"Run"_s, runsUntilKilled);
    Taskmill_RequestMessage request = TestManager::Request(u"Run"_s);
    QVERIFY(!Submitted(request).ClientNotification);
    request.ClientNotification = true;
    QVERIFY(Submitted(request).ClientNotification);
    request.ClientNotification = false;
    QVERIFY(!Submitted(request).ClientNotification);
}

void TestJobSubmitter::OnlyTheWindowAsksForConfirmation()
{
    m_manager->AddJobType(u"Run"_s, runsUntilKilled);
    Taskmill_RequestMessage request = TestManager::Request(u"Run"_s);
    request.ConfirmAction = true;
    QCOMPARE(Submitted(request).JobID, 1);
    QVERIFY(m_dialog.Presets.isEmpty());

    Taskmill_SetRunMode(Taskmill_RunMode::Gui);
    m_manager->submitter.SetSubmitDialog(nullptr);
    QVERIFY(m_manager->submitter.Submit(request).JobIDs.isEmpty());
    request.ConfirmAction = false;
    QCOMPARE(Submitted(request).JobID, 2);
}

void TestJobSubmitter::DialogOpensWithTheRequest()
{
    const Taskmill_JobType jobType = m_manager->AddJobType(u"Run"_s, runsUntilKilled, u"Short"_s);
    UseDialog({});
    Taskmill_RequestMessage request = TestManager::Request(u"Run"_s, m_manager->InputFile(u"a.in"_s));
    request.ConfirmAction = true;
    (void)m_manager->submitter.Submit(request);
    // A request that names no type leaves type and queue to the dialog.
    request.JobTypeName.clear();
    (void)m_manager->submitter.Submit(request);

    QCOMPARE(m_dialog.Captions, (QStringList{u"Job Input Files"_s, u"Job Input Files"_s}));
    QCOMPARE(m_dialog.Presets[0].Files, QStringList{request.JobInputFile});
    QCOMPARE(m_dialog.Presets[0].Destination, Taskmill_Destination::Short);
    QCOMPARE(m_dialog.Presets[0].JobTypeID, jobType.JobTypeID);
    QCOMPARE(m_dialog.Presets[1].Destination, Taskmill_Destination::JobTypeDefault);
    QCOMPARE(m_dialog.Presets[1].JobTypeID, -1);
}

void TestJobSubmitter::CancelledDialogMakesNoJob()
{
    m_manager->AddJobType(u"Run"_s, runsUntilKilled);
    UseDialog({});
    m_dialog.Answer.reset();
    Taskmill_RequestMessage request = TestManager::Request(u"Run"_s);
    request.ConfirmAction = true;
    const Taskmill_SubmitResult result = m_manager->submitter.Submit(request);
    QVERIFY(result.JobIDs.isEmpty() && !result.Refusal.isEmpty());
    QCOMPARE(m_manager->jobNumbers.LastID(), 0);
}

void TestJobSubmitter::DialogMakesAJobForEachFile()
{
    m_manager->AddJobType(u"Named"_s, runsUntilKilled);
    const Taskmill_JobType other = m_manager->AddJobType(u"Other"_s, runsUntilKilled);
    const QString first = m_manager->InputFile(u"first.in"_s);
    const QString own = m_manager->InputFile(u"own.in"_s);
    // The dialog may have written the request's path in another way.
    UseDialog({.Files = {first, m_manager->Path(u"missing.in"_s), m_manager->Path(u"./own.in"_s)},
               .Destination = Taskmill_Destination::Short,
               .JobTypeID = other.JobTypeID});
    Taskmill_RequestMessage request = TestManager::Request(u"Named"_s, own);
    request.ConfirmAction = true;
    request.JobName = u"both"_s;
    request.JobChkFile = u"chk"_s;
    request.JobStandardOutputFile = u"stdout"_s;
    QCOMPARE(m_manager->submitter.Submit(request).JobIDs, (QList<int>{1, 2}));

    const QList<Taskmill_JobRecord> jobs = AllJobs();
    QCOMPARE(jobs.size(), 2);
    QCOMPARE(m_manager->shortJobs.Jobs().Count(), 2);
    QCOMPARE(jobs[0].InputFilePath, first);
    QCOMPARE(jobs[0].CheckpointFile + jobs[0].StandardOutputFile, QString{});
    QCOMPARE(jobs[1].InputFilePath, own);
    QCOMPARE(jobs[1].CheckpointFile, u"chk"_s);
    QCOMPARE(jobs[1].StandardOutputFile, QDir::currentPath() + u"/stdout"_s);
    for (const Taskmill_JobRecord &job : jobs) {
        QCOMPARE(job.JobType.Name, u"Other"_s);
        QCOMPARE(job.Name, u"both"_s);
    }
}

void TestJobSubmitter::DialogWithAutomaticTypeAndOpenQueue()
{
    m_manager->AddJobType(u"One"_s, runsUntilKilled, u"Long"_s, u"Files (*.one)"_s);
    m_manager->AddJobType(u"Two"_s, runsUntilKilled, u"Short"_s, u"Files (*.two)"_s);
    const QString unknown = m_manager->InputFile(u"a.xyz"_s);
    UseDialog({.Files = {m_manager->InputFile(u"a.two"_s), unknown, m_manager->InputFile(u"a.one"_s)}});
    m_manager->prompt.texts = {u"None"_s};
    Taskmill_RequestMessage request = TestManager::Request({});
    request.ConfirmAction = true;
    QCOMPARE(m_manager->submitter.Submit(request).JobIDs, (QList<int>{1, 2}));

    QCOMPARE(m_manager->shortJobs.Jobs().JobIDs(), QList<int>{1});
    QCOMPARE(m_manager->longJobs.Jobs().JobIDs(), QList<int>{2});
    QCOMPARE(m_manager->prompt.asked.size(), 1);
    QVERIFY(m_manager->prompt.asked.first().text.startsWith(
        u"Auto determination of Job Type was requested but an appropriate Job Type for the\nfollowing"_s));
    QVERIFY(m_manager->prompt.asked.first().text.contains(unknown));
}

void TestJobSubmitter::FilesOfTheUserBecomeJobs()
{
    m_manager->AddJobType(u"One"_s, runsUntilKilled, u"Long"_s, u"Files (*.one)"_s);
    m_manager->AddJobType(u"Two"_s, runsUntilKilled, u"Short"_s, u"Files (*.two)"_s);
    const QStringList files{m_manager->InputFile(u"a.two"_s), m_manager->InputFile(u"b.xyz"_s),
                            m_manager->InputFile(u"c.one"_s)};
    UseDialog({.Files = files, .Destination = Taskmill_Destination::Short});
    m_manager->prompt.texts = {u"One"_s};
    QCOMPARE(m_manager->submitter.SubmitFiles({files.first()}, Taskmill_Destination::Long, -1),
             (QList<int>{1, 2, 3}));
    QCOMPARE(m_dialog.Captions, QStringList{u"Job Input Files"_s});
    QCOMPARE(m_dialog.Presets.first().Files, QStringList{files.first()});
    QCOMPARE(m_dialog.Presets.first().Destination, Taskmill_Destination::Long);
    QCOMPARE(m_dialog.Presets.first().JobTypeID, -1);
    QVERIFY(m_dialog.Presets.first().CheckAll);

    QStringList made;
    for (const Taskmill_JobRecord &job : AllJobs()) {
        made += job.Name + u' ' + job.JobType.Name + u' ' + job.QueueName;
        QCOMPARE(job.ClientAddress, u"127.0.0.1"_s);
        QVERIFY(!job.ClientNotification);
    }
    QCOMPARE(made, (QStringList{u"a.two Two Short"_s, u"b.xyz One Short"_s, u"c.one One Short"_s}));
    // The queue that is left open is that of the type.
    UseDialog({.Files = {files[2]}});
    (void)m_manager->submitter.SubmitFiles({}, Taskmill_Destination::JobTypeDefault, -1);
    QCOMPARE(m_manager->longJobs.Jobs().JobIDs(), QList<int>{4});
}

void TestJobSubmitter::WhoCancelsIsNotAskedAgain()
{
    m_manager->AddJobType(u"One"_s, runsUntilKilled, u"Long"_s, u"Files (*.one)"_s);
    UseDialog({.Files = {m_manager->InputFile(u"a.xyz"_s), m_manager->InputFile(u"b.xyz"_s),
                         m_manager->InputFile(u"c.xyz"_s), m_manager->InputFile(u"d.one"_s)}});
    m_manager->prompt.texts = {u"None"_s};
    QCOMPARE(m_manager->submitter.SubmitFiles({}, Taskmill_Destination::Long, -1), QList<int>{1});
    QCOMPARE(m_manager->prompt.asked.size(), 2);
}

void TestJobSubmitter::InvalidTypeIsToldOnce()
{
    Taskmill_JobType gone = m_manager->AddJobType(u"Gone"_s, runsUntilKilled);
    gone.ExecutablePath = m_manager->Path(u"gone"_s);
    QVERIFY(TestManager::Database().UpdateJobType(gone.JobTypeID, gone));
    UseDialog({.Files = {m_manager->InputFile(u"a.in"_s), m_manager->InputFile(u"b.in"_s)},
               .Destination = Taskmill_Destination::Long,
               .JobTypeID = gone.JobTypeID});
    QVERIFY(m_manager->submitter.SubmitFiles({}, Taskmill_Destination::Long, -1).isEmpty());
    QCOMPARE(m_manager->prompt.asked.size(), 1);
    QCOMPARE(m_manager->prompt.asked.first().text, u"Job Type Gone is invalid."_s);
}

void TestJobSubmitter::OneQuestionAtATime()
{
    m_manager->AddJobType(u"Run"_s, runsUntilKilled);
    const QString file = m_manager->InputFile(u"a.in"_s);
    const auto plain = TestManager::Request(u"Run"_s, file);
    const auto automatic = TestManager::Request(u"Auto"_s, file);
    auto confirmed = plain;
    confirmed.ConfirmAction = true;
    UseDialog({});
    m_dialog.Answer.reset();
    m_dialog.WhileOpen = [&] {
        // What needs no question goes on, the rest waits or is refused.
        QVERIFY(m_manager->submitter.IsAsking());
        QVERIFY(!m_manager->submitter.WouldAsk(plain));
        QCOMPARE(m_manager->submitter.Submit(plain).JobIDs.size(), 1);
        QVERIFY(m_manager->submitter.WouldAsk(automatic) && m_manager->submitter.WouldAsk(confirmed));
        QVERIFY(m_manager->submitter.Submit(confirmed).JobIDs.isEmpty());
        (void)m_manager->submitter.SubmitFiles({file}, Taskmill_Destination::Short, -1);
        (void)m_manager->submitter.SubmitFiles({}, Taskmill_Destination::Short, -1);
        (void)m_manager->submitter.SubmitFiles({file}, Taskmill_Destination::Queueless, 7);
        QCOMPARE(m_dialog.Presets.size(), 1);
    };
    (void)m_manager->submitter.Submit(confirmed);
    QVERIFY(!m_manager->submitter.IsAsking());
    QTRY_COMPARE(m_dialog.Presets.size(), 3);
    QCOMPARE(m_dialog.Presets[1].Destination, Taskmill_Destination::Short);
    QCOMPARE(m_dialog.Presets[2].Destination, Taskmill_Destination::Queueless);
    QCOMPARE(m_dialog.Presets[2].JobTypeID, 7);
    QVERIFY(m_dialog.Presets[2].Files == QStringList{file});
}

void TestJobSubmitter::NothingIsSubmittedOnceTheProjectIsClosed()
{
    const Taskmill_JobType jobType = m_manager->AddJobType(u"Run"_s, runsUntilKilled);
    UseDialog({.Files = {m_manager->InputFile(u"a.in"_s)},
               .Destination = Taskmill_Destination::Long,
               .JobTypeID = jobType.JobTypeID});
    m_dialog.WhileOpen = [&] {
        m_manager->project.CloseProject();
    };
    QVERIFY(m_manager->submitter.SubmitFiles({}, Taskmill_Destination::Long, -1).isEmpty());
    QVERIFY(m_manager->submitter.SubmitFiles({}, Taskmill_Destination::Long, -1).isEmpty());
    QCOMPARE(m_dialog.Presets.size(), 1);
}

QTEST_GUILESS_MAIN(TestJobSubmitter)
#include "test_jobsubmitter.moc"
