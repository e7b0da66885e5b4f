#include "consolefixture.h"
#include "support/testutil.h"

#include <QtTest>

using namespace Qt::Literals::StringLiterals;

using AtEnd = ConsoleFixture::AtEnd;

namespace {
const QString prompt = ConsoleFixture::Prompt;
const QString exitQuestion = ConsoleFixture::ExitQuestion;
const QString queueQuestion = ConsoleFixture::QueueQuestion;
const QString typeQuestion = ConsoleFixture::TypeQuestion;
const QString fileQuestion = ConsoleFixture::FileQuestion;
} // namespace

class TestConsoleDialogue : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_fixture.reset(); }
    void BannerAndNotice();
    void ExitQuestion_data();
    void ExitQuestion();
    void SaveQuestionOfANewProject_data();
    void SaveQuestionOfANewProject();
    void SaveQuestionOfAFile();
    void AddCommands();
    void AnswersOfAddJob_data();
    void AnswersOfAddJob();
    void AddedJobIsRefused();
    void ManagerGoesOnWhileTheConsoleWaits();
    void QuittingOnTheConsolesThread();
    void EndsWhereverItIs_data();
    void EndsWhereverItIs();
    void EndsWhileItAsksTheMainThread();

private:
    std::unique_ptr<ConsoleFixture> m_fixture;
};

void TestConsoleDialogue::init()
{
    FailOnQtWarnings();
    m_fixture = std::make_unique<ConsoleFixture>();
}

void TestConsoleDialogue::BannerAndNotice()
{
    m_fixture->MakeConsole(AtEnd::Interrupt, {}, u"The queues are paused."_s);
    m_fixture->Console->RunSlot();
    QCOMPARE(m_fixture->Terminal->Output(), u"Banner\n\n<Taskmill> The queues are paused.\n\n<Taskmill> "_s);
}

void TestConsoleDialogue::ExitQuestion_data()
{
    QTest::addColumn<QString>("word");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<bool>("exits");
    QTest::newRow("in any case, with blanks") << u"  EXIT "_s << u" Yes "_s << true;
    QTest::newRow("y") << u"Quit"_s << u"Y"_s << true;
    QTest::newRow("1") << u"exit"_s << u"1"_s << true;
    QTest::newRow("nothing") << u"quit"_s << QString{} << false;
    QTest::newRow("more than a yes") << u"quit"_s << u"yes please"_s << false;
}

void TestConsoleDialogue::ExitQuestion()
{
    QFETCH(const QString, word);
    QFETCH(const QString, answer);
    QFETCH(const bool, exits);
    QCOMPARE(m_fixture->Run({word, answer}), exitQuestion + u'\n' + (exits ? QString{} : prompt));
    QCOMPARE(m_fixture->Exits, exits ? 1 : 0);
}

void TestConsoleDialogue::SaveQuestionOfANewProject_data()
{
    QTest::addColumn<QStringList>("answers");
    QTest::addColumn<QString>("output"); // %1 is the question, %2 the directory
    QTest::addColumn<bool>("exits");
    QTest::addColumn<QString>("file");
    const QString ask = u"\n<Taskmill> Enter Project File:  "_s;
    const QString saved = u"\n<Taskmill> The project was saved to %2/"_s;
    const QString exists = u"\n<Taskmill> %2/old.mill already exists.  Do you want to replace it?  "_s;
    const auto row = [](const char *name, const QStringList &answers, const QString &output, bool exits,
                        const QString &file) {
        QTest::newRow(name) << answers << output << exits << file;
    };
    row("no", {u"NO"_s}, u"%1"_s, true, {});
    row("cancel", {u"Cancel"_s}, u"%1"_s, false, {});
    row("asked again", {u"y"_s, u""_s, u"no"_s}, u"%1\n%1\n%1"_s, true, {});
    row("saved", {u"Yes"_s, u"%2/new"_s}, u"%1"_s + ask + saved + u"new.mill.\n\n"_s, true, u"new.mill"_s);
    row("no name", {u"yes"_s, u" "_s}, u"%1"_s + ask, false, {});
    row("not replaced", {u"yes"_s, u"%2/old"_s, u"no"_s}, u"%1"_s + ask + exists, false, {});
    row("replaced", {u"yes"_s, u"%2/old"_s, u"perhaps"_s, u"yes"_s},
        u"%1"_s + ask + exists + u'\n' + exists + saved + u"old.mill.\n\n"_s, true, u"old.mill"_s);
    row("cannot be written", {u"yes"_s, u"%2/missing/new"_s}, u"%1"_s + ask, false, {});
}

void TestConsoleDialogue::SaveQuestionOfANewProject()
{
    QFETCH(QStringList, answers);
    QFETCH(QString, output);
    QFETCH(const bool, exits);
    QFETCH(const QString, file);
    m_fixture->Manager.AddGatedJobType();
    WriteTestFile(m_fixture->Manager.Path(u"old.mill"_s), "old");
    answers.replaceInStrings(u"%2"_s, m_fixture->Manager.directory.path());
    output.replace(u"%1"_s, u"\n<Taskmill> Save Current Project to a File Before Closing it?  "_s);
    output.replace(u"%2"_s, m_fixture->Manager.directory.path());
    QCOMPARE(m_fixture->Run(QStringList{u"quit"_s, u"yes"_s} + answers),
             exitQuestion + output + u'\n' + (exits ? QString{} : prompt));
    QCOMPARE(m_fixture->Exits, exits ? 1 : 0);
    QCOMPARE(m_fixture->Manager.project.FilePath(), file.isEmpty() ? file : m_fixture->Manager.Path(file));
    QCOMPARE(ReadTestFile(m_fixture->Manager.Path(u"old.mill"_s)) == "old", file != "old.mill"_L1);
    QCOMPARE(m_fixture->Manager.prompt.asked.size(), answers.last().contains("missing"_L1) ? 1 : 0);
}

void TestConsoleDialogue::SaveQuestionOfAFile()
{
    const QString file = m_fixture->Manager.Path(u"jobs.mill"_s);
    const QString question = u"\n<Taskmill> Save Changes Made to Current Project Before Closing it?  "_s;
    QVERIFY(m_fixture->Manager.project.SaveProjectAs(file));
    m_fixture->Manager.AddGatedJobType();
    const QByteArray before = ReadTestFile(file);
    QCOMPARE(m_fixture->Run({u"quit"_s, u"y"_s, u"cancel"_s}), exitQuestion + question + u'\n' + prompt);
    QCOMPARE(m_fixture->Run({u"quit"_s, u"y"_s, u"no"_s}), exitQuestion + question + u'\n');
    QCOMPARE(ReadTestFile(file), before);
    QCOMPARE(m_fixture->Run({u"quit"_s, u"y"_s, u"yes"_s}),
             exitQuestion + question + u"\n<Taskmill> The project was saved to %1.\n\n\n"_s.arg(file));
    QVERIFY(ReadTestFile(file) != before);
    QVERIFY(!m_fixture->Manager.project.HasUnsavedChanges());
    QCOMPARE(m_fixture->Run({u"quit"_s, u"y"_s}), exitQuestion + u'\n');
    QCOMPARE(m_fixture->Exits, 3);
}

void TestConsoleDialogue::AddCommands()
{
    m_fixture->Manager.AddGatedJobType();
    m_fixture->Manager.shortJobs.Jobs().SetPaused(true);
    const QString file = m_fixture->Manager.InputFile(u"a 'b'.in"_s);
    const QString answer = u"\n<Taskmill> Job %1 was added to the %2.\n\n"_s + prompt;
    QCOMPARE(m_fixture->Run({u"add job"_s, u"none"_s, u"Gated"_s, u" %1 "_s.arg(file)}),
             queueQuestion + typeQuestion + fileQuestion + answer.arg(1).arg(u"Queueless Jobs List"_s));
    QCOMPARE(m_fixture->Run({u"submit job"_s, u"LONG"_s, u"Gated"_s, file}),
             queueQuestion + typeQuestion + fileQuestion + answer.arg(2).arg(u"Long Jobs Queue"_s));
    QCOMPARE(m_fixture->Run({u"submit short job"_s, u"Gated"_s, file}),
             typeQuestion + fileQuestion + answer.arg(3).arg(u"Short Jobs Queue, which is paused"_s));
    QCOMPARE(m_fixture->Manager.longJobs.Jobs().JobIDs(), QList<int>{2});
    QCOMPARE(m_fixture->Manager.shortJobs.Jobs().JobIDs(), QList<int>{3});
    const Taskmill_JobRecord job = m_fixture->Manager.queuelessJobs.Jobs().JobAt(0)->Record();
    QCOMPARE(job.Name, u"a 'b'.in"_s);
    QCOMPARE(job.InputFilePath, file);
    QVERIFY(!job.ClientNotification);
}

void TestConsoleDialogue::AnswersOfAddJob_data()
{
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<QString>("questions"); // q, t, f: a question; n: a line feed; j: the job was added
    QTest::addColumn<QString>("jobType");
    const auto row = [](const char *name, const QStringList &lines, const QString &questions,
                        const QString &jobType) {
        QTest::newRow(name) << lines << questions << jobType;
    };
    row("queue cancelled", {u"add job"_s, u"Cancel"_s}, u"q"_s, {});
    row("no such queue", {u"add job"_s, u"longer"_s, u""_s, u"cancel"_s}, u"qnqnq"_s, {});
    row("no such type", {u"add long job"_s, u"2"_s, u"-1"_s, u"first "_s, u"a.in"_s}, u"tntntfj"_s,
        u"First"_s);
    row("type by name in any case", {u"add long job"_s, u"SECOND"_s, u"a.in"_s}, u"tfj"_s, u"Second"_s);
    row("type by number", {u"add long job"_s, u"1"_s, u"a.in"_s}, u"tfj"_s, u"Second"_s);
    row("name before number", {u"add long job"_s, u"0"_s, u"a.in"_s}, u"tfj"_s, u"0"_s);
    row("file cancelled", {u"add long job"_s, u"First"_s, u"cancel"_s}, u"tf"_s, {});
    row("no such file", {u"add long job"_s, u"First"_s, u"b.in"_s, u""_s, u"."_s, u"a.in"_s}, u"tfnfnfnfj"_s,
        u"First"_s);
}

void TestConsoleDialogue::AnswersOfAddJob()
{
    QFETCH(const QStringList, lines);
    QFETCH(const QString, questions);
    QFETCH(const QString, jobType);
    for (const QString &name : {u"First"_s, u"Second"_s})
        m_fixture->Manager.AddJobType(name, u"wait"_s);
    if (jobType == "0"_L1)
        m_fixture->Manager.AddJobType(u"0"_s, u"wait"_s);
    m_fixture->Manager.InputFile(u"a.in"_s);
    QVERIFY(QDir::setCurrent(m_fixture->Manager.directory.path()));
    QString expected;
    for (const QChar letter : questions) {
        expected += letter == u'q'   ? queueQuestion
                    : letter == u't' ? typeQuestion
                    : letter == u'f' ? fileQuestion
                    : letter == u'n' ? u"\n"_s
                                     : u"\n<Taskmill> Job 1 was added to the Long Jobs Queue.\n\n"_s;
    }
    QCOMPARE(m_fixture->Run(lines), expected + prompt);
    const auto jobs = m_fixture->Manager.longJobs.Jobs().Jobs();
    QCOMPARE(jobs.isEmpty() ? QString{} : jobs.first()->Record().JobType.Name, jobType);
    if (!jobs.isEmpty())
        QCOMPARE(jobs.first()->Record().InputFilePath, m_fixture->Manager.Path(u"a.in"_s));
}

void TestConsoleDialogue::AddedJobIsRefused()
{
    Taskmill_JobType gone = m_fixture->Manager.AddJobType(u"Gone"_s, u"wait"_s);
    gone.ExecutablePath = m_fixture->Manager.Path(u"gone"_s);
    QVERIFY(TestManager::Database().UpdateJobType(gone.JobTypeID, gone));
    const QString file = m_fixture->Manager.InputFile(u"a%1.in"_s);
    QCOMPARE(m_fixture->Run({u"add long job"_s, u"Gone"_s, file}),
             typeQuestion + fileQuestion + u"\n<Taskmill> The job type Gone cannot run "_s + file +
                 u".\n\n"_s + prompt);
    QCOMPARE(m_fixture->Manager.longJobs.Jobs().Count(), 0);
}

void TestConsoleDialogue::ManagerGoesOnWhileTheConsoleWaits()
{
    m_fixture->MakeConsole(AtEnd::Wait, {u"add job"_s});
    m_fixture->Console->RunSlot();
    QTRY_COMPARE(m_fixture->Terminal->Output(), u"Banner\n\n<Taskmill> "_s + queueQuestion);
    TestManager::Release(m_fixture->SubmitGated(m_fixture->Manager.longJobs, u"a.in"_s));
    QTRY_COMPARE(m_fixture->Manager.finishedJobs.Jobs().size(), 1);
    for (const QString &line : {u"cancel"_s, u"list long jobs"_s, u"list short jobs"_s})
        m_fixture->Terminal->Feed(line);
    QTRY_COMPARE(
        m_fixture->Terminal->Output(),
        u"Banner\n\n<Taskmill> "_s + queueQuestion + prompt +
            u"\nLong Jobs Queue is Empty\n\n<Taskmill> \nShort Jobs Queue is Empty\n\n<Taskmill> "_s);
}

void TestConsoleDialogue::QuittingOnTheConsolesThread()
{
    m_fixture->MakeConsole(AtEnd::Wait, {u"exit"_s, u"yes"_s, u"no"_s, u"pwd"_s});
    m_fixture->Manager.AddGatedJobType();
    m_fixture->Console->RunSlot();
    const QString expected = u"Banner\n\n<Taskmill> "_s + exitQuestion +
                             u"\n<Taskmill> Save Current Project to a File Before Closing it?  \n"_s;
    QTRY_COMPARE(m_fixture->Terminal->Output(), expected);
    QCOMPARE(m_fixture->Exits, 1);
    QVERIFY(m_fixture->Console->IsQuitting());
}

void TestConsoleDialogue::EndsWhereverItIs_data()
{
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<QString>("lastQuestion");
    QTest::newRow("not begun") << QStringList{} << QString{};
    QTest::newRow("at the prompt") << QStringList{} << prompt;
    QTest::newRow("at the queue") << QStringList{u"add job"_s} << queueQuestion;
    QTest::newRow("at the file") << QStringList{u"add long job"_s, u"Gated"_s} << fileQuestion;
    QTest::newRow("at the exit question") << QStringList{u"quit"_s} << exitQuestion;
    QTest::newRow("between commands") << QStringList{5, u"list long jobs"_s} << u"Empty\n\n"_s;
    QTest::newRow("in a long command") << QStringList{u"dir ; touch begun; exec sleep 1000"_s} << QString{};
}

void TestConsoleDialogue::EndsWhereverItIs()
{
    QFETCH(const QStringList, lines);
    QFETCH(const QString, lastQuestion);
    m_fixture->Manager.AddGatedJobType();
    m_fixture->MakeConsole(AtEnd::Wait, lines);
    QVERIFY(QDir::setCurrent(m_fixture->Manager.directory.path()));
    m_fixture->Console->RunSlot();
    if (!lines.isEmpty() && lines.first().contains("begun"_L1))
        QTRY_VERIFY(QFile::exists(u"begun"_s));
    if (!lastQuestion.isEmpty())
        QTRY_VERIFY(m_fixture->Terminal->Output().contains(lastQuestion));
    m_fixture->Console->QuitSlot();
    // Waits for the thread, which may be waiting for this one.
    m_fixture->Console.reset();
    QCOMPARE(m_fixture->Exits, 0);
    QCOMPARE(m_fixture->Manager.longJobs.Jobs().Count(), 0);
}

void TestConsoleDialogue::EndsWhileItAsksTheMainThread()
{
    // Whether the question is on its way, waits or is not put any more is up to the threads.
    for (int attempt = 0; attempt < 50; ++attempt) {
        m_fixture->MakeConsole(AtEnd::Wait, {u"list long jobs"_s});
        m_fixture->Console->RunSlot();
        m_fixture->Terminal->WaitUntilTaken();
        if (attempt % 2 == 0)
            QThread::yieldCurrentThread();
        m_fixture->Console.reset();
    }
    QCOMPARE(m_fixture->Exits, 0);
}

QTEST_GUILESS_MAIN(TestConsoleDialogue)
#include "test_consoledialogue.moc"
