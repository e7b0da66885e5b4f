// SPDX-License-Identifier: MIT
#include "jobs/commandline.h"
#include "jobs/jobenvironment.h"
#include "support/testcase.h"

using namespace Qt::Literals::StringLiterals;

namespace {
Taskmill_JobRecord MakeJob(const QString &program, const QString &commandLine)
{
    Taskmill_JobRecord job;
    job.JobType.ExecutablePath = program;
    job.JobType.GenericCommandLine = commandLine;
    job.InputFilePath = u"/w/a.in"_s;
    job.OutputFile = u"/w/a.out"_s;
    return job;
}

/// With the separators that the tests are written in.
QString Expanded(const Taskmill_JobRecord &job)
{
    return QDir::fromNativeSeparators(Taskmill_ExpandCommandLine(job).Full);
}
} // namespace

/// How the job type's templates become command line, standard input and environment.
class TestCommandLine : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void FileNamesAreQuotedInTheFirstLineOnly()
    {
        Taskmill_JobRecord job = MakeJob(u"/my p/run"_s, u"\"@EXEFILE\" \"@INFILE\" \"@OUTFILE\" @NPROCS"_s);
        QCOMPARE(Expanded(job), u"\"/my p/run\" /w/a.in /w/a.out @NPROCS"_s);
        job.InputFilePath = u"/w/my a.in"_s;
        job.InputFilePath2 = u"/w/my b.in"_s;
        job.JobType.GenericCommandLine = u"@INFILE1 @INFILE2 @INFILE\n@INFILE2\n@OUTFILE"_s;
        QCOMPARE(Expanded(job), u"\"/w/my a.in\" \"/w/my b.in\" \"/w/my a.in\"\n/w/my b.in\n/w/a.out"_s);
    }

    void PlaceholdersApplyInAnyCaseAndInListOrder()
    {
        Taskmill_JobRecord job = MakeJob(u"/p/run"_s, u"@EXEFILE @sel=@SELINPUT @KIND"_s);
        job.PlaceholderValues = {
            {u"@SEL"_s, u"x"_s}, {u"@SELINPUT"_s, u"never"_s}, {u"@kind"_s, u"@X"_s}, {u"@X"_s, u"y"_s}};
        QCOMPARE(Expanded(job), u"/p/run x=xINPUT y"_s);
        job.PlaceholderValues = {{QString{}, u"x"_s}, {u"@KIND"_s, QString{}}};
        QCOMPARE(Expanded(job), u"/p/run @sel=@SELINPUT "_s);

        QString text = u"@X"_s;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression{u"too long"_s});
        Taskmill_ApplyPlaceholders(text, Taskmill_PlaceholderValues(64, {u"@X"_s, u"@X@X"_s}));
        QVERIFY(text.size() > 100'000);
        QVERIFY(text.size() < 2'000'000);
    }

    void LinesAfterTheFirstAreTheInput()
    {
        Taskmill_JobRecord job = MakeJob(u"/my p/run"_s, u"@EXEFILE -x \n"_s);
        Taskmill_LaunchPlan plan = Taskmill_PlanLaunch(job);
        QCOMPARE(plan.Program, QDir::toNativeSeparators(u"/my p/run"_s));
        QCOMPARE(QDir::fromNativeSeparators(plan.CommandLine), u"\"/my p/run\" -x"_s);
        QCOMPARE(plan.Arguments, u"-x"_s);
        QCOMPARE(plan.StandardInput, QByteArray{});

        job.JobType.GenericCommandLine = u"@EXEFILE\n@TITLE\n\n@INFILE\n"_s;
        job.PlaceholderValues = {{u"@TITLE"_s, u"Köln"_s}};
        job.InputFilePath = u"Köln.in"_s;
        plan = Taskmill_PlanLaunch(job);
        QCOMPARE(plan.Arguments, QString{});
        // Latin-1, but a file name as the file system spells it.
        QCOMPARE(plan.StandardInput, "K\xF6ln\n\n" + QFile::encodeName(u"Köln.in"_s) + '\n');
    }

    void EnvironmentGetsTheLinesOfTheType()
    {
        const auto environment = [](const QString &lines, const QString &memory) {
            Taskmill_JobRecord job;
            job.JobType.EnvironmentVariables = lines;
            job.PlaceholderValues = {{u"@MEMORY"_s, memory}};
            QProcessEnvironment inherited;
            inherited.insert(u"OLD"_s, u"kept"_s);
            inherited.insert(u"GAUSS_MEMDEF"_s, u"5"_s);
            QStringList variables = Taskmill_JobEnvironment(job, inherited).toStringList();
            variables.sort();
            return variables.join(u' ');
        };
        QCOMPARE(environment(u"A=1\n\nOLD=new\n"_s, {}), u"A=1 GAUSS_MEMDEF=5 OLD=new"_s);
        QCOMPARE(environment(u"OLD=a=b\nOLD=\nOLD\n=\n=x\nB==2"_s, {}), u"B=2 GAUSS_MEMDEF=5 OLD=kept"_s);
        QCOMPARE(environment(u"X_@memory=@MEMORY-@Memory"_s, u"7"_s), u"GAUSS_MEMDEF=5 OLD=kept X_7=7-7"_s);
        // Without a value not even the inherited variable is left.
        const QString line = u"GAUSS_MEMDEF=@MEMORY"_s;
        QCOMPARE(environment(line, u"200000000000"_s), u"GAUSS_MEMDEF=200000000000 OLD=kept"_s);
        for (const QString &memory : {u"0"_s, u"200MB"_s, u"@MEMORY"_s})
            QCOMPARE(environment(line, memory), u"OLD=kept"_s);
    }
};

QTEST_GUILESS_MAIN(TestCommandLine)
#include "test_commandline.moc"
