// SPDX-License-Identifier: MIT
#include "jobs/clustercall.h"
#include "jobs/jobenvironment.h"
#include "jobs/jobneeds.h"
#include "jobs/jobrecord.h"
#include "support/testcase.h"
#include "wire/clusterrun.h"

using namespace Qt::Literals::StringLiterals;

namespace {
Taskmill_JobType TypeOf(const QString &program, const QString &commandLine)
{
    Taskmill_JobType jobType;
    jobType.Name = u"type"_s;
    jobType.ExecutablePath = program;
    jobType.GenericCommandLine = commandLine;
    return jobType;
}
const QString programHere = u"/opt/my orca/orca"_s;
const QString follower = u"/usr/bin/taskmill-slurm"_s;
} // namespace

/// Command lines of jobs that a cluster runs.
class TestClusterCall : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void ChangesWhatIsToBeChanged_data();
    void ChangesWhatIsToBeChanged();
    void MovesATypeThereAndBack_data();
    void MovesATypeThereAndBack();
    void GivesWhatTheInputSays_data();
    void GivesWhatTheInputSays();
};

/// Partition and program become "p" and "g"; the first column is what an unchanged call leaves as it is.
void TestClusterCall::ChangesWhatIsToBeChanged_data()
{
    QTest::addColumn<QString>("changed");
    const auto add = [](const char *commandLine, const char *changed) {
        QTest::newRow(commandLine) << QString::fromLatin1(changed);
    };
    add("@EXEFILE -- orca @INFILE", "@EXEFILE --partition p -- g @INFILE");
    add("@EXEFILE  --time=2:00   --cores 4  --   \"/opt/a b/orca\"  @INFILE\nyes -- no",
        "@EXEFILE --partition p --cores 4 --time 2:00 -- g  @INFILE\nyes -- no");
    add("@EXEFILE --partition old orca --cores 2 @INFILE", "@EXEFILE --partition p g --cores 2 @INFILE");
    add("\"@EXEFILE\" --prepare \"export A=\\\"b c\\\"\" --prepare x --sbatch \"--qos=a --comment 'b c'\" -- "
        "orca",
        "\"@EXEFILE\" --partition p --prepare \"export A=\\\"b c\\\"\" --prepare x --sbatch "
        "\"--qos=a --comment 'b c'\" -- g");
    add("@EXEFILE --copy \"\" --cores @NCPU -- orca",
        "@EXEFILE --partition p --cores @NCPU --copy \"\" -- g");
    add("@EXEFILE --cores", "@EXEFILE --partition p g");
    add("orca @INFILE", "");
}

void TestClusterCall::ChangesWhatIsToBeChanged()
{
    QFETCH(QString, changed);
    const QString commandLine = QString::fromLatin1(QTest::currentDataTag());
    auto call = Taskmill_ClusterCall::Of(commandLine);
    QCOMPARE(call.has_value(), !changed.isEmpty());
    if (!call)
        return;
    QCOMPARE(call->In(commandLine), commandLine);
    call->Options.Partition = u"p"_s;
    call->Program = u"g"_s;
    QCOMPARE(call->In(commandLine), changed);
}

void TestClusterCall::MovesATypeThereAndBack_data()
{
    QTest::addColumn<QString>("there");
    const auto add = [](const char *here, const char *there) {
        QTest::newRow(here) << QString::fromLatin1(there);
    };
    add("@EXEFILE @INFILE > x", "@EXEFILE --cores input -- \"/opt/my orca/orca\" @INFILE > x");
    add("\"@EXEFILE\"\n@INFILE", "\"@EXEFILE\" --cores input -- \"/opt/my orca/orca\"\n@INFILE");
    add("no program", "no program");
}

void TestClusterCall::MovesATypeThereAndBack()
{
    QFETCH(QString, there);
    const Taskmill_JobType here = TypeOf(programHere, QString::fromLatin1(QTest::currentDataTag()));
    const Taskmill_JobType moved =
        Taskmill_OnCluster(here, {.Cores = Taskmill_ClusterOptions::OfInput}, here.ExecutablePath);
    QVERIFY(moved.RunsOnCluster());
    QCOMPARE(moved.GenericCommandLine, there);
    if (there.contains(u"@EXEFILE"_s))
        QCOMPARE(Taskmill_OnThisComputer(moved), here);
}

void TestClusterCall::GivesWhatTheInputSays_data()
{
    QTest::addColumn<Taskmill_JobType>("jobType");
    QTest::addColumn<QString>("cores");
    QTest::addColumn<QString>("memory");
    const QString program = u"orca @INFILE"_s;
    QTest::newRow("the input's") << TypeOf(follower, u"@EXEFILE --cores input --memory input -- "_s + program)
                                 << u"6"_s << u"12000"_s;
    QTest::newRow("the type's own") << TypeOf(follower, u"@EXEFILE --cores 3 --memory=9 -- "_s + program)
                                    << u"3"_s << u"9"_s;
    QTest::newRow("the program's command line")
        << TypeOf(follower, u"@EXEFILE --cores input -- xtb water.xyz -P 5"_s) << u"5"_s << u"12000"_s;
    QTest::newRow("nothing of a job that runs here")
        << TypeOf(programHere, u"@EXEFILE @INFILE"_s) << u"-"_s << u"-"_s;
}

void TestClusterCall::GivesWhatTheInputSays()
{
    QFETCH(Taskmill_JobType, jobType);
    Taskmill_JobRecord job;
    job.JobType = jobType;
    job.InputFilePath =
        WriteTestFile(Path(u"a $(x) 'b'.inp"_s), "! B3LYP def2-SVP\n%maxcore 2000\n%pal nprocs 6 end\n"
                                                 "* xyz 0 1\nH 0 0 0\nH 0 0 1\n*\n");
    job.InputNeeds = Taskmill_NeedsOfJob(job);
    const QProcessEnvironment environment = Taskmill_JobEnvironment(job, {});
    const auto value = [&environment](std::string_view name) {
        return environment.value(QString::fromLatin1(name.data(), static_cast<qsizetype>(name.size())),
                                 u"-"_s);
    };
    QTEST(value(Taskmill_CoresVariable), "cores");
    QTEST(value(Taskmill_MemoryVariable), "memory");
}

QTEST_GUILESS_MAIN(TestClusterCall)
#include "test_clustercall.moc"
