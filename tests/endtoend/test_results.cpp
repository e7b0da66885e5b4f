// SPDX-License-Identifier: MIT
#include "endtoend/projectfixture.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

namespace {
const QByteArray water = "3\nwater\nO 0 0 0\nH 1.4 0 0\nH -0.4 1.3 0\n";

/// An input of MOPAC that optimises a molecule of water, with further keywords.
QByteArray MopacInput(const QByteArray &keywords = {})
{
    return "PM7 " + keywords +
           "\nwater\n\nO  0.0 1  0.0 1  0.0 1\nH  1.2 1  0.0 1  0.0 1\nH -0.3 1  1.1 1  0.0 1\n";
}
} // namespace

/// What becomes of calculations with programs that are installed here, from the submission to the project
/// file.
class TestResults : public ManagerTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("TASKMILL_END_JOBS", "as asked"); }

    void JudgesMopacByItsOutput_data()
    {
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QString>("result");
        QTest::addColumn<QString>("line");
        QTest::newRow("an optimisation") << MopacInput() << u"normal"_s << u"MOPAC DONE"_s;
        QTest::newRow("a keyword that does not exist")
            << MopacInput("NOSUCHWORD") << u"error"_s << u"NOSUCHWORD"_s;
        QTest::newRow("cycles run out") << MopacInput("CYCLES=2") << u"not-converged"_s << u"EXCE"_s;
    }

    /// Each time it ends with exit code 0.
    void JudgesMopacByItsOutput()
    {
        QFETCH(QByteArray, input);
        QFETCH(QString, result);
        QFETCH(QString, line);
        if (!BeginWith(u"mopac"_s, u"@EXEFILE @INFILE"_s))
            QSKIP("mopac is not installed");
        const CtlResult run = Run(u"a.mop"_s, input);
        QCOMPARE(run.out, QByteArray{"Job 1: a.mop\nJob 1: completed; result: " + result.toUtf8() + '\n'});
        QCOMPARE(run.status, result == "normal"_L1 ? 0 : 1);
        const QJsonObject shown = ResultOf(1);
        QCOMPARE(shown.value("result"_L1).toString(), result);
        QCOMPARE(shown.value("program"_L1).toString(), u"MOPAC"_s);
        QVERIFY2(shown.value("message"_L1).toString().contains(line),
                 qPrintable(shown.value("message"_L1).toString()));
        QCOMPARE(shown.value("energies"_L1).toArray().isEmpty(), result == "error"_L1);
        QVERIFY(Manager().Command("show job 1").contains(line.toUtf8()));
        const Taskmill_JobRecord stored = SaveAndQuit();
        QCOMPARE(stored.Result.VerdictText(), result);
        QVERIFY(stored.ClientResult);
    }

    void JudgesXtbByWhatItPrints_data()
    {
        QTest::addColumn<QString>("options");
        QTest::addColumn<QString>("result");
        QTest::newRow("an optimisation") << u"--opt"_s << u"normal"_s;
        QTest::newRow("cycles run out") << u"--opt --cycles 1"_s << u"not-converged"_s;
    }

    void JudgesXtbByWhatItPrints()
    {
        QFETCH(QString, options);
        QFETCH(QString, result);
        if (!BeginWith(u"xtb"_s, u"@EXEFILE @INFILE "_s + options))
            QSKIP("xtb is not installed");
        const CtlResult run = Run(u"a.xyz"_s, water);
        QCOMPARE(run.out, QByteArray{"Job 1: a.xyz\nJob 1: completed; result: " + result.toUtf8() + '\n'});
        QVERIFY(ResultOf(1).value("steps"_L1).toInt() > 0);
        QCOMPARE(SaveAndQuit().Result.VerdictText(), result);
    }

    void PresetsRunAsTheyAre_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QString>("input");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("written");
        QTest::addColumn<QByteArray>("end");
        QTest::newRow("MOPAC") << u"mopac"_s << u"a b.mop"_s << MopacInput() << u"a b.out"_s
                               << QByteArray{"completed; result: normal"};
        QTest::newRow("xtb") << u"xtb"_s << u"a b.xyz"_s << water << u"a b.xtb.xtbopt.xyz"_s
                             << QByteArray{"completed; result: normal"};
        QTest::newRow("Open Babel") << u"obabel"_s << u"a b.smi"_s << QByteArray{"CCO ethanol\n"}
                                    << u"a b.xyz"_s << QByteArray{"completed; result: none"};
    }

    void PresetsRunAsTheyAre()
    {
        QFETCH(const QString, program);
        QFETCH(const QString, input);
        QFETCH(const QByteArray, content);
        QFETCH(const QString, written);
        QFETCH(const QByteArray, end);
        if (QStandardPaths::findExecutable(program).isEmpty())
            QSKIP("It is not installed");
        QCOMPARE(RunCtl({u"project"_s, u"create"_s, Project().ProjectPath()}).status, 0);
        const CtlResult added = RunCtl({u"types"_s, u"add"_s, Project().ProjectPath(), u"--found"_s});
        QVERIFY(added.out.contains(": " + QStandardPaths::findExecutable(program).toUtf8() + '\n'));
        QVERIFY(Project().Start());
        // The extension finds the type; without a queue it starts at once.
        const CtlResult run = Manager().Ctl({u"submit"_s, Project().InputFile(input, content), u"--queue"_s,
                                             u"none"_s, u"--wait"_s, u"--result"_s, u"--timeout"_s, u"60"_s});
        QVERIFY2(run.out.trimmed().endsWith("Job 1: " + end), run.out.constData());
        QVERIFY(QFileInfo{Project().Path(written)}.size() > 0);
        QVERIFY(Manager().Quit() == ManagerEnd{.status = 0});
    }

    void SaysHowFarARunHasComeAndNothingOfOneThatWasKilled()
    {
        if (!BeginWith(u"xtb"_s, u"@EXEFILE @INFILE --md --input long.inp"_s))
            QSKIP("xtb is not installed");
        (void)Project().InputFile(u"long.inp"_s, "$md\n   time=1000000\n$end\n");
        // From a stretched molecule the dynamics would end at once.
        const QString input =
            Project().InputFile(u"a.xyz"_s, "3\nwater\nO 0 0 0\nH 0.96 0 0\nH -0.24 0.93 0\n");
        QCOMPARE(Manager().Submit(u"Program"_s, input, u"none"_s), "accepted=1\n");
        QTRY_COMPARE_WITH_TIMEOUT(ResultOf(1).value("program"_L1).toString(), u"xtb"_s, 20'000);
        QCOMPARE(Manager().Ctl({u"kill"_s, u"1"_s}).status, 0);
        QTRY_VERIFY(Manager().Ctl({u"list"_s, u"finished"_s}).out.contains("Killed"));
        QTRY_COMPARE(ResultOf(1).value("result"_L1).toString(), u"none"_s);
    }

    /// A program that fails before it writes anything leaves the output of the run before.
    void LeavesTheOutputOfAnEarlierRunAlone()
    {
        if (!BeginWith(u"mopac"_s, u"@EXEFILE @INFILE"_s))
            QSKIP("mopac is not installed");
        QCOMPARE(Run(u"a.mop"_s, MopacInput()).status, 0);
        QVERIFY(Run(u"a.mop"_s, MopacInput("NOSUCHWORD")).out.endsWith("result: error\n"));
        QCOMPARE(Run(u"a.mop"_s, MopacInput()).status, 0);
        QVERIFY(
            Run(u"a.mop"_s, MopacInput(), u"Fails"_s).out.endsWith("failed, exit code 3; result: none\n"));
        QVERIFY(ResultOf(4).isEmpty());
        QCOMPARE(ResultOf(1).value("result"_L1).toString(), u"normal"_s);
        QCOMPARE(ResultOf(2).value("result"_L1).toString(), u"error"_s);
        (void)SaveAndQuit();
    }

    /// More than is gathered when a job ends.
    void ReadsALongPrintOfAJobThatEndedWhileNoManagerWasThere()
    {
        QVERIFY(Project().AddTestType(
            u"Long"_s, u"print \"x T B\" fill 400000 waitfor @INFILE.go print \"finished run on\""_s));
        QVERIFY(Project().Start());
        const QString input = Project().InputFile(u"a.in"_s);
        QCOMPARE(Manager().Submit(u"Long"_s, input, u"none"_s), "accepted=1\n");
        if constexpr (hasKeepers) {
            QTRY_COMPARE_WITH_TIMEOUT(ResultOf(1).value("program"_L1).toString(), u"xtb"_s, 20'000);
            QVERIFY(Manager().Command("save").contains("The project was saved"));
            QVERIFY(Manager().Ask("quit keep", "?  "));
            Manager().Type("yes\n");
            QCOMPARE(Manager().End().status, 0);
            WriteTestFile(input + u".go"_s, {});
            QVERIFY(Project().Start());
        }
        WriteTestFile(input + u".go"_s, {});
        QTRY_COMPARE(ResultOf(1).value("result"_L1).toString(), u"normal"_s);
        const Taskmill_JobRecord stored = SaveAndQuit();
        QCOMPARE(stored.Result.VerdictText(), u"normal"_s);
        QVERIFY(stored.StdOutAndStdErr.endsWith(u"finished run on\n"_s));
    }

private:
    /// Starts a manager with a job type "Program" for it and one that always fails. False when there is no
    /// such program.
    [[nodiscard]] bool BeginWith(const QString &program, const QString &commandLine)
    {
        const QString path = QStandardPaths::findExecutable(program);
        return !path.isEmpty() && Project().AddType(u"Program"_s, path, commandLine) &&
               Project().AddTestType(u"Fails"_s, u"exit 3"_s) && Project().Start();
    }

    [[nodiscard]] CtlResult Run(const QString &name, const QByteArray &input,
                                const QString &type = u"Program"_s)
    {
        (void)Project().InputFile(name, input);
        return Manager().Ctl(
            {u"submit"_s, u"--type"_s, type, u"--queue"_s, u"queueless"_s, u"--wait"_s, u"--result"_s, name});
    }

    [[nodiscard]] QJsonObject ResultOf(int jobID)
    {
        const CtlResult shown = Manager().Ctl({u"job"_s, QString::number(jobID), u"--json"_s});
        return QJsonDocument::fromJson(shown.out).object().value("result"_L1).toObject();
    }

    /// The first finished job, as the project file has it.
    [[nodiscard]] Taskmill_JobRecord SaveAndQuit()
    {
        if (Manager().Ctl({u"save"_s}).status != 0 || Manager().Ctl({u"quit"_s}).status != 0)
            qFatal("the project could not be saved");
        (void)Manager().End();
        return Project().Rows().finishedJobs.value(0);
    }
};

QTEST_GUILESS_MAIN(TestResults)
#include "test_results.moc"
