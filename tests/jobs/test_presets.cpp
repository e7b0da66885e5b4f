// SPDX-License-Identifier: MIT
#include "jobs/presets.h"
#include "support/testcase.h"

#include <QDir>

using namespace Qt::Literals::StringLiterals;

/// Which programs are found, and as which job types.
class TestPresets : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void FindsWhatIsInstalled_data()
    {
        QTest::addColumn<QStringList>("programs");
        QTest::addColumn<QStringList>("present");
        QTest::addColumn<QStringList>("found");
        QTest::newRow("nothing") << QStringList{u"bin/ls"_s} << QStringList{} << QStringList{};
        QTest::newRow("tried before untried in their order")
            << QStringList{u"bin/psi4"_s, u"bin/xtb"_s, u"bin/mopac"_s} << QStringList{}
            << QStringList{u"MOPAC"_s, u"xtb Optimisation"_s, u"Psi4"_s};
        QTest::newRow("with the directory of its other programs")
            << QStringList{u"bin/g16"_s} << QStringList{}
            << QStringList{u"Gaussian (untried) GAUSS_EXEDIR=bin"_s};
        QTest::newRow("not what the project has")
            << QStringList{u"bin/xtb"_s, u"bin/mopac"_s} << QStringList{u"mopac"_s}
            << QStringList{u"xtb Optimisation"_s};
        QTest::newRow("a screen reader is no calculation")
            << QStringList{u"bin/orca"_s} << QStringList{} << QStringList{};
        QTest::newRow("with its other programs") << QStringList{u"bin/orca"_s, u"bin/orca_scf"_s}
                                                 << QStringList{} << QStringList{u"ORCA (untried)"_s};
        QTest::newRow("behind a screen reader")
            << QStringList{u"bin/orca"_s, u"later/orca"_s, u"later/orca_scf"_s} << QStringList{}
            << QStringList{u"ORCA (untried)"_s};
        QTest::newRow("with its other programs elsewhere")
            << QStringList{u"bin/orca"_s, u"other/orca_scf"_s} << QStringList{} << QStringList{};
    }

    void FindsWhatIsInstalled()
    {
        QFETCH(const QStringList, programs);
        for (const QString &program : programs) {
            QVERIFY(QDir{}.mkpath(QFileInfo{Path(program)}.path()));
            WriteTestFile(Path(program) + (isWindows ? u".exe"_s : QString{}), "#!/bin/sh\n");
            QVERIFY(isWindows || QFile::setPermissions(Path(program), QFile::ReadOwner | QFile::ExeOwner));
        }
        qputenv("PATH", QFile::encodeName(Path(u"bin"_s) + QDir::listSeparator() + Path(u"later"_s)));
        QFETCH(const QStringList, present);
        QList<Taskmill_JobType> jobTypes;
        for (const QString &name : present)
            jobTypes.emplaceBack().Name = name;
        QStringList names;
        for (const auto &[jobType, isTried] : Taskmill_FindPresets(jobTypes)) {
            QString environment = jobType.EnvironmentVariables;
            environment.replace(Path(u"bin"_s), u"bin"_s);
            names += QString{jobType.Name + (isTried ? u""_s : u" (untried) "_s) + environment}.trimmed();
            QVERIFY(jobType.IsValid());
        }
        QTEST(names, "found");
    }
};

QTEST_GUILESS_MAIN(TestPresets)
#include "test_presets.moc"
