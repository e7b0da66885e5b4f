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
    void AllInstalledProgramsAreAddedInOrder();
    void GaussianAndGaussianWStandAlone();
    void ProgramsWithoutExeAreFound();

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

void TestDefaultJobTypes::AllInstalledProgramsAreAddedInOrder()
{
    Taskmill_JobTypeList list{m_store};
    list.AddDefaults();
    QVERIFY(list.GetAll().isEmpty());
    InstallEverything();
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

QTEST_GUILESS_MAIN(TestDefaultJobTypes)
#include "test_defaultjobtypes.moc"
