// SPDX-License-Identifier: MIT
#include "jobs/defaultjobtypes.h"

#include "support/testmanager.h"

using namespace Qt::Literals::StringLiterals;

/// The job types that the program can make by itself, each with its own program installed alone.
class TestDefaultJobTypes : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void EachIsMadeForItsProgram_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QString>("queue");
        QTest::addColumn<QString>("commandLine");
        QTest::addColumn<QString>("inputFilter");
        QTest::addColumn<QString>("outputFilter");
        QTest::addColumn<QString>("environment"); // "..." is the directory of the programs
        const QString gaussian = u"GAUSS_EXEDIR=..."_s;
        const QString memory = u"GAUSS_MEMDEF=@MEMORY"_s;
        QTest::newRow("Veltra") << u"veltra.exe"_s << u"Short"_s << u"@EXEFILE -nproc=0 -b @INFILE"_s
                                << u"Veltra Input Files (*.dat *.vdat)"_s
                                << u"Veltra Output Files (*.out *.vout)"_s << QString{};
        QTest::newRow("Gaussian") << u"g16.exe"_s << u"Long"_s << u"@EXEFILE @INFILE @OUTFILE"_s
                                  << u"Gaussian Input Files (*.gjf)"_s << u"Gaussian Log Files (*.log)"_s
                                  << gaussian;
        QTest::newRow("GaussianW") << u"g16w.exe"_s << u"Long"_s
                                   << u"@EXEFILE -run -inp=@INFILE -out=@OUTFILE"_s
                                   << u"Gaussian Input Files (*.gjf)"_s << u"Gaussian Log Files (*.log)"_s
                                   << gaussian;
        QTest::newRow("GMMX") << u"gmmx.exe"_s << u"Short"_s << u"@EXEFILE @INFILE @OUTFILE"_s
                              << u"GMMX Input Files (*.gmmx)"_s << u"GMMX Output Files (*.sdf)"_s
                              << QString{};
        QTest::newRow("Cubegen") << u"cubegen.exe"_s << u"Short"_s
                                 << u"@EXEFILE @NPROCS @KIND @INFILE @OUTFILE @NPTS @HEADER"_s
                                 << u"Gaussian Formatted Checkpoint Files (*.fch *.fchk)"_s
                                 << u"Cube Files (*.cub *.cube)"_s << memory;
        QTest::newRow("Formchk") << u"formchk.exe"_s << u"Short"_s << u"@EXEFILE /3 @INFILE @OUTFILE"_s
                                 << u"Gaussian Checkpoint Files (*.chk)"_s
                                 << u"Gaussian Formatted Checkpoint Files (*.fch *.fchk)"_s << memory;
        QTest::newRow("Freqchk")
            << u"freqchk.exe"_s << u"Short"_s
            << u"@EXEFILE @INFILE @SAVE @NFD @SEL\nn\n@TEMP\n@PRESS\n@SCALE\n@ISO\n@PROJ\n@SELINPUT\n"_s
            << u"Gaussian Checkpoint Files (*.chk *.fch *.fchk)"_s << u"Gaussian Frequency Files (*.gfrq)"_s
            << memory;
        QTest::newRow("Cubman") << u"cubman.exe"_s << u"Short"_s
                                << u"@EXEFILE\n@KIND\n@INFILE1\ny\n@INFILE2\ny\n@OUTFILE\ny\n@SCALE\n"_s
                                << u"Cube Files (*.cub *.cube)"_s << u"Cube Files (*.cub *.cube)"_s << memory;
    }

    void EachIsMadeForItsProgram()
    {
        TestManager manager;
        manager.NewProject();
        QVERIFY(manager.JobTypes().Names().isEmpty());
        const QScopedValueRollback programs{KilnUtil_FileSys::m_appDirPath, manager.directory.path()};
        QFETCH(const QString, program);
        QFETCH(const QString, environment);
        qputenv("VELTRA_EXE", manager.Path(u"veltra.exe"_s).toLocal8Bit());
        WriteTestFile(manager.Path(program), {});
        manager.JobTypes().AddDefaults();
        QCOMPARE(manager.JobTypes().Names(), QStringList{QString::fromLatin1(QTest::currentDataTag())});
        const Taskmill_JobType type = manager.JobTypes().GetAll().first();
        QCOMPARE(type.ApplicationName, program);
        QCOMPARE(type.ExecutablePath, manager.Path(program));
        QTEST(type.DefaultQueue, "queue");
        QTEST(type.GenericCommandLine, "commandLine");
        QTEST(type.InputFileFilter, "inputFilter");
        QTEST(type.OutputFileFilter, "outputFilter");
        QCOMPARE(type.EnvironmentVariables, QString{environment}.replace(u"..."_s, manager.directory.path()));
    }
};

QTEST_GUILESS_MAIN(TestDefaultJobTypes)
#include "test_defaultjobtypes.moc"
