// SPDX-License-Identifier: MIT
#include "ctlrun.h"

#include "support/testcase.h"

using namespace Qt::Literals::StringLiterals;

/// The commands on outputs and inputs, run as their user does.
class TestResultCommand : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init() override
    {
        TestCase::init();
        WriteTestFile(Path(u"größe.out"_s),
                      "* O   R   C   A *\nProgram Version 5.0.4 -  RELEASE  -\n"
                      "* GEOMETRY OPTIMIZATION CYCLE   1 *\nFINAL SINGLE POINT ENERGY  -74.967638760929\n"
                      "[file a.cpp, line 1]: Error \"\xFF\" \\ \n");
        WriteTestFile(Path(u"a.gjf"_s), "%mem=1500KB\n%nproc=4\n%chk=a.chk\n#p hf\n\n");
        WriteTestFile(Path(u"empty"_s), {});
    }

    void ResultAsJson()
    {
        const CtlResult result = Run({u"result"_s, u"--json"_s, u"größe.out"_s, u"empty"_s});
        QCOMPARE(result.status, 0);
        QCOMPARE(result.err, QByteArray{});
        QCOMPARE(result.out,
                 "{\"file\":\"größe.out\",\"program\":\"ORCA\",\"version\":\"5.0.4\",\"result\":\"error\","
                 "\"message\":\"Error \\\"ÿ\\\" \\\\\",\"converged\":false,\"steps\":1,"
                 "\"energies\":[-74.967638760929]}\n"
                 "{\"file\":\"empty\",\"program\":null,\"version\":null,\"result\":\"none\",\"message\":\"\","
                 "\"converged\":null,\"steps\":0,\"energies\":[]}\n");
    }

    void ResultAsText()
    {
        const CtlResult result = Run({u"result"_s, u"größe.out"_s});
        QCOMPARE(result.out, "größe.out: error\n"
                             "  Program     ORCA 5.0.4\n"
                             "  Message     Error \"ÿ\" \\\n"
                             "  Converged   geometry not converged\n"
                             "  Steps       1\n"
                             "  Energy      -74.967638760929 hartree\n");
    }

    void ResourcesInBothForms()
    {
        QCOMPARE(Run({u"resources"_s, u"a.gjf"_s, u"--json"_s, u"empty"_s}).out,
                 "{\"file\":\"a.gjf\",\"program\":\"Gaussian\",\"cores\":4,\"memory_mb\":1.465,"
                 "\"checkpoint\":\"a.chk\",\"scratch\":null}\n"
                 "{\"file\":\"empty\",\"program\":null,\"cores\":null,\"memory_mb\":null,"
                 "\"checkpoint\":null,\"scratch\":null}\n");
        WriteTestFile(Path(u"large.gjf"_s), "%mem=300000MB\n#p hf\n\nt\n\n0 1\nHe\n\n");
        const QByteArray large = Run({u"resources"_s, u"large.gjf"_s, u"--json"_s}).out;
        QVERIFY2(large.contains("\"memory_mb\":300000,"), large.constData());
        QCOMPARE(Run({u"resources"_s, u"a.gjf"_s}).out, "a.gjf: Gaussian\n"
                                                        "  Cores       4\n"
                                                        "  Memory      1.465 MB\n"
                                                        "  Checkpoint  a.chk\n");
    }

    void FilesThatCannotBeReadKeepNoOthersFromIt()
    {
        const CtlResult result = Run({u"result"_s, u"no.out"_s, u"."_s, u"empty"_s});
        QCOMPARE(result.status, 2);
        QCOMPARE(result.err, "taskmillctl: the file does not exist: no.out\n"
                             "taskmillctl: this is a directory, not a file: .\n");
        QVERIFY(result.out.startsWith("empty: none"));
        QVERIFY(Run({u"result"_s}).err.contains("result needs FILE"));
        QVERIFY(Run({u"resources"_s, u"--help"_s}).out.contains("--json"));
    }

private:
    [[nodiscard]] CtlResult Run(const QStringList &arguments) const
    {
        return RunCtl(arguments, {.directory = Path()});
    }
};

QTEST_GUILESS_MAIN(TestResultCommand)
#include "test_resultcommand.moc"
