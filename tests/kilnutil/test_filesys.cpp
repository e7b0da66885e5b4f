#include "kilnutil/filesys.h"
#include "support/testutil.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

class TestFileSys : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void ExtensionIsReplacedInTheFileNameOnly_data();
    void ExtensionIsReplacedInTheFileNameOnly();
    void VeltraOutputFollowsTheKindOfItsInput();
    void NewFileNameIsFree();
    void ExecutableWithoutExeIsTakenOnlyWhenAlone();
    void GaussDirComesFromTheEnvironmentFirst();
    void GaussProgramIsTheFirstOneThere();
    void ProgramsAreFoundThroughPath();
    void PathsAreNeverEmpty();

private:
    QString InPlace(const QString &name) const { return m_place->filePath(name); }
    void AddProgram(const QString &name) const;

    std::unique_ptr<QTemporaryDir> m_place;
    QByteArray m_pathOfEnvironment;
};

void TestFileSys::initTestCase()
{
    m_pathOfEnvironment = qgetenv("PATH");
}

void TestFileSys::init()
{
    FailOnQtWarnings();
    m_place = std::make_unique<QTemporaryDir>();
    QVERIFY(m_place->isValid());
    qputenv("PATH", QFile::encodeName(m_place->path()));
    qunsetenv("GAUSS_EXEDIR");
    qunsetenv("VELTRA_EXE");
    KilnUtil_FileSys::m_appDirPath = InPlace(u"app"_s);
}

void TestFileSys::cleanup()
{
    qputenv("PATH", m_pathOfEnvironment);
    KilnUtil_FileSys::m_appDirPath.clear();
    m_place.reset();
}

void TestFileSys::AddProgram(const QString &name) const
{
    QVERIFY(QDir{}.mkpath(QFileInfo{InPlace(name)}.path()));
    QFile program{WriteTestFile(InPlace(name), "#!/bin/sh\n")};
    QVERIFY(program.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
}

void TestFileSys::ExtensionIsReplacedInTheFileNameOnly_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("extension");
    QTest::addColumn<QString>("expected");
    QTest::newRow("with dot") << u"/w/x.gjf"_s << u".log"_s << u"/w/x.log"_s;
    QTest::newRow("only the last dot counts") << u"/w/x.y.gjf"_s << u".log"_s << u"/w/x.y.log"_s;
    QTest::newRow("no dot: appended") << u"/w/x"_s << u".log"_s << u"/w/x.log"_s;
    QTest::newRow("dot in the directory stays") << u"/w.d/x"_s << u".log"_s << u"/w.d/x.log"_s;
    QTest::newRow("bare file name") << u"x.chk"_s << u"fch"_s << u"x.fch"_s;
    QTest::newRow("empty extension removes the dot") << u"/w/x.gjf"_s << u"."_s << u"/w/x"_s;
}

void TestFileSys::ExtensionIsReplacedInTheFileNameOnly()
{
    QFETCH(QString, path);
    QFETCH(const QString, extension);
    KilnUtil_FileSys::SetFileExtension(path, extension);
    QTEST(path, "expected");
}

void TestFileSys::VeltraOutputFollowsTheKindOfItsInput()
{
    QVERIFY(KilnUtil_FileSys::IsNewVeltraFileExtension(u"VDAT"_s));
    QVERIFY(!KilnUtil_FileSys::IsNewVeltraFileExtension(u"dat"_s));
    QString path = u"/w/x.dat"_s;
    KilnUtil_FileSys::SetFileExtension(path, KilnUtil_FileSys::FileType::VeltraOutput, 0);
    QCOMPARE(path, u"/w/x.out"_s);
    KilnUtil_FileSys::SetFileExtension(path, KilnUtil_FileSys::FileType::VeltraOutput, 1);
    QCOMPARE(path, u"/w/x.vout"_s);
}

void TestFileSys::NewFileNameIsFree()
{
    const auto nextName = [this] {
        return KilnUtil_FileSys::NewFileName(u"freqchk"_s, u"inp"_s, m_place->path(), false);
    };
    QCOMPARE(nextName(), InPlace(u"freqchk.inp"_s));
    WriteTestFile(nextName(), {});
    QCOMPARE(nextName(), InPlace(u"freqchk1.inp"_s));
    QVERIFY(QFile::link(InPlace(u"nowhere"_s), nextName()));
    QCOMPARE(nextName(), InPlace(u"freqchk2.inp"_s));
}

void TestFileSys::ExecutableWithoutExeIsTakenOnlyWhenAlone()
{
    const QString withExe = InPlace(u"cubegen.exe"_s);
    QCOMPARE(KilnUtil_FileSys::ExistingExecutable(withExe), withExe);
    QVERIFY(QDir{}.mkdir(InPlace(u"cubegen"_s)));
    QCOMPARE(KilnUtil_FileSys::ExistingExecutable(withExe), withExe);
    QVERIFY(QDir{}.rmdir(InPlace(u"cubegen"_s)));
    WriteTestFile(InPlace(u"cubegen"_s), {});
    const bool isWindows = QSysInfo::kernelType() == "winnt"_L1;
    QCOMPARE(KilnUtil_FileSys::ExistingExecutable(withExe), isWindows ? withExe : InPlace(u"cubegen"_s));
    WriteTestFile(withExe, {});
    QCOMPARE(KilnUtil_FileSys::ExistingExecutable(withExe), withExe);
}

void TestFileSys::GaussDirComesFromTheEnvironmentFirst()
{
    AddProgram(u"g16"_s);
    const QString list = QStringList{QString{}, u"/first/dir//"_s, u"/second"_s}.join(QDir::listSeparator());
    qputenv("GAUSS_EXEDIR", list.toLocal8Bit());
    QVERIFY(KilnUtil_FileSys::GaussExeDirPath().endsWith("/first/dir"_L1));
}

void TestFileSys::GaussProgramIsTheFirstOneThere()
{
    qputenv("GAUSS_EXEDIR", QFile::encodeName(m_place->path()));
    QCOMPARE(KilnUtil_FileSys::GaussExePath(), InPlace(u"g16.exe"_s));
    AddProgram(u"gdv.exe"_s);
    QCOMPARE(KilnUtil_FileSys::GaussExePath(), InPlace(u"gdv.exe"_s));
    AddProgram(u"g09.exe"_s);
    QCOMPARE(KilnUtil_FileSys::GaussExePath(), InPlace(u"g09.exe"_s));
    QCOMPARE(KilnUtil_FileSys::GaussWExePath(), InPlace(u"g16w.exe"_s));
    AddProgram(u"gdvw.exe"_s);
    QCOMPARE(KilnUtil_FileSys::GaussWExePath(), InPlace(u"gdvw.exe"_s));
}

void TestFileSys::ProgramsAreFoundThroughPath()
{
    const QString suffix = isWindows ? u".exe"_s : QString{};
    AddProgram(u"bin/gdv"_s + suffix);
    AddProgram(u"bin/veltra"_s + suffix);
    qputenv("PATH", QFile::encodeName(InPlace(u"bin"_s)));
    QCOMPARE(KilnUtil_FileSys::GaussExeDirPath(), InPlace(u"bin"_s));
    QCOMPARE(KilnUtil_FileSys::GaussExePath(), InPlace(u"bin/gdv"_s + suffix));
    QCOMPARE(KilnUtil_FileSys::VeltraExePath(), InPlace(u"bin/veltra"_s + suffix));
    qputenv("VELTRA_EXE", QFile::encodeName(InPlace(u"other/v"_s)));
    QCOMPARE(KilnUtil_FileSys::VeltraExePath(), InPlace(u"other/v"_s));
}

void TestFileSys::PathsAreNeverEmpty()
{
    QVERIFY(!KilnUtil_FileSys::GaussExeDirPath().isEmpty());
    QVERIFY(!KilnUtil_FileSys::GaussExePath().isEmpty());
    QCOMPARE(KilnUtil_FileSys::VeltraExePath(), InPlace(u"app/veltra.exe"_s));
}

QTEST_GUILESS_MAIN(TestFileSys)
#include "test_filesys.moc"
