#include "jobs/defaultjobtypes.h"
#include "jobs/jobtypelist.h"
#include "kilnutil/filesys.h"

#include "fakejobstore.h"
#include "support/testutil.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

class TestDefaultJobTypes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void NothingIsAddedForMissingPrograms();
    void AllInstalledProgramsAreAddedInOrder();
    void TemplatesStandAsThePromptsNeedThem_data();
    void TemplatesStandAsThePromptsNeedThem();
    void GaussianAndGaussianWStandAlone();
    void ProgramsWithoutExeAreFound();
    void AutomaticChoiceFollowsTheOrder();

private:
    [[nodiscard]] QString InGauss(const QString &name) const { return m_place->filePath("gauss/"_L1 + name); }
    [[nodiscard]] QString InApp(const QString &name) const { return m_place->filePath("app/"_L1 + name); }
    void InstallEverything() const;

    std::unique_ptr<QTemporaryDir> m_place;
    FakeJobStore m_store;
};

void TestDefaultJobTypes::init()
{
    FailOnQtWarnings();
    m_store = {};
    m_place = std::make_unique<QTemporaryDir>();
    QVERIFY(m_place->isValid());
    QVERIFY(QDir{m_place->path()}.mkdir(u"gauss"_s));
    QVERIFY(QDir{m_place->path()}.mkdir(u"app"_s));
    qputenv("GAUSS_EXEDIR", QFile::encodeName(m_place->filePath(u"gauss"_s)));
    qputenv("VELTRA_EXE", QFile::encodeName(InApp(u"veltra.exe"_s)));
    KilnUtil_FileSys::m_appDirPath = m_place->filePath(u"app"_s);
}

void TestDefaultJobTypes::cleanup()
{
    qunsetenv("GAUSS_EXEDIR");
    qunsetenv("VELTRA_EXE");
    KilnUtil_FileSys::m_appDirPath.clear();
    m_place.reset();
}

void TestDefaultJobTypes::InstallEverything() const
{
    for (const QString &name :
         {u"g09.exe"_s, u"g09w.exe"_s, u"cubegen.exe"_s, u"formchk.exe"_s, u"freqchk.exe"_s, u"cubman.exe"_s})
        WriteTestFile(InGauss(name), {});
    WriteTestFile(InApp(u"veltra.exe"_s), {});
    WriteTestFile(InApp(u"gmmx.exe"_s), {});
}

void TestDefaultJobTypes::NothingIsAddedForMissingPrograms()
{
    Taskmill_JobTypeList list{m_store};
    list.AddDefaults();
    QVERIFY(list.GetAll().isEmpty());
}

void TestDefaultJobTypes::AllInstalledProgramsAreAddedInOrder()
{
    InstallEverything();
    Taskmill_JobTypeList list{m_store};
    list.AddDefaults();
    QCOMPARE(list.Names(), (QStringList{u"Veltra"_s, u"Gaussian"_s, u"GaussianW"_s, u"GMMX"_s, u"Cubegen"_s,
                                        u"Formchk"_s, u"Freqchk"_s, u"Cubman"_s}));
    QCOMPARE(list.GetAll(), m_store.Rows);
    const Taskmill_JobType gaussian = list.GetAll().at(1);
    QCOMPARE(gaussian.ExecutablePath, InGauss(u"g09.exe"_s));
    QCOMPARE(gaussian.ApplicationName, u"g09.exe"_s);
    QCOMPARE(gaussian.EnvironmentVariables, "GAUSS_EXEDIR="_L1 + m_place->filePath(u"gauss"_s));
    QCOMPARE(list.GetAll().at(3).ExecutablePath, InApp(u"gmmx.exe"_s));
    for (const Taskmill_JobType &jobType : list.GetAll())
        QVERIFY2(jobType.IsValid(), qPrintable(jobType.Name));
}

void TestDefaultJobTypes::TemplatesStandAsThePromptsNeedThem_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QStringList>("fields"); // queue, template, input filter, output filter
    const QString checkpoints = u"Gaussian Formatted Checkpoint Files (*.fch *.fchk)"_s;
    const QString cubes = u"Cube Files (*.cub *.cube)"_s;
    QTest::newRow("Veltra") << 0
                            << QStringList{u"Short"_s, u"@EXEFILE -nproc=0 -b @INFILE"_s,
                                           u"Veltra Input Files (*.dat *.vdat)"_s,
                                           u"Veltra Output Files (*.out *.vout)"_s};
    QTest::newRow("GaussianW") << 2
                               << QStringList{u"Long"_s, u"@EXEFILE -run -inp=@INFILE -out=@OUTFILE"_s,
                                              u"Gaussian Input Files (*.gjf)"_s,
                                              u"Gaussian Log Files (*.log)"_s};
    QTest::newRow("Cubegen") << 4
                             << QStringList{u"Short"_s,
                                            u"@EXEFILE @NPROCS @KIND @INFILE @OUTFILE @NPTS @HEADER"_s,
                                            checkpoints, cubes};
    QTest::newRow("Formchk") << 5
                             << QStringList{u"Short"_s, u"@EXEFILE /3 @INFILE @OUTFILE"_s,
                                            u"Gaussian Checkpoint Files (*.chk)"_s, checkpoints};
    QTest::newRow("Freqchk") << 6
                             << QStringList{
                                    u"Short"_s,
                                    u"@EXEFILE @INFILE @SAVE @NFD @SEL\nn\n@TEMP\n@PRESS\n@SCALE\n@ISO\n"
                                    "@PROJ\n@SELINPUT\n"_s,
                                    u"Gaussian Checkpoint Files (*.chk *.fch *.fchk)"_s,
                                    u"Gaussian Frequency Files (*.gfrq)"_s};
    QTest::newRow("Cubman") << 7
                            << QStringList{
                                   u"Short"_s,
                                   u"@EXEFILE\n@KIND\n@INFILE1\ny\n@INFILE2\ny\n@OUTFILE\ny\n@SCALE\n"_s,
                                   cubes, cubes};
}

void TestDefaultJobTypes::TemplatesStandAsThePromptsNeedThem()
{
    InstallEverything();
    Taskmill_JobTypeList list{m_store};
    list.AddDefaults();
    QFETCH(const int, index);
    QFETCH(const QStringList, fields);
    const Taskmill_JobType jobType = list.GetAll().at(index);
    QCOMPARE(jobType.Name, QString::fromLatin1(QTest::currentDataTag()));
    QCOMPARE((QStringList{jobType.DefaultQueue, jobType.GenericCommandLine, jobType.InputFileFilter,
                          jobType.OutputFileFilter}),
             fields);
    if (index > 3)
        QCOMPARE(jobType.EnvironmentVariables, u"GAUSS_MEMDEF=@MEMORY"_s);
}

void TestDefaultJobTypes::GaussianAndGaussianWStandAlone()
{
    WriteTestFile(InGauss(u"g16w.exe"_s), {});
    Taskmill_JobTypeList list{m_store};
    Taskmill_AddDefaultGaussian(list);
    QCOMPARE(list.Names(), QStringList{u"GaussianW"_s});
}

void TestDefaultJobTypes::ProgramsWithoutExeAreFound()
{
    if (QSysInfo::kernelType() == "winnt"_L1)
        QSKIP("programs end with .exe here");
    Taskmill_JobTypeList list{m_store};
    WriteTestFile(InGauss(u"g16"_s), {});
    WriteTestFile(InApp(u"gmmx"_s), {});
    WriteTestFile(InGauss(u"formchk"_s), {});
    list.AddDefaults();
    QCOMPARE(list.Names(), (QStringList{u"Gaussian"_s, u"GMMX"_s, u"Formchk"_s}));
    QCOMPARE(list.GetAll().first().ApplicationName, u"g16"_s);
    QCOMPARE(list.GetAll().last().ExecutablePath, InGauss(u"formchk"_s));
}

void TestDefaultJobTypes::AutomaticChoiceFollowsTheOrder()
{
    InstallEverything();
    Taskmill_JobTypeList list{m_store};
    list.AddDefaults();
    QCOMPARE(Taskmill_JobTypeForFile(list.GetAll(), u"a.FCHK"_s).Name, u"Cubegen"_s);
    QCOMPARE(Taskmill_JobTypeForFile(list.GetAll(), u"a.chk"_s).Name, u"Formchk"_s);
    QCOMPARE(Taskmill_JobTypeForFile(list.GetAll(), u"a.gjf"_s).Name, u"Gaussian"_s);
}

QTEST_GUILESS_MAIN(TestDefaultJobTypes)
#include "test_defaultjobtypes.moc"
