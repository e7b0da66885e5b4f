#include "jobs/commandline.h"
#include "kilnutil/process.h"
#include "support/testutil.h"

#include <QDir>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

class TestCommandLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FailOnQtWarnings(); }
    void ExpandsTemplate_data();
    void ExpandsTemplate();
    void PlansLaunch_data();
    void PlansLaunch();
    void KeepsEndlessPlaceholdersInBounds();
    void CarriesAnyFileNameToTheProgram_data();
    void CarriesAnyFileNameToTheProgram();
};

namespace {
const QString cubman = u"@EXEFILE\n@KIND\n@INFILE1\ny\n@INFILE2\ny\n@OUTFILE\ny\n@SCALE\n"_s;

Taskmill_JobRecord MakeJob(const QString &program, const QString &commandLine)
{
    Taskmill_JobRecord job;
    job.JobType.ExecutablePath = program;
    job.JobType.GenericCommandLine = commandLine;
    job.InputFilePath = u"/w/a.in"_s;
    job.OutputFile = u"/w/a.out"_s;
    return job;
}
} // namespace

void TestCommandLine::ExpandsTemplate_data()
{
    QTest::addColumn<Taskmill_JobRecord>("job");
    QTest::addColumn<QString>("full");
    QTest::addColumn<QString>("arguments");

    Taskmill_JobRecord job = MakeJob(u"/p/run"_s, u"@EXEFILE @INFILE @OUTFILE"_s);
    QTest::newRow("three placeholders") << job << u"/p/run /w/a.in /w/a.out"_s << u" /w/a.in /w/a.out"_s;

    job.JobType.GenericCommandLine = u"\"@EXEFILE\" \"@INFILE\" \"@OUTFILE\""_s;
    QTest::newRow("quotes of the template are dropped")
        << job << u"/p/run /w/a.in /w/a.out"_s << u" /w/a.in /w/a.out"_s;

    job.InputFilePath = u"/w/my a.in"_s;
    job.InputFilePath2 = u"/w/my b.in"_s;
    job.JobType.GenericCommandLine = u"@EXEFILE @INFILE1 @INFILE2 @INFILE\n@INFILE2\n@OUTFILE"_s;
    QTest::newRow("file names are quoted in the first line only")
        << job << u"/p/run \"/w/my a.in\" \"/w/my b.in\" \"/w/my a.in\"\n/w/my b.in\n/w/a.out"_s
        << u" \"/w/my a.in\" \"/w/my b.in\" \"/w/my a.in\"\n/w/my b.in\n/w/a.out"_s;

    job = MakeJob(u"/p/run"_s, u"@EXEFILE @INFILE2@OUTFILE@NPROCS @infile"_s);
    job.OutputFile.clear();
    QTest::newRow("missing files give nothing, unknown words stay")
        << job << u"/p/run @NPROCS @infile"_s << u" @NPROCS @infile"_s;

    job = MakeJob(u"/p/run"_s, u"@EXEFILE @sel=@SELINPUT @KIND"_s);
    job.PlaceholderValues = {
        {u"@SEL"_s, u"x"_s}, {u"@SELINPUT"_s, u"never"_s}, {u"@kind"_s, u"@X"_s}, {u"@X"_s, u"y"_s}};
    QTest::newRow("pairs apply in any case and in list order")
        << job << u"/p/run x=xINPUT y"_s << u" x=xINPUT y"_s;

    job.PlaceholderValues = {{QString{}, u"x"_s}, {u"@KIND"_s, QString{}}};
    QTest::newRow("an empty placeholder is no placeholder")
        << job << u"/p/run @sel=@SELINPUT "_s << u" @sel=@SELINPUT "_s;

    QTest::newRow("Cubman without a second file")
        << MakeJob(u"/p/CubMan.exe"_s, cubman) << u"/p/CubMan.exe\n@KIND\n/w/a.in\ny\n/w/a.out\ny\n@SCALE\n"_s
        << u"\n@KIND\n/w/a.in\ny\n/w/a.out\ny\n@SCALE\n"_s;
    QTest::newRow("another program keeps the answer")
        << MakeJob(u"/p/other"_s, cubman) << u"/p/other\n@KIND\n/w/a.in\ny\n\ny\n/w/a.out\ny\n@SCALE\n"_s
        << u"\n@KIND\n/w/a.in\ny\n\ny\n/w/a.out\ny\n@SCALE\n"_s;
    job = MakeJob(u"/p/cubman"_s, cubman);
    job.InputFilePath2 = u"/w/b.in"_s;
    QTest::newRow("Cubman with a second file")
        << job << u"/p/cubman\n@KIND\n/w/a.in\ny\n/w/b.in\ny\n/w/a.out\ny\n@SCALE\n"_s
        << u"\n@KIND\n/w/a.in\ny\n/w/b.in\ny\n/w/a.out\ny\n@SCALE\n"_s;
}

void TestCommandLine::ExpandsTemplate()
{
    QFETCH(Taskmill_JobRecord, job);
    const Taskmill_CommandLine expanded = Taskmill_ExpandCommandLine(job);
    QFETCH(QString, full);
    QFETCH(QString, arguments);
    QCOMPARE(expanded.Full, QDir::toNativeSeparators(full));
    QCOMPARE(expanded.Arguments, QDir::toNativeSeparators(arguments));
    QCOMPARE(job.CommandLine(), expanded.Full);
}

void TestCommandLine::PlansLaunch_data()
{
    QTest::addColumn<Taskmill_JobRecord>("job");
    QTest::addColumn<QString>("commandLine");
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QByteArray>("standardInput");

    QTest::newRow("one line") << MakeJob(u"/my p/run"_s, u"@EXEFILE @INFILE"_s) << u"\"/my p/run\" /w/a.in"_s
                              << u"/w/a.in"_s << QByteArray{};
    QTest::newRow("a line feed at the end is no input")
        << MakeJob(u"/p/run"_s, u"@EXEFILE -x \n"_s) << u"/p/run -x"_s << u"-x"_s << QByteArray{};
    QTest::newRow("only the executable in the first line")
        << MakeJob(u"/p/run"_s, u"@EXEFILE\n@INFILE\n\ny\n"_s) << u"/p/run"_s << QString{}
        << QByteArray{"/w/a.in\n\ny\n"};

    Taskmill_JobRecord job = MakeJob(u"/p/run"_s, u"@EXEFILE\n@TITLE\n@INFILE\n"_s);
    job.PlaceholderValues = {{u"@TITLE"_s, u"Köln"_s}};
    QTest::newRow("Latin-1") << job << u"/p/run"_s << QString{} << QByteArray{"K\xF6ln\n/w/a.in\n"};
    job.InputFilePath = u"/w/Köln.in"_s;
    QTest::newRow("a line with a file name is spelled as the file system does")
        << job << u"/p/run"_s << QString{} << "K\xF6ln\n" + QFile::encodeName(job.InputFilePath) + '\n';
}

void TestCommandLine::PlansLaunch()
{
    QFETCH(Taskmill_JobRecord, job);
    const Taskmill_LaunchPlan plan = Taskmill_PlanLaunch(job);
    QFETCH(QString, commandLine);
    QFETCH(QString, arguments);
    QFETCH(QByteArray, standardInput);
    QCOMPARE(plan.Program, QDir::toNativeSeparators(job.JobType.ExecutablePath));
    QCOMPARE(plan.CommandLine, QDir::toNativeSeparators(commandLine));
    QCOMPARE(plan.Arguments, QDir::toNativeSeparators(arguments));
    QCOMPARE(plan.StandardInput, standardInput.replace('/', QDir::separator().toLatin1()));
}

void TestCommandLine::KeepsEndlessPlaceholdersInBounds()
{
    QString text = u"@X"_s;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression{u"too long"_s});
    Taskmill_ApplyPlaceholders(text, Taskmill_PlaceholderValues(64, {u"@X"_s, u"@X@X"_s}));
    QVERIFY(text.size() > 100'000);
    QVERIFY(text.size() < 2'000'000);
}

void TestCommandLine::CarriesAnyFileNameToTheProgram_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("blank") << u"/w/two words.in"_s;
    QTest::newRow("tab") << u"/w/two\twords.in"_s;
    QTest::newRow("double quotes") << u"/w/\"quoted\" name\""_s;
    QTest::newRow("single quote") << u"/w/it's here"_s;
    QTest::newRow("backslashes") << u"/w/a\\b\\\\c d\\\\\"e\\"_s;
    QTest::newRow("backslash at the end after a blank") << u"/w/a b\\"_s;
    QTest::newRow("backslashes at the end after a blank") << u"/w/a b\\\\"_s;
    QTest::newRow("shell characters") << u"/w/$HOME `id` *; &"_s;
    QTest::newRow("characters of cmd.exe") << u"/w/%PATH% %1 ^ ^^ & | < > !x!"_s;
    QTest::newRow("the same without a blank") << u"/w/%PATH%^&|<>!x!"_s;
    QTest::newRow("non-ASCII") << u"/w/Übung 分子.in"_s;
}

void TestCommandLine::CarriesAnyFileNameToTheProgram()
{
    QFETCH(QString, name);
    QTemporaryDir directory;
    Taskmill_JobRecord job = MakeJob(TestProgramPath(), u"@EXEFILE args @OUTFILE @INFILE -o @INFILE2"_s);
    job.OutputFile = directory.filePath(u"arguments of program"_s);
    job.InputFilePath = name;
    job.InputFilePath2 = name;
    const Taskmill_LaunchPlan plan = Taskmill_PlanLaunch(job);

    KilnUtil_Process process{nullptr, {}, {}};
    process.SetProgramText(plan.Program);
    process.SetArgumentText(plan.Arguments);
    const QSignalSpy finished{&process, &KilnUtil_Process::FinishedSignal};
    process.Start();
    QTRY_COMPARE(finished.size(), 1);
    QCOMPARE(process.ExitCode(), 0);
    const QByteArray argument = QDir::toNativeSeparators(name).toUtf8() + '\0';
    const QByteArray expected = argument + QByteArray{"-o"} + '\0' + argument;
    QCOMPARE(ReadTestFile(job.OutputFile), expected);
}

QTEST_GUILESS_MAIN(TestCommandLine)
#include "test_commandline.moc"
