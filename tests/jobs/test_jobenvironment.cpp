#include "jobs/jobenvironment.h"
#include "support/testutil.h"

#include <QtTest>

using namespace Qt::Literals::StringLiterals;

class TestJobEnvironment : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FailOnQtWarnings(); }
    void SetsVariables_data();
    void SetsVariables();
    void TakesOutInheritedMemoryWithoutValue();
};

void TestJobEnvironment::SetsVariables_data()
{
    QTest::addColumn<QString>("lines");
    QTest::addColumn<QString>("memory");
    QTest::addColumn<QStringList>("expected");

    const QString old = u"OLD=kept"_s;
    QTest::newRow("no lines") << QString{} << QString{} << QStringList{old};
    QTest::newRow("new and replaced")
        << u"A=1\n\nOLD=new\n"_s << QString{} << QStringList{u"A=1"_s, u"OLD=new"_s};
    QTest::newRow("lines that are not one name and one value")
        << u"OLD=a=b\nOLD=\nOLD\n=\n=x\nB==2"_s << QString{} << QStringList{u"B=2"_s, old};
    QTest::newRow("placeholders in names and values in any case")
        << u"X_@memory=@MEMORY-@Memory"_s << u"7"_s << QStringList{old, u"X_7=7-7"_s};
    QTest::newRow("a name that a placeholder spoils") << u"@MEMORY=1"_s << u"A=B"_s << QStringList{old};
    const QString memoryLine = u"GAUSS_MEMDEF=@MEMORY"_s;
    QTest::newRow("memory given") << memoryLine << u"200000000000"_s
                                  << QStringList{u"GAUSS_MEMDEF=200000000000"_s, old};
    QTest::newRow("memory zero") << memoryLine << u"0"_s << QStringList{old};
    QTest::newRow("memory with a unit") << memoryLine << u"200MB"_s << QStringList{old};
    QTest::newRow("memory not given")
        << u"my_gauss_memdef=@MEM\n"_s + memoryLine << u"@MEMORY"_s << QStringList{old};
}

void TestJobEnvironment::SetsVariables()
{
    QFETCH(QString, lines);
    QFETCH(QString, memory);
    Taskmill_JobRecord job;
    job.JobType.EnvironmentVariables = lines;
    job.PlaceholderValues = {{u"@MEMORY"_s, memory}};
    QProcessEnvironment inherited;
    inherited.insert(u"OLD"_s, u"kept"_s);

    QStringList actual = Taskmill_JobEnvironment(job, inherited).toStringList();
    actual.sort();
    QTEST(actual, "expected");
}

void TestJobEnvironment::TakesOutInheritedMemoryWithoutValue()
{
    Taskmill_JobRecord job;
    job.JobType.EnvironmentVariables = u"GAUSS_MEMDEF=@MEMORY"_s;
    QProcessEnvironment inherited;
    inherited.insert(u"GAUSS_MEMDEF"_s, u"5"_s);
    QVERIFY(Taskmill_JobEnvironment(job, inherited).isEmpty());
}

QTEST_GUILESS_MAIN(TestJobEnvironment)
#include "test_jobenvironment.moc"
