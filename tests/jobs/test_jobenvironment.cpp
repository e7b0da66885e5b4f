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
};

void TestJobEnvironment::SetsVariables_data()
{
    QTest::addColumn<QString>("lines");
    QTest::addColumn<QString>("memory");
    QTest::addColumn<QStringList>("expected");

    const QString old = u"OLD=kept"_s;
    const QString memory = u"GAUSS_MEMDEF=5"_s;
    const QString memoryLine = u"GAUSS_MEMDEF=@MEMORY"_s;
    const auto row = [](const char *name, const QString &lines, const QString &memoryGiven,
                        const QStringList &expected) {
        QTest::newRow(name) << lines << memoryGiven << expected;
    };
    row("new and replaced", u"A=1\n\nOLD=new\n"_s, {}, {u"A=1"_s, memory, u"OLD=new"_s});
    row("lines that are not one name and one value", u"OLD=a=b\nOLD=\nOLD\n=\n=x\nB==2"_s, {},
        {u"B=2"_s, memory, old});
    row("placeholders in names and values in any case", u"X_@memory=@MEMORY-@Memory"_s, u"7"_s,
        {memory, old, u"X_7=7-7"_s});
    row("a name that a placeholder spoils", u"@MEMORY=1"_s, u"A=B"_s, {memory, old});
    row("memory given", memoryLine, u"200000000000"_s, {u"GAUSS_MEMDEF=200000000000"_s, old});
    // Without a value not even the inherited variable is left.
    row("memory zero", memoryLine, u"0"_s, {old});
    row("memory with a unit", memoryLine, u"200MB"_s, {old});
    row("memory not given", u"my_gauss_memdef=@MEM\n"_s + memoryLine, u"@MEMORY"_s, {old});
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
    inherited.insert(u"GAUSS_MEMDEF"_s, u"5"_s);

    QStringList actual = Taskmill_JobEnvironment(job, inherited).toStringList();
    actual.sort();
    QTEST(actual, "expected");
}

QTEST_GUILESS_MAIN(TestJobEnvironment)
#include "test_jobenvironment.moc"
